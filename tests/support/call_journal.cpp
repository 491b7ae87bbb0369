#include "tests/support/call_journal.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace call_journal {
namespace {

// Higher than the numbers that tests check, which are those of the next descriptors to be opened.
constexpr int chosen_descriptor = 500;

// The journal is a file in memory. Child processes inherit it. Nothing here makes a call that is wrapped, because
// wrappers write to the journal.
int open_file() {
    const int file = memfd_create("call journal", MFD_CLOEXEC);
    const int moved = dup3(file, chosen_descriptor, O_CLOEXEC);
    close(file);
    // Appends are atomic. Other writes of two processes to one file in memory can land at the same place, because such
    // a file has no lock of its position.
    if (moved < 0 || syscall(SYS_fcntl, moved, F_SETFL, O_APPEND) != 0) {
        perror("call journal");
        abort();
    }
    return moved;
}

int descriptor() {
    static const int file = open_file();
    return file;
}

void put_number(std::string& record, std::size_t number) {
    char bytes[sizeof number];
    memcpy(bytes, &number, sizeof number);
    record.append(bytes, sizeof bytes);
}

// Reads the file piece by piece.
class Reader {
  public:
    explicit Reader(const std::string& text) : text_(text) {}
    [[nodiscard]] bool at_end() const { return position_ == text_.size(); }
    Kind kind() { return static_cast<Kind>(take(1).at(0)); }
    std::size_t number() {
        std::size_t number = 0;
        memcpy(&number, take(sizeof number).data(), sizeof number);
        return number;
    }
    std::string bytes() { return take(number()); }

  private:
    std::string take(std::size_t length) {
        std::string piece = text_.substr(position_, length);
        position_ += length;
        return piece;
    }

    const std::string& text_;
    std::size_t position_ = 0;
};

std::string read_file() {
    std::string text;
    char buffer[16384];
    for (;;) {
        const ssize_t count = pread(descriptor(), buffer, sizeof buffer, static_cast<off_t>(text.size()));
        if (count <= 0) {
            return text;
        }
        text.append(buffer, static_cast<std::size_t>(count));
    }
}

}  // namespace

void clear() {
    if (ftruncate(descriptor(), 0) != 0) {
        perror("call journal");
        abort();
    }
}

void append(Kind kind, const std::vector<std::string>& fields) {
    const int error = errno;
    std::string record;
    record += static_cast<char>(kind);
    put_number(record, static_cast<std::size_t>(getpid()));
    put_number(record, fields.size());
    for (const std::string& field : fields) {
        put_number(record, field.size());
        record += field;
    }
    const iovec piece = {record.data(), record.size()};
    if (writev(descriptor(), &piece, 1) != static_cast<ssize_t>(record.size())) {
        perror("call journal");
        abort();
    }
    errno = error;
}

std::vector<Entry> entries() {
    const std::string text = read_file();
    Reader reader(text);
    std::vector<Entry> found;
    while (!reader.at_end()) {
        Entry entry{.kind = reader.kind(), .process = static_cast<pid_t>(reader.number()), .fields = {}};
        for (std::size_t count = reader.number(); count > 0; --count) {
            entry.fields.push_back(reader.bytes());
        }
        found.push_back(std::move(entry));
    }
    return found;
}

}  // namespace call_journal
