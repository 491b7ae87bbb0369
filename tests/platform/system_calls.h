// Replaces system calls of this program. A test can make a call fail (tests/support/failing_calls.h), override its
// result, or watch it. Otherwise the real call is made.
//
// failing_calls knows fsync by the subjects "file" and "folder". Of getsockopt only SO_PEERCRED can fail, and "rename"
// is also renameat.
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

// An attribute that a file seems to have, instead of its real ones.
struct PretendedAttribute {
    ino_t file;
    std::string name;
    std::string value;
};

// A disk with space for this many bytes. Writes beyond them fail with the error number.
struct FullDisk {
    std::size_t space;
    int error;
};

// How calls differ from the real ones.
struct Overrides {
    std::size_t longest_write = 0;  // a write takes at most this many bytes; 0 for no limit
    std::optional<FullDisk> full_disk;
    int attributes_grown = 0;                // this many reads of attributes fail, as if the attributes had just grown
    std::optional<int> protocol;             // what getsockopt reports as SO_PROTOCOL
    bool interface_without_address = false;  // the first interface of the list seems to have no address

    // The owner that fstat reports for this file. While it is set, fchown changes no owner.
    std::optional<OwnedFile> owner;
    // Setting one of these attributes does nothing.
    std::vector<PretendedAttribute> attributes;

    // The time of day. While it is set, it does not advance.
    std::optional<timespec> time_of_day;
    // What the monotonic clock shows since its start.
    std::optional<std::chrono::nanoseconds> steady_time;
    // Is called instead of waiting for a socket, and the wait succeeds. Set steady_time too.
    std::function<void()> instead_of_waiting;
    // The next random bytes, before real ones.
    std::deque<unsigned char> random_bytes;

    // Is called once, after the removal of that file from that folder.
    std::function<void(int folder, const char* name)> after_removal;

    // Is called before each call that the journal shows.
    std::function<void(const std::string& call)> before_call;
};

extern Overrides overrides;

// Calls that touch files, in their order: "read", "write", "flush file", "flush folder", "rename", "lock",
// "give owner", "give mode", "give attribute NAME". Several reads or writes in a row are one entry.
extern std::vector<std::string> journal;

// The flags of the last open of each path.
extern std::map<std::string, int> opening_flags;

// How many times the program received or looked at what a socket holds.
extern int receptions;

// Makes all calls real again, and empties the journal.
void reset();

}  // namespace system_calls
