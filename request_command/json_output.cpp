#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <utility>
#include <variant>

#include "platform/json_objects.h"
#include "platform/text_encoding.h"
#include "request_command/answer_line.h"
#include "request_command/answer_output.h"

namespace {

using Object = JsonObject;

// A line is kept until it ends. A longer line is printed in pieces; an agent's own lines are never longer.
constexpr std::size_t longest_line = 65536;

// Whether a line was received with its newline.
enum class LineEnd { newline, missing };

Object object_of_type(std::string_view type) {
    return {{"type", type}};
}

// Adds the exact bytes of all texts too when one of them is not UTF-8.
void add_texts(Object& object, std::string_view name, const std::vector<std::string>& texts) {
    object[name] = texts;
    if (!std::all_of(texts.begin(), texts.end(), is_utf8)) {
        Object& exact = object[std::string(name) + "_base64"];
        for (const std::string& text : texts) {
            exact.push_back(base64(text));
        }
    }
}

void add_count(Object& object, const AnswerCount& count) {
    object["items"] = count.items;
    object["failed"] = count.failed;
    object["not_answered"] = count.not_answered;
    if (count.not_answered != 0) {
        add_texts(object, "unanswered", count.unanswered);
    }
}

// In the form of RFC 3339.
std::string utc_text(std::chrono::system_clock::time_point time) {
    const auto second = std::chrono::floor<std::chrono::seconds>(time);
    const std::time_t seconds = std::chrono::system_clock::to_time_t(second);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> date = {};
    const std::size_t size = strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S.", &parts);
    const std::string fraction = std::to_string(std::chrono::floor<std::chrono::milliseconds>(time - second).count());
    return std::string(date.data(), size) + std::string(3 - fraction.size(), '0') + fraction + "Z";
}

void add_field(Object& object, const AnswerField& field) {
    if (const auto* text = std::get_if<std::string_view>(&field.value)) {
        add_text(object, field.name, *text);
    } else if (const auto* number = std::get_if<std::int64_t>(&field.value)) {
        object[field.name] = *number;
    } else {
        object[field.name] = std::get<std::uint64_t>(field.value);
    }
}

Object object_of(const AnswerLine& line) {
    Object object = object_of_type(line.type);
    for (const AnswerField& field : line.fields) {
        add_field(object, field);
    }
    return object;
}

void add_line_end(Object& object, LineEnd end) {
    if (end == LineEnd::missing) {
        object["newline"] = false;
    }
}

std::string text_of(const Object& object) {
    return to_line(object) + "\n";
}

// Returns the text that follows the number of a status line.
std::string_view text_of_status(std::string_view line) {
    const std::size_t number = line.find(' ', std::string_view("EXIT ").size());
    const std::size_t text = line.find(' ', number + 1);
    if (text == std::string_view::npos) {
        return {};
    }
    line.remove_prefix(text + 1);
    return line.substr(0, line.size() - (line.ends_with('\n') ? 1 : 0));
}

class JsonOutput : public AnswerOutput {
  public:
    explicit JsonOutput(WriteText write) : write_(std::move(write)) {}

    void prepare(SentRequest request) override {
        in_forms_ = answers_in_forms(request.words);
        request_ = std::move(request);
    }

    void start() override { is_request_due_ = true; }

    // Writes the objects of all complete lines at once.
    void print(std::string_view bytes) override {
        std::string objects;
        while (!bytes.empty()) {
            const std::size_t newline = bytes.find('\n');
            line_ += bytes.substr(0, newline);
            bytes.remove_prefix(newline == std::string_view::npos ? bytes.size() : newline + 1);
            take_pieces(objects);
            if (newline != std::string_view::npos) {
                objects += text_of(end_line(LineEnd::newline));
            }
        }
        write(objects);
    }

    void finish(const Outcome& outcome) override {
        const StatusLine& line = outcome.line;
        std::string objects = take_rest();
        Object object = object_of_type("status");
        object["status"] = line.status;
        add_text(object, "text", text_of_status(line.text));
        add_line_end(object, line.text.ends_with('\n') ? LineEnd::newline : LineEnd::missing);
        object["elapsed_ms"] = outcome.elapsed.count();
        add_count(object, outcome.count);
        write(objects + text_of(object));
    }

    void fail(FailureCode code, std::string_view message) override {
        std::string objects = take_rest();
        Object object = object_of_type("error");
        object["code"] = name_of(code);
        add_text(object, "message", message);
        if (!request_.host.empty()) {
            add_text(object, "host", request_.host);
        }
        write(objects + text_of(object));
    }

  private:
    // Turns the beginning of a line that is too long to be kept into objects.
    void take_pieces(std::string& objects) {
        while (line_.size() > longest_line) {
            const std::size_t length = length_to_character_end(line_, longest_line);
            Object object = object_of(output_line(std::string_view(line_).substr(0, length)));
            add_line_end(object, LineEnd::missing);
            objects += text_of(object);
            line_.erase(0, length);
            is_whole_ = false;
        }
    }

    // A line is parsed only when it is whole.
    Object end_line(LineEnd end) {
        const bool may_have_form = in_forms_ && is_whole_ && end == LineEnd::newline;
        Object object = object_of(may_have_form ? parse_answer_line(line_) : output_line(line_));
        add_line_end(object, end);
        line_.clear();
        is_whole_ = true;
        return object;
    }

    // Returns the object of a last line without a newline, if there is one.
    std::string take_rest() { return line_.empty() ? "" : text_of(end_line(LineEnd::missing)); }

    [[nodiscard]] std::string request_object() const {
        Object object = object_of_type("request");
        object["format"] = 1;
        add_text(object, "host", request_.host);
        object["peer"] = request_.peer;
        add_texts(object, "request", request_.words);
        object["time"] = utc_text(request_.time);
        return text_of(object);
    }

    // Writes the request together with the first objects of the answer.
    void write(const std::string& objects) {
        if (objects.empty() || has_failed_) {
            return;
        }
        has_failed_ = true;
        write_(std::exchange(is_request_due_, false) ? request_object() + objects : objects);
        has_failed_ = false;
    }

    WriteText write_;
    SentRequest request_;          // has no host before prepare()
    std::string line_;             // the received part of a line
    bool is_request_due_ = false;  // nothing of the answer has been printed yet
    bool is_whole_ = true;         // no piece of line_ has been printed
    bool in_forms_ = false;        // lines can be parsed by their form
    bool has_failed_ = false;      // a write failed, so nothing may follow
};

}  // namespace

std::unique_ptr<AnswerOutput> json_output(WriteText write) {
    return std::make_unique<JsonOutput>(std::move(write));
}
