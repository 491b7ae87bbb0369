#include "tests/reliability/load_share.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

bool is_long_run() {
    const char* const load = getenv("ZMLA_LOAD");
    return load != nullptr && std::string_view(load) == "long";
}

}  // namespace

int share(int quick, int whole) {
    return is_long_run() ? whole : quick;
}

void print_figure(const std::string& name, const std::string& value) {
    if (is_long_run()) {
        printf("| %-78s | %18s |\n", name.c_str(), value.c_str());
        fflush(stdout);
    }
}

void print_figure(const std::string& name, long value) {
    print_figure(name, std::to_string(value));
}

void print_figure(const std::string& name, long first, long second) {
    print_figure(name, std::to_string(first) + ", " + std::to_string(second));
}

std::string in_tenths(double value) {
    std::array<char, 64> text{};
    snprintf(text.data(), text.size(), "%.1f", value);
    return text.data();
}
