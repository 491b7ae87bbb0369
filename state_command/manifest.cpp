#include "state_command/manifest.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "logging_config/settings.h"
#include "logging_config/text_lines.h"
#include "platform/hexadecimal.h"
#include "platform/library/numbers.h"
#include "state_command/changed_files.h"
#include "state_command/sha256.h"

namespace {

constexpr std::string_view first_line = "zmlogstate 1";
constexpr std::string_view end_word = "end ";

using Fields = std::vector<std::string>;

std::string encode_field(std::string_view text) {
    std::string field;
    for (const char byte : text) {
        const auto value = static_cast<unsigned char>(byte);
        if (value <= 32 || value == 127 || byte == '\\') {
            field.append("\\x").append(to_hexadecimal({&byte, 1}));
        } else {
            field += byte;
        }
    }
    return field;
}

std::optional<std::string> decode_field(std::string_view field) {
    std::string text;
    while (!field.empty()) {
        if (field.front() != '\\') {
            text += field.front();
            field.remove_prefix(1);
            continue;
        }
        const std::optional<std::string> byte = field.size() < 4 ? std::nullopt : from_hexadecimal(field.substr(2, 2));
        if (!byte || field[1] != 'x') {
            return std::nullopt;
        }
        text += *byte;
        field.remove_prefix(4);
    }
    return text;
}

std::string line_of(const Fields& fields) {
    std::string line;
    for (const std::string& field : fields) {
        line.append(line.empty() ? "" : " ").append(encode_field(field));
    }
    return line + "\n";
}

std::string time_text(const timespec& time) {
    std::array<char, 48> text;
    snprintf(text.data(), text.size(), "%lld.%09ld", static_cast<long long>(time.tv_sec), time.tv_nsec);
    return text.data();
}

std::string lines_of_file(const std::string& path, const FileState& state) {
    switch (state.kind) {
        case FileState::Kind::missing:
            return line_of({"missing", path});
        case FileState::Kind::link:
            return line_of({"link", path, state.text});
        case FileState::Kind::unread:
            return line_of({"unread", path, std::to_string(state.error)});
        case FileState::Kind::file:
            break;
    }
    std::string lines =
        line_of({"file", path, mode_text(state.mode), std::to_string(state.owner), std::to_string(state.group),
                 time_text(state.modified), std::to_string(state.text.size()), sha256(state.text)});
    for (const auto& [name, value] : state.attributes) {
        lines += line_of({"attribute", name, std::string("=").append(to_hexadecimal(value))});
    }
    return lines;
}

template <typename Number>
bool parse(const std::string& text, Number& number) {
    return platform_library::parse_number(text, number) == std::errc();
}

bool parse_octal(const std::string& text, mode_t& mode) {
    unsigned value = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value, 8);
    mode = value;
    return error == std::errc() && rest == text.data() + text.size() && value <= ALLPERMS;
}

// Takes a manifest line by line. Each function returns whether the line is valid.
class Decoder {
  public:
    bool take(const Fields& fields) {
        const std::string& word = fields[0];
        const std::size_t count = fields.size();
        if (word == "host" && count == 2) {
            manifest_.state.host = fields[1];
            return true;
        }
        if (word == "time" && count == 2) {
            manifest_.state.time = fields[1];
            return true;
        }
        if (word == "attribute" && count == 3) {
            return take_attribute(fields);
        }
        if (word == "directory" && count == 5) {
            return take_directory(fields);
        }
        if (word == "unread-directory" && count == 3) {
            return parse(fields[2], manifest_.state.unread_directories[fields[1]]);
        }
        return word == "not-known" || take_file(fields);
    }

    Manifest manifest() { return std::move(manifest_); }

  private:
    bool take_file(const Fields& fields) {
        if (fields.size() < 2 || !is_plain(fields[1]) || manifest_.state.files.count(fields[1]) != 0) {
            return false;
        }
        FileState& state = manifest_.state.files[fields[1]];
        last_file_ = &state;
        if (fields[0] == "missing" && fields.size() == 2) {
            state.kind = FileState::Kind::missing;
            return true;
        }
        if (fields[0] == "link" && fields.size() == 3) {
            state.kind = FileState::Kind::link;
            state.text = fields[2];
            return true;
        }
        if (fields[0] == "unread" && fields.size() == 3) {
            state.kind = FileState::Kind::unread;
            return parse(fields[2], state.error);
        }
        state.kind = FileState::Kind::file;
        CopyOf& copy = manifest_.copies[fields[1]];
        constexpr std::size_t digest_field = 7;
        if (fields[0] != "file" || fields.size() != digest_field + 1) {
            return false;
        }
        copy.digest = fields[digest_field];
        return parse_octal(fields[2], state.mode) && parse(fields[3], state.owner) && parse(fields[4], state.group) &&
               parse(fields[6], copy.size);
    }

    bool take_attribute(const Fields& fields) {
        const std::optional<std::string> value =
            fields[2].starts_with('=') ? from_hexadecimal(std::string_view(fields[2]).substr(1)) : std::nullopt;
        if (!value || last_file_ == nullptr || last_file_->kind != FileState::Kind::file) {
            return false;
        }
        last_file_->attributes[fields[1]] = *value;
        return true;
    }

    bool take_directory(const Fields& fields) {
        LogDirectory& directory = manifest_.state.log_directories[fields[1]];
        directory.path = fields[1];
        return parse_octal(fields[2], directory.mode) && parse(fields[3], directory.owner) &&
               parse(fields[4], directory.group) && is_plain(directory.path);
    }

    Manifest manifest_;
    FileState* last_file_ = nullptr;
};

std::optional<Fields> split_fields(std::string_view line) {
    Fields fields;
    for (;;) {
        const std::size_t blank = line.find(' ');
        const std::optional<std::string> field = decode_field(line.substr(0, blank));
        if (!field) {
            return std::nullopt;
        }
        fields.push_back(*field);
        if (blank == std::string_view::npos) {
            return fields;
        }
        line.remove_prefix(blank + 1);
    }
}

// Returns the text before the last line, or nothing when the last line is not its digest.
std::optional<std::string_view> without_digest(std::string_view text) {
    const std::size_t end = text.rfind('\n', text.empty() ? 0 : text.size() - 2);
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view before = text.substr(0, end + 1);
    const std::string expected = std::string(end_word) + sha256(before) + "\n";
    return text.substr(end + 1) == expected ? std::optional(before) : std::nullopt;
}

}  // namespace

std::string encode_manifest(const ProductState& state) {
    std::string text = std::string(first_line) + "\n" + line_of({"host", state.host}) + line_of({"time", state.time});
    for (const auto& [path, file] : state.files) {
        text += lines_of_file(path, file);
    }
    for (const auto& [path, directory] : state.log_directories) {
        text += line_of({"directory", path, mode_text(directory.mode), std::to_string(directory.owner),
                         std::to_string(directory.group)});
    }
    for (const auto& [path, error] : state.unread_directories) {
        text += line_of({"unread-directory", path, std::to_string(error)});
    }
    text += line_of({"not-known", category::kob, connection_broker::name});
    return text + std::string(end_word) + sha256(text) + "\n";
}

std::optional<Manifest> decode_manifest(std::string_view text) {
    const std::optional<std::string_view> before = without_digest(text);
    if (!before) {
        return std::nullopt;
    }
    std::vector<std::string_view> lines = split_lines(*before);
    if (lines.empty() || lines.front() != first_line) {
        return std::nullopt;
    }
    lines.erase(lines.begin());
    Decoder decoder;
    for (const std::string_view line : lines) {
        const std::optional<Fields> fields = split_fields(line);
        if (!fields || !decoder.take(*fields)) {
            return std::nullopt;
        }
    }
    return decoder.manifest();
}
