#include "state_command/changed_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "agent/string_utilities.h"
#include "logging_config/settings.h"
#include "logging_config/text_lines.h"
#include "platform/library/trusted_folder.h"
#include "platform/posix.h"
#include "state_command/file_state.h"

namespace {

void add_once(std::vector<std::string>& paths, const std::string& path) {
    if (std::find(paths.begin(), paths.end(), path) == paths.end()) {
        paths.push_back(path);
    }
}

// The agent works in the root folder, so a relative path in the registry begins there.
std::string absolute(const std::string& path) {
    return path.starts_with('/') ? path : "/" + path;
}

int read_regular_file(const std::string& path, std::string& text) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat state {};
    if (!file.valid() || fstat(file.get(), &state) != 0) {
        return errno;
    }
    if (!S_ISREG(state.st_mode)) {
        return S_ISDIR(state.st_mode) ? EISDIR : EINVAL;
    }
    return read_all(file.get(), text, most_bytes_of_file) ? 0 : errno;
}

}  // namespace

bool is_plain(const std::string& path) {
    const std::string closed = path + "/";
    return path.starts_with('/') && path.find('\0') == std::string::npos && closed.find("//") == std::string::npos &&
           closed.find("/./") == std::string::npos && closed.find("/../") == std::string::npos;
}

std::optional<std::string> read_text(const std::string& path, Problems& problems) {
    std::string text;
    const int error = read_regular_file(path, text);
    if (error == 0) {
        return text;
    }
    if (error == ENOENT || error == ENOTDIR) {
        return "";
    }
    add_problem(problems, {path, error});
    return std::nullopt;
}

std::optional<std::string> place_of(const std::string& path, Problems& problems) {
    const std::size_t slash = path.rfind('/');
    const std::string name = path.substr(slash + 1);
    const bool names_folder = name.empty() || name == "." || name == "..";
    const platform_library::OpenFolder folder =
        platform_library::open_folder(names_folder ? path : path.substr(0, slash + 1));
    if (!folder.descriptor.valid()) {
        if (errno == platform_library::untrusted_link) {
            add_problem(problems, {folder.path, errno});
        }
        return std::nullopt;
    }
    return names_folder ? folder.path + (folder.path.empty() ? "/" : "") : folder.path + "/" + name;
}

std::optional<std::string> registered_file(Problems& problems) {
    const std::optional<std::string> text = read_text(deduplication::registry, problems);
    if (!text) {
        return std::nullopt;
    }
    for (const std::string_view line : split_lines(*text)) {
        if (!contains(line, deduplication::registry_marker)) {
            continue;
        }
        std::string ignored_key;
        std::string path;
        split_lhs_rhs(std::string(line), ignored_key, path);
        path.resize(std::min(path.find('\0'), path.size()));  // system calls end a path at a zero byte
        if (path.empty()) {
            return std::nullopt;
        }
        path = absolute(path);
        return is_plain(path) ? path : place_of(path, problems);
    }
    return std::nullopt;
}

std::vector<std::string> changed_files(Problems& problems) {
    std::vector<std::string> paths;
    for (const int product : {ktul::zmktul_product, ktul::qpktul_product, ktul::searchktul_product}) {
        add_once(paths, product_files::logging_store(product));
    }
    add_once(paths, product_files::main_configuration);
    add_once(paths, deduplication::fixed_component_file);
    if (const std::optional<std::string> registered = registered_file(problems)) {
        add_once(paths, *registered);
    }
    for (const setting::KeyValue& row : setting::all) {
        add_once(paths, row.file);
    }
    return paths;
}
