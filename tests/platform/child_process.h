// Child processes of a test.
#pragma once

#include <sys/types.h>

#include <functional>

// A child process that does the work and ends with status 0, or with 1 when an expectation failed or something was
// thrown. It is killed when its owner or this process ends first.
class ChildProcess {
  public:
    explicit ChildProcess(const std::function<void()>& work);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    [[nodiscard]] pid_t id() const { return id_; }

    // Waits for its end. Returns its exit status, or -1 when a signal ended it.
    int wait();

    // Returns whether it is still running.
    bool runs();

  private:
    pid_t id_;
    int status_ = 0;
};

// Runs the work in a child process, so that its descriptors, environment, permissions and library state do not affect
// this one. Returns whether it succeeded.
bool succeeds_in_child(const std::function<void()>& work);

// Runs the current test again in a fresh process. Returns true in that process. Returns false in this one, where the
// test fails if it failed there.
bool in_fresh_process();

// Drops the capabilities that let root ignore the modes of files. For child processes.
void give_up_file_rights();
