// The size of the load tests, and the figures that a long run prints.
#pragma once

#include <string>

// Returns the first number, or the second one for a long run, which ZMLA_LOAD=long in the environment asks for.
[[nodiscard]] int share(int quick, int whole);

// In a long run, prints a row of the table that scripts/load.sh shows. No test depends on a figure.
void print_figure(const std::string& name, const std::string& value);
void print_figure(const std::string& name, long value);
void print_figure(const std::string& name, long first, long second);

// Returns the number with one digit after the point.
[[nodiscard]] std::string in_tenths(double value);
