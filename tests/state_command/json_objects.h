// JSON output, each object of which has to be as the schema wants it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using Object = nlohmann::json;

// Returns the objects, one a line. The test fails unless all are ASCII and valid by docs/zmlogstate.schema.json.
[[nodiscard]] std::vector<Object> objects_of(const std::string& output);
