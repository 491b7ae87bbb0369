#include "tests/support/tested_program.h"

#include <cstdlib>
#include <filesystem>

#include "tests/support/private_root.h"

std::string tested_program(const std::string& built_program) {
    const char* folder = getenv("ZMLA_PROGRAMS");
    if (folder == nullptr) {
        return inside_path(built_program);
    }
    return inside_path(folder) + "/" + std::filesystem::path(built_program).filename().string();
}
