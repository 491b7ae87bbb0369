// Runs the command against a peer that the test plays.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/request_command/command_run.h"
#include "tests/support/scripted_peer.h"
#include "tests/support/test_files.h"

class AnsweredCommand : public testing::Test {
  protected:
    explicit AnsweredCommand(Arguments options = {}) : options_(std::move(options)) {}

    [[nodiscard]] Command start(const Arguments& request, const Preparation& prepare = nullptr) const {
        return Command(listener_.options() + options_ + request, prepare);
    }

    // Runs the command with a peer that receives the request and then sends the answer.
    [[nodiscard]] CommandRun run_with_answer(const std::string& answer, const Preparation& prepare = nullptr,
                                             const Arguments& request = {"ZMLA"}) const {
        Command command = start(request, prepare);
        PeerConnection peer = command.await_connection(listener_);
        static_cast<void>(peer.receive_request());
        peer.send(answer);
        peer.close();
        return command.finish();
    }

    Arguments options_;
    ScratchFolder folder_;
    PeerListener listener_ = PeerListener::at_path(folder_.path("socket"));
};
