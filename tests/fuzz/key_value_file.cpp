// The editor of key-value files.
//
// Input: a byte for the operation and one for the size of the message buffer; then key, separator, value (or comment),
// each followed by a zero byte; then the file.
#include "logging_config/key_value_file.h"

#include <cstring>
#include <memory>

#include "platform/status_codes.h"
#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/scratch_file.h"

namespace {

using fuzzing::ends_in_newline;
using fuzzing::lines_of;
using fuzzing::lines_without;
using fuzzing::load;
using Lines = std::vector<std::string>;

constexpr const char* file = "/tmp/fuzzed.conf";
constexpr const char* new_file = "/tmp/fuzzed.conf.new";

enum class Operation : unsigned { set, restore, unset };

struct Edit {
    Operation operation;
    std::size_t room;  // of the message buffer
    std::string key;
    std::string separator;
    std::string value;  // the comment when a setting is taken away

    [[nodiscard]] std::string match() const { return key + separator; }
    [[nodiscard]] std::string setting() const { return match() + value; }
};

bool has(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

int carry_out(const Edit& edit) {
    // On the heap and exactly as large as announced, so that a sanitizer sees an overrun.
    const auto message = std::make_unique<char[]>(edit.room);
    const int result = edit.operation == Operation::unset
                           ? unset_parameter(file, edit.key, edit.separator, message.get(), edit.room, edit.value)
                           : set_parameter_value(file, edit.key, edit.separator, edit.value, message.get(), edit.room,
                                                 edit.operation == Operation::set ? set_flag::make_active
                                                                                  : set_flag::restore_commented);
    INVARIANT(memchr(message.get(), '\0', edit.room) != nullptr);
    INVARIANT(!fuzzing::is_there(new_file));
    return result;
}

// A setting that is several lines makes lines that are not it.
bool is_one_line(const Edit& edit) {
    return !has(edit.setting(), "\n");
}

// A setting with "#" in it counts as commented as soon as it is written; one that begins with a blank loses it when it
// is switched back on.
bool stays_a_setting(const Edit& edit) {
    if (edit.operation == Operation::unset) {
        return true;
    }
    const std::string match = edit.match();
    return !has(edit.setting(), "#") && !match.starts_with(' ') && !match.starts_with('\t');
}

void check_other_lines(const Edit& edit, const std::string& before, const std::string& after) {
    const std::string match = edit.match();
    if (edit.operation != Operation::unset) {
        const auto is_setting = [&](const std::string& line) { return has(line, match); };
        INVARIANT(lines_without(after, is_setting) == lines_without(before, is_setting));
        return;
    }
    const std::string commented = edit.value + match;
    const auto is_setting = [&](const std::string& line) {
        return line.starts_with(match) || line.starts_with(commented);
    };
    INVARIANT(lines_without(after, is_setting) == lines_without(before, is_setting));
}

bool is_active(const std::string& line, const std::string& match) {
    return has(line, match) && !has(line, "#");
}

void check_settings(const Edit& edit, const std::string& after) {
    bool found = false;
    for (const std::string& line : lines_of(after)) {
        if (edit.operation == Operation::set && is_active(line, edit.match())) {
            found = true;
            INVARIANT(line == edit.setting());
        }
        if (edit.operation == Operation::unset) {
            INVARIANT(!line.starts_with(edit.match()) || (!edit.value.empty() && line.starts_with(edit.value)));
        }
    }
    INVARIANT(edit.operation != Operation::set || found);
}

// Every line has the length that it had, or that of what the edit puts into it.
void check_size(const Edit& edit, const std::string& before, const std::string& after) {
    const std::size_t lines = lines_of(before).size() + 1;
    INVARIANT(after.size() <= before.size() + lines * (edit.setting().size() + 1));
}

void check(const Edit& edit, const std::string& before) {
    fuzzing::store(file, before);
    INVARIANT(carry_out(edit) == status::success);
    const std::string after = load(file);
    check_size(edit, before, after);
    if (after == before) {
        return;
    }
    INVARIANT(ends_in_newline(after));
    if (!is_one_line(edit)) {
        return;
    }
    if (stays_a_setting(edit)) {
        check_other_lines(edit, before, after);
        check_settings(edit, after);
        INVARIANT(carry_out(edit) == status::success);
        INVARIANT(load(file) == after);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    Edit edit{};
    edit.operation = Operation{input.choice() % 3};
    edit.room = 1 + input.choice() * 4;
    edit.key = input.text();
    edit.separator = input.text();
    edit.value = input.text();
    check(edit, input.rest());
    return 0;
}
