// SPDX-License-Identifier: MIT
// A line of the log between whoever writes it and whoever formats it: the format, and copies of the
// arguments.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "platform/Geometry.h"

namespace lightpen {

// What a conversion of a format wants, and what an argument is.
struct LogKind {
    enum Category { integer, floating, text, address };
    Category category = integer;
    std::size_t size = 0; // of an integer, in bytes
    friend constexpr bool operator==(const LogKind&, const LogKind&) = default;
};

// How an argument is copied, and what printf is given of the copy. Only what has a specialisation below can
// be logged.
template <class Argument>
struct LogArgument;

// Numbers, with the promotions of a C call.
template <class Number>
requires std::integral<Number> || std::floating_point<Number> || std::is_enum_v<Number>
struct LogArgument<Number> {
    using Copy = std::conditional_t<std::floating_point<Number>, double, decltype(+Number{})>;
    static constexpr LogKind kKind =
        std::floating_point<Number> ? LogKind{LogKind::floating} : LogKind{LogKind::integer, sizeof(Copy)};
    static constexpr std::size_t size(Number) { return sizeof(Copy); }
    static std::byte* put(std::byte* to, Number value) {
        const Copy copy = +value;
        std::memcpy(to, &copy, sizeof copy);
        return to + sizeof copy;
    }
    static Copy take(const std::byte*& from) {
        Copy copy;
        std::memcpy(&copy, from, sizeof copy);
        from += sizeof copy;
        return copy;
    }
    static Copy passed(Copy copy) { return copy; }
};

// Addresses, of anything but texts.
template <class Object>
requires(!std::convertible_to<Object*, std::string_view>) struct LogArgument<Object*>
    : LogArgument<std::uintptr_t> {
    static constexpr LogKind kKind{LogKind::address};
    static std::byte* put(std::byte* to, const volatile void* value) {
        return LogArgument<std::uintptr_t>::put(to, reinterpret_cast<std::uintptr_t>(value));
    }
    static constexpr std::size_t size(const volatile void*) { return sizeof(std::uintptr_t); }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): it is printed and nothing else
    static const void* passed(std::uintptr_t copy) { return reinterpret_cast<const void*>(copy); }
};

// Texts, which are copied whole, up to their first zero.
template <class Text>
requires std::convertible_to<const Text&, std::string_view>
struct LogArgument<Text> {
    static constexpr LogKind kKind{LogKind::text};
    static std::string_view viewOf(const Text& text) {
        if constexpr (std::is_pointer_v<Text>)
            if (!text)
                return "(null)";
        const std::string_view view = text;
        return view.substr(0, view.find('\0'));
    }
    static std::size_t size(const Text& text) { return viewOf(text).size() + 1; }
    static std::byte* put(std::byte* to, const Text& text) {
        const std::string_view view = viewOf(text);
        std::memcpy(to, view.data(), view.size());
        to[view.size()] = std::byte{0};
        return to + view.size() + 1;
    }
    static const char* take(const std::byte*& from) {
        const auto* const text = reinterpret_cast<const char*>(from);
        from += std::strlen(text) + 1;
        return text;
    }
    static const char* passed(const char* text) { return text; }
};

// Points, whose text is made by whoever formats.
template <class Space>
struct LogArgument<Point<Space>> {
    static constexpr LogKind kKind{LogKind::text};
    static constexpr std::size_t size(const Point<Space>&) { return sizeof(Point<Space>); }
    static std::byte* put(std::byte* to, const Point<Space>& point) {
        std::memcpy(to, &point, sizeof point);
        return to + sizeof point;
    }
    static PointText take(const std::byte*& from) {
        Point<Space> point;
        std::memcpy(&point, from, sizeof point);
        from += sizeof point;
        return PointText(point);
    }
    static const char* passed(const PointText& text) { return text.c_str(); }
};

// The next conversion of a format, which loses its front up to behind it: the kind that it wants. False at
// the end, and for a conversion that the log does not know.
constexpr bool takeLogConversion(std::string_view& format, LogKind& kind) {
    const auto skip = [&](std::string_view any) {
        format.remove_prefix(std::min(format.find_first_not_of(any), format.size()));
    };
    const auto takes = [&](std::string_view word) {
        const bool found = format.starts_with(word);
        format.remove_prefix(found ? word.size() : 0);
        return found;
    };
    do {
        format.remove_prefix(std::min(format.find('%'), format.size()));
        if (!takes("%"))
            return false;
    } while (takes("%"));
    skip("-+ #0");
    skip("0123456789.");
    const std::size_t size = takes("ll")  ? sizeof(long long)
                             : takes("l") ? sizeof(long)
                             : takes("z") ? sizeof(std::size_t)
                                          : sizeof(int);
    const auto category =
        format.empty() ? std::string_view::npos : std::string_view("diuxXcfgsp").find(format[0]);
    if (category == std::string_view::npos)
        return false;
    kind = category < 6   ? LogKind{LogKind::integer, size}
           : category < 8 ? LogKind{LogKind::floating}
                          : LogKind{category == 8 ? LogKind::text : LogKind::address};
    format.remove_prefix(1);
    return true;
}

// Whether the format has one conversion for each argument, in their order, and no others.
constexpr bool fitsLogFormat(std::string_view format, std::span<const LogKind> arguments) {
    LogKind wanted;
    for (const LogKind& argument : arguments)
        if (!takeLogConversion(format, wanted) || wanted != argument)
            return false;
    // Not even one that the log does not know may be left.
    for (auto rest = format.find('%'); rest != std::string_view::npos; rest = format.find('%', rest + 2))
        if (format.substr(rest, 2) != "%%")
            return false;
    return true;
}

// A printf format that the compiler has compared with its arguments: d, i, u, x, X, c, f, g, s, p and %%,
// with flags, width, precision, l, ll and z. Since it is made while the program is compiled its text lives
// for ever.
template <class... Arguments>
class LogFormat {
public:
    template <std::size_t length>
    // NOLINTNEXTLINE(google-explicit-constructor): it stands for the literal
    consteval LogFormat(const char (&text)[length]) : text_(text) {
        constexpr std::array<LogKind, sizeof...(Arguments)> kinds{LogArgument<Arguments>::kKind...};
        if (!fitsLogFormat({text, length - 1}, kinds))
            theArgumentsDoNotFitTheFormat();
    }
    constexpr const char* text() const { return text_; }

private:
    static void theArgumentsDoNotFitTheFormat(); // which cannot be called while compiling
    const char* text_;
};

// As vsnprintf: writes at most so many bytes, with the final zero, and answers the length of the whole text.
// The numbers are as the thread's locale has them.
std::size_t printLogText(char* to, std::size_t room, const char* format, ...);

// A line, or a text for standard output, that is not formatted yet. It is valid for as long as the arguments
// are; they are copies, and any thread may format them.
struct LogEntry {
    enum class Sort { line, text };
    // Writes the whole text, as printLogText does.
    using Print = std::size_t (*)(char* to, std::size_t room, const LogEntry& entry);

    Sort sort = Sort::line;
    const char* format = "";
    Print print = nullptr;
    std::span<const std::byte> arguments;

    // A text that is complete; it must outlive the entry.
    static LogEntry of(Sort sort, std::string_view complete);
    // How it begins, up to the first conversion at least.
    std::string_view beginning() const;
};

// The Print for arguments of these types.
template <class... Arguments>
std::size_t printLogEntry(char* to, std::size_t room, const LogEntry& entry) {
    [[maybe_unused]] const std::byte* from = entry.arguments.data();
    // Braces make it one after the other.
    const std::tuple<decltype(LogArgument<Arguments>::take(from))...> copies{
        LogArgument<Arguments>::take(from)...};
    return std::apply(
        [&](const auto&... copy) {
            return printLogText(to, room, entry.format, LogArgument<Arguments>::passed(copy)...);
        },
        copies);
}

} // namespace lightpen
