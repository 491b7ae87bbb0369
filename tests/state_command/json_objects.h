// JSON output. The schema must accept every object.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using Object = nlohmann::json;

// Returns the objects, one from each line. The test fails unless all are ASCII and valid by
// docs/zmlogstate.schema.json.
[[nodiscard]] std::vector<Object> objects_of(const std::string& output);
