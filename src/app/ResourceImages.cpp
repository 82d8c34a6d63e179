// SPDX-License-Identifier: MIT
#include "app/ResourceImages.h"

#include <optional>

#include <QGuiApplication>
#include <QImageReader>

#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr int kPanelSide = 22;

std::optional<QString> fileOf(std::string_view name) {
    if (const auto path = Platform::current().shell.bundle.pathForResource(name, "svg"))
        return QString::fromStdString(*path);
    logLine("Application: the picture %.*s.svg is missing", static_cast<int>(name.size()), name.data());
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

QPixmap resourceImage(std::string_view name) {
    const auto path = fileOf(name);
    if (!path)
        return {};
    QImageReader reader(*path);
    const double ratio = qGuiApp->devicePixelRatio();
    reader.setScaledSize((QSizeF(reader.size()) * ratio).toSize());
    QPixmap pixmap = QPixmap::fromImageReader(&reader);
    if (pixmap.isNull())
        logUnreadable(*path);
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

} // namespace lightpen
