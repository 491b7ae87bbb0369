// Separates the output of an answer from its status line.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

// The end of an answer.
struct StatusLine {
    std::string text;  // as received, with its newline if it has one
    int status = 0;    // the nearest int when the number does not fit
};

// How the peer ended its answer.
enum class AnswerEnd {
    complete,  // the peer closed the connection
    broken,    // the connection failed, so the last line may be cut
};

// Passes on the bytes of an answer as they arrive. Keeps back only those that may be the status line: the last
// "EXIT STATUS" of the answer and what follows it. The status line need not begin a line, and output can contain the
// same words, so only the end of the answer decides. Keeps at most the length of the longest status line.
class AnswerSplitter {
  public:
    using Output = std::function<void(std::string_view)>;

    explicit AnswerSplitter(Output output) : output_(std::move(output)) {}

    void take(std::string_view bytes);

    // Returns the status line. If there is none, passes on the kept bytes as output and returns nothing.
    std::optional<StatusLine> finish(AnswerEnd end);

  private:
    void pass_on(std::size_t size);

    Output output_;
    std::string kept_;
};
