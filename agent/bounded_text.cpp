#include "agent/bounded_text.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

std::string bounded_print(std::size_t size, const char* format, ...) {
    std::array<char, largest_text> buffer;
    size = std::min(size, buffer.size());
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(buffer.data(), size, format, arguments);
    va_end(arguments);
    return {buffer.data(), length < 0 ? 0 : std::min(static_cast<std::size_t>(length), size - 1)};
}

std::string bounded_copy(std::size_t size, const std::string& text) {
    return text.substr(0, size - 1);
}
