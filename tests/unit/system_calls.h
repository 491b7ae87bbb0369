// System calls that fail when a test says so (tests/support/failing_calls.h), and overrides of what they do. Everything
// else goes through to the real call. Calls appear in recording_platform::calls(), as the name and the arguments;
// writes and reads only those of the watched descriptor. A name relative to an open folder appears as its path, and
// unlinkat as "unlink" or "rmdir".
//
// Subjects for failing_calls: the path for open, mkdir and unlink, and "F_SETFL" for fcntl. A waitpid that fails has
// waited for the child.
#pragma once

#include <sys/statvfs.h>
#include <sys/types.h>

#include <deque>
#include <functional>
#include <optional>
#include <string>

namespace system_calls {

// How one write to the watched descriptor ends.
struct WriteOutcome {
    ssize_t accepted;           // at most this many bytes are written; -1 for a failure
    int error = 0;              // with this error number
    bool only_claimed = false;  // nothing is written, although as many bytes as above are reported
};

// What calls do otherwise than the real ones.
struct Overrides {
    pid_t lasting_process = 0;  // this process aborts when it calls execvp

    int watched_descriptor = -1;
    std::deque<WriteOutcome> writes;  // then writes go through again
    bool bytes_without_end = false;   // recv always has some
    bool pauses_skipped = false;      // nanosleep returns at once

    std::string vanishing_file;  // is removed as soon as readdir has returned its name

    std::optional<uid_t> effective_user;        // what geteuid returns
    std::optional<struct statvfs> file_system;  // what statvfs reports

    // Is called before each call that is recorded, but not for those that it makes itself.
    std::function<void(const std::string& call)> before_call;

    int wait_status_flags = 0;  // waitpid adds these bits to the wait status
};

extern Overrides overrides;

// Lets all calls through, as the real ones.
void reset();

}  // namespace system_calls
