// SPDX-License-Identifier: MIT
#include "app/home/UnitView.h"

#include <memory>

#include <gtest/gtest.h>

#include <QCoreApplication>

#include "kit/calibration/SessionFixture.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

PointListRef listOf(PointList points) {
    return std::make_shared<const PointList>(std::move(points));
}

class UnitViewTest : public testing::Test {
protected:
    UnitViewTest() {
        view->setTexts(texts(""));
        view->resize(400, 320);
        view->show();
        QCoreApplication::processEvents();
    }
    static HomeTexts texts(const std::string& mark) {
        return [mark](std::string_view key) { return QString::fromStdString(mark + std::string(key)); };
    }
    std::string words() const { return view->findChild<QLabel*>("unitWords")->text().toStdString(); }
    QPushButton& take() const { return *view->findChild<QPushButton*>("unitTakePicture"); }
    PreviewImageView& picture() const {
        return dynamic_cast<PreviewImageView&>(*view->findChild<QWidget*>("unitPicture"));
    }
    static PreviewImageRef image() {
        return previewImageOf(std::array<std::uint8_t, kPreviewPictureBytes>{});
    }

    const bool application = ensureOffscreenApplication();
    PointListRef points = listOf({});
    std::function<PreviewImageRef()> onPicture = [] { return image(); };
    int asked = 0;
    std::unique_ptr<UnitView> view = std::make_unique<UnitView>(UnitView::Unit{[this] {
                                                                                   ++asked;
                                                                                   return onPicture();
                                                                               },
                                                                               [this] { return points; }});
};

TEST_F(UnitViewTest, OnlyTheUserAsksForAPicture) {
    view->hide();
    view->show();
    view->unitDidChange();
    QCoreApplication::processEvents();
    EXPECT_EQ(asked, 0);
    take().click();
    EXPECT_EQ(asked, 1);
    EXPECT_NE(picture().image(), nullptr);
    EXPECT_TRUE(take().isEnabled());
}

TEST_F(UnitViewTest, IsNotMerelyBlackBeforeTheFirstPicture) {
    const QImage words = picture().grab().toImage();
    picture().setWaitingText({});
    EXPECT_NE(picture().grab().toImage(), words);
}

TEST_F(UnitViewTest, TheStoredCornersGoAround) {
    EXPECT_EQ(words(), "The camera unit holds no calibration.");
    EXPECT_EQ(picture().outline(), std::nullopt);
    points = listOf({{300, 200}, {2200, 250}, {350, 1700}, {2300, 1600}});
    view->unitDidChange();
    EXPECT_EQ(picture().outline(),
              (std::array<CameraPoint, 4>{{{300, 200}, {2200, 250}, {2300, 1600}, {350, 1700}}}));
    EXPECT_EQ(words(), "The frame joins the places that were touched in the calibration.");
    EXPECT_EQ(picture().accessibleDescription().toStdString(), words());
}

TEST_F(UnitViewTest, ShowsTheCalibrationOfNowWheneverItIsLookedAt) {
    points = listOf({{300, 200}, {2200, 250}, {350, 1700}, {2300, 1600}});
    view->hide();
    view->show();
    EXPECT_NE(picture().outline(), std::nullopt);
    points = listOf({});
    take().click();
    EXPECT_EQ(picture().outline(), std::nullopt);
}

TEST_F(UnitViewTest, WithoutAUnitThereIsNoPicture) {
    take().click();
    points = nullptr;
    view->unitDidChange();
    EXPECT_EQ(picture().image(), nullptr) << "nobody sees that any more";
    EXPECT_EQ(words(), "No camera unit");
    EXPECT_FALSE(take().isEnabled());
    points = listOf({});
    view->unitDidChange();
    EXPECT_TRUE(take().isEnabled());
}

// The driver answers with its last picture then.
TEST_F(UnitViewTest, AUnitThatLeavesMeanwhileHasSentNone) {
    onPicture = [this] {
        points = nullptr;
        return image();
    };
    take().click();
    EXPECT_EQ(picture().image(), nullptr);
    EXPECT_EQ(words(), "No camera unit");
}

TEST_F(UnitViewTest, WhatAnotherUnitSawIsNotShown) {
    take().click();
    points = listOf({{300, 200}, {2200, 250}, {350, 1700}, {2300, 1600}});
    view->unitDidArrive();
    EXPECT_EQ(picture().image(), nullptr);
    EXPECT_NE(picture().outline(), std::nullopt);
    onPicture = [this] {
        view->unitDidArrive();
        return image();
    };
    take().click();
    EXPECT_EQ(picture().image(), nullptr) << "it came while the last one's was fetched";
    onPicture = [] { return image(); };
    take().click();
    EXPECT_NE(picture().image(), nullptr);
}

TEST_F(UnitViewTest, WhileAPictureIsFetchedNobodyAsksForAnother) {
    onPicture = [this] {
        EXPECT_EQ(words(), "Fetching the picture...");
        EXPECT_FALSE(take().isEnabled());
        take().click();
        view->setTexts(texts("de:"));
        EXPECT_EQ(words(), "de:Fetching the picture...");
        return image();
    };
    take().click();
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(words(), "de:The camera unit holds no calibration.");
    EXPECT_EQ(take().text(), "de:Take a picture");
    EXPECT_EQ(picture().accessibleName(), "de:Camera picture");
}

TEST_F(UnitViewTest, MayGoWhileAPictureIsFetched) {
    onPicture = [this] {
        view.reset();
        return image();
    };
    take().click();
    EXPECT_EQ(view, nullptr);
}

// Those of each grid that a calibration may have.
TEST(OuterCornersTest, AreThoseOfTheGrid) {
    for (const std::size_t count : {4u, 9u, 25u, 80u}) {
        const PointListRef all = spreadPoints(count);
        const std::size_t columns = count == 80 ? 10 : count == 25 ? 5 : count == 9 ? 3 : 2;
        EXPECT_EQ(outerCorners(all),
                  (std::array{(*all)[0], (*all)[columns - 1], (*all)[count - 1], (*all)[count - columns]}))
            << count;
    }
}

TEST(OuterCornersTest, AreNotThereWithoutFourPoints) {
    EXPECT_EQ(outerCorners(nullptr), std::nullopt);
    EXPECT_EQ(outerCorners(listOf({})), std::nullopt);
    EXPECT_EQ(outerCorners(listOf({{1, 2}, {3, 4}, {5, 6}})), std::nullopt);
    // What lies behind the four in a flash is none of theirs.
    EXPECT_EQ(outerCorners(listOf({{1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}})),
              (std::array<CameraPoint, 4>{{{1, 2}, {3, 4}, {7, 8}, {5, 6}}}));
}

} // namespace
} // namespace lightpen
