#include "logging_config/unified_logging_levels.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "agent/answer_forms.h"
#include "agent/string_utilities.h"
#include "logging_config/settings.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"
#include "platform/unified_logging.h"

namespace {

constexpr const char* tag = "process_ktul_loglevel";
constexpr std::size_t line_size = 1024;

// The only product whose defaults are read.
constexpr int product_with_defaults = ktul::zmktul_product;

// The originator whose diagnostic level is never changed.
constexpr std::uint32_t fixed_diagnostic_originator = 156;

constexpr int default_debug = 1;
constexpr int default_diagnostic = 6;
constexpr int wanted_diagnostic = 6;

struct Levels {
    int debug = default_debug;
    int diagnostic = default_diagnostic;
};

struct HandleRelease {
    void operator()(holkLogCfg* handle) const { holkLogFreeCfg(handle); }
};
using Handle = std::unique_ptr<holkLogCfg, HandleRelease>;

// Returns null if the configuration cannot be loaded.
Handle load(int product, unsigned long originator) {
    holkLogCfg* handle = nullptr;
    return Handle(holkLogReadCfg(product, originator, &handle) == 0 ? handle : nullptr);
}

Levels read_defaults(int product) {
    Levels defaults;
    if (product != product_with_defaults) {
        return defaults;
    }
    if (const Handle handle = load(product, ktul::default_originator)) {
        holkLogCfgGetDebugLevel(handle.get(), &defaults.debug);
        holkLogCfgGetDiagLevel(handle.get(), &defaults.diagnostic);
        logmsgf(log_level::detail, tag, "Default DbgLvl=%d DiagLvl=%d", defaults.debug, defaults.diagnostic);
    }
    return defaults;
}

// What one value asks for. On purpose nothing is validated: a text that is no number means 0, and only the low 32 bits
// of a large number count. The conversion has 64 bits even if a long has 32.
struct Wanted {
    std::uint32_t originator;
    int level;
};

Wanted parse(const std::string& value) {
    std::string originator;
    std::string level = "6";
    split_lhs_rhs(value, originator, level);
    return {static_cast<std::uint32_t>(strtoull(originator.c_str(), nullptr, 10)),
            static_cast<int>(strtoll(level.c_str(), nullptr, 10))};
}

// Puts each number after its separator.
std::string describe_levels(const std::array<int, process_message::levels_set.size()>& numbers) {
    std::string text;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        text += process_message::levels_set[i] + std::to_string(numbers[i]);
    }
    return text;
}

// Changes the levels of a product's originators. Adds one response line for each.
class LevelChange {
  public:
    LevelChange(std::string category, int product, Responses& responses)
        : category_(std::move(category)), product_(product), defaults_(read_defaults(product)), responses_(responses) {}

    // Returns 0, or status::ktul_not_loaded.
    int apply(const Wanted& wanted) {
        const Handle handle = load(product_, wanted.originator);
        if (!handle) {
            ProcessLine line = line_about(wanted, status::failure, "Failed to load KtUL CFG");
            line.unloaded = {.originator = shown(wanted), .product = product_};
            respond(log_level::error, tag, compose(line, line_size), responses_);
            return status::ktul_not_loaded;
        }
        const Levels current = read_current(wanted, handle.get());
        if (current.debug == wanted.level && current.diagnostic == wanted_diagnostic) {
            logmsgf(log_level::information, tag, "No change required PID=%d OID=%d [%d, %d]", product_, shown(wanted),
                    current.debug, wanted_diagnostic);
            respond_success(wanted, current);
        } else if (const int result = change_debug(wanted, current, handle.get()); result != 0) {
            respond_failure(wanted, "failed to set debug level", result);
        } else {
            change_diagnostic(wanted, current, handle.get());
            write(wanted, current, handle.get());
        }
        return status::success;
    }

  private:
    // Messages show an originator as a signed number.
    static int shown(const Wanted& wanted) { return static_cast<int>(wanted.originator); }

    Levels read_current(const Wanted& wanted, const holkLogCfg* handle) const {
        Levels current;
        holkLogCfgGetDebugLevel(handle, &current.debug);
        logmsgf(log_level::detail, tag, "Current setting P=%d O=%d DbgLvl=%d", product_, shown(wanted), current.debug);
        holkLogCfgGetDiagLevel(handle, &current.diagnostic);
        logmsgf(log_level::detail, tag, "Current setting P=%d O=%d DiagLvl=%d", product_, shown(wanted),
                current.diagnostic);
        return current;
    }

    // Removes the originator's entry instead of writing level 1 if that is the product's default.
    int change_debug(const Wanted& wanted, const Levels& current, holkLogCfg* handle) const {
        if (current.debug == wanted.level) {
            return 0;
        }
        if (product_ == product_with_defaults && wanted.level == default_debug && defaults_.debug == default_debug) {
            const int result = holkLogCfgRemoveSettings(handle, holk_debug_level_setting);
            logmsgf(log_level::detail, tag, "Removing '%d.DebugLevel' line", shown(wanted));
            return result;
        }
        return holkLogCfgSetDebugLevel(handle, wanted.level);
    }

    void change_diagnostic(const Wanted& wanted, const Levels& current, holkLogCfg* handle) const {
        if (current.diagnostic == wanted_diagnostic || wanted.originator == fixed_diagnostic_originator) {
            return;
        }
        if (product_ == product_with_defaults && defaults_.diagnostic == wanted_diagnostic) {
            static_cast<void>(holkLogCfgRemoveSettings(handle, holk_diagnostic_level_setting));
            logmsgf(log_level::detail, tag, "Removing '%d.DiagnosticLevel' line", shown(wanted));
        } else {
            static_cast<void>(holkLogCfgSetDiagLevel(handle, wanted_diagnostic));
        }
    }

    void write(const Wanted& wanted, const Levels& current, const holkLogCfg* handle) {
        const int result = holkLogWriteCfg(product_, wanted.originator, handle);
        if (result != 0) {
            respond_failure(wanted, "failed to write ktul cfg", result);
        } else {
            respond_success(wanted, current);
        }
    }

    [[nodiscard]] ProcessLine line_about(const Wanted& wanted, int status, const std::string& message) const {
        return {.label = process_label(category_, std::to_string(shown(wanted))), .status = status, .message = message};
    }

    // Shows 6 as the new diagnostic level even for the originator whose level is never changed.
    void respond_success(const Wanted& wanted, const Levels& current) {
        const int originator = shown(wanted);
        const std::string message = describe_levels({originator, current.debug, originator, wanted.level, originator,
                                                     current.diagnostic, originator, wanted_diagnostic});
        respond(log_level::information, tag, compose(line_about(wanted, status::success, message), line_size),
                responses_);
    }

    void respond_failure(const Wanted& wanted, const char* message, int result) {
        ProcessLine line = line_about(wanted, status::failure, message);
        line.unset = {.result = result, .level = wanted.level};
        respond(log_level::error, tag, compose(line, line_size), responses_);
    }

    std::string category_;
    int product_;
    Levels defaults_;
    Responses& responses_;
};

}  // namespace

int process_ktul_loglevel(std::string category, const Values& values, Responses& responses, int product) {
    LevelChange change(std::move(category), product, responses);
    int result = status::success;
    for (const std::string& value : values) {
        if (change.apply(parse(value)) != status::success) {
            result = status::ktul_not_loaded;
        }
    }
    return result;
}
