// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace lightpen {

// The last lines of a log as they may be shown to others: nothing tells where the pen was, which also says
// what was typed on a keyboard that is drawn on the screen. A line stays only when it is one of those that
// are known to say nothing of that; a run of others becomes one line that counts them. Numbers in lines of
// libraries become "#", and so does what may have a camera's serial number in it. The home folder, by each of
// its paths that is not empty, becomes "~". Pure.
std::string reportedLog(std::string_view log, std::size_t mostLines, const std::vector<std::string>& homes);

} // namespace lightpen
