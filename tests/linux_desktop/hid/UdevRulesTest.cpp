// SPDX-License-Identifier: MIT
// The rule file and the program must mean the same units.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <regex>
#include <sstream>

#include "platform/UnitIdentifiers.h"

namespace lightpen {
namespace {

const std::filesystem::path kRules = LIGHTPEN_UDEV_RULES;

std::string hex4(std::int32_t number) {
    std::ostringstream text;
    text << std::hex << std::setw(4) << std::setfill('0') << number;
    return text.str();
}

// Each rule as key and operator to value; comments apart.
std::vector<std::map<std::string, std::string>> rules() {
    std::ifstream file(kRules);
    EXPECT_TRUE(file) << kRules;
    std::vector<std::map<std::string, std::string>> all;
    const std::regex term(R"re(([A-Z]+(?:\{\w+\})?)(==|\+=|=)"([^"]*)")re");
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        auto& rule = all.emplace_back();
        for (std::sregex_iterator match(line.begin(), line.end(), term), end; match != end; ++match)
            rule[(*match)[1].str() + (*match)[2].str()] = (*match)[3];
    }
    return all;
}

TEST(UdevRules, TheFileComesBeforeUaccessIsLookedAt) {
    EXPECT_EQ(kRules.filename(), "70-lightpen-nx7.rules");
    EXPECT_LT(std::stoi(kRules.filename()), 73);
}

TEST(UdevRules, TheUnitIsTheProgramsOwn) {
    const auto all = rules();
    ASSERT_EQ(all.size(), 2U);
    const std::map<std::string, std::string> unit{
        {"SUBSYSTEM==", "hidraw"},
        {"ATTRS{idVendor}==", hex4(kUnitVendorID)},
        {"ATTRS{idProduct}==", hex4(kUnitFirstProductID) + "|" + hex4(kUnitSecondProductID)},
        {"MODE=", "0660"},
        {"GROUP=", "plugdev"},
        {"TAG+=", "uaccess"}};
    EXPECT_EQ(all[0], unit);
}

TEST(UdevRules, ThePointerDeviceIsOpenToTheSeatAndItsRiskIsSaid) {
    const std::map<std::string, std::string> pointer{
        {"SUBSYSTEM==", "misc"}, {"KERNEL==", "uinput"}, {"MODE=", "0660"},
        {"GROUP=", "input"},     {"TAG+=", "uaccess"},   {"OPTIONS+=", "static_node=uinput"}};
    EXPECT_EQ(rules().at(1), pointer);
    std::ifstream file(kRules);
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    EXPECT_NE(text.find("can inject input"), std::string::npos);
}

} // namespace
} // namespace lightpen
