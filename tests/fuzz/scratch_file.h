// Files for inputs. Written quickly, because a fuzzer writes millions of them.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/posix.h"
#include "tests/fuzz/invariant.h"

namespace fuzzing {

inline void store(const std::string& path, std::string_view text) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    INVARIANT(file.valid() && write_all(file.get(), text));
}

inline std::string load(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    INVARIANT(file.valid() && read_all(file.get(), text));
    return text;
}

inline bool is_there(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// The lines without their newlines. A last line without one is a line.
inline std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// The lines that are not of some kind, in order.
template <typename IsOfKind>
std::vector<std::string> lines_without(std::string_view text, IsOfKind is_of_kind) {
    std::vector<std::string> lines = lines_of(text);
    std::erase_if(lines, is_of_kind);
    return lines;
}

inline bool ends_in_newline(std::string_view text) {
    return text.empty() || text.back() == '\n';
}

}  // namespace fuzzing
