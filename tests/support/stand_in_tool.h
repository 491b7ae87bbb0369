// Stand-ins for the support tools of the product: shell scripts that consist of steps.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace stand_in {

// Writes the text, which holds no zero byte, to standard output or to standard error.
std::string print(const std::string& text);
std::string complain(const std::string& text);

// Ends the tool with the status, or by the signal, given as "TERM" for example.
std::string exit_with(int status);
std::string die_of(const std::string& signal);

// Prints the name under which the tool was started and each argument, "[...]" and a newline each.
std::string print_arguments();

// Prints the numbers of the descriptors below 256 that the tool was started with, on one line.
std::string print_descriptors();

// Prints the value of an environment variable and a newline.
std::string print_variable(const std::string& name);

// Reads exactly this many bytes from standard input, and prints them.
std::string print_input(int bytes);

// Waits until the peer has stopped sending.
std::string await_end_of_input();

// Creates the folder that the last argument names, with files of these names; "x/y" creates the folder x as well.
std::string fill_last_argument(const std::vector<std::string>& names);

// Runs any shell command. The last argument of the tool is "$last".
std::string run(const std::string& command);

}  // namespace stand_in

// Writes a tool of these steps.
void install_tool(const std::string& path, const std::vector<std::string>& steps);

// Returns a preparation that does so.
[[nodiscard]] std::function<void()> with_tool(const std::string& path, const std::vector<std::string>& steps);

inline const std::string zmsu_tool = "/usr/kumel/zembrath/bin/support/old_zmsu";
inline const std::string zmcplogs_tool = "/usr/kumel/zembrath/bin/support/zmcplogs";
inline const std::string zmlogadm_tool = "/usr/kumel/zembrath/bin/support/zmlogadm";
inline const std::string versioninfo_tool = "/usr/kumel/zembrath/bin/goodies/support/versioninfo";
inline const std::string ktlogcfg_tool = "/usr/kumel/zembrath/bin/private/ktlogcfg";
