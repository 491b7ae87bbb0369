// Reads whole text files, and splits texts into lines.
#pragma once

#include <fcntl.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "platform/posix.h"

namespace platform_library {

// Reads the whole file into `text`. Returns 0 or an error number. Never blocks: a FIFO without a writer reads as empty.
inline int read_text_file(const std::string& path, std::string& text) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return file.valid() && read_all(file.get(), text) ? 0 : errno;
}

// Calls `visit` with each line, without its newline. A last line without a newline counts too.
template <typename Visitor>
void for_each_line(std::string_view text, Visitor visit) {
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        visit(text.substr(0, newline));
        text.remove_prefix(newline == std::string_view::npos ? text.size() : newline + 1);
    }
}

}  // namespace platform_library
