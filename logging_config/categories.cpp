#include "logging_config/categories.h"

#include <array>

#include "logging_config/cloud_and_authorization.h"
#include "logging_config/connection_broker.h"
#include "logging_config/console_properties.h"
#include "logging_config/deduplication.h"
#include "logging_config/log_directories.h"
#include "logging_config/main_configuration_verbosity.h"
#include "logging_config/settings.h"
#include "logging_config/storage_plugin.h"
#include "logging_config/unified_logging_levels.h"
#include "logging_config/volume_manager.h"
#include "platform/status_codes.h"

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
    Category{category::zmktul, with_product<ktul::zmktul_product>},
    Category{category::qpktul, with_product<ktul::qpktul_product>},
    Category{category::searchktul, with_product<ktul::searchktul_product>},
    Category{category::zmlogdir, with_action<process_zmulogdir>},
    Category{category::mmlogdir, with_action<process_mmlogdir>},
    Category{category::qrconf, with_action<process_qrconf>},
    Category{category::rk, without_action<process_rk>},
    Category{category::rkplugin, without_action<process_rkplugin>},
    Category{category::kob, without_action<process_kob>},
    Category{category::corvid, without_action<process_corvid>},
    Category{category::cloud, without_action<process_cloud>},
    Category{category::javagui, with_action<process_javagui>},
    Category{category::holkaz, without_action<process_holkaz>},
    Category{category::vmconf, with_action<process_vmconf>},
};
static_assert(categories.size() == category::all.size());

}  // namespace

int process_category(const std::string& category, const Values& values, Responses& responses, const char* action) {
    for (const Category& row : categories) {
        if (category == row.name) {
            return row.process(category, values, responses, action);
        }
    }
    return status::success;
}
