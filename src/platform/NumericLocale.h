// SPDX-License-Identifier: MIT
#pragma once

#include <clocale>

#include <locale.h>

namespace lightpen {

// The thread's numbers are in the "C" locale while it lives. A desktop toolkit sets the user's locale, in
// which "%.2f" may print a comma.
class CNumericLocale {
public:
    CNumericLocale() : previous_(uselocale(cLocale())) {}
    ~CNumericLocale() { uselocale(previous_); }
    CNumericLocale(const CNumericLocale&) = delete;
    CNumericLocale& operator=(const CNumericLocale&) = delete;

private:
    static locale_t cLocale() {
        static const locale_t locale = newlocale(LC_NUMERIC_MASK, "C", nullptr);
        return locale;
    }
    locale_t previous_;
};

} // namespace lightpen
