// ZMLA and FETCHFILE.
#include "tests/end_to_end/collection_messages.h"
#include "tests/end_to_end/tool_messages.h"
#include "tests/support/stand_in_tool.h"

namespace {

using log_level::error;

class OtherRequest : public RequestTable {};

TEST_P(OtherRequest, AnswersLogsAndLeavesFiles) {
    check(GetParam());
}

const std::vector<RequestCase> other_requests = {
    {
        .name = "ZmlaPassesItsArgumentsToTheTool",
        .request = {"ZMLA", "-H", "far host", "--collectdir", "/tmp/c"},
        .prepare = with_tool(zmlogadm_tool, {stand_in::print_arguments(), stand_in::exit_with(4)}),
        .answer = "[" + zmlogadm_tool + "]\n[-H]\n[far host]\n[--collectdir]\n[/tmp/c]\n\n",
        .status = 4,
        .log = messages_of_run("ZMLA", zmlogadm_tool, {.code = 4}),
        .after = {missing("/tmp/c"), missing(evidence)},
    },
    {
        .name = "ZmlaWithoutItsTool",
        .request = {"ZMLA"},
        .answer = "\n",
        .status = 29,
        .log = messages_of_run("ZMLA", zmlogadm_tool, {.code = 29}),
    },
    {
        .name = "FetchfileSucceedsAndDoesNothing",
        .request = {"FETCHFILE", "/etc/hosts"},
        .log = {{error, "perform_request_send_output", "Command FETCHFILE is not supported"}},
    },
};

INSTANTIATE_TEST_SUITE_P(, OtherRequest, testing::ValuesIn(other_requests), name_of_row);

}  // namespace
