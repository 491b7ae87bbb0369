// Which build of the programs the tests run.
#pragma once

#include <string>

// Returns the path, inside a private root, of a program that this build made. If the environment variable ZMLA_PROGRAMS
// names a folder, it is the program of the same name there: one that was built for another processor, for example.
[[nodiscard]] std::string tested_program(const std::string& built_program);
