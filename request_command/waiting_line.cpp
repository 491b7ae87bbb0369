#include "request_command/waiting_line.h"

#include <algorithm>
#include <utility>

#include "platform/text_encoding.h"

namespace {

// The peer's name is never cut shorter, however narrow the terminal.
constexpr std::size_t least_of_peer = 8;

std::string counted(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string duration_text(std::chrono::seconds time) {
    const auto minutes = std::chrono::floor<std::chrono::minutes>(time);
    const std::string seconds = std::to_string((time - minutes).count()) + " s";
    return minutes.count() == 0 ? seconds : std::to_string(minutes.count()) + " min " + seconds;
}

// Cuts between two characters. A character never has more columns than bytes.
std::string cut(const std::string& text, std::size_t most) {
    return text.substr(0, length_to_character_end(text, most));
}

}  // namespace

WaitingLine::WaitingLine(std::string_view peer, Terminal terminal, Time start)
    : peer_(printable(peer)), terminal_(std::move(terminal)), start_(start), due_(start + patience) {}

void WaitingLine::show(Time now) {
    if (now < due_) {
        return;
    }
    due_ = now + interval;
    if (!is_at_line_start_) {
        return;
    }
    const std::string line = text(now);
    const std::size_t rest = shown_ - std::min(shown_, line.size());
    terminal_.write("\r" + line + std::string(rest, ' ') + std::string(rest, '\b'));
    shown_ = line.size();
}

void WaitingLine::count(std::string_view bytes, Time now) {
    bytes_ += bytes.size();
    lines_ += static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\n'));
    due_ = now + patience;
    wipe();
}

void WaitingLine::wipe() {
    if (shown_ != 0) {
        terminal_.write("\r" + std::string(std::exchange(shown_, 0), ' ') + "\r");
    }
}

std::string WaitingLine::text(Time now) const {
    const auto passed = std::chrono::floor<std::chrono::seconds>(now - start_);
    const std::string front = "zmlogadm: waiting for ";
    const std::string rest =
        ", " + duration_text(passed) + ", " + counted(lines_, "line") + ", " + counted(bytes_, "byte") + " so far";
    // The last column stays empty, because some terminals start a new line there.
    const std::size_t room = std::max<std::size_t>(terminal_.width(), 2) - 1;
    const std::size_t around = front.size() + rest.size();
    return cut(front + cut(peer_, std::max(room - std::min(room, around), least_of_peer)) + rest, room);
}
