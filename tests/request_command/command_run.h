// Runs the request command as a user does.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix.h"
#include "tests/support/scripted_peer.h"

using Arguments = std::vector<std::string>;

// The outcome of one run.
struct CommandRun {
    int exit_status = -1;  // -1 when a signal ended it
    std::string output;
    std::string errors;
};

// Runs in the new process before it becomes the command, with standard output and error already redirected.
using Preparation = std::function<void()>;

// Closes descriptors.
Preparation without_descriptors(const std::vector<int>& closed);

// Opens the file for standard output.
Preparation with_output_to(const std::string& path);

// Gives the process that user number in a user namespace of its own, where even root has no privileges over the
// network.
Preparation as_user(uid_t user);

// A running command. Its standard input is empty. The destructor kills it unless it was waited for.
class Command {
  public:
    explicit Command(const Arguments& arguments, const Preparation& prepare = nullptr);
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    // Waits for the connection of the command. Throws if the command ends instead.
    [[nodiscard]] PeerConnection await_connection(const PeerListener& listener);

    // Receives until the output has the text.
    void await_output(std::string_view text);

    // The output so far, and the process.
    [[nodiscard]] const std::string& output() const { return run_.output; }
    [[nodiscard]] pid_t process() const { return process_; }

    // Closes the reading end of the output.
    void close_output() { output_.reset(); }

    // Waits for the end of the command. Keeps the JSON objects that it printed.
    [[nodiscard]] CommandRun finish();

  private:
    void receive_some();

    Descriptor output_;
    Descriptor errors_;
    pid_t process_ = -1;
    CommandRun run_;
};

[[nodiscard]] CommandRun run_command(const Arguments& arguments, const Preparation& prepare = nullptr);

// Joins argument lists.
[[nodiscard]] Arguments operator+(Arguments arguments, const Arguments& more);
