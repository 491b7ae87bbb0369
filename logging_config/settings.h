// What logging requests change: categories, files, keys and log directories. The handlers of the categories use this
// list, and so does zmlogstate, which shows, saves and restores the same settings.
#pragma once

#include <array>

#include "platform/product_files.h"

// The names of the categories.
namespace category {

inline constexpr const char* zmktul = "ZMKTUL";
inline constexpr const char* qpktul = "QPKTUL";
inline constexpr const char* searchktul = "SEARCHKTUL";
inline constexpr const char* zmlogdir = "ZMLOGDIR";
inline constexpr const char* mmlogdir = "MMLOGDIR";
inline constexpr const char* qrconf = "QRCONF";
inline constexpr const char* rk = "RK";
inline constexpr const char* rkplugin = "RKPLUGIN";
inline constexpr const char* kob = "KOB";
inline constexpr const char* corvid = "CORVID";
inline constexpr const char* cloud = "CLOUD";
inline constexpr const char* javagui = "JAVAGUI";
inline constexpr const char* holkaz = "HOLKAZ";
inline constexpr const char* vmconf = "VMCONF";

inline constexpr std::array all = {zmktul,   qpktul, searchktul, zmlogdir, mmlogdir, qrconf, rk,
                                   rkplugin, kob,    corvid,     cloud,    javagui,  holkaz, vmconf};

}  // namespace category

// The products of the unified logging store, by category, and the originator that holds a product's defaults.
namespace ktul {

inline constexpr int zmktul_product = 51216;
inline constexpr int qpktul_product = 58330;
inline constexpr int searchktul_product = 60385;
inline constexpr unsigned long default_originator = 112;

}  // namespace ktul

// Roots of log directories.
namespace log_root {

inline constexpr const char* product = product_files::log_root;
inline constexpr const char* volume_manager = "/usr/kumel/volmgr/debug";

}  // namespace log_root

// Keys of the main configuration.
namespace main_key {

inline constexpr const char* verbose = "VERBOSE";
inline constexpr const char* verbose_suffix = "_VERBOSE";

// Fixed members of the configuration record. They cannot be removed, only set to 0.
inline constexpr std::array structure_members = {"TAPEMGR_VERBOSE", "SESSMGR_VERBOSE", "CATMGR_VERBOSE",
                                                 "REQD_VERBOSE",    "PROXYD_VERBOSE",  "OFFSITE_VERBOSE",
                                                 "SCHEDD_VERBOSE",  "DISKMGR_VERBOSE", "JOBD_VERBOSE"};

}  // namespace main_key

// One deduplication component has a fixed file. The registry names the file of all others: it is the text after the
// first "=" in the first line that contains the marker.
namespace deduplication {

inline constexpr const char* registry = "/etc/rkregistry.cfg";
inline constexpr const char* registry_marker = "kpa.cfg";
inline constexpr const char* fixed_component = "qtpiped";
inline constexpr const char* fixed_component_file = "/usr/kumel/lib/stg-plugins/qtpipe.conf";
// Every value is written with the suffix.
inline constexpr const char* key = "Logging";
inline constexpr const char* separator = "=";
inline constexpr const char* value_suffix = ",thread";

}  // namespace deduplication

// The connection broker's tool sets its level. Nothing reports the level.
namespace connection_broker {

inline constexpr const char* tool = "/opt/HOLKkob/bin/ktlogcfg";
inline constexpr const char* name = "kob";

}  // namespace connection_broker

// Settings that have a fixed key in a fixed key-value file.
namespace setting {

struct KeyValue {
    const char* file;
    const char* key;
    const char* separator;
};

inline constexpr const char* plugin_name = "rkplugin";
inline constexpr KeyValue plugin_level = {"/usr/kumel/lib/stg-plugins/rk.conf", "LOGLEVEL", " = "};
inline constexpr KeyValue plugin_log = {plugin_level.file, "DEBUGLOG", " = "};

// The name that selects the storage server in requests. Any other name selects the recovery server.
inline constexpr const char* storage_server_name = "zmwqf";
inline constexpr KeyValue storage_server = {"/usr/kumel/lib/stg-plugins/wqf.conf", "WQF:LOGLEVEL", "="};
inline constexpr KeyValue recovery_server = {"/usr/kumel/lib/stg-plugins/hlt.conf", "HLT:LOGLEVEL", "="};
inline constexpr KeyValue store_container = {"/usr/kumel/lib/stg-plugins/skyhold.conf", "SHCT_LOG_LEVEL", "="};

inline constexpr KeyValue console_commands = {"/usr/kumel/java/Debug.properties", "printcmds", "="};
inline constexpr KeyValue console_mask = {console_commands.file, "debugMask", "="};

// The file has the key and the default value in quotation marks.
inline constexpr KeyValue authorization = {"/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf", "\"DebugLevel\"", "="};

// A bare keyword without separator and value.
inline constexpr KeyValue volume_manager = {"/usr/kumel/volmgr/vm.conf", "VERBOSE", ""};

inline constexpr std::array all = {plugin_level,     plugin_log,   storage_server, recovery_server, store_container,
                                   console_commands, console_mask, authorization,  volume_manager};

}  // namespace setting
