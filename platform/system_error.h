// The error of a system call that has just failed.
#pragma once

#include <cerrno>
#include <cstring>

// Copies errno when it is made, so that later calls cannot change the error that is reported.
struct SystemError {
    int number = errno;

    // Valid until the next call of text().
    [[nodiscard]] const char* text() const { return strerror(number); }
};
