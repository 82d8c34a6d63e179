// SPDX-License-Identifier: MIT
#include "kit/resources/HelpDocument.h"

#include <algorithm>

#include <QXmlStreamReader>

#include "kit/TemporaryDirectory.h"

namespace lightpen {

HelpDocument::HelpDocument(const std::string& path) {
    const QByteArray bytes = QByteArray::fromStdString(readFile(path));
    size = bytes.size();
    QXmlStreamReader reader(bytes);
    while (!reader.atEnd()) {
        reader.readNext();
        take(reader);
    }
    if (reader.hasError())
        error = path + ", line " + std::to_string(reader.lineNumber()) + ": " +
                reader.errorString().toStdString();
}

void HelpDocument::take(const QXmlStreamReader& reader) {
    if (reader.isStartElement())
        begin(reader.name().toString(), reader.attributes());
    else if (reader.isEndElement())
        open_.pop_back();
    else if (reader.isCharacters())
        read(reader.text().toString());
}

void HelpDocument::begin(const QString& element, const QXmlStreamAttributes& given) {
    const auto value = [&given](const char* name) {
        return given.value(QLatin1String(name)).toString().toStdString();
    };
    open_.push_back(element);
    elements.insert(element.toStdString());
    for (const QXmlStreamAttribute& attribute : given)
        attributes.insert(attribute.name().toString().toStdString());
    if (given.hasAttribute("id"))
        ids.push_back(value("id"));
    if (given.hasAttribute("charset"))
        charset = value("charset");
    if (element == "html")
        lang = value("lang");
    else if (element == "a")
        links.push_back(value("href"));
    else if (element == "img")
        images.push_back({value("src"), value("alt")});
    else if (element == "section")
        sections.push_back({value("id"), {}});
    else if (element == "pre")
        commands.emplace_back();
}

bool HelpDocument::inside(const char* element) const {
    return std::count(open_.begin(), open_.end(), element) > 0;
}

void HelpDocument::read(const QString& text) {
    if (inside("style"))
        style += text;
    else if (inside("pre"))
        commands.back() += text.toStdString();
    else if (!inside("code"))
        prose += text;
    if (inside("section"))
        sections.back().text += text;
    if (inside("blockquote"))
        quoted += text;
    if (inside("b"))
        emphasized.insert(text.toStdString());
}

} // namespace lightpen
