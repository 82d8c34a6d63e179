// SPDX-License-Identifier: MIT
#include "app/AboutPanel.h"

#include <QMessageBox>
#include <QPointer>

namespace lightpen {

void orderFrontStandardAboutPanel(const AboutPanelOptions& options) {
    static QPointer<QMessageBox> panel;
    if (!panel) {
        panel = new QMessageBox;
        panel->setAttribute(Qt::WA_DeleteOnClose);
        panel->setModal(false);
    }
    panel->setText(QString::fromStdString(options.applicationName));
    panel->setInformativeText(QString::fromStdString(options.copyright));
    panel->setIconPixmap(options.applicationIcon.pixmap(64));
    panel->show();
    panel->raise();
    panel->activateWindow();
}

} // namespace lightpen
