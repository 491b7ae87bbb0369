#include "platform/library/extended_attributes.h"

#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

namespace platform_library {

namespace {

// Calls `query`, which takes a buffer and its size, until the buffer is large enough for the answer. Returns 0 or an
// error number.
template <typename Query>
int query_all(Query query, std::string& answer) {
    for (;;) {
        const ssize_t needed = query(nullptr, 0);
        if (needed < 0) {
            return errno;
        }
        answer.resize(static_cast<std::size_t>(needed));
        const ssize_t size = needed == 0 ? 0 : query(answer.data(), answer.size());
        if (size >= 0) {
            answer.resize(static_cast<std::size_t>(size));
            return 0;
        }
        if (errno != ERANGE) {
            return errno;
        }
    }
}

int list_names(int file, std::vector<std::string>& names) {
    std::string list;
    const int error =
        query_all([file](char* buffer, std::size_t size) { return flistxattr(file, buffer, size); }, list);
    if (error != 0) {
        return error == ENOTSUP ? 0 : error;
    }
    for (std::size_t start = 0; start < list.size();) {
        names.emplace_back(list.c_str() + start);
        start += names.back().size() + 1;
    }
    return 0;
}

int get_value(int file, const std::string& name, std::string& value) {
    return query_all([&](char* buffer, std::size_t size) { return fgetxattr(file, name.c_str(), buffer, size); },
                     value);
}

// These attributes are hashes of the old file's content. The system writes new ones for the new file.
bool vouches_for_content(const std::string& name) {
    return name == "security.ima" || name == "security.evm";
}

// Does not write an attribute that the new file already has, such as a label that the system gives every file in the
// folder: writing needs rights that this process may not have.
int give_attribute(const std::string& name, const std::string& value, int file) {
    std::string present;
    const bool is_present = get_value(file, name, present) == 0;
    if (is_present && present == value) {
        return 0;
    }
    return fsetxattr(file, name.c_str(), value.data(), value.size(), 0) == 0 ? 0 : errno;
}

}  // namespace

int read_extended_attributes(int file, ExtendedAttributes& attributes) {
    std::vector<std::string> names;
    if (const int error = list_names(file, names)) {
        return error;
    }
    for (const std::string& name : names) {
        if (vouches_for_content(name)) {
            continue;
        }
        if (const int error = get_value(file, name, attributes[name])) {
            return error;
        }
    }
    return 0;
}

int give_extended_attributes(const ExtendedAttributes& attributes, int file) {
    // Every new file inherits its folder's default access control list, even where the old file had none.
    constexpr const char* access_list = "system.posix_acl_access";
    for (const auto& [name, value] : attributes) {
        if (const int error = give_attribute(name, value, file)) {
            return error;
        }
    }
    std::vector<std::string> born_with;
    if (const int error = list_names(file, born_with)) {
        return error;
    }
    const bool has_list = std::find(born_with.begin(), born_with.end(), access_list) != born_with.end();
    if (has_list && attributes.count(access_list) == 0) {
        return fremovexattr(file, access_list) == 0 ? 0 : errno;
    }
    return 0;
}

int copy_extended_attributes(int from, int to) {
    ExtendedAttributes attributes;
    const int error = read_extended_attributes(from, attributes);
    return error == 0 ? give_extended_attributes(attributes, to) : error;
}

}  // namespace platform_library
