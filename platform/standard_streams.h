// The standard streams of a command, which it shares with the process that started it.
#pragma once

#include <string_view>

// Opens /dev/null in the place of each standard descriptor that is closed. Otherwise the next file or connection that
// the command opens would become its standard output. Throws a std::system_error when it cannot.
void occupy_standard_descriptors();

// Writes all of the text. Another user of the stream may have made it non-blocking: where it is full, this function
// waits. Returns whether that worked; if not, errno says why.
[[nodiscard]] bool write_to_stream(int fd, std::string_view text);
