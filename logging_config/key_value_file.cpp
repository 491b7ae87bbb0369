#include "logging_config/key_value_file.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "logging_config/text_lines.h"
#include "platform/posix.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"
#include "platform/system_error.h"

namespace {

// Writes the messages of an operation into the caller's buffer and the debug log.
class Report {
  public:
    Report(const char* operation, char* buffer, unsigned long size)
        : operation_(operation), buffer_(buffer), size_(size) {}

    void say(int level, const char* format, ...) const __attribute__((format(printf, 3, 4))) {
        va_list arguments;
        va_start(arguments, format);
        vsnprintf(buffer_, size_, format, arguments);
        va_end(arguments);
        logmsgf(level, operation_, "%s", buffer_);
    }

  private:
    const char* operation_;
    char* buffer_;
    unsigned long size_;
};

// Non-blocking, like the copy, so that opening never waits for another process, even if the file is a pipe.
Descriptor open_for_reading(const std::string& path, const Report& report) {
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.valid()) {
        const SystemError error;
        report.say(log_level::error, "Could not open file %s E=%d (%s)", path.c_str(), error.number, error.text());
    }
    return file;
}

// Reads the file. A newline follows each of its lines, also the last.
std::string read_lines(Descriptor file) {
    std::string text;
    static_cast<void>(read_all(file.get(), text));
    if (!text.empty() && text.back() != '\n') {
        text += '\n';
    }
    return text;
}

// The new copy of the file. It is written line by line and then replaces the file.
class NewCopy {
  public:
    // System calls end a path at a zero byte, so the suffix follows there.
    explicit NewCopy(const std::string& path) : path_(path), name_(path.substr(0, path.find('\0')) + ".new") {}

    // Truncates and reuses a stale copy, which keeps its mode. Does not follow a link, because the folder may be
    // another user's.
    bool open(const Report& report) {
        constexpr mode_t mode = 0666;  // less the umask, as for any new file
        constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
        file_.reset(::open(name_.c_str(), flags, mode));
        return file_.valid() || fail_to_open(report);
    }

    void write(std::string_view line) { write_now(std::string(line) + '\n'); }

    // Writes a line of read_lines unchanged, with the newline that follows it.
    void write_unchanged(std::string_view line) { write_now({line.data(), line.size() + 1}); }

    bool replace_file(const Report& report) {
        file_.reset();
        if (is_cut_) {
            errno = EFBIG;
            return fail_to_open(report);
        }
        if (rename(name_.c_str(), path_.c_str()) != 0) {
            const SystemError error;
            report.say(log_level::error, "Failed to rename %s to %s E=%d (%s)", name_.c_str(), path_.c_str(),
                       error.number, error.text());
            return false;
        }
        return true;
    }

  private:
    // Writes each line at once, so that readers of the copy only see whole lines. Ignores failures on purpose: only
    // opening and renaming may fail a change. A copy beyond the file size limit is the exception: it counts as one that
    // cannot be opened.
    void write_now(std::string_view line) {
        if (!write_all(file_.get(), line) && errno == EFBIG) {
            is_cut_ = true;
        }
    }

    bool fail_to_open(const Report& report) const {
        const SystemError error;
        report.say(log_level::error, "Could not open file %s for writing E=%d (%s)", name_.c_str(), error.number,
                   error.text());
        return false;
    }

    const std::string& path_;
    std::string name_;
    Descriptor file_;
    bool is_cut_ = false;
};

// A line with a setting and a "#" remark after it counts as commented too.
bool is_commented(std::string_view line) {
    return contains(line, comment_mark);
}

// Switches a commented line back on: replaces every "#" by a space, then removes leading blanks. Keeps a line that then
// consists only of blanks.
std::string restore(std::string_view line) {
    std::string restored(line);
    for (char& byte : restored) {
        if (byte == '#') {
            byte = ' ';
        }
    }
    const std::size_t first = restored.find_first_not_of(" \t");
    return first == std::string::npos ? restored : restored.substr(first);
}

// Shows which lines of a text contain a match. Takes the lines in their order, and searches the text only once.
class MatchSearch {
  public:
    MatchSearch(std::string_view text, std::string_view match) : text_(text), match_(match), place_(text.find(match)) {}

    bool is_in(std::string_view line) {
        const auto start = static_cast<std::size_t>(line.data() - text_.data());
        if (place_ < start) {
            place_ = text_.find(match_, start);
        }
        return place_ != std::string_view::npos && place_ + match_.size() <= start + line.size();
    }

  private:
    std::string_view text_;
    std::string_view match_;
    std::size_t place_;  // of the next match in the text
};

enum class Goal { make_active, restore_commented };

// Decides for each line what set_parameter_value writes.
class SettingEditor {
  public:
    // Refers to the text that it edits.
    SettingEditor(std::string_view text, std::string match, const std::string& value, Goal goal)
        : match_(std::move(match)), setting_(match_ + value), goal_(goal), search_(text, match_) {
        MatchSearch search(text, match_);
        for_each_line(text, [&](std::string_view line) {
            active_found_ = active_found_ || (search.is_in(line) && !is_commented(line));
        });
    }

    // Takes the lines of the text in their order. The result is valid until the next call.
    std::string_view edit(std::string_view line) {
        if (!search_.is_in(line)) {
            return line;
        }
        if (!is_commented(line)) {
            return goal_ == Goal::make_active ? setting_ : line;
        }
        if (active_found_) {
            return line;
        }
        if (goal_ == Goal::make_active) {
            active_found_ = true;  // only the first commented line is replaced
            return setting_;
        }
        if (!restored_line_ && contains(line, setting_)) {
            return restored_line_.emplace(restore(line));
        }
        return line;
    }

    [[nodiscard]] const std::string& setting() const { return setting_; }
    [[nodiscard]] bool must_append() const { return goal_ == Goal::make_active && !active_found_; }
    [[nodiscard]] bool found_nothing() const {
        return goal_ == Goal::restore_commented && !active_found_ && !restored_line_;
    }

  private:
    std::string match_;
    std::string setting_;
    Goal goal_;
    MatchSearch search_;
    bool active_found_ = false;
    std::optional<std::string> restored_line_;
};

}  // namespace

int set_parameter_value(std::string path, std::string key, std::string separator, std::string value, char* error,
                        unsigned long size, int set) {
    const Report report("set_parameter_value", error, size);
    Descriptor file = open_for_reading(path, report);
    if (!file.valid()) {
        return status::parameter_not_set;
    }
    // Opened even if nothing will change: a folder that allows no copy is always a failure.
    NewCopy copy(path);
    if (!copy.open(report)) {
        return status::parameter_not_set;
    }
    const std::string text = read_lines(std::move(file));
    SettingEditor editor(text, key + separator, value,
                         set == set_flag::restore_commented ? Goal::restore_commented : Goal::make_active);
    for_each_line(text, [&](std::string_view line) {
        const std::string_view edited = editor.edit(line);
        if (edited.data() == line.data()) {
            copy.write_unchanged(line);
        } else {
            copy.write(edited);
        }
    });
    if (editor.must_append()) {
        copy.write(editor.setting());
    }
    if (editor.found_nothing()) {
        report.say(log_level::warning, "Parameter %s is not set in file %s", key.c_str(), path.c_str());
    }
    return copy.replace_file(report) ? status::success : status::parameter_not_set;
}

int unset_parameter(std::string path, std::string key, std::string separator, char* error, unsigned long size,
                    std::string comment) {
    const Report report("unset_parameter", error, size);
    Descriptor file = open_for_reading(path, report);
    if (!file.valid()) {
        return status::parameter_not_unset;
    }
    const std::string text = read_lines(std::move(file));
    const std::vector<std::string_view> lines = split_lines(text);
    // Unlike in set_parameter_value, the setting must begin the line, without blanks or "#" before it.
    const std::string match = key + separator;
    const auto is_set = [&](std::string_view line) { return line.starts_with(match); };
    if (std::none_of(lines.begin(), lines.end(), is_set)) {
        report.say(log_level::information, "Parameter %s is not set in file %s", key.c_str(), path.c_str());
        return status::success;
    }
    NewCopy copy(path);
    if (!copy.open(report)) {
        return status::parameter_not_unset;
    }
    for (const std::string_view line : lines) {
        if (!is_set(line) || (!comment.empty() && line.starts_with(comment))) {
            copy.write_unchanged(line);
        } else if (!comment.empty()) {
            copy.write(comment + std::string(line));
        }
    }
    return copy.replace_file(report) ? status::success : status::parameter_not_unset;
}
