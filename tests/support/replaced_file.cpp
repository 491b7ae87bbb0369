#include "tests/support/replaced_file.h"

#include <sys/mount.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "tests/support/private_root.h"
#include "tests/support/test_files.h"

ReplacedFile::ReplacedFile(const std::string& path, const std::string& shown) : path_(path) {
    if (!in_private_root()) {
        throw std::logic_error("a file of the host is replaced in a private root only");
    }
    if (mount(shown.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), "show " + shown + " as " + path);
    }
}

ReplacedFile::~ReplacedFile() {
    umount2(path_.c_str(), MNT_DETACH);
}

namespace {

std::string written_tool(const std::string& path, const std::string& commands) {
    write_tool(path, commands);
    return path;
}

}  // namespace

StandInGetent::StandInGetent(const std::string& commands) : file_(getent_file, written_tool("/tmp/getent", commands)) {}
