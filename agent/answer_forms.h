// The forms of the lines that the agent answers with. The agent composes its lines from these texts, and zmlogadm takes
// them apart again by the same texts.
#pragma once

#include <array>

// The last line of every answer: the key, a space, the status, a space and the status's text.
inline constexpr const char* exit_status_key = "EXIT STATUS";

// The line about one value of a logging request: these keys in this order, each followed by its value. The first three
// are in every line. Which of the others follow depends on the category and the outcome.
namespace process_key {

// The category; in most lines followed by ":" and the process, a number or "ALL".
inline constexpr const char* label = "PROCESS=";
inline constexpr const char* status = " STATUS=";
inline constexpr const char* message = " MSG=";
inline constexpr const char* directory = " DIR=";
// An error number, and its text in parentheses.
inline constexpr const char* error = " E=";
inline constexpr const char* permission = " Perm=";
inline constexpr const char* originator = " OID=";
inline constexpr const char* product = " Product ID=";
inline constexpr const char* result = " RV=";
inline constexpr const char* level = " LVL=";
// The value of the request that failed, up to a closing parenthesis.
inline constexpr const char* value = " (Value=";

inline constexpr std::array all = {label,      status,  message, directory, error, permission,
                                   originator, product, result,  level,     value};

}  // namespace process_key

// Messages of process lines that hold values.
namespace process_message {

// The value that was set follows in single quotes.
inline constexpr const char* value_set = "Set debug logging ";

// Eight numbers, each after its separator: the originator and its level, before and after, for debug and for diagnostic
// messages.
inline constexpr std::array levels_set = {"DEBUG:", "=", ",", "=", " DIAG:", "=", ",", "="};

}  // namespace process_message

// One file of a listed directory.
inline constexpr const char* package_key = "ZMSU PACKAGE=";

// Free and total space in mebibytes. The unit follows both numbers.
namespace space_key {

inline constexpr const char* directory = "CALCLOGSIZE: TARGET_DIR=";
inline constexpr const char* free = " FREE_SPACE=";
inline constexpr const char* total = " TOTAL_SPACE=";
inline constexpr const char* unit = " MB";

}  // namespace space_key

// The result for one directory of a clean-up; the directory follows.
namespace cleanup_key {

// How each of the three begins.
inline constexpr const char* start = "CLEANUP: ";
inline constexpr const char* removed = "CLEANUP: Successfully cleaned up ";
inline constexpr const char* refused = "CLEANUP: Will not clean up unknown location: ";
inline constexpr const char* failed = "CLEANUP: Failed to clean up ";
// Between the directory of a failed removal and the text of the error.
inline constexpr const char* error = ": ";

}  // namespace cleanup_key
