// Runs the request command as its user does.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix.h"
#include "tests/support/scripted_peer.h"

using Arguments = std::vector<std::string>;

// What came of one run.
struct CommandRun {
    int exit_status = -1;  // -1 when a signal ended it
    std::string output;
    std::string errors;
};

// What becomes of the process before it becomes the command. Its standard output and error are this test's by then.
using Preparation = std::function<void()>;

// Closes descriptors.
Preparation without_descriptors(const std::vector<int>& closed);

// Opens the file for standard output.
Preparation with_output_to(const std::string& path);

// Makes it a process of the user of that number, in a user namespace of its own: also root has no privileges there
// in this process's network.
Preparation as_user(uid_t user);

// A running command. Its standard input is empty. What a test does not wait for ends with this object.
class Command {
  public:
    explicit Command(const Arguments& arguments, const Preparation& prepare = nullptr);
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    // Waits for the command's connection. Throws when it ends instead.
    [[nodiscard]] PeerConnection await_connection(const PeerListener& listener);

    // Receives until the command's output holds the text.
    void await_output(std::string_view text);

    // What has come of its output, and its process.
    [[nodiscard]] const std::string& output() const { return run_.output; }
    [[nodiscard]] pid_t process() const { return process_; }

    // Hangs up on the command's output.
    void close_output() { output_.reset(); }

    // Waits for the command's end.
    [[nodiscard]] CommandRun finish();

  private:
    void receive_some();

    Descriptor output_;
    Descriptor errors_;
    pid_t process_ = -1;
    CommandRun run_;
};

[[nodiscard]] CommandRun run_command(const Arguments& arguments, const Preparation& prepare = nullptr);

// Puts argument lists together.
[[nodiscard]] Arguments operator+(Arguments arguments, const Arguments& more);
