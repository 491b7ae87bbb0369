#include "tests/state_command/json_objects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/state_command/state_test.h"
#include "tests/support/private_root.h"
#include "tests/support/test_files.h"

namespace {

// Arguments: the file of the schema, and a file with one object in each line.
constexpr const char* validate = R"(import json, sys, jsonschema
schema = json.load(open(sys.argv[1]))
jsonschema.Draft202012Validator.check_schema(schema)
for line in open(sys.argv[2]):
    jsonschema.Draft202012Validator(schema).validate(json.loads(line))
)";

}  // namespace

std::vector<Object> objects_of(const std::string& output) {
    EXPECT_TRUE(std::all_of(output.begin(), output.end(),
                            [](char byte) { return byte == '\n' || (byte >= 32 && byte < 127); }));
    const ScratchFolder scratch;
    write_file(scratch.path("validate.py"), validate);
    write_file(scratch.path("objects"), output);
    const std::string command =
        "python3 " + scratch.path("validate.py") + " " + inside_path(ZMLA_SCHEMA_FILE) + " " + scratch.path("objects");
    EXPECT_EQ(system(command.c_str()), 0);
    std::vector<Object> objects;
    for (const std::string& line : lines_of(output)) {
        objects.push_back(Object::parse(line));
    }
    return objects;
}
