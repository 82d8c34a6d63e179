// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "platform/FileDescriptor.h"

namespace lightpen {

// A log in a folder of the user's, which only the user may enter and read: the file "log", and in "log.1"
// what stood there before. Not thread-safe.
class LogFile {
public:
    // How large each of the two files becomes, in bytes.
    static constexpr std::size_t kLimit = 4'000'000;

    // The file's path in that folder.
    static std::string pathIn(const std::string& folder);

    // Touches neither folder nor file before the first text. The descriptor for complaints is not owned.
    LogFile(std::string folder, int complaints, std::size_t limit = kLimit)
        : path_(std::move(folder)), complaints_(complaints), limit_(limit) {}

    // Writes the text behind what is there, whole into one of the files. When that fails, or the file is not
    // a plain one of the user's, a line among the complaints says why; this text and all later ones are lost.
    void append(std::string_view text);

private:
    bool openFolder();
    bool openFile();
    bool makeRoomFor(std::size_t length);
    bool write(std::string_view text);

    const std::string path_;
    const int complaints_;
    const std::size_t limit_;
    bool fails_ = false;
    FileDescriptor folder_;
    FileDescriptor file_;
    std::size_t size_ = 0;
};

} // namespace lightpen
