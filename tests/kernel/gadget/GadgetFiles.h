// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileDescriptor.h"

namespace lightpen {

// What is done to the kernel's files to make a gadget. Whatever can fail returns 0 or the error number. Any
// thread.
class GadgetFiles {
public:
    virtual ~GadgetFiles() = default;
    // In configfs folders are the gadget's parts, and a link makes one part of another.
    virtual int makeFolder(const std::string& path) = 0;
    virtual int removeFolder(const std::string& path) = 0;
    virtual int makeLink(const std::string& target, const std::string& path) = 0;
    virtual int removeLink(const std::string& path) = 0;
    // The whole content in one write, since each write counts for itself there.
    virtual int write(const std::string& path, std::string_view content) = 0;
    virtual int read(const std::string& path, std::string& content) = 0;
    // The names in a folder, in no order; none when there is no such folder.
    virtual std::vector<std::string> list(const std::string& path) = 0;
    // Opens a node for reading and writing without blocking.
    virtual int openNode(const std::string& path, FileDescriptor& node) = 0;
};

// The files of this machine.
class MachineGadgetFiles final : public GadgetFiles {
public:
    int makeFolder(const std::string& path) override;
    int removeFolder(const std::string& path) override;
    int makeLink(const std::string& target, const std::string& path) override;
    int removeLink(const std::string& path) override;
    int write(const std::string& path, std::string_view content) override;
    int read(const std::string& path, std::string& content) override;
    std::vector<std::string> list(const std::string& path) override;
    int openNode(const std::string& path, FileDescriptor& node) override;
};

} // namespace lightpen
