// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include <QGuiApplication>

#include "kit/TestPlatform.h"
#include "kit/linux/PointerOver.h"
#include "kit/linux/RecordingWindow.h"
#include "linux_desktop/pointer/XTestPointer.h"
#include "linux_desktop/screen/QtDesktop.h"
#include "measure/desktop/Patience.h"

namespace lightpen {

// A pointer, the desktop that tells it where things are, and a window on the main screen that sees what
// arrives.
class PointerOnScreen : public testing::Test {
protected:
    PointerOnScreen() {
        std::string problem;
        auto device = XTestPointer::create(nullptr, problem);
        EXPECT_TRUE(device) << problem;
        pointer = std::make_unique<PointerOver>(std::move(device), geometry);
    }

    void showWindow() {
        window = std::make_unique<RecordingWindow>(*desktop.mainScreen());
        EXPECT_TRUE(comesTrue([&] { return window->isExposed(); }));
    }
    // The button events once there are that many.
    std::vector<std::string> buttonEvents(std::size_t count) {
        comesTrue([&] { return window->buttonEvents().size() >= count; });
        return window->buttonEvents();
    }

    MemoryDefaults defaults;
    SharedGeometry geometry;
    QtDesktop desktop{defaults, geometry};
    std::unique_ptr<PointerOver> pointer;
    std::unique_ptr<RecordingWindow> window;
};

} // namespace lightpen
