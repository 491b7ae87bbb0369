// Bounded formatted prints. Log lines, response lines and paths have fixed sizes that peers and tools rely on.
#pragma once

#include <cstddef>
#include <string>

// Formats as into a character buffer of `size` bytes: at most size - 1 of them are text, what is longer is cut.
std::string bounded_print(std::size_t size, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Returns what fits of `text` into a character buffer of `size` bytes: its first size - 1 bytes at most.
std::string bounded_copy(std::size_t size, const std::string& text);
