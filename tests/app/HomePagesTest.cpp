// SPDX-License-Identifier: MIT
// The pages of the application's window that ask the driver: what they show of it, and what they copy.
#include <gmock/gmock.h>

#include <QClipboard>
#include <QListWidget>
#include <QMouseEvent>

#include "app/ControllerFixture.h"
#include "app/PreviewImageView.h"
#include "app/home/HomeWindow.h"
#include "app/home/PenTrialScreen.h"

namespace lightpen {
namespace {

using testing::HasSubstr;
using testing::Not;

class HomePagesTest : public ControllerFixture {
protected:
    HomePagesTest() {
        controller->setProgramFacts({.logFile = "", .pointer = [] { return "uinput"; }});
    }
    void showPage(const char* title) {
        controller->showHome();
        topWindow<HomeWindow>()->showPage(title);
        QCoreApplication::processEvents();
    }
    static PreviewImageView& picture() { return widget<PreviewImageView>("unitPicture"); }
    static std::string words(const char* name) { return widget<QLabel>(name).text().toStdString(); }
};

TEST_F(HomePagesTest, TheCalibrationOfTheUnitThatIsThereIsInThePicture) {
    start();
    showPage("Camera picture");
    EXPECT_EQ(words("unitWords"), "No camera unit");
    openUnit({.points = {{210, 140}, {2330, 161}, {233, 1709}, {2291, 1688}}});
    controller->statMenu(*driver);
    controller->deviceDidAddCallback(*driver);
    EXPECT_EQ(picture().outline(),
              (std::array<CameraPoint, 4>{{{210, 140}, {2330, 161}, {2291, 1688}, {233, 1709}}}));
    openUnit();
    controller->deviceDidAddCallback(*driver);
    EXPECT_EQ(picture().outline(), std::nullopt);
    EXPECT_EQ(words("unitWords"), "The camera unit holds no calibration.");
}

TEST_F(HomePagesTest, TheLastUnitsPictureGoesWithItAlsoWhileNobodyLooks) {
    startWithUnit();
    showPage("Camera picture");
    picture().setImage(previewImageOf(std::array<std::uint8_t, kPreviewPictureBytes>{}));
    topWindow<HomeWindow>()->close();
    controller->deviceDidRemoveCallback(*driver);
    controller->deviceDidAddCallback(*driver);
    showPage("Camera picture");
    EXPECT_EQ(picture().image(), nullptr);
}

TEST_F(HomePagesTest, NothingIsAskedOfTheUnitUntilTheUserDoes) {
    startWithUnit();
    happened.clear();
    showPage("Camera picture");
    showPage("Try the pen");
    showPage("Camera picture");
    EXPECT_THAT(happened.takeDeeds(), Not(testing::Contains(HasSubstr("send"))));
}

TEST_F(HomePagesTest, APenThatIsOffLeadsToTheCalibration) {
    start();
    showPage("Try the pen");
    widget<QPushButton>("penTrialMeasure").click();
    PenTrialScreen& screen = *topWindow<PenTrialScreen>();
    const ScreenPoint cross = screen.trial().crosses()[4];
    const QPointF place(cross.x + 50, cross.y);
    QMouseEvent press(QEvent::MouseButtonPress, place, place, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&screen, &press);
    screen.close();
    widget<QPushButton>("penTrialCalibrate").click();
    EXPECT_EQ(widget<QListWidget>("titles").currentItem()->text(), "Calibration");
    EXPECT_EQ(driver->delegate(), nullptr) << "the user chooses how";
}

TEST_F(HomePagesTest, TheLanguageIsEveryPages) {
    desk.defaults.set["Language"] = std::string("de");
    start();
    showPage("Try the pen");
    for (const char* name : {"penTrialMeasure", "penTrialClear", "unitTakePicture"})
        EXPECT_TRUE(widget<QPushButton>(name).text().startsWith("de:")) << name;
    EXPECT_EQ(words("unitWords"), "de:No camera unit");
}

TEST_F(HomePagesTest, TheReportForHelpIsCopied) {
    start();
    showPage("Help");
    widget<QPushButton>("copyReport").click();
    const std::string copied = QApplication::clipboard()->text().toStdString();
    EXPECT_THAT(copied, HasSubstr("\n  Pointer: uinput\n"));
    EXPECT_THAT(copied, HasSubstr("\nLog\n  File: none\n"));
}

} // namespace
} // namespace lightpen
