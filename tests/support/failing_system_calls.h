// System calls that fail when a test says so. Programs that link this library call these in the place of the real ones,
// which they pass everything on to as long as no switch is set. Calls appear in recording_platform::calls(), as the
// name and the arguments; writes and reads only those of the watched descriptor. A name relative to an open folder
// appears as its path, and unlinkat as "unlink" or "rmdir".
#pragma once

#include <sys/statvfs.h>
#include <sys/types.h>

#include <deque>
#include <functional>
#include <optional>
#include <string>

namespace failing_system_calls {

// What becomes of one write to the watched descriptor.
struct WriteOutcome {
    ssize_t accepted;           // at most so many bytes are written; -1 for a failure
    int error = 0;              // with this error number
    bool only_claimed = false;  // nothing is written, although as many bytes as above are reported
};

// Error numbers, 0 where the call goes through.
struct Faults {
    pid_t lasting_process = 0;  // the one that may not become another program: trying that aborts it

    int process_not_forked = 0;
    int child_not_awaited = 0;  // the child is waited for, and then the call fails
    int shell_not_started = 0;

    int null_device_not_opened = 0;
    int null_device_opens_before_that = 0;
    int descriptor_not_duplicated = 0;
    int descriptor_not_replaced = 0;  // dup2
    int flags_not_set = 0;            // fcntl F_SETFL

    int watched_descriptor = -1;
    std::deque<WriteOutcome> writes;  // then writes go through again
    int nothing_received = 0;         // recv
    bool bytes_without_end = false;   // recv always has some
    bool pauses_skipped = false;      // nanosleep returns at once

    std::string uncreatable_directory;  // mkdir of this path fails
    int directory_not_created = 0;
    std::string unremovable_file;  // unlinking this path fails
    int file_not_removed = 0;
    int directory_not_removed = 0;
    int file_not_renamed = 0;
    int renames_before_that = 0;
    int entries_not_read = 0;  // readdir fails
    int entries_before_that = 0;
    std::string vanishing_file;  // goes as soon as readdir has told its name

    std::optional<uid_t> effective_user;  // what geteuid returns

    std::optional<struct statvfs> file_system;  // what statvfs tells
    int file_system_not_examined = 0;

    // Is called before each call that is recorded, but not for those that it makes itself.
    std::function<void(const std::string& call)> before_call;
};

extern Faults faults;

// Lets everything through again.
void reset();

}  // namespace failing_system_calls
