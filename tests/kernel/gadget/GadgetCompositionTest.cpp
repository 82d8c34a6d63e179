// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetComposition.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

TEST(GadgetReportDescriptorTest, DeclaresBothReportsInBytes) {
    const std::string descriptor = gadgetReportDescriptor(804, 36);
    EXPECT_EQ(std::vector<std::uint8_t>(descriptor.begin(), descriptor.end()),
              (std::vector<std::uint8_t>{0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0x15, 0x00, 0x26, 0xFF,
                                         0x00, 0x09, 0x01, 0x75, 0x08, 0x96, 0x24, 0x03, 0x81, 0x02, 0x09,
                                         0x01, 0x75, 0x08, 0x96, 0x24, 0x00, 0x91, 0x02, 0xC0}));
}

// On a kernel's gadget side it is made by the tests there; these are the ways in which there is none.
struct GadgetCompositionTest : testing::Test {
    // What the composition says when it cannot be made; empty when it can.
    std::string errorIn(const std::string& gadgets) const {
        try {
            const GadgetComposition composition({}, {}, {gadgets, gadgets});
        } catch (const GadgetError& error) {
            return error.what();
        }
        return {};
    }

    TemporaryDirectory folder;
};

TEST_F(GadgetCompositionTest, SaysThatTheKernelHasNoGadgetSide) {
    const std::string none = folder.file("none");
    EXPECT_EQ(errorIn(none), none + " is missing: configfs is not mounted, or libcomposite is not loaded");
}

TEST_F(GadgetCompositionTest, SaysWhatCannotBeMade) {
    const std::string taken = folder.file("lightpen");
    std::filesystem::create_directory(taken);
    EXPECT_EQ(errorIn(folder.path()), taken + " cannot be made: File exists");
    EXPECT_TRUE(std::filesystem::exists(taken)) << "it is somebody else's";
}

TEST_F(GadgetCompositionTest, WhatIsRefusedHalfwayLeavesNothingBehind) {
    EXPECT_EQ(errorIn(folder.path()),
              folder.file("lightpen/idVendor") + " cannot be written: No such file or directory");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

} // namespace
} // namespace lightpen
