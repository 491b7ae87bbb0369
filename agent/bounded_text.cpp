#include "agent/bounded_text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

std::string bounded_print(std::size_t size, const char* format, ...) {
    std::string text(size, '\0');
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text.data(), size, format, arguments);
    va_end(arguments);
    text.resize(length < 0 ? 0 : std::min(static_cast<std::size_t>(length), size - 1));
    return text;
}

std::string bounded_copy(std::size_t size, const std::string& text) {
    return text.substr(0, size - 1);
}
