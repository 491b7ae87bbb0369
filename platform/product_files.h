// Files and folders of the product, and names in them, that more than one part of the system uses. The programs write
// each path once: here, in logging_config/settings.h or in agent/tool_files.h.
#pragma once

#include <string>

namespace product_files {

inline constexpr const char* main_configuration = "/usr/kumel/zembrath/qr.conf";
inline constexpr const char* log_root = "/usr/kumel/zembrath/logs";
// The agent's own folders in the log root: for its debug log, and for the evidence that it collects.
inline constexpr const char* agent_log_folder = "zmlogadmagent";
inline constexpr const char* evidence_folder = "zmlaevidence";

// Keys of the main configuration that say which hosts to trust and how long to wait for them.
inline constexpr const char* server_key = "SERVER";
inline constexpr const char* network_timeout_key = "NETWORK_TIMEOUT";

// The kinds of entries in a unified logging store, ORIGINATOR.KIND=LEVEL.
inline constexpr const char* debug_level = "DebugLevel";
inline constexpr const char* diagnostic_level = "DiagnosticLevel";

// The unified logging store of a product.
inline std::string logging_store(long product) {
    return "/usr/kumel/ktul/" + std::to_string(product) + ".conf";
}

}  // namespace product_files
