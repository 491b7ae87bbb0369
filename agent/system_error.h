// The error of a system call that has just failed.
#pragma once

#include <cerrno>
#include <cstring>

// Takes errno when it is made, so that what is done between the failure and its message cannot change what is told.
struct SystemError {
    int number = errno;

    // Stands until the next error's text is asked for.
    [[nodiscard]] const char* text() const { return strerror(number); }
};
