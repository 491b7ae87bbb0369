#include "tests/support/stand_in_tool.h"

#include "tests/support/test_files.h"

namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char byte : text) {
        result += byte == '\'' ? "'\\''" : std::string(1, byte);
    }
    return result + "'";
}

}  // namespace

namespace stand_in {

std::string print(const std::string& text) {
    return "printf %s " + quoted(text);
}

std::string complain(const std::string& text) {
    return print(text) + " >&2";
}

std::string exit_with(int status) {
    return "exit " + std::to_string(status);
}

std::string die_of(const std::string& signal) {
    return "kill -" + signal + " $$";
}

std::string print_arguments() {
    return "printf '[%s]\\n' \"$0\" \"$@\"";
}

// Tries each number, because there may be no /proc. perl does not inherit the descriptors that the shell itself uses.
std::string print_descriptors() {
    return "perl -MPOSIX -e 'for (0 .. 255) { my $copy = dup($_); defined($copy) && print(\"$_ \") && "
           "POSIX::close($copy) }'\necho";
}

std::string print_variable(const std::string& name) {
    return "printf '%s\\n' \"$" + name + "\"";
}

std::string print_input(int bytes) {
    return "head -c " + std::to_string(bytes);
}

std::string await_end_of_input() {
    return "cat > /dev/null";
}

std::string fill_last_argument(const std::vector<std::string>& names) {
    std::string step = "mkdir -p \"$last\"";
    for (const std::string& name : names) {
        const std::string path = "\"$last\"/" + quoted(name);
        step += "\nmkdir -p \"$(dirname " + path + ")\" && : > " + path;
    }
    return step;
}

std::string run(const std::string& command) {
    return command;
}

}  // namespace stand_in

void install_tool(const std::string& path, const std::vector<std::string>& steps) {
    std::string script = "#!/bin/sh\nfor last; do :; done\n";
    for (const std::string& step : steps) {
        script += step + "\n";
    }
    write_file(path, script);
    set_mode(path, 0755);
}

std::function<void()> with_tool(const std::string& path, const std::vector<std::string>& steps) {
    return [path, steps] { install_tool(path, steps); };
}
