// The JSON Schema names exactly the fields of response lines. check_objects.py checks that the objects of all tests are
// valid.
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "request_command/answer_line.h"
#include "request_command/failure_code.h"
#include "tests/support/test_files.h"

namespace {

using Names = std::set<std::string>;

// Together these have every field of every type.
const std::vector<std::string> lines = {
    "PROCESS=RK:spoold STATUS=5803 MSG=Failed to open file E=13 (Permission denied) (Value=full)",
    "PROCESS=ZMLOGDIR:jobd STATUS=0 MSG=Log directory exists DIR=/usr/kumel/zembrath/logs/jobd Perm=755",
    "PROCESS=ZMKTUL:111 STATUS=1 MSG=Failed to load KtUL CFG OID=111 Product ID=51216",
    "PROCESS=QPKTUL:118 STATUS=1 MSG=failed to set debug level RV=22 LVL=-7",
    "PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=6 DIAG:111=6,111=6",
    "ZMSU PACKAGE=/tmp/package",
    "CALCLOGSIZE: TARGET_DIR=/var FREE_SPACE=1 MB TOTAL_SPACE=2 MB",
    "CLEANUP: Failed to clean up /tmp/one: Directory not empty",
    "any other line",
};

std::map<std::string, Names> fields_of_lines() {
    std::map<std::string, Names> fields;
    for (const std::string& line : lines) {
        const AnswerLine parsed = parse_answer_line(line);
        for (const AnswerField& field : parsed.fields) {
            fields[std::string(parsed.type)].emplace(field.name);
        }
    }
    return fields;
}

// Leaves out the fields that depend on the bytes and the end of a line.
Names fields_of_schema(const nlohmann::json& schema, const std::string& type) {
    Names fields;
    for (const auto& property : schema.at("$defs").at(type).at("properties").items()) {
        if (!property.key().ends_with("_base64") && property.key() != "type" && property.key() != "newline") {
            fields.insert(property.key());
        }
    }
    return fields;
}

TEST(Schema, NamesTheFieldsOfEveryResponseLine) {
    const auto schema = nlohmann::json::parse(read_file(ZMLA_SCHEMA_FILE));
    for (const auto& [type, fields] : fields_of_lines()) {
        EXPECT_EQ(fields_of_schema(schema, type), fields) << type;
    }
}

TEST(Schema, NamesTheCodeOfEveryFailure) {
    Names codes;
    for (const FailureCodeName& row : failure_code_names) {
        codes.insert(row.name);
    }
    const auto schema = nlohmann::json::parse(read_file(ZMLA_SCHEMA_FILE));
    EXPECT_EQ(schema.at("$defs").at("error").at("properties").at("code").at("enum").get<Names>(), codes);
}

}  // namespace
