// SPDX-License-Identifier: MIT
// Stray light in the room when a unit is plugged in, as the application's user has it.
#include <signal.h>

#include <QImage>
#include <QRect>

#include "on_screen/ApplicationTest.h"

namespace lightpen {
namespace {

constexpr std::uint8_t kEscape = 9, kReturn = 36;
// The check view's panel on a screen of 1024 x 768: a quarter free to each side, a sixth above, a third
// below.
const QRect kPanel(256, 128, 512, 384);

class ApplicationStrayLightTest : public ApplicationTest {
protected:
    // Plugs a unit in on which a foreign light shines.
    void lightIsMet(const Labels& options = {"--stray-light", "--calibrated"}) {
        ASSERT_TRUE(comes(user, options));
        ASSERT_TRUE(user.program.perform("plug"));
        ASSERT_TRUE(previewComes());
    }
    testing::AssertionResult previewComes() {
        if (comesTrue([&] { return panelOfCheck() && preview(); }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "panel " << panelOfCheck().has_value() << ", preview "
                                           << preview().has_value() << "; the log:\n"
                                           << user.program.log();
    }
    static QRect placeOf(const ShownWindow& window) {
        return {window.x, window.y, window.width, window.height};
    }
    std::optional<ShownWindow> panelOfCheck() {
        return user.window([](const ShownWindow& window) { return placeOf(window) == kPanel; });
    }
    std::optional<ShownWindow> preview() {
        return user.windowTitled(textOf(tableOf("English"), "Camera picture"));
    }
    bool previewHasTheKeyboard() {
        return comesTrue(
            [&] { return preview() && user.screen.focused(user.program.processId()) == preview(); });
    }
    // The left part of the window, where nothing but the camera's picture is.
    static QRect placeOfPicture(const ShownWindow& window) {
        return {window.x, window.y, window.width / 4, window.height};
    }
    // What is shown there once it is painted and stays as it is; none when that does not happen.
    std::optional<QImage> settledPictureOf(const QRect& place) {
        constexpr int kLooks = 20;
        QImage last;
        int alike = 0;
        const bool settled = comesTrue([&] {
            const QImage next = pictureOf(place);
            alike = next == last && !isOfOneColour(next) ? alike + 1 : 0;
            last = next;
            return alike == kLooks;
        });
        return settled ? std::optional(last) : std::nullopt;
    }
    static bool isOfOneColour(const QImage& picture) {
        QImage plain = picture;
        if (!plain.isNull())
            plain.fill(picture.pixelColor(0, 0));
        return plain == picture;
    }
    QImage pictureOf(const QRect& place) {
        const auto picture = eyes->look();
        if (!picture)
            return {};
        return QImage(picture->bytes.data(), picture->width, picture->height,
                      static_cast<qsizetype>(picture->stride), QImage::Format_RGB32)
            .copy(place);
    }
};

TEST_F(ApplicationStrayLightTest, ThePreviewStandsBesideThePanel) {
    lightIsMet();
    EXPECT_TRUE(user.showsMenu({"Exit"}));
    const auto shown = preview();
    ASSERT_TRUE(shown);
    const auto frame = user.screen.frame(*shown);
    EXPECT_FALSE(QRect(QPoint(frame[0], frame[1]), QPoint(frame[2] - 1, frame[3] - 1)).intersects(kPanel));
    EXPECT_TRUE(QRect(0, 0, 1024, 768).contains(placeOf(*shown)));
    EXPECT_TRUE(previewHasTheKeyboard());
}

TEST_F(ApplicationStrayLightTest, DetectAgainFetchesAPicture) {
    lightIsMet();
    const auto shown = preview();
    ASSERT_TRUE(shown);
    ASSERT_TRUE(previewHasTheKeyboard());
    const auto empty = settledPictureOf(placeOfPicture(*shown));
    ASSERT_TRUE(empty);
    const auto log = user.program.log().size();
    user.screen.pressKey(kReturn);
    ASSERT_TRUE(user.program.waitForLog("Light n:386 fired", log)) << user.program.log();
    ASSERT_TRUE(user.program.waitForLog("Event n:1151 return image: <", log)) << user.program.log();
    EXPECT_TRUE(comesTrue([&] { return pictureOf(placeOfPicture(*shown)) != *empty; }));
    EXPECT_TRUE(preview()) << "it stays";
}

TEST_F(ApplicationStrayLightTest, ThePenGoesOnWhenThePreviewIsClosed) {
    lightIsMet();
    ASSERT_TRUE(user.program.perform("stray off"));
    const auto shown = preview();
    ASSERT_TRUE(shown);
    user.screen.close(*shown);
    EXPECT_TRUE(comesTrue([&] { return !panelOfCheck() && !preview(); }));
    EXPECT_TRUE(user.showsMenu(fullMenu("English")));
    expectTap(333, 222);
}

TEST_F(ApplicationStrayLightTest, EscapeClosesItToo) {
    lightIsMet();
    ASSERT_TRUE(user.program.perform("stray off"));
    const auto shown = preview();
    ASSERT_TRUE(previewHasTheKeyboard());
    user.screen.pressKey(kEscape);
    EXPECT_TRUE(comesTrue([&] { return !panelOfCheck() && !preview(); }));
    EXPECT_TRUE(user.showsMenu(fullMenu("English")));
}

TEST_F(ApplicationStrayLightTest, ItComesBackAsLongAsTheLightIsOn) {
    lightIsMet();
    const auto log = user.program.log().size();
    const auto shown = preview();
    ASSERT_TRUE(shown);
    user.screen.close(*shown);
    ASSERT_TRUE(user.program.waitForLog("Light n:784 noiseDetectedCallback", log)) << user.program.log();
    EXPECT_TRUE(previewComes());
}

TEST_F(ApplicationStrayLightTest, ItIsThereWhenTheUnitIsPluggedInFirst) {
    ASSERT_TRUE(comes(user, {"--plugged", "--stray-light"}));
    EXPECT_TRUE(previewComes());
    EXPECT_TRUE(user.showsMenu({"Exit"}));
}

TEST_F(ApplicationStrayLightTest, TheProgramEndsWhileAPictureIsAwaited) {
    lightIsMet();
    ASSERT_TRUE(previewHasTheKeyboard());
    ASSERT_TRUE(user.program.perform("silent on"));
    const auto log = user.program.log().size();
    user.screen.pressKey(kReturn);
    ASSERT_TRUE(user.program.waitForLog("Light n:386 fired", log)) << user.program.log();
    user.program.send(SIGTERM);
    EXPECT_EQ(user.program.waitForEnd(), 0) << user.program.log();
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
