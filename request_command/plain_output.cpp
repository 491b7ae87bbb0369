#include <utility>

#include "request_command/answer_output.h"

namespace {

class PlainOutput : public AnswerOutput {
  public:
    PlainOutput(WriteText write, WriteText write_status)
        : write_(std::move(write)), write_status_(std::move(write_status)) {}

    void prepare(SentRequest /*request*/) override {}
    void start() override {}
    void print(std::string_view bytes) override { write_(bytes); }
    void finish(const Outcome& outcome) override { write_status_(outcome.line.text); }
    void fail(FailureCode /*code*/, std::string_view /*message*/) override {}

  private:
    WriteText write_;
    WriteText write_status_;
};

}  // namespace

std::unique_ptr<AnswerOutput> plain_output(WriteText write, WriteText write_status) {
    return std::make_unique<PlainOutput>(std::move(write), std::move(write_status));
}
