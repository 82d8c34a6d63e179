// SPDX-License-Identifier: MIT
#include "linux_desktop/files/PropertyListReader.h"

#include <plist/plist.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "linux_desktop/files/PlainFile.h"
#include "platform/FileDescriptor.h"

namespace lightpen {

namespace {

// Deeper than any list of ours; a guard for the stack.
constexpr int kDeepest = 32;
// Far above any list of ours, in bytes; a longer one ends there, and is not well-formed.
constexpr std::size_t kLargest = std::size_t{4} << 20;

template <class Value>
Value valueIn(plist_t node, void (*read)(plist_t, Value*)) {
    Value value{};
    read(node, &value);
    return value;
}

// Throws what is wrong with the list.
PropertyListValue valueOf(plist_t node, int depth);

PropertyListArray arrayOf(plist_t node, int depth) {
    PropertyListArray elements;
    for (std::uint32_t i = 0; i < plist_array_get_size(node); ++i)
        elements.push_back(valueOf(plist_array_get_item(node, i), depth + 1));
    return elements;
}

PropertyListDictionary dictionaryOf(plist_t node, int depth) {
    PropertyListDictionary result;
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(node, &position);
    const std::unique_ptr<void, void (*)(void*)> positionOwner(position, std::free);
    for (;;) {
        char* key = nullptr;
        plist_t child = nullptr;
        plist_dict_next_item(node, position, &key, &child);
        const std::unique_ptr<char, void (*)(void*)> keyOwner(key, std::free);
        if (!child)
            return result;
        result.entries.push_back({key, valueOf(child, depth + 1)});
    }
}

PropertyListValue valueOf(plist_t node, int depth) {
    if (depth > kDeepest)
        throw std::invalid_argument("it is nested too deeply");
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        return {valueIn(node, plist_get_bool_val) != 0};
    case PLIST_UINT: // negative numbers come as their two's complement
        return {static_cast<std::int64_t>(valueIn(node, plist_get_uint_val))};
    case PLIST_REAL:
        return {valueIn(node, plist_get_real_val)};
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return {text ? std::string(text, length) : std::string()};
    }
    case PLIST_ARRAY:
        return {arrayOf(node, depth)};
    case PLIST_DICT:
        return {dictionaryOf(node, depth)};
    default:
        throw std::invalid_argument("it holds a value that is no flag, number, string, array or dictionary");
    }
}

} // namespace

PropertyListResult parsePropertyList(std::string_view text) {
    plist_t root = nullptr;
    plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    const std::unique_ptr<void, void (*)(plist_t)> owner(root, plist_free);
    if (!root)
        return {std::nullopt, "it is not a well-formed XML property list"};
    if (plist_get_node_type(root) != PLIST_DICT)
        return {std::nullopt, "it is not a dictionary"};
    try {
        return {dictionaryOf(root, 0), {}};
    } catch (const std::invalid_argument& why) {
        return {std::nullopt, why.what()};
    }
}

PropertyListResult readPropertyList(const std::string& file) {
    const auto text = readPlainFile(file, kLargest);
    if (!text)
        return {std::nullopt, file + ": " + errorText(errno)};
    PropertyListResult result = parsePropertyList(*text);
    if (!result.dictionary)
        result.error = file + ": " + result.error;
    return result;
}

} // namespace lightpen
