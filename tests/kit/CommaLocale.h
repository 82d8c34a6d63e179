// SPDX-License-Identifier: MIT
#pragma once

#include <clocale>
#include <cstdlib>
#include <string>

#include "kit/TemporaryDirectory.h"

namespace lightpen {

// A locale of our own in which numbers have a comma, made for this test since a machine may have none.
class CommaLocale {
public:
    CommaLocale() {
        writeFile(folder_.file("source"), "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\n"
                                          "END LC_NUMERIC\n");
        // It complains about the categories that are missing, and writes the others all the same.
        const std::string command = "localedef -c --no-archive -i '" + folder_.file("source") + "' '" +
                                    folder_.file("comma") + "' >/dev/null 2>&1";
        [[maybe_unused]] const int status = std::system(command.c_str());
        setenv("LOCPATH", folder_.path().c_str(), 1);
        set_ = std::setlocale(LC_NUMERIC, "comma") != nullptr;
    }
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        unsetenv("LOCPATH");
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    bool set() const { return set_; }

private:
    const TemporaryDirectory folder_;
    bool set_ = false;
};

} // namespace lightpen
