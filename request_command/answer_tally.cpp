#include "request_command/answer_tally.h"

#include <algorithm>
#include <array>
#include <utility>

#include "agent/answer_forms.h"
#include "platform/text_encoding.h"
#include "request_command/known_words.h"
#include "request_command/unanswered_directories.h"

namespace {

constexpr std::size_t most_names = 10;

constexpr std::string_view label_key = process_key::label;
constexpr std::string_view status_key = process_key::status;
constexpr std::string_view cleanup_start = cleanup_key::start;
constexpr std::string_view directory_key = space_key::directory;
constexpr std::string_view free_key = space_key::free;

// An agent cuts a longer line to one of these lengths. The next line then follows without a newline.
constexpr std::array<std::size_t, 2> cut_lengths = {1023, 2047};

// The rest of a longer line is dropped. Only the line of a clean-up can be longer, and its beginning is enough.
constexpr std::size_t most_of_line = 8192;

// Returns the length of the cut line that the text begins with, or 0 when it begins with none.
std::size_t cut_line(std::string_view text) {
    for (const std::string_view key : {label_key, directory_key}) {
        for (const std::size_t length : cut_lengths) {
            if (text.starts_with(key) && text.size() > length && text.substr(length).starts_with(key)) {
                return length;
            }
        }
    }
    return 0;
}

bool holds_newline(const std::string& text) {
    return text.find('\n') != std::string::npos;
}

// Returns whether the line has a status and everything that looks like one is 0.
bool has_succeeded(std::string_view line) {
    std::size_t found = line.find(status_key);
    const bool has_status = found != std::string_view::npos;
    bool is_zero = has_status;
    while (found != std::string_view::npos) {
        const std::string_view status = line.substr(found + status_key.size());
        is_zero = is_zero && (status == "0" || status.starts_with("0 "));
        found = line.find(status_key, found + 1);
    }
    return is_zero;
}

std::string counted(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + (name.empty() ? "\"\"" : printable(name));
    }
    return text;
}

}  // namespace

AnswerTally::AnswerTally(const std::vector<std::string>& request)
    : request_(request), is_believed_(std::none_of(request.begin(), request.end(), holds_newline)) {
    if (takes(request.front(), Takes::settings)) {
        for (std::size_t i = 1; i < request.size(); ++i) {
            unnamed_categories_.emplace(request[i].substr(0, request[i].find(':')), i);
        }
    }
}

void AnswerTally::add(std::string_view bytes) {
    if (is_tool_word(request_.front())) {
        return;
    }
    while (!bytes.empty()) {
        const std::size_t newline = bytes.find('\n');
        line_ += bytes.substr(0, newline);
        bytes.remove_prefix(newline == std::string_view::npos ? bytes.size() : newline + 1);
        for (std::size_t length = cut_line(line_); length != 0; length = cut_line(line_)) {
            take(std::string_view(line_).substr(0, length));
            line_.erase(0, length);
        }
        line_.resize(std::min(line_.size(), most_of_line));
        if (newline != std::string_view::npos) {
            take(std::exchange(line_, {}));
        }
    }
}

AnswerCount AnswerTally::finish(int status) {
    take(std::exchange(line_, {}));
    if (is_agents_own(request_.front()) && request_.size() == 1) {
        count_.not_answered = 1;
        count_.unanswered = {request_.front() + " without an argument"};
    } else if (request_.front() == command_word::get_disk_space) {
        add_unanswered_directories();
    } else if (status == 0) {
        add_unanswered_categories();
    }
    return std::move(count_);
}

void AnswerTally::take(std::string_view line) {
    if (line.starts_with(label_key)) {
        take_process(line);
    } else if (request_.front() == command_word::clean_up && line.starts_with(cleanup_start)) {
        take_cleanup(line);
    } else if (request_.front() == command_word::get_disk_space && line.starts_with(directory_key)) {
        take_space(line.substr(directory_key.size()));
    }
}

void AnswerTally::take_process(std::string_view line) {
    const std::string_view label = line.substr(label_key.size());
    add_item(has_succeeded(line), label.substr(0, label.find(status_key)));
    if (is_believed_) {
        take_category(label.substr(0, label.find(':')));
    }
}

// Takes the start of a label up to its colon. It is a category, or one that is followed by the status.
void AnswerTally::take_category(std::string_view start) {
    for (std::size_t end = start.size(); end != std::string_view::npos;
         end = end == 0 ? std::string_view::npos : start.rfind(status_key, end - 1)) {
        const auto named = unnamed_categories_.find(start.substr(0, end));
        if (named != unnamed_categories_.end()) {
            unnamed_categories_.erase(named);
        }
    }
}

void AnswerTally::take_cleanup(std::string_view line) {
    constexpr std::array<std::string_view, 3> results = {cleanup_key::removed, cleanup_key::refused,
                                                         cleanup_key::failed};
    const auto* const known =
        std::find_if(results.begin(), results.end(), [line](std::string_view text) { return line.starts_with(text); });
    std::string_view directory = line.substr(known == results.end() ? cleanup_start.size() : known->size());
    if (known == &results.back()) {
        directory = directory.substr(0, directory.rfind(cleanup_key::error));
    }
    add_item(known == results.begin(), directory);
}

void AnswerTally::take_space(std::string_view rest) {
    const std::size_t found = rest.rfind(free_key);
    if (is_believed_ && found != std::string_view::npos) {
        const std::string_view amount = rest.substr(found + free_key.size());
        const std::size_t digits = amount.find_first_not_of("0123456789");
        if (digits != 0 && digits != std::string_view::npos && amount.substr(digits).starts_with(space_key::unit)) {
            measured_.emplace_back(rest.substr(0, found));
        }
    }
}

void AnswerTally::add_item(bool succeeded, std::string_view name) {
    ++count_.items;
    count_.failed += succeeded ? 0 : 1;
    if (!succeeded && count_.failed_names.size() < most_names) {
        count_.failed_names.emplace_back(name);
    }
}

void AnswerTally::add_unanswered_categories() {
    std::map<std::size_t, std::string> by_position;
    for (const auto& [category, position] : unnamed_categories_) {
        by_position.emplace(position, category);
    }
    for (auto& [position, category] : by_position) {
        count_.unanswered.push_back(std::move(category));
    }
    count_.not_answered = count_.unanswered.size();
}

void AnswerTally::add_unanswered_directories() {
    const std::vector<std::string> asked(request_.begin() + 1, request_.end());
    count_.not_answered = asked.size() - std::min(asked.size(), measured_.size());
    if (count_.not_answered != 0) {
        count_.unanswered = unanswered_directories(asked, measured_);
    }
}

std::string describe(const AnswerCount& count) {
    if (count.failed == 0 && count.not_answered == 0) {
        return "";
    }
    std::string text = std::to_string(count.failed) + " of " + counted(count.items, "item") + " failed";
    if (count.failed != 0) {
        const std::size_t more = count.failed - count.failed_names.size();
        text += ": " + listed(count.failed_names) + (more == 0 ? "" : " and " + std::to_string(more) + " more");
    }
    text += "; " + counted(count.not_answered, "thing") + " not answered";
    if (count.not_answered != 0) {
        const bool is_known = count.unanswered.size() == count.not_answered;
        text += (is_known ? ": " : ", the answer does not say which of: ") + listed(count.unanswered);
    }
    return text;
}
