// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetComposition.h"

#include <gmock/gmock.h>

#include "kernel/gadget/GadgetTree.h"
#include "kit/RecordingLog.h"

namespace lightpen::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

const GadgetPaths kPaths{GadgetTree::kGadgets, GadgetTree::kControllers, GadgetTree::kDevices};

std::string bytes(std::initializer_list<int> values) {
    std::string text;
    for (const int value : values)
        text.push_back(static_cast<char>(value));
    return text;
}

// What the composition says when it cannot be made or plugged in; empty when it can.
template <class Action>
std::string errorOf(Action action) {
    try {
        action();
    } catch (const GadgetError& error) {
        return error.what();
    }
    return {};
}

TEST(GadgetReportDescriptorTest, DeclaresBothReportsInBytes) {
    EXPECT_EQ(
        gadgetReportDescriptor(804, 36),
        bytes({0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0x15, 0x00, 0x26, 0xFF, 0x00, 0x09, 0x01, 0x75, 0x08,
               0x96, 0x24, 0x03, 0x81, 0x02, 0x09, 0x01, 0x75, 0x08, 0x96, 0x24, 0x00, 0x91, 0x02, 0xC0}));
}

TEST(GadgetCompositionTest, IsMadeInTheOrderThatTheKernelWants) {
    GadgetTree tree;
    UnitDescription unit;
    unit.reportLength = 804;
    unit.vendorID = 0x1209;
    unit.productID = 0x0002;
    unit.vendorName = "A maker";
    const GadgetComposition composition(tree, kPaths, unit,
                                        {.interfaces = 2,
                                         .penInterface = 1,
                                         .outputLength = 36,
                                         .productName = "A unit",
                                         .serialNumber = "77"});
    const std::string root = "/gadgets/lightpen0";
    const std::string first = root + "/functions/hid.usb0";
    const std::string second = root + "/functions/hid.usb1";
    EXPECT_THAT(tree.takeActions(),
                ElementsAreArray({"mkdir " + root,
                                  "write " + root + "/idVendor 0x1209\n",
                                  "write " + root + "/idProduct 0x0002\n",
                                  "mkdir " + root + "/strings/0x409",
                                  "write " + root + "/strings/0x409/manufacturer A maker\n",
                                  "write " + root + "/strings/0x409/product A unit\n",
                                  "write " + root + "/strings/0x409/serialnumber 77\n",
                                  "mkdir " + root + "/configs/c.1",
                                  "mkdir " + first,
                                  "write " + first + "/subclass 0\n",
                                  "write " + first + "/protocol 0\n",
                                  "write " + first + "/report_length 8\n",
                                  "write " + first + "/report_desc " + gadgetReportDescriptor(8, 8),
                                  "link " + root + "/configs/c.1/hid.usb0",
                                  "mkdir " + second,
                                  "write " + second + "/subclass 0\n",
                                  "write " + second + "/protocol 0\n",
                                  "write " + second + "/report_length 804\n",
                                  "write " + second + "/report_desc " + gadgetReportDescriptor(804, 36),
                                  "link " + root + "/configs/c.1/hid.usb1"}));
}

TEST(GadgetCompositionTest, APacketHoldsTheLongerOfBothReports) {
    GadgetTree tree;
    UnitDescription unit;
    unit.reportLength = 8;
    const GadgetComposition composition(tree, kPaths, unit, {.outputLength = 32});
    EXPECT_THAT(tree.takeActions(),
                Contains("write /gadgets/lightpen0/functions/hid.usb3/report_length 32\n"));
}

TEST(GadgetCompositionTest, WithoutAnOutEndpointOutputComesBySetReport) {
    GadgetTree tree;
    const GadgetComposition composition(tree, kPaths, {}, {.output = GadgetDescription::Output::setReport});
    EXPECT_THAT(tree.takeActions(),
                Contains("write /gadgets/lightpen0/functions/hid.usb3/no_out_endpoint 1\n"));
}

TEST(GadgetCompositionTest, IsTakenOutOfItsSocketAndThenAwayBackwards) {
    GadgetTree tree;
    {
        GadgetComposition composition(tree, kPaths, {}, {.interfaces = 1, .penInterface = 0});
        composition.plug();
        EXPECT_EQ(composition.controller(), "dummy_udc.0");
        tree.takeActions();
    }
    const std::string root = "/gadgets/lightpen0";
    EXPECT_THAT(tree.takeActions(),
                ElementsAre("write " + root + "/UDC \n", "unlink " + root + "/configs/c.1/hid.usb0",
                            "rmdir " + root + "/functions/hid.usb0", "rmdir " + root + "/configs/c.1",
                            "rmdir " + root + "/strings/0x409", "rmdir " + root));
    EXPECT_THAT(tree.entries(), IsEmpty());
}

TEST(GadgetCompositionTest, TwoUnitsTakeTheFirstFreeControllersAndKeepThem) {
    GadgetTree tree({"dummy_udc.10", "dummy_udc.2", "dummy_udc.1"});
    tree.occupy("dummy_udc.1");
    GadgetComposition one(tree, kPaths, {}, {});
    GadgetComposition two(tree, kPaths, {}, {});
    two.plug();
    one.plug();
    EXPECT_EQ(two.controller(), "dummy_udc.2");
    EXPECT_EQ(one.controller(), "dummy_udc.10");
    two.unplug();
    EXPECT_EQ(two.controller(), "");
    one.unplug();
    one.plug();
    EXPECT_EQ(one.controller(), "dummy_udc.10") << "the same socket again";
}

TEST(GadgetCompositionTest, SaysWhatIsMissing) {
    GadgetTree none{std::vector<std::string>()};
    GadgetComposition nowhere(none, kPaths, {}, {});
    EXPECT_EQ(errorOf([&] { nowhere.plug(); }),
              "there is no device controller in /udc: dummy_hcd is not loaded");
    GadgetTree taken({"a", "b"});
    taken.occupy("a");
    taken.occupy("b");
    GadgetComposition waiting(taken, kPaths, {}, {});
    EXPECT_EQ(errorOf([&] { waiting.plug(); }), "each device controller of /udc is taken (2 in all)");
    EXPECT_EQ(waiting.controller(), "");
    GadgetTree unmounted;
    unmounted.refuse("/gadgets/lightpen0", ENOENT);
    EXPECT_EQ(errorOf([&] { const GadgetComposition composition(unmounted, kPaths, {}, {}); }),
              "/gadgets is missing: configfs is not mounted, or libcomposite is not loaded");
    GadgetTree forbidden;
    forbidden.refuse("/gadgets/lightpen0", EACCES);
    EXPECT_EQ(errorOf([&] { const GadgetComposition composition(forbidden, kPaths, {}, {}); }),
              "/gadgets/lightpen0 cannot be made: Permission denied");
}

TEST(GadgetCompositionTest, WhatIsRefusedHalfwayLeavesNothingBehind) {
    GadgetTree tree;
    tree.refuse("/gadgets/lightpen0/functions/hid.usb2/report_desc", EINVAL);
    EXPECT_EQ(errorOf([&] { const GadgetComposition composition(tree, kPaths, {}, {}); }),
              "/gadgets/lightpen0/functions/hid.usb2/report_desc cannot be written: Invalid argument");
    EXPECT_THAT(tree.entries(), IsEmpty());
}

TEST(GadgetCompositionTest, ASecondProgramsUnitsAreLeftAlone) {
    GadgetTree tree;
    ASSERT_EQ(tree.makeFolder("/gadgets/lightpen0"), 0);
    {
        const GadgetComposition composition(tree, kPaths, {}, {});
        EXPECT_THAT(tree.entries(), Contains("/gadgets/lightpen1"));
    }
    EXPECT_THAT(tree.entries(), ElementsAre("/gadgets/lightpen0"));
}

TEST(GadgetCompositionTest, ThePensNodeIsNamedByItsFunction) {
    GadgetTree tree;
    const GadgetComposition composition(tree, kPaths, {}, {});
    EXPECT_EQ(composition.penNode(), "/nodes/hidg5");
    EXPECT_EQ(GadgetComposition(tree, kPaths, {}, {.interfaces = 3}).penNode(), "")
        << "it has no interface 3";
    tree.deviceNumber = "236:17\n";
    EXPECT_EQ(composition.penNode(), "/nodes/hidg17");
    for (const char* nonsense : {"", "17", "236:", "236:x"}) {
        tree.deviceNumber = nonsense;
        EXPECT_THAT(errorOf([&] { static_cast<void>(composition.penNode()); }), HasSubstr("names no device"));
    }
    tree.refuse("/gadgets/lightpen0/functions/hid.usb3/dev", EIO);
    EXPECT_THAT(errorOf([&] { static_cast<void>(composition.penNode()); }), HasSubstr("/dev cannot be read"));
}

TEST(GadgetCompositionTest, WhatCannotBeTakenAwayIsSaid) {
    RecordingLog log;
    GadgetTree tree;
    {
        const GadgetComposition composition(tree, kPaths, {}, {.interfaces = 0});
        ASSERT_EQ(tree.makeFolder("/gadgets/lightpen0/configs/c.1/foreign"), 0);
    }
    EXPECT_THAT(
        log.lines(),
        Contains("Gadget: /gadgets/lightpen0/configs/c.1 cannot be removed: Device or resource busy"));
}

} // namespace
} // namespace lightpen::test
