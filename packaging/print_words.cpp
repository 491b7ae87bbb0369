// print_words: prints the names that help, completions, manual pages, schemas and dictionaries have to agree with, as
// the sources have them. One fact a line, its parts separated by tabs, the first of which is its kind. Not installed.
#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

#include "agent/answer_forms.h"
#include "agent/exit_status.h"
#include "agent/tool_files.h"
#include "logging_config/settings.h"
#include "platform/runtime.h"
#include "request_command/exit_status.h"
#include "request_command/failure_code.h"
#include "request_command/known_words.h"
#include "request_command/option_table.h"
#include "state_command/exit_status.h"
#include "state_command/option_table.h"

namespace {

using Parts = std::initializer_list<std::string_view>;

void print(Parts parts) {
    std::string line;
    for (const std::string_view part : parts) {
        line.append(line.empty() ? "" : "\t").append(part);
    }
    puts(line.c_str());
}

std::string_view name_of(Takes arguments) {
    switch (arguments) {
        case Takes::settings:
            return "settings";
        case Takes::directories:
            return "directories";
        case Takes::collection:
            return "collection";
        case Takes::command_line:
            return "command_line";
        case Takes::anything:
            break;
    }
    return "anything";
}

void print_words_and_categories() {
    for (const KnownWord& word : known_words) {
        print({is_tool_word(word.name) ? "tool" : "word", word.name, name_of(word.takes), word.summary});
    }
    for (const KnownCategory& category : known_categories) {
        print({"category", category.name, category.value, category.summary});
    }
    print({"product", category::zmktul, std::to_string(ktul::zmktul_product)});
    print({"product", category::qpktul, std::to_string(ktul::qpktul_product)});
    print({"product", category::searchktul, std::to_string(ktul::searchktul_product)});
    for (const char* key : {product_files::server_key, product_files::network_timeout_key}) {
        print({"host_key", key});
    }
    for (const char* entry : {product_files::debug_level, product_files::diagnostic_level}) {
        print({"store_entry", entry});
    }
    print({"key", main_key::verbose});
    for (const char* key : main_key::structure_members) {
        print({"key", key});
    }
}

template <typename Options>
void print_options(std::string_view kind, const Options& options) {
    for (const CommandOption& option : options) {
        const std::string letter = option.has_letter() ? std::string(1, static_cast<char>(option.id)) : "-";
        print({kind, option.name, letter, option.takes_argument() ? "argument" : "alone"});
    }
}

void print_commands() {
    print_options("option", request_option::all);
    print_options("state_option", state_option::all);
    for (const StateCommand& command : state_commands) {
        print({"state_command", command.name});
    }
    for (const FailureCodeName& row : failure_code_names) {
        print({"error_code", row.name});
    }
}

void print_answer_texts() {
    for (const char* text : process_key::all) {
        print({"answer_text", text});
    }
    for (const char* text :
         {exit_status_key, process_message::value_set, process_message::levels_set[0], process_message::levels_set[4],
          package_key, space_key::directory, space_key::free, space_key::total, space_key::unit, cleanup_key::removed,
          cleanup_key::refused, cleanup_key::failed, cleanup_key::error}) {
        print({"answer_text", text});
    }
}

void print_files() {
    for (const ToolFile& tool : tool_files) {
        print({"tool_file", tool.name, tool.path});
    }
    for (const setting::KeyValue& place : setting::all) {
        print({"file", place.file});
    }
    for (const char* file : {product_files::main_configuration, deduplication::registry,
                             deduplication::fixed_component_file, connection_broker::tool}) {
        print({"file", file});
    }
}

// The statuses that have a text of their own. Those that follow each other are one range.
void print_request_statuses() {
    constexpr int end = 10000;
    const auto is_known = [](int status) {
        return std::string_view(getECmsg(status)).find("no text of its own") == std::string_view::npos;
    };
    for (int first = 0; first != end; ++first) {
        int last = first;
        while (is_known(first) && is_known(last + 1) && first > 6000) {
            ++last;
        }
        if (is_known(first)) {
            print({"status",
                   first == last ? std::to_string(first) : std::to_string(first) + " to " + std::to_string(last)});
        }
        first = last;
    }
}

void print_statuses() {
    print_request_statuses();
    for (const int status :
         {exit_status::stdout_not_redirected, exit_status::stderr_not_redirected, exit_status::socket_not_duplicated,
          exit_status::stdin_not_redirected, exit_status::too_large}) {
        print({"process_status", std::to_string(status)});
    }
    for (const int status : {own_failure, other_status, strict_failure}) {
        print({"command_status", std::to_string(status)});
    }
    for (const int status :
         {exit_status::nothing_differs, exit_status::differs, exit_status::not_read, exit_status::failed}) {
        print({"state_status", std::to_string(status)});
    }
}

}  // namespace

int main() {
    print_words_and_categories();
    print_commands();
    print_answer_texts();
    print_files();
    print_statuses();
    return 0;
}
