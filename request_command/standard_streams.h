// The command's standard file descriptors, which other processes can share.
#pragma once

#include <string_view>

// Opens /dev/null read-only on every standard descriptor that is closed, so that the connection does not become
// standard output. A write to it fails, as it would have on the closed descriptor.
void occupy_standard_descriptors();

// Writes the whole text. Waits when the stream is full and another process made it non-blocking. Returns whether that
// worked; errno gives the reason if not.
[[nodiscard]] bool write_to_stream(int fd, std::string_view text);
