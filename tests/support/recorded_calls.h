// What the parts of the recording platform library share.
#pragma once

#include <sstream>
#include <string>

namespace recording_platform {

void record_call(const std::string& call);
void record_misuse(const std::string& misuse);

// Returns the name and the parts with one blank between them.
template <typename... Parts>
std::string words(const std::string& name, const Parts&... parts) {
    std::ostringstream text;
    text << name;
    ((text << ' ' << parts), ...);
    return text.str();
}

// Configuration records and unified logging handles that callers have not released.
bool has_live_settings();
void forget_live_settings();
bool has_live_handles();
void forget_live_handles();

}  // namespace recording_platform
