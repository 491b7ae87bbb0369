// The words that requests begin with, and the actions of logging requests. The agent and zmlogadm both read them here;
// the categories of logging requests are in logging_config/settings.h.
#pragma once

#include <array>

namespace command_word {

// Requests that change logging. Their arguments are CATEGORY:VALUE[,VALUE...].
inline constexpr const char* enable_logging = "ENABLELOGGING";
inline constexpr const char* disable_logging = "DISABLELOGGING";
inline constexpr const char* reset_logging = "RESETLOGGING";

// Requests that run a support tool. The first three give it a new directory to collect in.
inline constexpr const char* run_zmsu = "RUNZMSU";
inline constexpr const char* run_zmcplogs = "RUNZMCPLOGS";
inline constexpr const char* calculate_log_size = "CALCLOGSIZE";
inline constexpr const char* run_zmlogadm = "ZMLA";

// Requests that the agent answers itself. Their arguments are directories.
inline constexpr const char* get_disk_space = "GETDISKSPACE";
inline constexpr const char* clean_up = "CLEANUP";

// Accepted, but without a handler: does nothing and succeeds.
inline constexpr const char* fetch_file = "FETCHFILE";

// Tools that run with the unchanged arguments of the request.
inline constexpr const char* zmsu = "zmsu";
inline constexpr const char* zmcplogs = "zmcplogs";
inline constexpr const char* ktlogcfg = "ktlogcfg";
inline constexpr const char* versioninfo = "versioninfo";

inline constexpr std::array logging = {enable_logging, disable_logging, reset_logging};

// The words that the dispatcher carries out; the others are the names of tools.
inline constexpr std::array built_in = {enable_logging, disable_logging,    reset_logging,  run_zmsu, run_zmcplogs,
                                        run_zmlogadm,   calculate_log_size, get_disk_space, clean_up, fetch_file};

inline constexpr std::array external = {zmsu, zmcplogs, ktlogcfg, versioninfo};

}  // namespace command_word

// What a logging request does: the argument `action` of its handlers.
namespace logging_action {

inline constexpr const char* enable = "enable";
inline constexpr const char* disable = "disable";
inline constexpr const char* reset = "reset";

}  // namespace logging_action
