// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/HidDescriptor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "kit/HidDescriptors.h"

namespace lightpen {
namespace {

using namespace test;

HidDescriptor parsed(const Bytes& bytes) {
    const auto result = parseHidDescriptor(bytes);
    if (const auto* error = std::get_if<HidDescriptorError>(&result)) {
        ADD_FAILURE() << error->text;
        return {};
    }
    return std::get<HidDescriptor>(result);
}

// The error's text; empty when the descriptor was accepted.
std::string errorOf(const Bytes& bytes) {
    const auto result = parseHidDescriptor(bytes);
    const auto* error = std::get_if<HidDescriptorError>(&result);
    return error ? error->text : std::string();
}

TEST(HidDescriptor, AUnitsReportsAreUnnumberedAndAsLongAsDeclared) {
    for (const unsigned length : {1U, 8U, 32U, 300U, 804U, 4096U}) {
        const HidDescriptor descriptor = parsed(unitDescriptor(length, 44));
        EXPECT_FALSE(descriptor.usesReportIDs);
        ASSERT_EQ(descriptor.inputReports.size(), 1U);
        ASSERT_NE(descriptor.inputReport(0), nullptr);
        EXPECT_EQ(descriptor.inputReport(0)->length, length);
        EXPECT_NE(descriptor.inputReport(0)->cookie, 0U) << "0 means that there is no element";
        ASSERT_EQ(descriptor.outputReports.size(), 1U);
        EXPECT_EQ(descriptor.outputReports[0].length, 44U);
        EXPECT_EQ(descriptor.inputReport(1), nullptr);
    }
}

TEST(HidDescriptor, NumberedReportsAreToldApart) {
    const HidDescriptor descriptor =
        parsed(kVendorCollection + reportSize(8) + Bytes{0x85, 0x07} + reportCount(5) + kInput +
               Bytes{0x85, 0x02} + reportCount(63) + kInput + kOutput + kEndCollection);
    EXPECT_TRUE(descriptor.usesReportIDs);
    ASSERT_EQ(descriptor.inputReports.size(), 2U);
    EXPECT_EQ(descriptor.inputReport(7)->length, 5U);
    EXPECT_EQ(descriptor.inputReport(2)->length, 63U);
    EXPECT_NE(descriptor.inputReport(7)->cookie, descriptor.inputReport(2)->cookie);
    EXPECT_EQ(descriptor.inputReport(0), nullptr);
    ASSERT_EQ(descriptor.outputReports.size(), 1U);
    EXPECT_EQ(descriptor.outputReports[0].reportID, 2);
    EXPECT_EQ(descriptor.outputReports[0].length, 63U);
}

TEST(HidDescriptor, BitsOfSeveralItemsAddUpAndAreRoundedUpOnce) {
    // 3 + 6 + 1 bits: two bytes, although each item alone would round to one.
    const HidDescriptor descriptor =
        parsed(kVendorCollection + reportSize(1) + reportCount(3) + kInput + reportSize(6) + reportCount(1) +
               kInput + reportSize(1) + kInput + kEndCollection);
    EXPECT_EQ(descriptor.inputReport(0)->length, 2U);
    EXPECT_TRUE(descriptor.outputReports.empty());
}

TEST(HidDescriptor, PopBringsSizeAndCountBack) {
    const HidDescriptor descriptor =
        parsed(kVendorCollection + reportSize(8) + reportCount(11) + Bytes{0xA4} + reportSize(16) +
               reportCount(3) + kInput + Bytes{0xB4} + kInput + kEndCollection);
    EXPECT_EQ(descriptor.inputReport(0)->length, 6U + 11U);
}

TEST(HidDescriptor, TheUsageIsThatOfTheApplicationCollection) {
    const HidDescriptor mouse = parsed({0x05, 0x01, 0x09, 0x02, 0xA1, 0x01, 0x09, 0x01, 0xA1, 0x00,
                                        0x09, 0x30, 0x75, 0x08, 0x95, 0x02, 0x81, 0x06, 0xC0, 0xC0});
    EXPECT_EQ(mouse.inputReport(0)->usagePage, 0x01U);
    EXPECT_EQ(mouse.inputReport(0)->usage, 0x02U);
    const HidDescriptor extended =
        parsed({0x0B, 0x34, 0x12, 0x0D, 0xFF, 0xA1, 0x01, 0x75, 0x08, 0x95, 0x02, 0x81, 0x06, 0xC0});
    EXPECT_EQ(extended.inputReport(0)->usagePage, 0xFF0DU);
    EXPECT_EQ(extended.inputReport(0)->usage, 0x1234U);
}

TEST(HidDescriptor, ItemsWithoutFieldsAndLongItemsChangeNothing) {
    const HidDescriptor descriptor =
        parsed(kVendorCollection + reportSize(8) + kInput + Bytes{0xFE, 0x03, 0x10, 1, 2, 3} +
               reportCount(4) + kFeature + kEndCollection);
    EXPECT_TRUE(descriptor.inputReports.empty());
    EXPECT_TRUE(descriptor.outputReports.empty());
}

TEST(HidDescriptor, EveryTruncationOfADescriptorIsRefused) {
    const Bytes whole = unitDescriptor(804, 804);
    ASSERT_EQ(errorOf(whole), "");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        // Up to the collection's start there is nothing that would have to be ended, except an item itself.
        const bool complete = length == 3 || length == 5;
        EXPECT_EQ(errorOf({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)}).empty(),
                  complete)
            << length;
    }
}

Bytes repeated(const Bytes& item, int times) {
    Bytes all;
    for (int time = 0; time < times; ++time)
        all = all + item;
    return all;
}

Bytes oneReport(const Bytes& sizeAndCount) {
    return kVendorCollection + sizeAndCount + kInput + kEndCollection;
}

TEST(HidDescriptor, WhatCannotBeUsedIsNamed) {
    const Bytes push{0xA4}, openCollection{0xA1, 0x00}, idOne{0x85, 0x01},
        fields = reportSize(8) + reportCount(2);
    const std::pair<Bytes, const char*> cases[] = {
        {{}, "it is empty"},
        {Bytes(kLongestHidDescriptor + 1, 0xA4), "it is 4097 bytes long"},
        {{0x05}, "an item is cut short"},
        {{0x77, 1, 2, 3}, "an item is cut short"},
        {{0xFE}, "a long item is cut short"},
        {{0xFE, 0x00}, "a long item is cut short"},
        {{0xFE, 0x02, 0x10, 0x01}, "a long item is cut short"},
        {oneReport(reportSize(8) + reportCount(4097)), "longer than 4096"},
        {oneReport({0x77, 0xFF, 0xFF, 0xFF, 0xFF, 0x97, 0xFF, 0xFF, 0xFF, 0xFF}), "longer than 4096"},
        // The product of these two is 0 in 32 bits.
        {oneReport(Bytes{0x77, 0, 0, 0, 0x80} + reportCount(2)), "longer than 4096"},
        // Allowed twice, too long together.
        {oneReport(reportSize(8) + reportCount(3000) + kInput), "longer than 4096"},
        {repeated(push, 17), "nested too deeply"},
        {repeated(openCollection, 65), "nested too deeply"},
        {{0xB4}, "no push item"},
        {kEndCollection, "never began"},
        {kVendorCollection, "not ended"},
        {{0x85, 0x00}, "report ID 0"},
        {{0x86, 0x00, 0x01}, "report ID 256"},
        {oneReport(fields + kInput + idOne), "some have none"},
    };
    for (const auto& [bytes, why] : cases)
        EXPECT_THAT(errorOf(bytes), testing::HasSubstr(why));
}

TEST(HidDescriptor, TheLimitsThemselvesAreAllowed) {
    EXPECT_EQ(errorOf({0xFE, 0x00, 0x10}), "");
    EXPECT_EQ(errorOf(oneReport(reportSize(8) + reportCount(4096))), "");
}

TEST(HidDescriptor, TheErrorSaysWhereItStopped) {
    EXPECT_EQ(errorOf(Bytes{0x05, 0x01} + kEndCollection),
              "the report descriptor cannot be used: a collection ends that never began (at byte 3 of 3)");
}

TEST(HidDescriptor, RandomBytesAreReadWithinTheirBoundsAndWithinTheLimits) {
    std::mt19937 random(20240611);
    std::size_t accepted = 0;
    for (int round = 0; round < 20'000; ++round) {
        Bytes bytes(random() % 40);
        for (auto& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        const auto result = parseHidDescriptor(bytes);
        if (const auto* descriptor = std::get_if<HidDescriptor>(&result)) {
            ++accepted;
            for (const auto* reports : {&descriptor->inputReports, &descriptor->outputReports})
                for (const HidReport& report : *reports) {
                    EXPECT_GE(report.length, 1U);
                    EXPECT_LE(report.length, kLongestHidReport);
                }
        }
    }
    EXPECT_GT(accepted, 0U);
}

TEST(HidDescriptor, ElementsStandForWholeReports) {
    const auto elements = inputReportElements(parsed(kVendorCollection + reportSize(8) + Bytes{0x85, 0x09} +
                                                     reportCount(3) + kInput + kOutput + Bytes{0x85, 0x04} +
                                                     reportCount(12) + kInput + kEndCollection));
    ASSERT_EQ(elements.size(), 2U);
    EXPECT_EQ(describe(elements[0]),
              "{ElementCookie = 1; ReportID = 9; Size = 24; Usage = 1; UsagePage = 65280; }");
    EXPECT_EQ(describe(elements[1]),
              "{ElementCookie = 2; ReportID = 4; Size = 96; Usage = 1; UsagePage = 65280; }");
}

} // namespace
} // namespace lightpen
