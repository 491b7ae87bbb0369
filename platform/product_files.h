// Files and folders of the product that more than one part of the system uses. The programs write each path once: here,
// in logging_config/settings.h or in agent/tool_files.h.
#pragma once

#include <string>

namespace product_files {

inline constexpr const char* main_configuration = "/usr/kumel/zembrath/qr.conf";
inline constexpr const char* log_root = "/usr/kumel/zembrath/logs";
// The agent's own folders in the log root: for its debug log, and for the evidence that it collects.
inline constexpr const char* agent_log_folder = "zmlogadmagent";
inline constexpr const char* evidence_folder = "zmlaevidence";

// The unified logging store of a product.
inline std::string logging_store(long product) {
    return "/usr/kumel/ktul/" + std::to_string(product) + ".conf";
}

}  // namespace product_files
