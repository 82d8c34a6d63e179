// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraList.h"

#include <cerrno>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "webcam/camera/CameraStage.h"

namespace lightpen::webcam {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Kind = CameraProblem::Kind;

// What the machine tells of a camera on USB.
struct UsbPart {
    std::string port = "1-2";
    std::string interface = "00";
    std::string serial = "ABC123";
    std::string index = "0";
    std::string removable = "removable";
};

class CameraListTest : public testing::Test {
protected:
    CameraListTest() {
        stage_.video.nodes.clear();
        fs::create_directories(folders_.system);
        fast_.modes = {{V4L2_PIX_FMT_MJPEG, 1280, 720, {{1, 60}, {1, 30}}},
                       {V4L2_PIX_FMT_YUYV, 640, 480, {{1, 30}}}};
    }
    void add(const std::string& name, FakeCamera& camera, const UsbPart& usb) {
        const fs::path device = stage_.folder.path() / "devices" / usb.port;
        const fs::path part = device / (usb.port + ":1." + usb.interface);
        fs::create_directories(part);
        writeFile(device / "idVendor", "046d\n");
        writeFile(device / "idProduct", "0825\n");
        writeFile(device / "removable", usb.removable + "\n");
        if (!usb.serial.empty())
            writeFile(device / "serial", usb.serial + "\n");
        writeFile(part / "bInterfaceNumber", usb.interface + "\n");
        addEntry(name, camera, part, usb.index);
    }
    void addEntry(const std::string& name, FakeCamera& camera, const fs::path& device,
                  const std::string& index) {
        const fs::path entry = fs::path(folders_.system) / name;
        fs::create_directories(entry);
        fs::create_directories(device);
        fs::create_directory_symlink(device, entry / "device");
        writeFile(entry / "name", camera.card + "\n");
        writeFile(entry / "index", index + "\n");
        stage_.video.nodes["/dev/" + name] = &camera;
    }
    std::vector<CameraInfo> list() { return listCameras(stage_.video, folders_); }
    // Two cameras of one kind with the same serial number, in the order in which they come: video0 and
    // video2.
    std::vector<CameraInfo> plugTwo(const std::string& serial, const std::string& first,
                                    const std::string& second) {
        fs::remove_all(folders_.system);
        add("video0", slow_, {.port = first, .serial = serial});
        add("video2", slow_, {.port = second, .serial = serial});
        return list();
    }

    CameraStage stage_;
    FakeCamera& slow_ = stage_.camera;
    FakeCamera fast_{stage_.clock};
    const VideoFolders folders_{stage_.folder.file("class"), "/dev"};
};

TEST_F(CameraListTest, AMachineWithoutCamerasHasNone) {
    EXPECT_THAT(list(), IsEmpty());
    EXPECT_THAT(listCameras(stage_.video, {stage_.folder.file("nowhere"), "/dev"}), IsEmpty());
    EXPECT_EQ(chosenCamera({}), nullptr);
    EXPECT_EQ(listText({}, ""), "There is no camera.\n");
}

TEST_F(CameraListTest, SaysWhoACameraIs) {
    add("video0", slow_, {});
    const auto cameras = list();
    ASSERT_THAT(cameras, SizeIs(1));
    EXPECT_EQ(cameras[0].node, "/dev/video0");
    EXPECT_EQ(cameras[0].name, "Test Camera");
    EXPECT_EQ(cameras[0].usb, "046d:0825");
    EXPECT_EQ(cameras[0].identity, "046d_0825-ABC123");
    EXPECT_EQ(cameras[0].driver, "uvcvideo");
    EXPECT_FALSE(cameras[0].builtIn);
    EXPECT_FALSE(cameras[0].problem);
    EXPECT_THAT(cameras[0].modes, testing::ElementsAre(CameraMode{PixelFormat::yuyv, 640, 480, 30}));
}

TEST_F(CameraListTest, WithoutASerialNumberThePlaceIsTheIdentity) {
    add("video0", slow_, {.port = "1-2.3", .serial = ""});
    EXPECT_EQ(list().at(0).identity, "046d_0825-at-1-2.3");
}

TEST_F(CameraListTest, TheCamerasOfOneDeviceAreToldApart) {
    add("video0", slow_, {});
    add("video2", fast_, {.interface = "02"});
    const auto cameras = list();
    ASSERT_THAT(cameras, SizeIs(2));
    EXPECT_EQ(cameras[1].identity, "046d_0825-ABC123-part-02");
}

TEST_F(CameraListTest, CamerasWithTheSameSerialNumberAreToldApart) {
    for (const std::string& serial : {std::string("0"), std::string(126, '7')}) {
        for (const CameraInfo& camera : plugTwo(serial, "1-2", "1-4"))
            stage_.controls.keep(camera.identity, {{V4L2_CID_GAIN, camera.node.back()}});
        const auto exchanged = plugTwo(serial, "1-4", "1-2");
        EXPECT_EQ(stage_.controls.left(exchanged.at(0).identity).at(0).value, '2');
        EXPECT_EQ(stage_.controls.left(exchanged.at(1).identity).at(0).value, '0');
    }
}

TEST_F(CameraListTest, ACameraWhoseSerialNumberAnotherHasIsWhereItIs) {
    add("video0", slow_, {});
    EXPECT_EQ(list().at(0).identity, "046d_0825-ABC123");
    add("video2", fast_, {.port = "1-4"});
    EXPECT_EQ(list().at(0).identity, "046d_0825-ABC123-at-1-2");
    EXPECT_EQ(list().at(1).identity, "046d_0825-ABC123-at-1-4");
}

TEST_F(CameraListTest, AnIdentityCanBeAPartOfAFilesName) {
    add("video0", slow_, {.serial = "../a b\x1b/\xC3\xA9"});
    EXPECT_EQ(list().at(0).identity, "046d_0825-.._a_b____");
}

TEST_F(CameraListTest, ACameraThatIsNotOnUsbIsWhereItIs) {
    addEntry("video0", slow_, stage_.folder.path() / "platform" / "vivid.0", "0");
    addEntry("video1", fast_, stage_.folder.path() / "platform" / "vivid.0", "1");
    const auto cameras = list();
    ASSERT_THAT(cameras, SizeIs(2));
    EXPECT_EQ(cameras[0].identity, "vivid.0");
    EXPECT_EQ(cameras[0].usb, "");
    EXPECT_EQ(cameras[1].identity, "vivid.0-1");
}

TEST_F(CameraListTest, NodesThatCaptureNothingAreLeftOut) {
    add("video0", slow_, {});
    FakeCamera metadata(stage_.clock), output(stage_.clock);
    metadata.capabilities = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
    output.capabilities = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING;
    add("video1", metadata, {.index = "1"});
    add("video2", output, {.index = "2"});
    add("vbi0", slow_, {});
    add("videoX", slow_, {});
    add("video3x", slow_, {});
    EXPECT_THAT(list(), SizeIs(1));
}

TEST_F(CameraListTest, TheOrderIsThatOfTheNumbers) {
    add("video10", fast_, {.port = "1-4"});
    add("video9", slow_, {});
    const auto cameras = list();
    ASSERT_THAT(cameras, SizeIs(2));
    EXPECT_EQ(cameras[0].node, "/dev/video9");
}

TEST_F(CameraListTest, TheFasterIsUsedThenTheFirst) {
    add("video0", slow_, {});
    add("video1", fast_, {.port = "1-4"});
    EXPECT_EQ(chosenCamera(list())->node, "/dev/video1");
    fast_.modes = slow_.modes;
    EXPECT_EQ(chosenCamera(list())->node, "/dev/video0");
}

TEST_F(CameraListTest, ABuiltInCameraIsUsedWhereThereIsNoOther) {
    add("video0", fast_, {.removable = "fixed"});
    EXPECT_EQ(chosenCamera(list())->node, "/dev/video0");
    add("video1", slow_, {.port = "1-4"});
    EXPECT_EQ(chosenCamera(list())->node, "/dev/video1");
}

TEST_F(CameraListTest, ACameraWithAProblemIsListedAndNotUsed) {
    add("video0", fast_, {});
    add("video1", slow_, {.port = "1-4"});
    fast_.busy = true;
    auto cameras = list();
    ASSERT_THAT(cameras, SizeIs(2));
    EXPECT_EQ(cameras[0].problem.kind, Kind::busy);
    EXPECT_THAT(cameras[0].modes, SizeIs(3));
    EXPECT_EQ(chosenCamera(cameras)->node, "/dev/video1");
    fast_.busy = false;
    fast_.openError = EACCES;
    slow_.modes = {{V4L2_PIX_FMT_NV12, 640, 480}};
    cameras = list();
    EXPECT_EQ(cameras[0].problem.kind, Kind::notPermitted);
    EXPECT_EQ(cameras[1].problem.kind, Kind::noFormat);
    EXPECT_EQ(chosenCamera(cameras), nullptr);
}

TEST_F(CameraListTest, OfACameraThatMayNotBeOpenedOneNodeIsListed) {
    add("video0", slow_, {});
    add("video1", fast_, {.index = "1"});
    slow_.openError = fast_.openError = EACCES;
    EXPECT_THAT(list(), SizeIs(1));
}

TEST_F(CameraListTest, AskingLeavesTheCameraAlone) {
    slow_.addExposure();
    add("video0", slow_, {});
    list();
    EXPECT_THAT(slow_.settings, IsEmpty());
    EXPECT_FALSE(slow_.streaming);
}

TEST_F(CameraListTest, AUserMeansACameraInSeveralWays) {
    add("video0", slow_, {});
    fast_.card = "Fast Camera";
    add("video12", fast_, {.port = "1-4", .serial = "XYZ"});
    const auto cameras = list();
    for (const char* wanted : {"/dev/video12", "video12", "046d_0825-XYZ", "Fast Camera"})
        EXPECT_EQ(cameraMeant(cameras, wanted), &cameras[1]) << wanted;
    for (const char* wanted : {"", "video", "video1", "/dev/video1", "Slow Camera", "/nowhere"})
        EXPECT_EQ(cameraMeant(cameras, wanted), nullptr) << wanted;
}

TEST_F(CameraListTest, AUserMayMeanACameraByALink) {
    const std::string node = stage_.folder.file("video3");
    writeFile(node, "");
    fs::create_symlink(node, stage_.folder.file("by-id"));
    CameraInfo camera;
    camera.node = fs::canonical(node).string();
    const std::vector cameras{camera};
    EXPECT_EQ(cameraMeant(cameras, stage_.folder.file("by-id")), cameras.data());
}

TEST_F(CameraListTest, TheTextSaysWhichIsUsedAndWhyOthersAreNot) {
    add("video0", slow_, {.removable = "fixed"});
    add("video1", fast_, {.port = "1-4"});
    FakeCamera busy(stage_.clock);
    busy.busy = true;
    busy.card = "Third\x1b[2J";
    add("video2", busy, {.port = "1-5"});
    EXPECT_EQ(listText(list(), ""), "/dev/video0: Test Camera (046d:0825), built in\n"
                                    "    not used: /dev/video1 goes before\n"
                                    "    640 x 480 YUYV at 30 a second\n"
                                    "/dev/video1: Test Camera (046d:0825)\n"
                                    "    used, with 1280 x 720 MJPG at 60 a second\n"
                                    "    1280 x 720 MJPG at 60, 30 a second\n"
                                    "    640 x 480 YUYV at 30 a second\n"
                                    "/dev/video2: Third?[2J (046d:0825)\n"
                                    "    not used: /dev/video2 is used by another program\n"
                                    "    640 x 480 YUYV at 30 a second\n");
}

TEST_F(CameraListTest, TheTextSaysWhichIsUsedOfThoseThatAreAskedFor) {
    add("video0", slow_, {});
    add("video1", fast_, {.port = "1-4"});
    const auto cameras = list();
    EXPECT_EQ(usedCamera(cameras, "video0"), &cameras[0]);
    EXPECT_EQ(listText(cameras, "video0"), "/dev/video0: Test Camera (046d:0825)\n"
                                           "    used, with 640 x 480 YUYV at 30 a second\n"
                                           "    640 x 480 YUYV at 30 a second\n"
                                           "/dev/video1: Test Camera (046d:0825)\n"
                                           "    not used: video0 was asked for\n"
                                           "    1280 x 720 MJPG at 60, 30 a second\n"
                                           "    640 x 480 YUYV at 30 a second\n");
}

TEST_F(CameraListTest, WhatIsAskedForAndCannotBeUsedIsNone) {
    EXPECT_EQ(listText({}, "video7"), "There is no camera.\nvideo7 was asked for and is not there\n");
    add("video0", slow_, {});
    add("video1", fast_, {.port = "1-4"});
    fast_.busy = true;
    const auto cameras = list();
    EXPECT_EQ(usedCamera(cameras, "video7"), nullptr);
    const std::string absent = listText(cameras, "video7");
    EXPECT_THAT(absent, HasSubstr("    not used: video7 was asked for\n"));
    EXPECT_TRUE(absent.ends_with("\nvideo7 was asked for and is not there\n"));
    EXPECT_EQ(usedCamera(cameras, "/dev/video1"), nullptr);
    const std::string busy = listText(cameras, "/dev/video1");
    EXPECT_THAT(busy, HasSubstr("    not used: /dev/video1 was asked for\n"));
    EXPECT_THAT(busy, HasSubstr("    not used: /dev/video1 is used by another program\n"));
    EXPECT_THAT(busy, Not(HasSubstr("is not there")));
    EXPECT_EQ(usedCamera(cameras, ""), &cameras[0]);
}

TEST_F(CameraListTest, TheTextHasNoSerialNumber) {
    add("video0", slow_, {});
    EXPECT_THAT(listText(list(), ""), Not(HasSubstr("ABC123")));
}

} // namespace
} // namespace lightpen::webcam
