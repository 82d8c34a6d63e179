// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QEvent>
#include <QString>
#include <QWidget>

namespace lightpen {

// What the labels of a calibration have in common: small letters on a ground that makes one thing of the
// words, quiet beside the target and legible all the same. The kind is the widget of Qt's that it is, one
// with a text. Main thread.
template <class Kind>
class SessionLabel : public Kind {
protected:
    // Hidden, without a text.
    explicit SessionLabel(QWidget& view) : Kind(&view) {
        QFont smaller = this->font();
        smaller.setPixelSize(kTextPixels);
        this->setFont(smaller);
        view.installEventFilter(this);
        this->hide();
    }
    // Shows the text in its place; an empty one hides the label.
    void showText(const QString& text) {
        this->setText(text);
        place();
        this->setVisible(!text.isEmpty());
    }
    // Takes its place, which depends on the view's size and on the text.
    virtual void place() = 0;

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Resize)
            place();
        return false;
    }

    static constexpr int kSidePadding = 14; // in points
    static inline const QColor kGround{0xD6, 0xD6, 0xD6};
    static inline const QColor kText{0x40, 0x40, 0x40};

private:
    static constexpr int kTextPixels = 14;
};

} // namespace lightpen
