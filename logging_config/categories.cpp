#include "logging_config/categories.h"

#include <array>

#include "agent/status.h"
#include "logging_config/cloud_and_authorization.h"
#include "logging_config/connection_broker.h"
#include "logging_config/console_properties.h"
#include "logging_config/deduplication.h"
#include "logging_config/log_directories.h"
#include "logging_config/main_configuration_verbosity.h"
#include "logging_config/unified_logging_levels.h"
#include "logging_config/volume_manager.h"

namespace {

struct Category {
    const char* name;
    int (*process)(const std::string& category, const Values& values, Responses& responses, const char* action);
};

template <int (*process)(std::string, const Values&, Responses&)>
int without_action(const std::string& category, const Values& values, Responses& responses, const char*) {
    return process(category, values, responses);
}

template <auto process>
int with_action(const std::string& category, const Values& values, Responses& responses, const char* action) {
    return process(category, values, responses, action);
}

template <int product>
int with_product(const std::string& category, const Values& values, Responses& responses, const char*) {
    return process_ktul_loglevel(category, values, responses, product);
}

constexpr std::array categories = {
    Category{"ZMKTUL", with_product<51216>},
    Category{"QPKTUL", with_product<58330>},
    Category{"SEARCHKTUL", with_product<60385>},
    Category{"ZMLOGDIR", with_action<process_zmulogdir>},
    Category{"MMLOGDIR", with_action<process_mmlogdir>},
    Category{"QRCONF", with_action<process_qrconf>},
    Category{"RK", without_action<process_rk>},
    Category{"RKPLUGIN", without_action<process_rkplugin>},
    Category{"KOB", without_action<process_kob>},
    Category{"CORVID", without_action<process_corvid>},
    Category{"CLOUD", without_action<process_cloud>},
    Category{"JAVAGUI", with_action<process_javagui>},
    Category{"HOLKAZ", without_action<process_holkaz>},
    Category{"VMCONF", with_action<process_vmconf>},
};

}  // namespace

int process_category(const std::string& category, const Values& values, Responses& responses, const char* action) {
    for (const Category& row : categories) {
        if (category == row.name) {
            return row.process(category, values, responses, action);
        }
    }
    return status::success;
}
