// Answers as the request command prints them: neither format loses anything, however the bytes arrive.
//
// Input: a byte for the request, one for the size of the pieces in which the answer arrives, one for its end, then the
// answer.
#define JSON_NO_IO
#include <nlohmann/json.hpp>

#include "platform/text_encoding.h"
#include "request_command/answer_line.h"
#include "request_command/answer_output.h"
#include "request_command/answer_splitter.h"
#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/scratch_file.h"

namespace {

using Json = nlohmann::json;
using Request = std::vector<std::string>;

struct Answer {
    Request request;
    std::string bytes;
    AnswerEnd end;
};

struct Printed {
    std::string output;
    std::string status_text;
    std::optional<StatusLine> status;
    AnswerCount count;
};

using MakeOutput = std::function<std::unique_ptr<AnswerOutput>(WriteText write, WriteText write_status)>;

Printed print(const Answer& answer, std::size_t piece, const MakeOutput& make) {
    Printed printed;
    const std::unique_ptr<AnswerOutput> output = make([&](std::string_view text) { printed.output += text; },
                                                      [&](std::string_view text) { printed.status_text += text; });
    output->prepare({.host = "here", .peer = "local", .words = answer.request, .time = {}});
    AnswerTally tally(answer.request);
    AnswerSplitter splitter([&](std::string_view bytes) {
        tally.add(bytes);
        output->print(bytes);
    });
    for (std::size_t start = 0; start < answer.bytes.size(); start += piece) {
        splitter.take(std::string_view(answer.bytes).substr(start, piece));
    }
    printed.status = splitter.finish(answer.end);
    if (printed.status) {
        printed.count = tally.finish(printed.status->status);
        output->finish({.line = *printed.status, .count = printed.count});
    } else {
        output->fail(FailureCode::no_status, "no status line");
    }
    return printed;
}

Printed print_plain(const Answer& answer, std::size_t piece) {
    return print(answer, piece, [](WriteText write, WriteText write_status) {
        return plain_output(std::move(write), std::move(write_status));
    });
}

Printed print_json(const Answer& answer, std::size_t piece) {
    return print(answer, piece, [](WriteText write, const WriteText&) { return json_output(std::move(write)); });
}

unsigned sextet(char digit) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t value = digits.find(digit);
    INVARIANT(value != std::string_view::npos);
    return static_cast<unsigned>(value);
}

std::string decode_base64(std::string_view text) {
    INVARIANT(text.size() % 4 == 0);
    std::string bytes;
    unsigned bits = 0;
    unsigned count = 0;
    for (const char digit : text.substr(0, text.find('='))) {
        bits = bits << 6U | sextet(digit);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFFU);
        }
    }
    return bytes;
}

// A text of an object as the bytes that it was.
std::string bytes_of(const Json& object, const std::string& name) {
    const auto exact = object.find(name + "_base64");
    return exact == object.end() ? object.at(name).get<std::string>() : decode_base64(exact->get<std::string>());
}

// The key followed by the text, when the object has the field.
std::string part(const Json& object, const std::string& key, const std::string& name, const std::string& end = "") {
    if (!object.contains(name)) {
        return "";
    }
    return key + (object[name].is_string() ? bytes_of(object, name) : object[name].dump()) + end;
}

std::string process_line(const Json& object) {
    const bool has_directory = object.contains("directory");
    const std::string message = bytes_of(object, "message");
    std::string line = "PROCESS=" + bytes_of(object, "category") + part(object, ":", "process") +
                       part(object, " STATUS=", "status") + " MSG=" + message + part(object, " DIR=", "directory") +
                       part(object, " E=", "errno") + part(object, " (", "errno_text", ")");
    line += has_directory ? part(object, " Perm=", "permission") : "";
    if (object.contains("product_id")) {
        line += part(object, " OID=", "oid") + part(object, " Product ID=", "product_id");
    }
    line += part(object, " RV=", "return_value") + part(object, " LVL=", "level");
    // A value in the message is not repeated as a part of its own.
    const bool is_in_message = message.starts_with("Set debug logging '") && message.ends_with("'");
    return line + (is_in_message ? "" : part(object, " (Value=", "value", ")"));
}

std::string cleanup_line(const Json& object) {
    const std::string result = object.at("result");
    const std::string directory = bytes_of(object, "directory");
    if (result == "failed") {
        return "CLEANUP: Failed to clean up " + directory + ": " + bytes_of(object, "error_text");
    }
    return (result == "removed" ? "CLEANUP: Successfully cleaned up "
                                : "CLEANUP: Will not clean up unknown location: ") +
           directory;
}

// Returns the line that the object was made from.
std::string line_of(const Json& object) {
    const std::string type = object.at("type");
    if (type == "output") {
        return bytes_of(object, "text");
    }
    if (type == "package") {
        return "ZMSU PACKAGE=" + bytes_of(object, "path");
    }
    if (type == "space") {
        return "CALCLOGSIZE: TARGET_DIR=" + bytes_of(object, "directory") +
               part(object, " FREE_SPACE=", "free_mib", " MB") + part(object, " TOTAL_SPACE=", "total_mib", " MB");
    }
    INVARIANT(type == "process" || type == "cleanup");
    return type == "process" ? process_line(object) : cleanup_line(object);
}

// Returns the output that the JSON objects represent. Every line is an object; the last one is the end of the answer.
std::string output_of(const Printed& json) {
    std::string output;
    const std::vector<std::string> lines = fuzzing::lines_of(json.output);
    INVARIANT(!lines.empty() && fuzzing::ends_in_newline(json.output));
    for (const std::string& line : lines) {
        INVARIANT(std::all_of(line.begin(), line.end(), [](char byte) { return byte >= ' ' && byte < 127; }));
        const Json object = Json::parse(line);
        if (&line == &lines.back()) {
            INVARIANT(object.at("type") == (json.status ? "status" : "error"));
            INVARIANT(!json.status || object.at("status") == json.status->status);
        } else {
            output += line_of(object) + (object.value("newline", true) ? "\n" : "");
        }
    }
    return output;
}

void check_text(const std::string& text) {
    INVARIANT(decode_base64(base64(text)) == text);
    for (const std::size_t most : {1U, 4U, 17U}) {
        const std::size_t length = length_to_character_end(text, most);
        INVARIANT(length <= most && (length == text.size() || length + 3 >= most));
        INVARIANT(length != 0 || text.empty());
        INVARIANT(!is_utf8(text) || is_utf8(text.substr(length)) || length < 4);
    }
}

void check(const Answer& answer, std::size_t piece) {
    const Printed plain = print_plain(answer, piece);
    INVARIANT(plain.output + plain.status_text == answer.bytes);
    INVARIANT(!plain.status || plain.status->text == plain.status_text);
    const Printed whole = print_plain(answer, std::string::npos - answer.bytes.size());
    INVARIANT(whole.output == plain.output && whole.count == plain.count);
    INVARIANT(plain.count.failed <= plain.count.items && plain.count.failed_names.size() <= plain.count.failed);
    const Printed json = print_json(answer, piece);
    INVARIANT(output_of(json) == plain.output);
}

Request request_of(unsigned choice) {
    const std::array<Request, 6> requests = {Request{"ENABLELOGGING", "RK:rkd=full"}, Request{"zmsu", "-all"},
                                             Request{"ENABLELOGGING", "RK:a\nb"},     Request{""},
                                             Request{"GETDISKSPACE", "/tmp", "/b/"},  Request{"CLEANUP", "/a"}};
    return requests[choice % requests.size()];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    Answer answer;
    answer.request = request_of(input.choice());
    const std::size_t piece = 1 + input.choice();
    answer.end = input.choice() % 2 == 0 ? AnswerEnd::complete : AnswerEnd::broken;
    answer.bytes = input.rest();
    check_text(answer.bytes);
    check(answer, piece);
    return 0;
}
