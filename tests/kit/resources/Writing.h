// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <QChar>
#include <QString>

namespace lightpen {

// How a language is written, as far as a program can look after it.
struct Writing {
    std::string identifier;
    // A letter of a text is of one of these, and a table has letters of all of them.
    std::vector<QChar::Script> scripts;
    // Where it is written in Latin letters: those that it has besides a to z.
    QString furtherLetters;
    // Letters of its script that other languages have and it has not.
    QString foreignLetters;
    // Keys whose text is the English one here too: words that the language has taken over.
    std::vector<std::string> asInEnglish;
};

// That of one of the application's languages; fails with std::out_of_range for any other.
const Writing& writingOf(const std::string& identifier);

} // namespace lightpen
