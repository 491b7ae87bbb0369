// What the code under test did, in the order in which it did it, in this process and in those that it started.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace call_journal {

enum class Kind : char { message = 'm', call = 'c', misuse = 'x' };

struct Entry {
    Kind kind;
    pid_t process;
    std::vector<std::string> fields;
};

// Empties the journal.
void clear();

// Adds an entry of this process. Leaves errno alone, and calls nothing that wrappers of system calls replace.
void append(Kind kind, const std::vector<std::string>& fields);

// Returns the entries of all processes since the journal was cleared.
std::vector<Entry> entries();

}  // namespace call_journal
