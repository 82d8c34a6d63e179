// SPDX-License-Identifier: MIT
#include "linux_desktop/files/PropertyListReader.h"

#include <plist/plist.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

#include "linux_desktop/files/PlainFile.h"
#include "platform/FileDescriptor.h"

namespace lightpen {

namespace {

// Deeper than any list of ours, the outermost dictionary not counted; a guard for the stack.
constexpr int kDeepest = 32;
// Far above any list of ours, in bytes.
constexpr std::size_t kLargest = std::size_t{1} << 20;

constexpr const char* kTooDeep = "it is nested too deeply";
constexpr const char* kMalformed = "it is not a well-formed XML property list";

// The rest of the text behind the mark; none when the mark is not there.
std::optional<std::string_view> behind(std::string_view text, std::string_view mark) {
    const auto place = text.find(mark);
    return place == std::string_view::npos ? std::nullopt : std::optional(text.substr(place + mark.size()));
}

// Behind the mark-up that opens and closes nothing; the text itself when it begins with none of that, none
// where it does not end.
std::optional<std::string_view> behindAside(std::string_view text) {
    constexpr std::pair<std::string_view, std::string_view> kAsides[] = {{"<!--", "-->"},
                                                                         {"<![CDATA[", "]]>"}};
    for (const auto& [begin, end] : kAsides)
        if (text.starts_with(begin))
            return behind(text.substr(begin.size()), end);
    return text;
}

// What the parser, which goes down one call for each level, must not be given; null when there is nothing. It
// counts levels as the parser does: what the two could read in different ways is no list of ours.
const char* faultOfNesting(std::string_view text) {
    int level = 0;
    bool begun = false;
    for (auto rest = text.find('<'); rest != std::string_view::npos; rest = text.find('<')) {
        text.remove_prefix(rest);
        const auto aside = behindAside(text);
        if (!aside)
            return kMalformed;
        if (aside->size() != text.size()) {
            text = *aside;
            continue;
        }
        const auto tag = text.substr(0, text.find('>'));
        const bool declares = tag.starts_with("<!") || tag.starts_with("<?");
        if (tag.size() == text.size() || (declares && begun) || tag.find('<', 1) != std::string_view::npos ||
            std::ranges::count(tag, '"') % 2 != 0)
            return kMalformed;
        begun = begun || !declares;
        if (tag.starts_with("</"))
            --level;
        else if (!declares && !tag.ends_with('/') && ++level > kDeepest + 2) // in <plist><dict>
            return kTooDeep;
        text.remove_prefix(tag.size());
    }
    return level == 0 ? nullptr : kMalformed;
}

template <class Value>
Value valueIn(plist_t node, void (*read)(plist_t, Value*)) {
    Value value{};
    read(node, &value);
    return value;
}

// Throws what is wrong with the list.
PropertyListValue valueOf(plist_t node);

PropertyListArray arrayOf(plist_t node) {
    PropertyListArray elements;
    for (std::uint32_t i = 0; i < plist_array_get_size(node); ++i)
        elements.push_back(valueOf(plist_array_get_item(node, i)));
    return elements;
}

PropertyListDictionary dictionaryOf(plist_t node) {
    PropertyListDictionary result;
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(node, &position);
    const std::unique_ptr<void, void (*)(void*)> positionOwner(position, std::free);
    for (;;) {
        char* key = nullptr;
        plist_t child = nullptr;
        plist_dict_next_item(node, position, &key, &child);
        const std::unique_ptr<char, void (*)(void*)> keyOwner(key, std::free);
        if (!child)
            return result;
        result.entries.push_back({key, valueOf(child)});
    }
}

PropertyListValue valueOf(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        return {valueIn(node, plist_get_bool_val) != 0};
    case PLIST_UINT: // negative numbers come as their two's complement
        return {static_cast<std::int64_t>(valueIn(node, plist_get_uint_val))};
    case PLIST_REAL:
        return {valueIn(node, plist_get_real_val)};
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return {text ? std::string(text, length) : std::string()};
    }
    case PLIST_ARRAY:
        return {arrayOf(node)};
    case PLIST_DICT:
        return {dictionaryOf(node)};
    default:
        throw std::invalid_argument("it holds a value that is no flag, number, string, array or dictionary");
    }
}

} // namespace

PropertyListResult parsePropertyList(std::string_view text) {
    if (const char* fault = faultOfNesting(text))
        return {std::nullopt, fault};
    plist_t root = nullptr;
    plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    const std::unique_ptr<void, void (*)(plist_t)> owner(root, plist_free);
    if (!root)
        return {std::nullopt, kMalformed};
    if (plist_get_node_type(root) != PLIST_DICT)
        return {std::nullopt, "it is not a dictionary"};
    try {
        return {dictionaryOf(root), {}};
    } catch (const std::invalid_argument& why) {
        return {std::nullopt, why.what()};
    }
}

PropertyListResult readPropertyList(const std::string& file) {
    const auto text = readPlainFile(file, kLargest + 1);
    if (!text)
        return {std::nullopt, file + ": " + errorText(errno)};
    if (text->size() > kLargest)
        return {std::nullopt, file + ": it is larger than 1 MiB"};
    PropertyListResult result = parsePropertyList(*text);
    if (!result.dictionary)
        result.error = file + ": " + result.error;
    return result;
}

} // namespace lightpen
