// SPDX-License-Identifier: MIT
#include "linux_desktop/files/PropertyListReader.h"

#include <plist/plist.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "linux_desktop/files/PlainFile.h"
#include "platform/FileDescriptor.h"

namespace lightpen {

namespace {

// Deeper than any list of ours; a guard for the stack.
constexpr int kDeepest = 32;
// Far above any list of ours, in bytes; a longer one ends there, and is not well-formed.
constexpr std::size_t kLargest = std::size_t{4} << 20;

struct Reader {
    std::string error;

    std::optional<PropertyListValue> value(plist_t node, int depth) {
        if (depth > kDeepest)
            return fail("it is nested too deeply");
        switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN:
            return boolean(node);
        case PLIST_UINT:
            return integer(node);
        case PLIST_REAL:
            return real(node);
        case PLIST_STRING:
            return string(node);
        case PLIST_ARRAY:
            return array(node, depth);
        case PLIST_DICT:
            return dictionary(node, depth);
        default:
            return fail("it holds a value that is no flag, number, string, array or dictionary");
        }
    }

private:
    std::nullopt_t fail(const char* why) {
        error = why;
        return std::nullopt;
    }

    static PropertyListValue boolean(plist_t node) {
        std::uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return {flag != 0};
    }
    // Negative numbers come as their two's complement.
    static PropertyListValue integer(plist_t node) {
        std::uint64_t number = 0;
        plist_get_uint_val(node, &number);
        return {static_cast<std::int64_t>(number)};
    }
    static PropertyListValue real(plist_t node) {
        double number = 0;
        plist_get_real_val(node, &number);
        return {number};
    }
    static PropertyListValue string(plist_t node) {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return {text ? std::string(text, length) : std::string()};
    }

    std::optional<PropertyListValue> array(plist_t node, int depth) {
        PropertyListArray elements;
        for (std::uint32_t i = 0; i < plist_array_get_size(node); ++i) {
            auto element = value(plist_array_get_item(node, i), depth + 1);
            if (!element)
                return std::nullopt;
            elements.push_back(std::move(*element));
        }
        return PropertyListValue{std::move(elements)};
    }

    std::optional<PropertyListValue> dictionary(plist_t node, int depth) {
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
                return PropertyListValue{std::move(result)};
            auto entry = value(child, depth + 1);
            if (!entry)
                return std::nullopt;
            result.entries.push_back({key, std::move(*entry)});
        }
    }
};

} // namespace

PropertyListResult parsePropertyList(std::string_view text) {
    plist_t root = nullptr;
    plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    const std::unique_ptr<void, void (*)(plist_t)> owner(root, plist_free);
    if (!root)
        return {std::nullopt, "it is not a well-formed XML property list"};
    if (plist_get_node_type(root) != PLIST_DICT)
        return {std::nullopt, "it is not a dictionary"};
    Reader reader;
    auto value = reader.value(root, 0);
    if (!value)
        return {std::nullopt, reader.error};
    return {std::get<PropertyListDictionary>(std::move(value->value)), {}};
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
