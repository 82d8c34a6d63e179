// SPDX-License-Identifier: MIT
#include "app/ResourceImages.h"

#include <optional>

#include <QGuiApplication>
#include <QImageReader>
#include <QPixmapCache>

#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr int kPanelSide = 22;

std::optional<QString> fileOf(std::string_view name) {
    if (const auto path = Platform::current().shell.bundle.pathForResource(name, "svg"))
        return QString::fromStdString(*path);
    logLine("Application: the picture %s.svg is missing", name);
    return std::nullopt;
}

void logUnreadable(const QString& path) {
    logLine("Application: the picture %s cannot be read", qUtf8Printable(path));
}

} // namespace

QIcon resourceIcon(std::string_view name) {
    const auto path = fileOf(name);
    QIcon icon = path ? QIcon(*path) : QIcon();
    if (!path || !icon.pixmap(kPanelSide).isNull())
        return icon;
    logUnreadable(*path);
    return {};
}

// From Qt's own store while it has it. What a button draws of a picture stays in that store as well, so that
// one made anew for each calibration would leave another copy behind each time.
QPixmap resourceImage(std::string_view name) {
    const auto path = fileOf(name);
    if (!path)
        return {};
    const double ratio = qGuiApp->devicePixelRatio();
    const QString key = *path + QLatin1Char('@') + QString::number(ratio);
    if (QPixmap drawn; QPixmapCache::find(key, &drawn))
        return drawn;
    QImageReader reader(*path);
    reader.setScaledSize((QSizeF(reader.size()) * ratio).toSize());
    QPixmap pixmap = QPixmap::fromImageReader(&reader);
    if (pixmap.isNull())
        logUnreadable(*path);
    pixmap.setDevicePixelRatio(ratio);
    if (!pixmap.isNull())
        QPixmapCache::insert(key, pixmap);
    return pixmap;
}

} // namespace lightpen
