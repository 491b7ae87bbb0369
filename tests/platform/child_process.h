// A process of a test's own.
#pragma once

#include <sys/types.h>

#include <functional>

// A child process that does the work and ends: with status 0, or with 1 when an expectation of the test failed in it
// or something was thrown. It is killed when its owner or this process goes first.
class ChildProcess {
  public:
    explicit ChildProcess(const std::function<void()>& work);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    [[nodiscard]] pid_t id() const { return id_; }

    // Waits for its end. Returns its exit status, or -1 when a signal ended it.
    int wait();

    // Tells whether it has not ended yet.
    bool runs();

  private:
    pid_t id_;
    int status_ = 0;
};

// Tells whether the work succeeded in a process of its own, whose descriptors, environment, rights and library state
// are gone with it.
bool succeeds_in_child(const std::function<void()>& work);

// Runs the current test anew in a process in which nothing was done before. Returns true there, where the test goes on;
// here it is over, having failed if it failed there.
bool in_fresh_process();

// Gives up the rights by which root reads and writes files that their modes deny. For child processes.
void give_up_file_rights();
