// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace lightpen {

class KWinOutputOrder;
class MutterOutputs;

// The output that the desktop itself calls its primary one. Wayland knows none, and Qt then takes the first
// one that was announced, so the desktops that tell theirs otherwise are asked. Under X11 Qt is right. Main
// thread.
class PrimaryOutput {
public:
    // How long the start waits for the desktop's answer.
    static constexpr std::chrono::milliseconds kPatience{500};

    // Made after the application object. Asks where Qt has a Wayland connection, and follows the answer from
    // then on; one that comes later than the patience counts when it comes.
    PrimaryOutput();
    // Asks, or does not, whatever Qt has.
    explicit PrimaryOutput(bool wayland, std::chrono::milliseconds patience = kPatience);
    ~PrimaryOutput();
    PrimaryOutput(const PrimaryOutput&) = delete;
    PrimaryOutput& operator=(const PrimaryOutput&) = delete;

    // Whether somebody is asked at all.
    bool isAsked() const { return mutter_ != nullptr; }
    // As Qt calls the screen; empty where nobody says, and Qt's own primary screen counts.
    const std::string& name() const { return name_; }
    // Whether the compositor gives an absolute pointer one output alone, as its panel stands, and not the
    // whole desktop. Of those that are known only weston does.
    bool pointersHaveOneOutput() const;
    // Called when the name has changed, from the main loop.
    void setObserver(std::function<void()> changed) { changed_ = std::move(changed); }

private:
    void look();

    std::string name_;
    std::function<void()> changed_;
    std::unique_ptr<MutterOutputs> mutter_;
    std::unique_ptr<KWinOutputOrder> kwin_;
};

} // namespace lightpen
