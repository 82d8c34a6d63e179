// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include <QPushButton>
#include <QString>

#include "platform/Time.h"

namespace lightpen {

// A button that puts a text into the clipboard, and says so for a moment. Main thread, with the platform in
// place.
class CopyButton final : public QPushButton {
public:
    // For how long it says so.
    static constexpr Microseconds kTime = std::chrono::seconds(3);

    // The text is asked for when the user wants it.
    explicit CopyButton(std::function<QString()> text);
    ~CopyButton() override;
    CopyButton(const CopyButton&) = delete;
    CopyButton& operator=(const CopyButton&) = delete;

    // What it says, and what it says behind a click.
    void setWords(const QString& offer, const QString& done);

private:
    void copy();

    const std::function<QString()> text_;
    QString offer_;
    QString done_;
};

} // namespace lightpen
