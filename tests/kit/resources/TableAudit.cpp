// SPDX-License-Identifier: MIT
#include "kit/resources/TableAudit.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include <QString>

#include "kit/resources/Writing.h"

namespace lightpen {

namespace {

using Problems = std::vector<std::string>;

void append(Problems& problems, const Problems& more) {
    problems.insert(problems.end(), more.begin(), more.end());
}

bool contains(const std::vector<std::string>& list, const std::string& text) {
    return std::ranges::find(list, text) != list.end();
}

// "key" what: text
std::string complaint(const std::string& key, std::string_view what, const std::string& text) {
    std::string line = "\"";
    line.append(key).append("\" ").append(what);
    if (!text.empty())
        line.append(": ").append(text);
    return line;
}

Problems keyProblems(const StringTable& table) {
    Problems problems;
    std::map<std::string, int> counts;
    for (const auto& [key, text] : table)
        ++counts[key];
    for (const std::string& key : tableKeys())
        if (!counts.contains(key))
            problems.push_back(complaint(key, "is missing", {}));
    for (const auto& [key, count] : counts) {
        if (!contains(tableKeys(), key))
            problems.push_back(complaint(key, "is asked for by nothing", {}));
        if (count > 1)
            problems.push_back(complaint(key, "is there more than once", {}));
    }
    return problems;
}

// What a text leaves to be filled in, sorted: a translation may use another order.
std::vector<std::string> placeholders(const std::string& text) {
    static const std::regex pattern("%[-+#0-9.*$lh]*[A-Za-z@%]|%[0-9]+");
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
        found.push_back(match->str());
    std::ranges::sort(found);
    return found;
}

bool hasControlCharacter(const QString& text) {
    return std::ranges::any_of(text, [](QChar c) {
        return c.category() == QChar::Other_Control || c == QChar::ReplacementCharacter;
    });
}

// Ends with the sign for "asks for more"; the English text has three full stops for it.
bool endsWithEllipsis(const std::string& text) {
    return text.ends_with("...") || text.ends_with("\u2026");
}

Problems formProblems(const std::string& key, const std::string& text) {
    const QString characters = QString::fromStdString(text);
    if (text.empty())
        return {complaint(key, "is empty", {})};
    Problems problems;
    const auto complain = [&](bool wrong, const char* what) {
        if (wrong)
            problems.push_back(complaint(key, what, text));
    };
    complain(characters.trimmed() != characters, "begins or ends with a space");
    complain(text.find("  ") != std::string::npos, "has two spaces in a row");
    complain(hasControlCharacter(characters), "has a character that is none of writing");
    complain(characters.normalized(QString::NormalizationForm_C) != characters,
             "has accents apart from their letters");
    complain(text.find('&') != std::string::npos, "has a character that menus swallow");
    complain(placeholders(text) != placeholders(key), "has other placeholders");
    complain(endsWithEllipsis(text) != endsWithEllipsis(key), "gained or lost its ellipsis");
    return problems;
}

// Its letters alone, in small ones: what is left to tell two texts apart when only their form differs.
QString essence(const std::string& text) {
    QString letters;
    for (const QChar c : QString::fromStdString(text).toCaseFolded())
        if (c.isLetterOrNumber())
            letters += c;
    return letters;
}

Problems translationProblems(const StringTable& table, const Writing& writing) {
    Problems problems;
    for (const auto& [key, text] : table) {
        if (writing.identifier == "en") {
            if (text != key)
                problems.push_back(complaint(key, "differs from its key", text));
            continue;
        }
        const bool english = essence(text) == essence(key);
        const bool permitted = contains(writing.asInEnglish, key);
        if (english && !permitted)
            problems.push_back(complaint(key, "is not translated", text));
        if (!english && permitted)
            problems.push_back(complaint(key, "is translated, so it need not be permitted", text));
        if (text.ends_with("..."))
            problems.push_back(complaint(key, "has three full stops for an ellipsis", text));
    }
    return problems;
}

bool permittedLetter(QChar letter, const Writing& writing) {
    if (writing.foreignLetters.contains(letter, Qt::CaseInsensitive))
        return false;
    const bool common = letter.script() == QChar::Script_Common;
    if (!common && std::ranges::find(writing.scripts, letter.script()) == writing.scripts.end())
        return false;
    const bool latin = letter.script() == QChar::Script_Latin;
    return !latin || letter.unicode() < 0x80 || writing.furtherLetters.contains(letter.toLower());
}

Problems letterProblems(const StringTable& table, const Writing& writing) {
    Problems problems;
    std::set<QChar::Script> seen;
    for (const auto& [key, text] : table) {
        if (contains(writing.asInEnglish, key))
            continue;
        bool own = false;
        for (const QChar c : QString::fromStdString(text)) {
            const bool ofItsScript = std::ranges::find(writing.scripts, c.script()) != writing.scripts.end();
            own = own || ofItsScript;
            if (ofItsScript)
                seen.insert(c.script());
            if (c.isLetter() && !permittedLetter(c, writing))
                problems.push_back(
                    complaint(key, "has a letter of another language, " + QString(c).toStdString(), text));
        }
        if (!own)
            problems.push_back(complaint(key, "has no letter of the language", text));
    }
    if (seen.size() != writing.scripts.size())
        problems.emplace_back("a script of the language appears nowhere");
    return problems;
}

// A chosen language is found again by what its menu item says.
Problems doubleProblems(const StringTable& table) {
    Problems problems;
    std::map<std::string, std::string> keys;
    for (const auto& [key, text] : table) {
        const auto [first, isNew] = keys.emplace(text, key);
        if (!isNew)
            problems.push_back(complaint(first->second, "has the same text as \"" + key + "\"", text));
    }
    return problems;
}

// Those of the application's window and of what a calibration says above its targets.
std::vector<std::string> windowKeys() {
    return {
        "Calibrate by touching",
        "Touch the four targets with the pen, one after the other.",
        "Calibrate automatically",
        "The camera finds four targets by itself. Keep pen and hands out of the picture.",
        "Not possible here: this desktop lets no program look at the screen, and the camera in software "
        "needs to.",
        "Undo the last calibration",
        "The calibration before it counts again.",
        "Settings",
        "Screen with the picture",
        "The desktop's primary screen",
        "%1 (not connected)",
        "Identify",
        "The system's language",
        "Start at login",
        "The menu calibrates automatically",
        "Show the projection distance in the menu",
        "Show the languages in the menu",
        "Show the help in the menu",
        "Show the debug window",
        "These count from the next start on:",
        "Way of the pointer",
        "Automatic",
        "Log",
        "To the terminal",
        "To a file",
        "No log",
        "Open the help",
        "Version %1",
        "The log is in %1",
        "Copy a report for help",
        "It holds versions, screens, what the unit says of itself and the last lines of the log, but not "
        "where the pen has touched.",
        "Copy",
        "Copied",
        "Plug the camera unit in. If it is, try another port.",
        "The pen works again when your session is the one that is shown.",
        "The camera is looking",
        "The camera is looking, but its exposure cannot be set",
        "The camera is switched off",
        "Another program uses the camera",
        "The camera cannot be used",
        "Switch the camera on",
        "Switch the camera off",
        "Its pictures stay in memory. None is ever stored or sent.",
        "With a film before the lens the camera does not see the targets: calibrate before it is on, or by "
        "touching.",
        "If a film belongs on the lens, put it on. Then touch the middle of the cross with the pen. %1 "
        "leaves "
        "the calibration as it is.",
        "Touch each target with the pen. Escape ends the calibration."};
}

} // namespace

std::string nameOfLanguage(const testing::TestParamInfo<Language>& language) {
    std::string name = language.param.key;
    std::erase(name, ' ');
    return name;
}

const std::vector<Language>& applicationLanguages() {
    static const std::vector<Language> languages{
        {"English", "en"},
        {"Traditional Chinese", "zh-Hant"},
        {"Simplified Chinese", "zh-Hans"},
        {"German", "de"},
        {"French", "fr"},
        {"Spanish", "es"},
        {"Italian", "it"},
        {"Portuguese", "pt"},
        {"Dutch", "nl"},
        {"Swedish", "sv"},
        {"Korean", "ko"},
        {"Russian", "ru"},
        {"Japanese", "ja"},
        {"Polish", "pl"},
        {"Thai", "th"},
        {"Ukrainian", "uk"},
    };
    return languages;
}

const std::vector<std::string>& tableKeys() {
    static const std::vector<std::string> keys = [] {
        std::vector<std::string> all{
            "Calibration",
            "Projection Distance",
            "Distance1",
            "Distance2",
            "Distance3",
            "Language",
            "Help",
            "About...",
            "Exit",
            "Detect again!",
            kStrayLightMessage,
            "Threshold",
            "Forced Exposure",
            "Try the pen",
            "Write or draw something here with the pen.",
            "Clear the canvas",
            "Measure with nine crosses",
            "Touch the middle of each cross with the pen. %1 ends it.",
            "Back",
            "Crosses touched: %1 of %2",
            "Pixels between cross and touch: %1 (median), %2 (worst)",
            "The arrows are enlarged: ×%1",
            "The pen is where it should be.",
            "The pen is more than a few pixels off. Calibrate again.",
            "Take a picture",
            "Fetching the picture...",
            "The frame joins the places that were touched in the calibration.",
            "The camera unit holds no calibration.",
            "Send to the unit",
            "Camera picture",
            "Debug",
            "No camera unit",
            "The pen is ready",
            "No permission to use the camera unit",
            "The camera sees stray light",
            "The camera unit is left to another user",
            "The pen is not calibrated",
            "The calibration may not fit the screen any more",
            "Run this command in a terminal:",
            "Copy the command",
            "The camera unit holds a calibration. If the pen misses its place, calibrate again.",
            "Touch the targets once, and the pen moves the pointer.",
            "The screen had another shape when the pen was calibrated.",
            "The calibration is stored",
            "The camera unit keeps it, also when it is unplugged.",
            "No panel shows the menu of the pen",
            "The pen works without it. A second start of the program opens its window.",
            "Open the window",
            "No picture yet",
            "Cancel the calibration",
            "The calibration may be wrong",
            "Three of the places that you touched are close to one line. The pen may miss its place.",
            "Calibrate again",
            "Keep the one before",
            "The calibration was not stored",
            "The camera unit did not take it. The pen works with it until the unit is unplugged.",
            "OK"};
        std::ranges::copy(windowKeys(), std::back_inserter(all));
        for (const Language& language : applicationLanguages())
            all.push_back(language.key);
        return all;
    }();
    return keys;
}

std::string textOf(const StringTable& table, std::string_view key) {
    const auto entry = std::ranges::find(table, key, &StringTable::value_type::first);
    return entry == table.end() ? std::string() : entry->second;
}

std::vector<std::string> problemsOf(const StringTable& table, const std::string& identifier) {
    const Writing& writing = writingOf(identifier);
    Problems problems = keyProblems(table);
    for (const auto& [key, text] : table)
        append(problems, formProblems(key, text));
    append(problems, translationProblems(table, writing));
    append(problems, letterProblems(table, writing));
    append(problems, doubleProblems(table));
    return problems;
}

} // namespace lightpen
