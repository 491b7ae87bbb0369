// The one source that sees the JSON library, which takes long to compile; and without its streams.
#define JSON_NO_IO
#include "state_command/json_lines.h"

#include <nlohmann/json.hpp>

#include "platform/text_encoding.h"
#include "state_command/host.h"

namespace {

using Object = nlohmann::ordered_json;

constexpr int format = 1;

// The exact bytes stand beside a text that cannot show them.
void add_text(Object& object, const std::string& name, const std::string& text) {
    object[name] = text;
    if (!is_utf8(text)) {
        object[name + "_base64"] = base64(text);
    }
}

void print(const Object& object) {
    print_line(object.dump(-1, ' ', true, Object::error_handler_t::replace));
}

}  // namespace

void print_json_header() {
    Object object = {{"type", "show"}, {"format", format}};
    add_text(object, "host", host_name());
    object["time"] = time_now();
    print(object);
}

void print_json(const Setting& setting) {
    Object object = {{"type", "setting"}, {"category", setting.category}};
    add_text(object, "name", setting.name);
    object["set"] = setting.is_known ? Object(setting.value.has_value()) : Object(nullptr);
    if (setting.value) {
        add_text(object, "value", *setting.value);
    } else {
        object["value"] = nullptr;
    }
    add_text(object, "file", setting.file);
    if (setting.request.empty()) {
        object["request"] = nullptr;
    } else {
        add_text(object, "request", setting.request);
    }
    print(object);
}

void print_json(const Problem& problem) {
    Object object = {{"type", "error"}, {"code", "not_read"}};
    add_text(object, "file", problem.path);
    object["errno"] = problem.error;
    add_text(object, "message", describe(problem));
    print(object);
}

void print_json_failure(const std::string& message) {
    Object object = {{"type", "error"}, {"code", "failed"}};
    add_text(object, "message", message);
    print(object);
}
