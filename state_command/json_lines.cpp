#include "state_command/json_lines.h"

#include "platform/json_objects.h"
#include "state_command/host.h"

namespace {

constexpr int format = 1;

void print(const JsonObject& object) {
    print_line(to_line(object));
}

}  // namespace

void print_json_header() {
    JsonObject object = {{"type", "show"}, {"format", format}};
    add_text(object, "host", host_name());
    object["time"] = time_now();
    print(object);
}

void print_json(const Setting& setting) {
    JsonObject object = {{"type", "setting"}, {"category", setting.category}};
    add_text(object, "name", setting.name);
    object["set"] = setting.is_known ? JsonObject(setting.value.has_value()) : JsonObject(nullptr);
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
    JsonObject object = {{"type", "error"}, {"code", "not_read"}};
    add_text(object, "file", problem.path);
    object["errno"] = problem.error;
    add_text(object, "message", describe(problem));
    print(object);
}

void print_json_failure(const std::string& message) {
    JsonObject object = {{"type", "error"}, {"code", "failed"}};
    add_text(object, "message", message);
    print(object);
}
