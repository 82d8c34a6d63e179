// SPDX-License-Identifier: MIT
#pragma once

#include <set>
#include <string>
#include <vector>

#include <QString>

class QXmlStreamAttributes;
class QXmlStreamReader;

namespace lightpen {

struct HelpImage {
    std::string source;
    std::string alternative;
};

struct HelpSection {
    std::string id;
    QString text;
};

// What there is to know of a help document, read once from beginning to end. A file that cannot be read is an
// empty document with an error.
class HelpDocument {
public:
    explicit HelpDocument(const std::string& path);

    qsizetype size = 0; // bytes
    std::string error;  // why it is not well-formed; empty when it is
    std::string lang;
    std::string charset;
    std::set<std::string> elements;
    std::set<std::string> attributes;
    std::vector<std::string> ids;
    std::vector<std::string> links;
    std::vector<HelpImage> images;
    std::vector<HelpSection> sections;
    std::vector<std::string> commands; // the blocks to type
    std::set<std::string> emphasized;  // words of the menu among them
    QString style;
    QString prose;  // all that is neither style nor something to type
    QString quoted; // what a window says

private:
    void take(const QXmlStreamReader& reader);
    void begin(const QString& element, const QXmlStreamAttributes& given);
    void read(const QString& text);
    bool inside(const char* element) const;

    std::vector<QString> open_;
};

} // namespace lightpen
