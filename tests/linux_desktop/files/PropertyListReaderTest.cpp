// SPDX-License-Identifier: MIT
#include "linux_desktop/files/PropertyListReader.h"

#include <gtest/gtest.h>

#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

std::string document(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">" +
           body + "</plist>\n";
}

PropertyListDictionary parse(const std::string& body) {
    auto result = parsePropertyList(document(body));
    EXPECT_TRUE(result.dictionary) << result.error;
    return result.dictionary.value_or(PropertyListDictionary());
}

template <class Type>
Type valueAt(const PropertyListDictionary& dictionary, const char* key) {
    const PropertyListValue* value = dictionary.find(key);
    const Type* typed = value ? value->as<Type>() : nullptr;
    EXPECT_TRUE(typed) << key;
    return typed ? *typed : Type();
}

TEST(PropertyList, ReadsEveryKindOfValue) {
    const auto list = parse("<dict><key>On</key><true/><key>Off</key><false/>"
                            "<key>Distance</key><integer>3</integer><key>Below</key><integer>-42</integer>"
                            "<key>Gain</key><real>0.25</real>"
                            "<key>Language</key><string>espa\xC3\xB1ol &amp; m\xC3\xA1s</string>"
                            "<key>Empty</key><string></string></dict>");
    EXPECT_TRUE(valueAt<bool>(list, "On"));
    EXPECT_FALSE(valueAt<bool>(list, "Off"));
    EXPECT_EQ(valueAt<std::int64_t>(list, "Distance"), 3);
    EXPECT_EQ(valueAt<std::int64_t>(list, "Below"), -42);
    EXPECT_EQ(valueAt<double>(list, "Gain"), 0.25);
    EXPECT_EQ(valueAt<std::string>(list, "Language"), "espa\xC3\xB1ol & m\xC3\xA1s");
    EXPECT_EQ(valueAt<std::string>(list, "Empty"), "");
    EXPECT_EQ(list.find("absent"), nullptr);
    EXPECT_EQ(list.find("On")->as<std::int64_t>(), nullptr);
}

TEST(PropertyList, ReadsArraysAndDictionariesInTheirOrder) {
    const auto list =
        parse("<dict><key>Threshold Values</key><array><integer>90</integer><integer>10</integer>"
              "<string>x</string></array>"
              "<key>Inner</key><dict><key>z</key><true/><key>a</key><false/></dict></dict>");
    const auto array = valueAt<PropertyListArray>(list, "Threshold Values");
    ASSERT_EQ(array.size(), 3u);
    EXPECT_EQ(*array[0].as<std::int64_t>(), 90);
    EXPECT_EQ(*array[1].as<std::int64_t>(), 10);
    EXPECT_EQ(*array[2].as<std::string>(), "x");
    const auto inner = valueAt<PropertyListDictionary>(list, "Inner");
    ASSERT_EQ(inner.entries.size(), 2u);
    EXPECT_EQ(inner.entries[0].first, "z");
    EXPECT_EQ(inner.entries[1].first, "a");
}

TEST(PropertyList, AnEmptyDictionaryIsOne) {
    EXPECT_TRUE(parse("<dict/>").entries.empty());
}

TEST(PropertyList, RefusesWhatIsNotWellFormed) {
    for (const std::string& text :
         {std::string(), std::string("no list"), std::string("<plist><dict>"),
          document("<dict><key>a</key></array>"), std::string("bplist00"), std::string(100, '\0')}) {
        const auto result = parsePropertyList(text);
        EXPECT_FALSE(result.dictionary) << text;
        EXPECT_FALSE(result.error.empty()) << text;
    }
}

TEST(PropertyList, RefusesWhatItDoesNotServe) {
    EXPECT_EQ(parsePropertyList(document("<array/>")).error, "it is not a dictionary");
    EXPECT_EQ(parsePropertyList(document("<dict><key>d</key><data>AAAA</data></dict>")).error,
              "it holds a value that is no flag, number, string, array or dictionary");
}

std::string repeated(int times, std::string_view text) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

std::string nested(int times, const std::string& inner = "<true/>") {
    return document("<dict><key>a</key>" + repeated(times, "<array>") + inner + repeated(times, "</array>") +
                    "</dict>");
}

TEST(PropertyList, ReadsThirtyTwoLevelsAndNoMore) {
    EXPECT_TRUE(parsePropertyList(nested(32)).dictionary);
    EXPECT_EQ(parsePropertyList(nested(33)).error, "it is nested too deeply");
    // A stack would not hold these.
    EXPECT_EQ(parsePropertyList(nested(1'000'000)).error, "it is nested too deeply");
    EXPECT_EQ(parsePropertyList("<plist>" + repeated(1'000'000, "<dict>")).error, "it is nested too deeply");
}

TEST(PropertyList, NothingBringsDeepNestingPastTheParser) {
    for (const std::string level :
         {"<array><!--</array>-->", "<array><![CDATA[</array>]]>", "<array><?x </array>?>",
          "<array><!DOCTYPE x [</array>]>", "<array a=\"></array>\">", "<array a=\"/>\">", "<array a='/>'>"})
        EXPECT_FALSE(parsePropertyList("<plist><dict><key>a</key>" + repeated(200'000, level)).dictionary)
            << level;
}

TEST(PropertyList, NamesInTextAreNoLevels) {
    const auto list = parse("<dict><!-- <array><array> --><key>a</key><string>" +
                            repeated(100, "<![CDATA[<array>]]>") + "</string></dict>");
    EXPECT_EQ(valueAt<std::string>(list, "a"), repeated(100, "<array>"));
}

TEST(PropertyList, ReadsFilesAndNamesThemInErrors) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("NX.plist");
    EXPECT_EQ(readPropertyList(file).error, file + ": No such file or directory");
    writeFile(file, "nonsense");
    EXPECT_EQ(readPropertyList(file).error, file + ": it is not a well-formed XML property list");
    writeFile(file, document("<dict><key>Distance</key><integer>2</integer></dict>"));
    const auto result = readPropertyList(file);
    ASSERT_TRUE(result.dictionary) << result.error;
    EXPECT_EQ(valueAt<std::int64_t>(*result.dictionary, "Distance"), 2);
}

TEST(PropertyList, ReadsFilesUpToOneMebibyte) {
    constexpr std::size_t kLargest = std::size_t{1} << 20;
    const TemporaryDirectory directory;
    const std::string file = directory.file("NX.plist");
    const std::string text = document("<dict><key>Distance</key><integer>2</integer></dict>");
    writeFile(file, text + std::string(kLargest - text.size(), '\n'));
    EXPECT_TRUE(readPropertyList(file).dictionary);
    writeFile(file, text + std::string(kLargest - text.size() + 1, '\n'));
    EXPECT_EQ(readPropertyList(file).error, file + ": it is larger than 1 MiB");
}

} // namespace
} // namespace lightpen
