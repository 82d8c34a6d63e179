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

constexpr const char* kUnitRules = "70-lightpen-nx7.rules";
constexpr const char* kPointerRules = "70-lightpen-nx7-uinput.rules";

using Rule = std::map<std::string, std::string>;

std::string hex4(std::int32_t number) {
    std::ostringstream text;
    text << std::hex << std::setw(4) << std::setfill('0') << number;
    return text.str();
}

// Each rule as key and operator to value; comments apart.
std::vector<Rule> rules(const char* name) {
    std::ifstream file(std::filesystem::path(LIGHTPEN_UDEV_RULES) / name);
    EXPECT_TRUE(file) << name;
    std::vector<Rule> all;
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

// From some version on udev drops a line whole that names an unknown group, "uaccess" with it. And what it
// looks at from 73 on must have been said before.
TEST(UdevRules, UaccessIsSaidInTimeAndNeverBesideAGroup) {
    for (const char* name : {kUnitRules, kPointerRules}) {
        EXPECT_LT(std::stoi(name), 73);
        int tagged = 0;
        for (const Rule& rule : rules(name)) {
            tagged += rule.contains("TAG+=") ? 1 : 0;
            EXPECT_FALSE(rule.contains("TAG+=") && rule.contains("GROUP=")) << name;
        }
        EXPECT_EQ(tagged, 1) << name;
    }
}

TEST(UdevRules, TheUnitIsTheProgramsOwnAndOnlyItsPenIsOpened) {
    const Rule unit{{"SUBSYSTEM==", "hidraw"},
                    {"ATTRS{idVendor}==", hex4(kUnitVendorID)},
                    {"ATTRS{idProduct}==", hex4(kUnitFirstProductID) + "|" + hex4(kUnitSecondProductID)},
                    {"ENV{LIGHTPEN_UNIT}=", "1"}};
    const Rule pen{{"SUBSYSTEM==", "hidraw"},
                   {"ENV{LIGHTPEN_UNIT}==", "1"},
                   {"ATTRS{bInterfaceNumber}==", "0" + std::to_string(kUnitPenInterfaceNumber)}};
    Rule seat = pen, group = pen;
    seat["TAG+="] = "uaccess";
    group["MODE="] = "0660";
    group["GROUP="] = "plugdev";
    EXPECT_EQ(rules(kUnitRules), (std::vector{unit, seat, group}));
}

TEST(UdevRules, ThePointerDeviceIsOpenToTheSeatAndItsRiskIsSaid) {
    const Rule device{{"SUBSYSTEM==", "misc"}, {"KERNEL==", "uinput"}};
    Rule seat = device, group = device;
    seat["TAG+="] = "uaccess";
    seat["OPTIONS+="] = "static_node=uinput";
    group["MODE="] = "0660";
    group["GROUP="] = "input";
    EXPECT_EQ(rules(kPointerRules), (std::vector{seat, group}));
    std::ifstream file(std::filesystem::path(LIGHTPEN_UDEV_RULES) / kPointerRules);
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    EXPECT_NE(text.find("can inject input"), std::string::npos);
}

} // namespace
} // namespace lightpen
