// Bounded formatted prints. Log lines, response lines and paths have fixed sizes that peers and tools rely on.
#pragma once

#include <cstddef>
#include <string>

// The size of the largest buffer that any line or path has.
inline constexpr std::size_t largest_text = 2048;

// Formats as into a character buffer of `size` bytes, 1 to largest_text: at most size - 1 of them are text, what is
// longer is cut.
std::string bounded_print(std::size_t size, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Returns what fits of `text` into a character buffer of `size` bytes: its first size - 1 bytes at most.
std::string bounded_copy(std::size_t size, const std::string& text);
