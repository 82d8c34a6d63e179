// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/PrimaryOutput.h"

#include <QGuiApplication>

#include "linux_desktop/screen/KWinOutputOrder.h"
#include "linux_desktop/screen/MutterOutputs.h"

namespace lightpen {

PrimaryOutput::PrimaryOutput()
    : PrimaryOutput(QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {}

// Both are asked before either is waited for.
PrimaryOutput::PrimaryOutput(bool wayland, std::chrono::milliseconds patience) {
    if (!wayland)
        return;
    const auto until = std::chrono::steady_clock::now() + patience;
    mutter_ = std::make_unique<MutterOutputs>([this] { look(); }, patience);
    kwin_ = std::make_unique<KWinOutputOrder>([this] { look(); });
    kwin_->settle(until);
    mutter_->settle();
}

PrimaryOutput::~PrimaryOutput() = default;

bool PrimaryOutput::pointersHaveOneOutput() const {
    return kwin_ && kwin_->isWeston();
}

// The compositor's own connection says whose screens these are; the bus may be shared by several.
void PrimaryOutput::look() {
    const std::string kwins = kwin_ ? kwin_->name() : std::string();
    const std::string& name = kwins.empty() ? mutter_->name() : kwins;
    if (name == name_)
        return;
    name_ = name;
    if (changed_)
        changed_();
}

} // namespace lightpen
