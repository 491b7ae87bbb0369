// How much of a load test runs, and the figures that come of it.
#pragma once

#include <string>

// Returns the first number, or the second one when the environment asks for the long share (ZMLA_LOAD=long).
[[nodiscard]] int share(int quick, int whole);

// Prints a row of a table, which scripts/load.sh picks out. Figures are for reading: no test depends on one.
void print_figure(const std::string& name, const std::string& value);
void print_figure(const std::string& name, long value);
void print_figure(const std::string& name, long first, long second);

// A number with one digit behind the point.
[[nodiscard]] std::string in_tenths(double value);
