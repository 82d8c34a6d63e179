// SPDX-License-Identifier: MIT
#include "app/ResourceImages.h"

#include <fstream>

#include <gmock/gmock.h>

#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"
#include "kit/TestPlatform.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ResourceImagesTest : public testing::Test {
protected:
    ResourceImagesTest() { ensureOffscreenApplication(); }

    void put(const std::string& name, const std::string& contents) {
        const std::string path = folder.file(name + ".svg");
        std::ofstream(path) << contents;
        desk.bundle.files[name + ".svg"] = path;
    }
    static constexpr const char* kBlue = R"(<svg xmlns="http://www.w3.org/2000/svg" width="40" height="24">)"
                                         R"(<rect width="40" height="24" fill="#0000ff"/></svg>)";
    TestPlatform desk;
    RecordingLog log;
    TemporaryDirectory folder;
};

TEST_F(ResourceImagesTest, AnIconIsSharpAtItsSize) {
    put("disconn", kBlue);
    const QImage image = resourceIcon("disconn").pixmap(80, 48).toImage();
    EXPECT_EQ(image.size(), QSize(80, 48));
    EXPECT_EQ(image.pixelColor(40, 24), QColor(Qt::blue));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ResourceImagesTest, AMissingIconIsNamedAndEmpty) {
    EXPECT_TRUE(resourceIcon("disconn").isNull());
    EXPECT_THAT(log.lines(), ElementsAre("Application: the picture disconn.svg is missing"));
}

TEST_F(ResourceImagesTest, ADamagedIconIsNamedAndEmpty) {
    put("connect", "no picture");
    EXPECT_TRUE(resourceIcon("connect").isNull());
    EXPECT_THAT(log.lines(), testing::Contains("Application: the picture " +
                                               desk.bundle.files["connect.svg"] + " cannot be read"));
}

TEST_F(ResourceImagesTest, AnImageHasItsOwnSize) {
    put("calib", kBlue);
    const QPixmap image = resourceImage("calib");
    EXPECT_EQ(image.deviceIndependentSize(), QSizeF(40, 24));
    EXPECT_EQ(image.toImage().pixelColor(20, 12), QColor(Qt::blue));
}

TEST_F(ResourceImagesTest, AMissingOrDamagedImageIsNamedAndEmpty) {
    EXPECT_TRUE(resourceImage("auto").isNull());
    EXPECT_THAT(log.takeLines(), ElementsAre("Application: the picture auto.svg is missing"));
    put("calib", "<svg");
    EXPECT_TRUE(resourceImage("calib").isNull());
    EXPECT_THAT(log.lines(), testing::Contains("Application: the picture " + desk.bundle.files["calib.svg"] +
                                               " cannot be read"));
}

} // namespace
} // namespace lightpen
