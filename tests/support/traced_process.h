// A child process that stops before and after each of its system calls, so that a test can kill it at any of them.
#pragma once

#include <sys/types.h>

#include <functional>

class TracedProcess {
  public:
    // Starts a child that runs `body` and ends with its result; `body` may execute another program.
    explicit TracedProcess(const std::function<int()>& body);
    ~TracedProcess() { kill(); }
    TracedProcess(const TracedProcess&) = delete;
    TracedProcess& operator=(const TracedProcess&) = delete;

    // Continues to the next stop. Returns false when the process has ended instead.
    bool step();

    // Kills the process, and waits for its end.
    void kill();

    // Returns whether it has ended with exit status 0.
    [[nodiscard]] bool succeeded() const;

  private:
    void await();

    pid_t process_;
    int status_ = 0;
};
