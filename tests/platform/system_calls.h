// System calls of this program that can be made to fail, to stand still or to be watched. Whatever is not switched on
// goes through to the real call.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <ctime>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace system_calls {

struct OwnedFile {
    ino_t file;
    uid_t user;
    gid_t group;
};

// An attribute that a file seems to have, in the place of its real ones.
struct PretendedAttribute {
    ino_t file;
    std::string name;
    std::string value;
};

// Error numbers, 0 where the call goes through.
struct Faults {
    int file_not_read = 0;
    int reads_interrupted = 0;  // so many reads
    int file_not_written = 0;
    std::size_t bytes_before_that = 0;  // what is written until then
    std::size_t longest_write = 0;      // a write takes no more than that; 0 for all of it
    int writes_interrupted = 0;         // so many writes
    int file_not_examined = 0;          // fstat
    int examinations_before_that = 0;
    int file_not_flushed = 0;
    int folder_not_flushed = 0;
    int file_not_renamed = 0;
    int file_not_removed = 0;
    int owner_not_given = 0;
    int mode_not_given = 0;
    int attribute_not_given = 0;
    int attribute_not_removed = 0;
    int attributes_not_listed = 0;
    int list_queries_before_that = 0;  // of a list's size or names
    int attribute_not_read = 0;
    int queries_before_that = 0;  // of an attribute's size or value
    int attributes_grown = 0;     // so many times what is read of attributes has outgrown the size that was told
    int name_not_locked = 0;
    int locks_interrupted = 0;
    int receptions_interrupted = 0;
    int waits_interrupted = 0;
    int reception_refused = 0;              // once
    int socket_not_awaited = 0;             // poll
    int credentials_not_told = 0;           // getsockopt SO_PEERCRED
    std::optional<int> pretended_protocol;  // what getsockopt SO_PROTOCOL tells
    int process_not_forked = 0;
    int pipe_not_made = 0;
    int interfaces_not_listed = 0;
    bool interface_without_address = false;  // the first one of the list, whatever it was
    int host_name_not_told = 0;
    int nothing_random = 0;

    // The owner that fstat tells of this file. Owners are given in pretence only, then.
    std::optional<OwnedFile> pretended_owner;

    // These are given to other files in pretence only.
    std::vector<PretendedAttribute> pretended_attributes;

    // The time of day. It stands still.
    std::optional<timespec> time_of_day;
    // What the monotonic clock shows since its start.
    std::optional<std::chrono::nanoseconds> steady_time;
    // Is called in the place of a wait for a socket, which then was successful. Whoever sets it also sets steady_time.
    std::function<void()> instead_of_waiting;
    // The next random bytes; then real ones follow.
    std::deque<unsigned char> random_bytes;

    // Is called once, after the removal of that file from that folder.
    std::function<void(int folder, const char* name)> after_removal;

    // Is called before each call that the journal shows.
    std::function<void(const std::string& call)> before_call;
};

extern Faults faults;

// Calls that touch files, in their order: "read", "write", "flush file", "flush folder", "rename", "lock",
// "give owner", "give mode", "give attribute NAME". Reads and writes in a row are one.
extern std::vector<std::string> journal;

// The flags with which a file was opened last, by its path.
extern std::map<std::string, int> opening_flags;

// How many times something was to be received from a socket, or looked at.
extern int receptions;

// Lets everything through again and empties the journal.
void reset();

}  // namespace system_calls
