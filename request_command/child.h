// Owner of a child process.
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>

// Owns one child process and waits for it at the end of its life. Holds -1 when there is none.
class [[nodiscard]] Child {
  public:
    Child() = default;
    explicit Child(pid_t pid) : pid_(pid) {}
    Child(Child&& other) noexcept : pid_(std::exchange(other.pid_, -1)) {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { wait(); }

    [[nodiscard]] bool valid() const { return pid_ != -1; }

    // Waits until the child has ended. Returns its wait status, or 0 when there is no child to wait for.
    int wait();

  private:
    pid_t pid_ = -1;
};

// Tells a wait status in words: "ended with exit status 3", "was ended by signal 9 (Killed)".
std::string describe_end(int wait_status);
