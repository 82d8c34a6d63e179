// SPDX-License-Identifier: MIT
#include "app/AboutPanel.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFont>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace lightpen {

namespace {

constexpr QSize kIconSize(96, 96);
constexpr int kWidth = 260;
constexpr double kNameEnlarged = 1.3;

// The panel's content: a picture above centred words. Wide enough for a title and its buttons.
class AboutPanel final : public QDialog {
public:
    AboutPanel() : buttons_(QDialogButtonBox::Ok) {
        QFont bold = name_.font();
        bold.setBold(true);
        bold.setPointSizeF(bold.pointSizeF() * kNameEnlarged);
        name_.setFont(bold);
        for (QLabel* label : {&icon_, &name_, &copyright_}) {
            label->setTextFormat(Qt::PlainText);
            // Each as a block: what its text indents stays indented.
            rows_.addWidget(label, 0, Qt::AlignHCenter);
        }
        copyright_.setTextInteractionFlags(Qt::TextSelectableByMouse);
        buttons_.setCenterButtons(true);
        buttons_.button(QDialogButtonBox::Ok)->setIcon({});
        rows_.addWidget(&buttons_);
        rows_.addStrut(kWidth);
        rows_.setSizeConstraint(QLayout::SetFixedSize);
        connect(&buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
    }

    void show(const AboutPanelOptions& options) {
        setWindowTitle(QString::fromStdString(options.applicationName));
        icon_.setPixmap(options.applicationIcon.pixmap(kIconSize, devicePixelRatioF()));
        icon_.setVisible(!options.applicationIcon.isNull());
        setText(name_, options.applicationName);
        setText(copyright_, options.copyright);
        if (!options.button.empty())
            buttons_.button(QDialogButtonBox::Ok)->setText(QString::fromStdString(options.button));
        if (!isVisible())
            QDialog::show(); // one that is shown already would be put in the middle of the screen again
        raise();
        activateWindow();
    }

private:
    static void setText(QLabel& label, const std::string& text) {
        label.setText(QString::fromStdString(text));
        label.setVisible(!text.empty());
    }

    QVBoxLayout rows_{this};
    QLabel icon_, name_, copyright_;
    QDialogButtonBox buttons_;
};

} // namespace

void orderFrontStandardAboutPanel(const AboutPanelOptions& options) {
    static auto* const panel = new AboutPanel; // never destroyed: Qt takes its own statics down before
    panel->show(options);
}

std::string versionText(int wireless, int boardVersion, int cmosVersion) {
    const auto line = [](const char* name, int version) {
        const auto bits = static_cast<unsigned>(version);
        return QString::asprintf("%s version %u.%u\n", name, (bits >> 4U) & 0xFU, bits & 0xFU).toStdString();
    };
    return wireless == 1 ? line("Main Board", boardVersion)
                         : line("Dongle", boardVersion) + "\n  " + line("CMOS", cmosVersion);
}

} // namespace lightpen
