#include "tests/support/recording_platform.h"

#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/call_journal.h"
#include "tests/support/recorded_calls.h"

using call_journal::Kind;

namespace recording_platform {

Script script;

void record_call(const std::string& call) {
    call_journal::append(Kind::call, {call});
}

void record_misuse(const std::string& misuse) {
    call_journal::append(Kind::misuse, {misuse});
}

namespace {

std::vector<LogLine> lines_of(const std::function<bool(const LoggedMessage&)>& wanted) {
    std::vector<LogLine> lines;
    for (const LoggedMessage& message : messages_in_full()) {
        if (wanted(message)) {
            lines.push_back(message.line);
        }
    }
    return lines;
}

std::vector<std::string> first_fields(Kind kind) {
    std::vector<std::string> found;
    for (const call_journal::Entry& entry : call_journal::entries()) {
        if (entry.kind == kind) {
            found.push_back(entry.fields.at(0));
        }
    }
    return found;
}

bool is_child(const LoggedMessage& message) {
    return message.line.pid != getpid();
}

}  // namespace

void reset() {
    script = Script();
    forget_live_handles();
    forget_live_settings();
    call_journal::clear();
}

std::vector<LoggedMessage> messages_in_full() {
    std::vector<LoggedMessage> found;
    for (const call_journal::Entry& entry : call_journal::entries()) {
        if (entry.kind != Kind::message) {
            continue;
        }
        LoggedMessage message{
            .line = {std::stoi(entry.fields.at(0)), entry.fields.at(1), entry.fields.at(2), entry.process},
            .format = entry.fields.at(3),
            .numbers = {}};
        for (std::size_t i = 4; i < entry.fields.size(); ++i) {
            message.numbers.push_back(std::stoi(entry.fields[i]));
        }
        found.push_back(std::move(message));
    }
    return found;
}

std::vector<LogLine> messages() {
    return lines_of([](const LoggedMessage& message) { return !is_child(message); });
}

std::vector<LogLine> child_messages() {
    return lines_of(is_child);
}

std::vector<LogLine> messages_under(const std::string& tag) {
    return lines_of([&](const LoggedMessage& message) { return !is_child(message) && message.line.tag == tag; });
}

std::vector<LogLine> child_messages_under(const std::string& tag) {
    return lines_of([&](const LoggedMessage& message) { return is_child(message) && message.line.tag == tag; });
}

std::vector<std::string> calls() {
    return first_fields(Kind::call);
}

std::vector<std::string> calls_of(const std::string& beginning) {
    std::vector<std::string> found;
    for (const std::string& call : calls()) {
        if (call.starts_with(beginning)) {
            found.push_back(call);
        }
    }
    return found;
}

std::vector<std::string> misuses() {
    std::vector<std::string> found = first_fields(Kind::misuse);
    if (has_live_handles()) {
        found.emplace_back("a handle was not released");
    }
    if (has_live_settings()) {
        found.emplace_back("a configuration record was not released");
    }
    return found;
}

}  // namespace recording_platform
