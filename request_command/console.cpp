#include "request_command/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/standard_streams.h"
#include "platform/text_encoding.h"
#include "request_command/failure.h"

namespace {

constexpr std::size_t usual_width = 80;

std::size_t width_of(int terminal) {
    winsize size = {};
    return ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : usual_width;
}

}  // namespace

Console::Console(int output, int errors) : output_(output), errors_(errors), has_reader_(isatty(errors) == 1) {}

void Console::write_output(std::string_view text) {
    if (waiting_line_) {
        waiting_line_->wipe();
        waiting_line_->set_at_line_start(isatty(output_) == 0 || text.ends_with('\n'));
    }
    if (!write_to_stream(output_, text)) {
        throw system_failure(errno, "cannot write to standard output", FailureCode::output_failed);
    }
}

void Console::write_error(std::string_view text) {
    if (waiting_line_) {
        waiting_line_->wipe();
    }
    // A status line that was cut has no newline.
    const std::string_view end_of_line = is_in_error_line_ ? "\n" : "";
    is_in_error_line_ = !text.ends_with('\n');
    static_cast<void>(write_to_stream(errors_, end_of_line) && write_to_stream(errors_, text));
}

void Console::write_remark(std::string_view text) {
    write_error("zmlogadm: " + escape_controls(text) + "\n");
}

void Console::write_hint(const std::string& hint) {
    if (has_reader_ && !hint.empty()) {
        write_remark(hint);
    }
}

WaitingLine* Console::wait_for(std::string_view peer, Waiting waiting, WaitingLine::Time start) {
    if (has_reader_ && waiting == Waiting::shown) {
        const WaitingLine::Terminal terminal = {
            .write = [this](std::string_view text) { static_cast<void>(write_to_stream(errors_, text)); },
            .width = [this] { return width_of(errors_); }};
        waiting_line_ = std::make_unique<WaitingLine>(peer, terminal, start);
    }
    return waiting_line_.get();
}
