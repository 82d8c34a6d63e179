// SPDX-License-Identifier: MIT
#include "app/ResourceImages.h"

#include <optional>
#include <string>

#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>

#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr std::string_view kType = "svg";
constexpr int kPanelSide = 22;
constexpr int kPlainSide = 64;

std::optional<std::string> fileOf(std::string_view name) {
    auto path = Platform::current().shell.bundle.pathForResource(name, kType);
    if (!path)
        logLine("Application: the picture %.*s.svg is missing", static_cast<int>(name.size()), name.data());
    return path;
}

void logUnreadable(const std::string& path) {
    logLine("Application: the picture %s cannot be read", path.c_str());
}

// Seen on any panel: light, with a dark edge.
QIcon plainIcon() {
    QPixmap pixmap(kPlainSide, kPlainSide);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, kPlainSide / 8.0));
    painter.setBrush(Qt::white);
    const double margin = kPlainSide / 8.0;
    painter.drawEllipse(QRectF(0, 0, kPlainSide, kPlainSide).adjusted(margin, margin, -margin, -margin));
    return QIcon(pixmap);
}

} // namespace

QIcon resourceIcon(std::string_view name) {
    const auto path = fileOf(name);
    if (!path)
        return plainIcon();
    QIcon icon(QString::fromStdString(*path));
    if (!icon.pixmap(kPanelSide).isNull())
        return icon;
    logUnreadable(*path);
    return plainIcon();
}

QPixmap resourceTargetImage(TargetImage image) {
    const auto path = fileOf(image == TargetImage::automatic ? "auto" : "calib");
    if (!path)
        return targetImage(image);
    QImageReader reader(QString::fromStdString(*path));
    const double ratio = qGuiApp->devicePixelRatio();
    const QSize size = reader.size();
    reader.setScaledSize((QSizeF(size) * ratio).toSize());
    QPixmap pixmap = QPixmap::fromImageReader(&reader);
    if (size.isEmpty() || pixmap.isNull()) {
        logUnreadable(*path);
        return targetImage(image);
    }
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

} // namespace lightpen
