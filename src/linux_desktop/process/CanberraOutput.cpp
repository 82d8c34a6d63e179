// SPDX-License-Identifier: MIT
#include "linux_desktop/process/CanberraOutput.h"

#include <canberra.h>
#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "linux_desktop/process/Environment.h"

namespace lightpen {

namespace {

bool isThere(const std::filesystem::path& path) {
    std::error_code unreadable;
    return std::filesystem::exists(path, unreadable);
}

bool serverRuns() {
    const std::filesystem::path runtime = environmentVariable("XDG_RUNTIME_DIR");
    return (!runtime.empty() && (isThere(runtime / "pulse/native") || isThere(runtime / "pipewire-0"))) ||
           isThere("/run/pulse/native");
}

bool cardIsThere() {
    std::error_code unreadable;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/snd", unreadable))
        if (entry.path().filename().string().starts_with("controlC"))
            return true;
    return false;
}

// Somebody has said where sounds go.
bool outputIsChosen() {
    for (const char* name : {"CANBERRA_DRIVER", "PULSE_SERVER", "ALSA_CONFIG_PATH"})
        if (!environmentVariable(name).empty())
            return true;
    return false;
}

int noteDriver(dl_phdr_info* library, std::size_t, void* paths) {
    const std::string_view path = library->dlpi_name;
    if (path.find("/libcanberra-") != std::string_view::npos)
        static_cast<std::vector<std::string>*>(paths)->emplace_back(path);
    return 0;
}

// libcanberra unloads its driver with the context, and does not wait for the driver's thread to return from
// its last instructions: they must still be there then.
void keepDriverLoaded() {
    std::vector<std::string> paths;
    ::dl_iterate_phdr(noteDriver, &paths);
    for (const std::string& path : paths)
        ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace

bool soundIsPossible() {
    return outputIsChosen() || serverRuns() || cardIsThere();
}

void CanberraOutput::Destroy::operator()(ca_context* context) const {
    ca_context_destroy(context);
}

CanberraOutput::~CanberraOutput() = default;

bool CanberraOutput::open(std::string& problem) {
    if (context_)
        return true;
    ca_context* context = nullptr;
    if (const int result = ca_context_create(&context); result != CA_SUCCESS) {
        problem = ca_strerror(result);
        return false;
    }
    context_.reset(context);
    return true;
}

bool CanberraOutput::play(const std::string& file, std::string& problem) {
    if (!possible_()) {
        problem = "there is no sound server";
        return false;
    }
    if (!open(problem))
        return false;
    // The server keeps a sound that it has been given once: the next time it begins sooner.
    const int result =
        ca_context_play(context_.get(), 0, CA_PROP_MEDIA_FILENAME, file.c_str(), CA_PROP_MEDIA_ROLE, "event",
                        CA_PROP_APPLICATION_NAME, "LightPenNX7", CA_PROP_EVENT_DESCRIPTION, "Light pen",
                        CA_PROP_CANBERRA_CACHE_CONTROL, "permanent", static_cast<char*>(nullptr));
    keepDriverLoaded();
    if (result == CA_SUCCESS)
        return true;
    problem = ca_strerror(result);
    // A server that comes later, or again, is only found by a new context.
    context_.reset();
    return false;
}

} // namespace lightpen
