// SPDX-License-Identifier: MIT
#include "app/ResourceImages.h"

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
        writeFile(path, contents);
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

TEST_F(ResourceImagesTest, AnImageHasItsOwnSize) {
    put("calib", kBlue);
    const QPixmap image = resourceImage("calib");
    EXPECT_EQ(image.deviceIndependentSize(), QSizeF(40, 24));
    EXPECT_EQ(image.toImage().pixelColor(20, 12), QColor(Qt::blue));
}

TEST_F(ResourceImagesTest, AnImageIsDrawnOnce) {
    put("calib", kBlue);
    const QPixmap image = resourceImage("calib");
    EXPECT_EQ(resourceImage("calib").cacheKey(), image.cacheKey());
}

TEST_F(ResourceImagesTest, AMissingOrDamagedOneIsNamedAndEmpty) {
    const auto isNull = [](bool icon) {
        return icon ? resourceIcon("auto").isNull() : resourceImage("auto").isNull();
    };
    for (const bool icon : {true, false}) {
        SCOPED_TRACE(icon);
        desk.bundle.files.clear();
        EXPECT_TRUE(isNull(icon));
        EXPECT_THAT(log.takeLines(), ElementsAre("Application: the picture auto.svg is missing"));
        for (const char* damaged : {"no picture", "<svg"}) {
            put("auto", damaged);
            EXPECT_TRUE(isNull(icon));
            EXPECT_THAT(log.takeLines(), testing::Contains("Application: the picture " +
                                                           folder.file("auto.svg") + " cannot be read"));
        }
    }
}

} // namespace
} // namespace lightpen
