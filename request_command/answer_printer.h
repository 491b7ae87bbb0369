// Tells an answer's output from its status line.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

// The end of an answer.
struct StatusLine {
    std::string text;  // as it came, with its newline when it has one
    int status = 0;    // the nearest int when the number is beyond one
};

// How the peer ended its answer.
enum class AnswerEnd {
    complete,  // it closed the connection
    broken,    // the connection failed, so the last line may lack its end
};

// Passes the bytes of an answer on as they come and keeps back only those that may turn out to be its status
// line, which is what follows from the last "EXIT STATUS" of the answer. That need not begin a line, and output may
// hold the same words, so only the answer's end tells. What is kept is never more than the longest status line.
class AnswerPrinter {
  public:
    using Output = std::function<void(std::string_view)>;

    explicit AnswerPrinter(Output output) : output_(std::move(output)) {}

    void print(std::string_view bytes);

    // Returns the status line; or nothing, and then all that was kept back was output and has been passed on.
    std::optional<StatusLine> finish(AnswerEnd end);

  private:
    void pass_on(std::size_t size);

    Output output_;
    std::string kept_;
};
