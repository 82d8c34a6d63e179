// SPDX-License-Identifier: MIT
#include "linux_desktop/LinuxLocales.h"

#include <QLocale>

namespace lightpen {

std::vector<std::string> LinuxLocales::preferredLanguages() const {
    return {QLocale::languageToCode(QLocale::system().language()).toStdString()};
}

} // namespace lightpen
