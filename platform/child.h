// Owner of a child process.
#pragma once

#include <sys/types.h>
#include <sys/wait.h>

#include <cerrno>
#include <utility>

// Owns one child process and waits for its end in the destructor. Holds -1 when there is no child.
class [[nodiscard]] Child {
  public:
    Child() = default;
    explicit Child(pid_t pid) : pid_(pid) {}
    Child(Child&& other) noexcept : pid_(std::exchange(other.pid_, -1)) {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { wait(); }

    [[nodiscard]] bool valid() const { return pid_ != -1; }
    [[nodiscard]] pid_t id() const { return pid_; }

    // Waits until the child has ended. Returns its wait status, or 0 when there is no child to wait for.
    int wait() {
        int wait_status = 0;
        if (valid()) {
            while (waitpid(pid_, &wait_status, 0) == -1 && errno == EINTR) {
            }
            pid_ = -1;
        }
        return wait_status;
    }

  private:
    pid_t pid_ = -1;
};
