// Numbers, netstrings, the escapes of the debug log, bounded prints and the text functions of the handlers.
//
// Input: a byte for sizes, then a text.
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "agent/bounded_text.h"
#include "agent/string_utilities.h"
#include "logging_config/text_lines.h"
#include "platform/library/netstring.h"
#include "platform/library/numbers.h"
#include "platform/network.h"
#include "platform/posix.h"
#include "platform/runtime.h"
#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/scratch_file.h"
#include "tests/support/test_files.h"

namespace {

void check_number(const std::string& text) {
    const std::size_t first_digit = text.starts_with('-') ? 1 : 0;
    const bool is_number =
        text.size() > first_digit && text.find_first_not_of("0123456789", first_digit) == std::string::npos;
    errno = 0;
    const long number = is_number ? strtol(text.c_str(), nullptr, 10) : 0;
    const bool fits = is_number && errno == 0 && number == static_cast<std::int32_t>(number);
    const std::optional<std::int32_t> parsed = platform_library::parse_int32(text);
    INVARIANT(parsed.has_value() == fits);
    INVARIANT(!parsed || *parsed == number);
}

void check_netstring(const std::string& text) {
    std::array<int, 2> ends{};
    INVARIANT(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0);
    const Descriptor reader(ends[0]);
    Descriptor writer(ends[1]);
    INVARIANT(write_all(writer.get(), platform_library::netstring(text)));
    writer.reset();
    std::string buffer(text.size() + 1, '?');
    int error = 0;
    const int result = get_string(reader.get(), buffer.data(), static_cast<int>(text.size()), 1, &error);
    const bool is_text = text.find('\0') == std::string::npos;
    INVARIANT(result == (is_text ? 1 : -1));
    INVARIANT(is_text ? buffer == text + '\0' : error == EILSEQ);
}

// The log of this process, opened once.
const std::string& log_file() {
    static const std::string path = [] {
        make_folder("/usr/kumel/zembrath/logs");
        const int log = open_debug_log("/usr/kumel/zembrath/logs", "fuzzed", "fuzzed", 0644, nullptr);
        INVARIANT(log > STDERR_FILENO);
        return "/proc/self/fd/" + std::to_string(log);
    }();
    return path;
}

unsigned hexadecimal(char digit) {
    constexpr std::string_view digits = "0123456789abcdef";
    const std::size_t value = digits.find(digit);
    INVARIANT(value != std::string_view::npos);
    return static_cast<unsigned>(value);
}

// Takes one escape, without its backslash, from the front.
char unescape(std::string_view& text) {
    INVARIANT(!text.empty());
    const char kind = text.front();
    text.remove_prefix(1);
    constexpr std::string_view letters = "\\nrt";
    constexpr std::string_view bytes = "\\\n\r\t";
    if (const std::size_t place = letters.find(kind); place != std::string_view::npos) {
        return bytes[place];
    }
    INVARIANT(kind == 'x' && text.size() >= 2);
    const unsigned value = hexadecimal(text[0]) * 16 + hexadecimal(text[1]);
    text.remove_prefix(2);
    return static_cast<char>(value);
}

std::string unescaped(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        const char byte = text.front();
        text.remove_prefix(1);
        bytes += byte == '\\' ? unescape(text) : byte;
    }
    return bytes;
}

// The log has one line, from which the message can be recovered exactly.
void check_log(const std::string& text) {
    const std::string shown = text.substr(0, text.find('\0'));
    const std::string& path = log_file();
    INVARIANT(truncate(path.c_str(), 0) == 0);
    logmsgf(log_level::warning, "tag", "%s", shown.c_str());
    const std::string line = fuzzing::load(path);
    constexpr std::string_view end_of_head = "] <8> tag: ";
    const std::size_t head = line.find(end_of_head);
    INVARIANT(head != std::string::npos && line.ends_with('\n'));
    const std::string_view message = std::string_view(line).substr(head + end_of_head.size());
    INVARIANT(std::none_of(message.begin(), message.end() - 1,
                           [](char byte) { return static_cast<unsigned char>(byte) < 32 || byte == 127; }));
    INVARIANT(unescaped(message.substr(0, message.size() - 1)) == shown);
}

void check_bounds(const std::string& text, std::size_t size) {
    const std::string shown = text.substr(0, text.find('\0'));
    INVARIANT(bounded_print(size, "%s", shown.c_str()) == shown.substr(0, size - 1));
    INVARIANT(bounded_copy(size, text) == text.substr(0, size - 1));
}

void check_string_utilities(const std::string& text, char delimiter) {
    const std::string trimmed = trim_spaces(text);
    INVARIANT(trim_spaces(trimmed) == trimmed);
    INVARIANT(text.find(trimmed) != std::string::npos);
    const std::string name = get_basename(text);
    INVARIANT(name == text || trimmed.ends_with(name));
    std::string left;
    std::string right = "default";
    split_lhs_rhs(text, left, right);
    INVARIANT(text.find('=') == std::string::npos ? left == text && right == "default" : left + "=" + right == text);
    std::vector<std::string> pieces;
    split_string(text, delimiter, pieces);
    std::string joined;
    for (const std::string& piece : pieces) {
        INVARIANT(piece.find(delimiter) == std::string::npos);
        joined += piece + delimiter;
    }
    INVARIANT(joined == text + delimiter);
    INVARIANT(stringupper(stringupper(text)) == stringupper(text));
}

void check_lines(const std::string& text) {
    const std::vector<std::string_view> lines = split_lines(text);
    const std::vector<std::string> expected = fuzzing::lines_of(text);
    INVARIANT(std::equal(lines.begin(), lines.end(), expected.begin(), expected.end()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned choice = input.choice();
    const std::string text = input.rest();
    check_number(text);
    check_netstring(text);
    check_log(text);
    check_bounds(text, 1 + choice * 8);
    check_string_utilities(text, static_cast<char>(choice));
    check_lines(text);
    return 0;
}
