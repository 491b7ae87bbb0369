// A child process that stops before and after each of its system calls, so that it can be killed at any of them.
#pragma once

#include <sys/types.h>

#include <functional>

class TracedProcess {
  public:
    // Starts a child that carries `body` out and ends with its result; `body` may execute another program.
    explicit TracedProcess(const std::function<int()>& body);
    ~TracedProcess() { kill(); }
    TracedProcess(const TracedProcess&) = delete;
    TracedProcess& operator=(const TracedProcess&) = delete;

    // Lets it go on to the next stop. Returns whether there was one before its end.
    bool step();

    // Kills it where it stands, and waits for its end.
    void kill();

    // Tells whether it has ended with exit status 0.
    [[nodiscard]] bool succeeded() const;

  private:
    void await();

    pid_t process_;
    int status_ = 0;
};
