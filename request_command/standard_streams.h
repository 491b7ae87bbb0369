// The command's standard descriptors, which it shares with whoever started it.
#pragma once

#include <string_view>

// Gives every standard descriptor that is closed a place holder, lest the connection become standard output. Writing
// to the place holder fails, as it would have.
void occupy_standard_descriptors();

// Writes all of the text, and waits where another user of the stream has made it non-blocking and it is full. Returns
// whether that worked; if not, errno says why.
[[nodiscard]] bool write_to_stream(int fd, std::string_view text);
