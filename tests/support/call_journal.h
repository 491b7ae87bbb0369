// What the code under test did, in order, in this process and in its child processes.
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

// Adds an entry of this process. Keeps errno, and makes no call that is wrapped.
void append(Kind kind, const std::vector<std::string>& fields);

// Returns the entries of all processes since the journal was cleared.
std::vector<Entry> entries();

}  // namespace call_journal
