#include "request_command/answer_line.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>
#include <span>

#include "request_command/known_words.h"

namespace {

using Text = std::optional<std::string_view>;
using Fields = std::vector<AnswerField>;

constexpr auto absent = std::string_view::npos;

// Splits a line into the texts that follow its keys; an absent key has no text. Returns nothing when a key occurs twice
// or out of order: then a value contains it and no text can be trusted.
template <std::size_t count>
std::optional<std::array<Text, count>> split_at_keys(std::string_view line,
                                                     const std::array<std::string_view, count>& keys) {
    std::array<Text, count> texts;
    Text* previous = nullptr;
    std::size_t behind_key = 0;
    for (std::size_t i = 0; i != count; ++i) {
        const std::size_t found = line.find(keys[i]);
        if (found == absent) {
            continue;
        }
        if (found < behind_key || line.find(keys[i], found + 1) != absent) {
            return std::nullopt;
        }
        if (previous != nullptr) {
            *previous = line.substr(behind_key, found - behind_key);
        }
        behind_key = found + keys[i].size();
        texts[i] = line.substr(behind_key);
        previous = &texts[i];
    }
    return texts;
}

// Returns the number when the text is what an agent prints for it: no "+" and no leading zeros.
template <typename Number>
std::optional<Number> number_of(std::string_view text) {
    Number number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || std::to_string(number) != text) {
        return std::nullopt;
    }
    return number;
}

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

// The keys of a "PROCESS=" line, in their order. The text of " (Value=" ends with a parenthesis.
constexpr std::array<std::string_view, 11> process_keys = {
    "PROCESS=", " STATUS=", " MSG=", " DIR=", " E=", " Perm=", " OID=", " Product ID=", " RV=", " LVL=", " (Value="};
using ProcessTexts = std::array<Text, process_keys.size()>;
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
    constexpr std::array<std::string_view, 8> separators = {"DEBUG:", "=", ",", "=", " DIAG:", "=", ",", "="};
    std::array<int, 8> numbers{};
    for (std::size_t i = 0; i != numbers.size(); ++i) {
        if (!text.starts_with(separators[i])) {
            return std::nullopt;
        }
        text.remove_prefix(separators[i].size());
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
    constexpr std::string_view before_value = "Set debug logging '";
    const std::string_view text = *texts[message];
    const std::size_t fields_before = fields.size();
    add_levels(text, process_of(texts), fields);
    if (text.starts_with(before_value) && text.ends_with('\'') && text.size() > before_value.size()) {
        fields.push_back({"value", text.substr(before_value.size(), text.size() - before_value.size() - 1)});
    }
    return fields.size() == fields_before || keys_behind_message(texts) == 0;
}

std::optional<AnswerLine> parse_process(std::string_view line) {
    const std::optional<ProcessTexts> texts = split_at_keys(line, process_keys);
    if (!line.starts_with(process_keys[label]) || !texts || !has_known_keys(*texts)) {
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

std::optional<AnswerLine> parse_package(std::string_view line) {
    constexpr std::string_view key = "ZMSU PACKAGE=";
    if (!line.starts_with(key)) {
        return std::nullopt;
    }
    return AnswerLine{"package", {{"path", line.substr(key.size())}}};
}

std::optional<AnswerLine> parse_space(std::string_view line) {
    constexpr std::array<std::string_view, 3> keys = {"CALCLOGSIZE: TARGET_DIR=", " FREE_SPACE=", " MB TOTAL_SPACE="};
    constexpr std::string_view end = " MB";
    if (!line.starts_with(keys[0]) || !line.ends_with(end)) {
        return std::nullopt;
    }
    line.remove_suffix(end.size());
    const auto texts = split_at_keys(line, keys);
    if (!texts || !(*texts)[1] || !(*texts)[2]) {
        return std::nullopt;
    }
    const auto free = number_of<std::uint64_t>(*(*texts)[1]);
    const auto total = number_of<std::uint64_t>(*(*texts)[2]);
    if (!free || !total) {
        return std::nullopt;
    }
    return AnswerLine{"space", {{"directory", *(*texts)[0]}, {"free_mib", *free}, {"total_mib", *total}}};
}

std::optional<AnswerLine> parse_failed_cleanup(std::string_view line) {
    constexpr std::string_view separator = ": ";
    const std::size_t found = line.find(separator);
    if (found == absent || line.find(separator, found + 1) != absent) {
        return std::nullopt;
    }
    return AnswerLine{"cleanup",
                      {{"result", "failed"},
                       {"directory", line.substr(0, found)},
                       {"error_text", line.substr(found + separator.size())}}};
}

std::optional<AnswerLine> parse_cleanup(std::string_view line) {
    constexpr std::string_view removed = "CLEANUP: Successfully cleaned up ";
    constexpr std::string_view failed = "CLEANUP: Failed to clean up ";
    constexpr std::string_view refused = "CLEANUP: Will not clean up unknown location: ";
    if (line.starts_with(removed)) {
        return AnswerLine{"cleanup", {{"result", "removed"}, {"directory", line.substr(removed.size())}}};
    }
    if (line.starts_with(failed)) {
        return parse_failed_cleanup(line.substr(failed.size()));
    }
    if (line.starts_with(refused)) {
        return AnswerLine{"cleanup", {{"result", "refused"}, {"directory", line.substr(refused.size())}}};
    }
    return std::nullopt;
}

}  // namespace

AnswerLine parse_answer_line(std::string_view line) {
    for (const auto parse : {parse_process, parse_package, parse_space, parse_cleanup}) {
        if (std::optional<AnswerLine> parsed = parse(line)) {
            return std::move(*parsed);
        }
    }
    return output_line(line);
}

AnswerLine output_line(std::string_view line) {
    return AnswerLine{"output", {{"text", line}}};
}

bool answers_in_forms(const std::vector<std::string>& request) {
    const auto has_newline = [](const std::string& text) { return text.find('\n') != std::string::npos; };
    return !is_tool_word(request.front()) && std::none_of(request.begin(), request.end(), has_newline);
}
