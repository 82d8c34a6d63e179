// SPDX-License-Identifier: MIT
#include "webcam/camera/ControlsFile.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "webcam/camera/CameraStage.h"

namespace lightpen::webcam {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::vector<ControlValue> kValues{{10094849, 3}, {10094850, -250}, {9963795, 64}};

TEST(ControlsFileTest, ReadsWhatItWrites) {
    EXPECT_EQ(textOfControls(kValues), "camera controls 1\n10094849 3\n10094850 -250\n9963795 64\nend\n");
    EXPECT_EQ(controlsOfText(textOfControls(kValues)), kValues);
}

TEST(ControlsFileTest, TakesNoOtherText) {
    const std::string text = textOfControls(kValues);
    for (std::size_t size = 0; size < text.size(); ++size)
        EXPECT_THAT(controlsOfText(std::string_view(text).substr(0, size)), IsEmpty()) << size;
    for (const char* other :
         {"camera controls 2\n1 2\nend\n", "camera controls 1\n1 2 3\nend\n", "camera controls 1\n1\nend\n",
          "camera controls 1\n1 99999999999\nend\n", "camera controls 1\n-1 2\nend\n",
          "camera controls 1\n1 2\nend\nmore", "camera controls 1\n 1 2\nend\n"})
        EXPECT_THAT(controlsOfText(other), IsEmpty()) << other;
}

TEST(ControlsFileTest, KeepsForEachCameraUntilItIsForgotten) {
    const CameraStage stage;
    EXPECT_THAT(stage.controls.left("one"), IsEmpty());
    EXPECT_TRUE(stage.controls.keep("one", kValues));
    EXPECT_TRUE(stage.controls.keep("two", {{1, 2}}));
    EXPECT_EQ(stage.controls.left("one"), kValues);
    EXPECT_THAT(stage.controls.left("two"), ElementsAre(ControlValue{1, 2}));
    stage.controls.forget("one");
    EXPECT_THAT(stage.controls.left("one"), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(stage.fileOf("one")));
    EXPECT_THAT(stage.controls.left("two"), ElementsAre(ControlValue{1, 2}));
    EXPECT_THAT(stage.log.lines(), IsEmpty());
}

TEST(ControlsFileTest, ADamagedFileIsToldOnceAndGoes) {
    const CameraStage stage;
    writeFile(stage.fileOf("one"), "camera controls 1\n10094849");
    EXPECT_THAT(stage.controls.left("one"), IsEmpty());
    EXPECT_THAT(stage.controls.left("one"), IsEmpty());
    EXPECT_THAT(stage.log.lines(),
                ElementsAre("Camera: " + stage.fileOf("one") + " is damaged; the controls stay as they are"));
}

TEST(ControlsFileTest, AnIdentityLeadsToNoOtherFolder) {
    const CameraStage stage;
    EXPECT_TRUE(stage.controls.keep("../../a b/c", kValues));
    EXPECT_TRUE(std::filesystem::exists(stage.fileOf(".._.._a_b_c")));
    EXPECT_EQ(stage.controls.left("../../a b/c"), kValues);
}

TEST(ControlsFileTest, AFolderThatCannotBeWrittenIsTold) {
    CameraStage stage;
    writeFile(stage.folder.file("plain"), "");
    const ControlsFile file(stage.files, stage.folder.file("plain"));
    EXPECT_FALSE(file.keep("one", kValues));
    EXPECT_THAT(stage.log.lines(), ElementsAre(HasSubstr("camera-controls-one")));
}

} // namespace
} // namespace lightpen::webcam
