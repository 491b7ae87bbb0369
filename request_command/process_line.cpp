#include "request_command/process_line.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "agent/answer_forms.h"
#include "request_command/answer_fields.h"

namespace {

// Adds a number that the agent holds as an int. Returns false when the text is not such a number.
bool add_number(std::string_view name, const Text& text, Fields& fields) {
    if (!text) {
        return true;
    }
    const std::optional<int> number = number_of<int>(*text);
    if (number) {
        fields.push_back({name, std::int64_t{*number}});
    }
    return number.has_value();
}

// The texts of a process line, by the place of their keys in process_key::all.
using ProcessTexts = std::array<Text, process_key::all.size()>;
enum ProcessKey : std::size_t {
    label,
    status,
    message,
    directory,
    error,
    permission,
    oid,
    product,
    result,
    level,
    value
};

// The sets of keys that can follow the message.
constexpr unsigned bit(ProcessKey key) {
    return 1U << key;
}
constexpr std::array key_sets = {
    0U,
    bit(directory),
    bit(directory) | bit(error),
    bit(directory) | bit(permission),
    bit(oid) | bit(product),
    bit(result) | bit(level),
    bit(error),
    bit(value),
    bit(error) | bit(value),
};

unsigned keys_behind_message(const ProcessTexts& texts) {
    unsigned present = 0;
    for (std::size_t key = directory; key != texts.size(); ++key) {
        present |= texts[key] ? 1U << key : 0U;
    }
    return present;
}

// The label is not checked: every line that is parsed begins with it.
bool has_known_keys(const ProcessTexts& texts) {
    return texts[status] && texts[message] &&
           std::find(key_sets.begin(), key_sets.end(), keys_behind_message(texts)) != key_sets.end();
}

// The label is a category, usually followed by a colon and the process, which can be any text.
bool add_label(std::string_view text, Fields& fields) {
    const std::size_t colon = text.find(':');
    const std::string_view category = text.substr(0, colon);
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    if (category.empty() || category.find_first_not_of(letters) != absent) {
        return false;
    }
    fields.push_back({"category", category});
    if (colon != absent) {
        fields.push_back({"process", text.substr(colon + 1)});
    }
    return true;
}

// Returns the part of the label after its colon.
std::string_view process_of(const ProcessTexts& texts) {
    const std::size_t colon = texts[label]->find(':');
    return colon == absent ? std::string_view() : texts[label]->substr(colon + 1);
}

bool is_below_some_folder(std::string_view path, std::string_view name) {
    return path.size() > name.size() && path.ends_with(name) && path[path.size() - name.size() - 1] == '/';
}

// A directory has the name of the process, except that of the log root, whose process is "ALL".
bool add_directory(const ProcessTexts& texts, Fields& fields) {
    const Text& path = texts[directory];
    if (!path) {
        return true;
    }
    fields.push_back({"directory", *path});
    const std::string_view process = process_of(texts);
    return (process == "ALL" && path->starts_with('/')) || is_below_some_folder(*path, process);
}

// An error is its number, followed by its text in parentheses.
bool add_error(const Text& text, Fields& fields) {
    if (!text) {
        return true;
    }
    const std::size_t space = text->find(" (");
    if (space == absent || !text->ends_with(')') || !add_number("errno", text->substr(0, space), fields)) {
        return false;
    }
    fields.push_back({"errno_text", text->substr(space + 2, text->size() - space - 3)});
    return true;
}

bool add_permission(const Text& text, Fields& fields) {
    if (!text) {
        return true;
    }
    fields.push_back({"permission", *text});
    return !text->empty() && text->find_first_not_of("01234567") == absent;
}

// The originator is also the process.
bool add_originator(const ProcessTexts& texts, Fields& fields) {
    return (!texts[oid] || *texts[oid] == process_of(texts)) && add_number("oid", texts[oid], fields) &&
           add_number("product_id", texts[product], fields);
}

bool add_value(const Text& text, Fields& fields) {
    if (!text) {
        return true;
    }
    if (!text->ends_with(')')) {
        return false;
    }
    fields.push_back({"value", text->substr(0, text->size() - 1)});
    return true;
}

// Reads "DEBUG:OID=LEVEL,OID=LEVEL DIAG:OID=LEVEL,OID=LEVEL". Each pair is the level before and after.
std::optional<std::array<int, 8>> read_levels(std::string_view text) {
    std::array<int, process_message::levels_set.size()> numbers{};
    for (std::size_t i = 0; i != numbers.size(); ++i) {
        const std::string_view separator = process_message::levels_set[i];
        if (!text.starts_with(separator)) {
            return std::nullopt;
        }
        text.remove_prefix(separator.size());
        const std::string_view digits = text.substr(0, text.find_first_not_of("-0123456789"));
        const std::optional<int> number = number_of<int>(digits);
        if (!number) {
            return std::nullopt;
        }
        numbers[i] = *number;
        text.remove_prefix(digits.size());
    }
    return text.empty() ? std::optional(numbers) : std::nullopt;
}

void add_levels(std::string_view text, std::string_view process, Fields& fields) {
    const std::optional<std::array<int, 8>> numbers = read_levels(text);
    if (!numbers) {
        return;
    }
    const auto [one, debug, two, new_debug, three, diagnostic, four, new_diagnostic] = *numbers;
    if (one != two || one != three || one != four || std::to_string(one) != process) {
        return;
    }
    fields.push_back({"oid", std::int64_t{one}});
    fields.push_back({"debug_before", std::int64_t{debug}});
    fields.push_back({"debug_after", std::int64_t{new_debug}});
    fields.push_back({"diagnostic_before", std::int64_t{diagnostic}});
    fields.push_back({"diagnostic_after", std::int64_t{new_diagnostic}});
}

// Adds the levels or the value that the message contains. Returns false when the line also has keys after the message:
// no agent prints both.
bool add_parts_of_message(const ProcessTexts& texts, Fields& fields) {
    const std::string before_value = std::string(process_message::value_set) + "'";
    const std::string_view text = *texts[message];
    const std::size_t fields_before = fields.size();
    add_levels(text, process_of(texts), fields);
    if (text.starts_with(before_value) && text.ends_with('\'') && text.size() > before_value.size()) {
        fields.push_back({"value", text.substr(before_value.size(), text.size() - before_value.size() - 1)});
    }
    return fields.size() == fields_before || keys_behind_message(texts) == 0;
}

}  // namespace

std::optional<AnswerLine> parse_process(std::string_view line) {
    const std::optional<ProcessTexts> texts = split_at_keys(line, process_key::all);
    if (!line.starts_with(process_key::label) || !texts || !has_known_keys(*texts)) {
        return std::nullopt;
    }
    Fields fields;
    if (!add_label(*(*texts)[label], fields) || !add_number("status", (*texts)[status], fields)) {
        return std::nullopt;
    }
    fields.push_back({"message", *(*texts)[message]});
    if (!add_directory(*texts, fields) || !add_error((*texts)[error], fields) ||
        !add_permission((*texts)[permission], fields) || !add_originator(*texts, fields) ||
        !add_number("return_value", (*texts)[result], fields) || !add_number("level", (*texts)[level], fields) ||
        !add_value((*texts)[value], fields) || !add_parts_of_message(*texts, fields)) {
        return std::nullopt;
    }
    return AnswerLine{"process", std::move(fields)};
}
