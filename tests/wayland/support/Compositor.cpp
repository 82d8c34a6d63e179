// SPDX-License-Identifier: MIT
#include "wayland/support/Compositor.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "kit/TemporaryDirectory.h"

namespace lightpen {

Size sizeOf(const Output& output, double scale) {
    const Size size{output.width / scale, output.height / scale};
    return output.turned ? Size{size.height, size.width} : size;
}

// Modes that the emulated card has on both outputs.
std::vector<Layout> everyLayout() {
    const Output first{.name = "Virtual-1", .width = 1280, .height = 768, .primary = true};
    const Output second{.name = "Virtual-2", .width = 1440, .height = 900, .left = 1280};
    const Output large{.name = "Virtual-2", .width = 1920, .height = 1200, .left = 1280};
    const auto scaled = [](Output output, double scale) {
        output.scale = scale;
        return output;
    };
    Output turned = second;
    turned.turned = true;
    Output other = first, primary = second;
    std::swap(other.primary, primary.primary);
    return {{"one output", {first}, "", first.name},
            {"two outputs", {first, second}, "", first.name},
            {"the second chosen", {first, second}, second.name, second.name},
            {"the second at scale 2", {first, scaled(large, 2)}, large.name, large.name},
            {"the second at scale 1.5", {first, scaled(large, 1.5)}, large.name, large.name},
            {"the second turned", {first, turned}, turned.name, turned.name},
            {"the second primary", {other, primary}, "", primary.name}};
}

Layout layoutNamed(const std::string& name) {
    const std::vector<Layout> layouts = everyLayout();
    const auto found = std::ranges::find(layouts, name, &Layout::name);
    if (found == layouts.end())
        throw std::runtime_error("there is no layout " + name);
    return *found;
}

std::unique_ptr<Compositor> startCompositor(const std::string& name, const GuestUser& user) {
    // The card's second head counts as connected from now on.
    writeFile("/sys/class/drm/card0-Virtual-2/status", "on");
    if (name == "sway")
        return startSway(user);
    if (name == "mutter")
        return startMutter(user);
    if (name == "kwin")
        return startKwin(user);
    if (name == "xorg")
        return startXDesktop(user);
    throw std::runtime_error("there is no desktop " + name);
}

} // namespace lightpen
