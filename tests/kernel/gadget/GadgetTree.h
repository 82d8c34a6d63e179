// SPDX-License-Identifier: MIT
#pragma once

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "kernel/gadget/GadgetFiles.h"

namespace lightpen::test {

// The kernel's gadget side as far as a composition sees it, with its rules: a folder brings its attributes,
// is removed with them, and not while it is linked or holds folders; a controller takes one gadget.
// Thread-safe.
class GadgetTree final : public GadgetFiles {
public:
    static constexpr const char* kGadgets = "/gadgets";
    static constexpr const char* kControllers = "/udc";
    static constexpr const char* kDevices = "/nodes";

    explicit GadgetTree(std::vector<std::string> controllers = {"dummy_udc.0"})
        : controllers_(std::move(controllers)) {}

    // What each function says of its node.
    std::string deviceNumber = "236:5\n";

    // What was done, in order: "mkdir PATH", "write PATH CONTENT", "link PATH", "unlink PATH", "rmdir PATH".
    std::vector<std::string> takeActions() {
        const std::lock_guard hold(mutex_);
        return std::exchange(actions_, {});
    }
    // The folders and links that there are.
    std::set<std::string> entries() {
        const std::lock_guard hold(mutex_);
        return entries_;
    }
    // The kernel's end of the node that was opened last: what it gets are input reports.
    FileDescriptor takeKernelEnd() {
        const std::lock_guard hold(mutex_);
        FileDescriptor last;
        if (!kernelEnds_.empty()) {
            last = std::move(kernelEnds_.back());
            kernelEnds_.pop_back();
        }
        return last;
    }
    // From now on this path is refused with this error number; 0 takes it back.
    void refuse(const std::string& path, int error) {
        const std::lock_guard hold(mutex_);
        refused_[path] = error;
    }
    // Somebody else's gadget is in the controller.
    void occupy(const std::string& controller) {
        const std::lock_guard hold(mutex_);
        bound_[controller] = "/other";
    }

    int makeFolder(const std::string& path) override { return make("mkdir ", path); }
    int makeLink(const std::string& target, const std::string& path) override {
        if (const int error = make("link ", path); error != 0)
            return error;
        const std::lock_guard hold(mutex_);
        links_[path] = target;
        return 0;
    }
    int removeFolder(const std::string& path) override { return remove("rmdir ", path); }
    int removeLink(const std::string& path) override { return remove("unlink ", path); }
    int write(const std::string& path, std::string_view content) override {
        const std::lock_guard hold(mutex_);
        actions_.push_back("write " + path + " " + std::string(content));
        if (const int error = refused_[path]; error != 0)
            return error;
        if (path.ends_with("/UDC"))
            return bind(path, std::string(content.substr(0, content.find('\n'))));
        return 0;
    }
    int read(const std::string& path, std::string& content) override {
        const std::lock_guard hold(mutex_);
        content = deviceNumber;
        return refused_[path];
    }
    std::vector<std::string> list(const std::string& path) override {
        return path == kControllers ? controllers_ : std::vector<std::string>{};
    }
    int openNode(const std::string& path, FileDescriptor& node) override {
        const std::lock_guard hold(mutex_);
        if (const int error = refused_[path]; error != 0)
            return error;
        int ends[2] = {-1, -1};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) != 0)
            return errno;
        actions_.push_back("open " + path);
        node = FileDescriptor(ends[0]);
        kernelEnds_.emplace_back(ends[1]);
        return 0;
    }

private:
    int make(const char* action, const std::string& path) {
        const std::lock_guard hold(mutex_);
        if (const int error = refused_[path]; error != 0)
            return error;
        if (!entries_.insert(path).second)
            return EEXIST;
        actions_.push_back(action + path);
        return 0;
    }
    int remove(const char* action, const std::string& path) {
        const std::lock_guard hold(mutex_);
        const bool inUse =
            std::any_of(entries_.begin(), entries_.end(),
                        [&](const std::string& entry) { return entry.starts_with(path + "/"); }) ||
            std::any_of(links_.begin(), links_.end(), [&](const auto& link) { return link.second == path; });
        if (inUse)
            return EBUSY;
        if (entries_.erase(path) == 0)
            return ENOENT;
        links_.erase(path);
        actions_.push_back(action + path);
        return 0;
    }
    int bind(const std::string& path, const std::string& controller) {
        if (controller.empty()) {
            for (auto& [name, gadget] : bound_)
                if (gadget == path)
                    gadget.clear();
            return 0;
        }
        std::string& gadget = bound_[controller];
        if (!gadget.empty())
            return EBUSY;
        gadget = path;
        return 0;
    }

    std::mutex mutex_;
    const std::vector<std::string> controllers_;
    std::set<std::string> entries_;
    std::map<std::string, std::string> links_; // to targets
    std::map<std::string, std::string> bound_; // controller to UDC attribute
    std::map<std::string, int> refused_;
    std::vector<std::string> actions_;
    std::vector<FileDescriptor> kernelEnds_; // of nodes that nobody has asked for yet
};

} // namespace lightpen::test
