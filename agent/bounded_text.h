// Text that is cut to the size of a buffer. Log lines, response lines and paths have fixed sizes, on which peers and
// tools rely.
#pragma once

#include <cstddef>
#include <string>

// The size of the largest buffer for a line or path.
inline constexpr std::size_t largest_text = 2048;

// Formats like printf and cuts the result to `size` - 1 bytes. `size` is 1 to largest_text.
std::string bounded_print(std::size_t size, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Returns at most the first `size` - 1 bytes of the text.
std::string bounded_copy(std::size_t size, const std::string& text);
