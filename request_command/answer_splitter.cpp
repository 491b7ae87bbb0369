#include "request_command/answer_splitter.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "agent/answer_forms.h"

namespace {

constexpr std::string_view marker = exit_status_key;

// An agent cuts a longer line to this length. A cut line has no newline.
constexpr std::size_t longest_status_line = 511;

enum class Shape { other, beginning_of_status_line, status_line };

// Classifies a text that begins with the marker. Sets `status` when it is a status line.
Shape shape_of(std::string_view text, int& status) {
    if (text.find('\n') < text.size() - 1) {
        return Shape::other;
    }
    const std::string_view rest = text.substr(marker.size());
    if (rest.empty() || rest == " " || rest == " -") {
        return Shape::beginning_of_status_line;
    }
    const std::string_view number = rest.substr(1);
    const char* const end = number.data() + number.size();
    const auto [behind, error] = std::from_chars(number.data(), end, status);
    if (rest.front() != ' ' || error == std::errc::invalid_argument) {
        return Shape::other;
    }
    if (error == std::errc::result_out_of_range) {
        status = number.front() == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    }
    return behind == end || *behind == ' ' || *behind == '\n' ? Shape::status_line : Shape::other;
}

// Returns the position where a status line may begin, or the size of the text if there is none.
std::size_t possible_status_line(std::string_view text) {
    const std::size_t earliest = text.size() - std::min(text.size(), longest_status_line);
    const std::size_t found = text.substr(earliest).rfind(marker);
    int status = 0;
    if (found != std::string_view::npos && shape_of(text.substr(earliest + found), status) != Shape::other) {
        return earliest + found;
    }
    std::size_t begun = marker.size() - 1;
    while (!text.ends_with(marker.substr(0, begun))) {
        --begun;
    }
    return text.size() - begun;
}

}  // namespace

void AnswerSplitter::take(std::string_view bytes) {
    kept_.append(bytes);
    pass_on(possible_status_line(kept_));
}

std::optional<StatusLine> AnswerSplitter::finish(AnswerEnd end) {
    StatusLine line{.text = kept_};
    const bool whole = end == AnswerEnd::complete || kept_.ends_with('\n') || kept_.size() == longest_status_line;
    if (whole && kept_.starts_with(marker) && shape_of(kept_, line.status) == Shape::status_line) {
        return line;
    }
    pass_on(kept_.size());
    return std::nullopt;
}

void AnswerSplitter::pass_on(std::size_t size) {
    if (size != 0) {
        output_(std::string_view(kept_).substr(0, size));
        kept_.erase(0, size);
    }
}
