// SPDX-License-Identifier: MIT
// Any bytes as the file of what a webcam's unit keeps: nothing, or a memory whose own text says the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "webcam/CameraMemory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lightpen::webcam;
    const auto memory = memoryOfText({reinterpret_cast<const char*>(data), size});
    if (!memory)
        return 0;
    const auto again = memoryOfText(textOfMemory(*memory));
    if (!again || !again->flash.holdsSameAs(memory->flash) || again->pairingTable != memory->pairingTable ||
        again->correction != memory->correction)
        std::abort();
    return 0;
}
