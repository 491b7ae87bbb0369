// The support tools' files, by command word or tool name.
#pragma once

#include <array>

#include "agent/command_words.h"

namespace tool_file {

// "old_zmsu" on purpose: that file, and not "zmsu", is the support utility.
inline constexpr const char* zmsu = "/usr/kumel/zembrath/bin/support/old_zmsu";
inline constexpr const char* zmcplogs = "/usr/kumel/zembrath/bin/support/zmcplogs";
inline constexpr const char* versioninfo = "/usr/kumel/zembrath/bin/goodies/support/versioninfo";
inline constexpr const char* ktlogcfg = "/usr/kumel/zembrath/bin/private/ktlogcfg";
inline constexpr const char* zmlogadm = "/usr/kumel/zembrath/bin/support/zmlogadm";

}  // namespace tool_file

struct ToolFile {
    const char* name;
    const char* path;
};

inline constexpr std::array tool_files = {
    ToolFile{command_word::zmsu, tool_file::zmsu},
    ToolFile{command_word::run_zmsu, tool_file::zmsu},
    ToolFile{command_word::zmcplogs, tool_file::zmcplogs},
    ToolFile{command_word::run_zmcplogs, tool_file::zmcplogs},
    ToolFile{command_word::calculate_log_size, tool_file::zmcplogs},
    ToolFile{command_word::versioninfo, tool_file::versioninfo},
    ToolFile{command_word::ktlogcfg, tool_file::ktlogcfg},
    // A tool's name but no command word: requests reach it by ZMLA.
    ToolFile{"zmlogadm", tool_file::zmlogadm},
    ToolFile{command_word::run_zmlogadm, tool_file::zmlogadm},
};
