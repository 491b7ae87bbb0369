#include "state_command/host.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>

#include "state_command/failure.h"

std::string host_name() {
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0) {
        throw system_failure(errno, "cannot get the name of this host");
    }
    return name.data();
}

std::string time_now() {
    const time_t now = time(nullptr);
    std::array<char, 32> text{};
    tm parts{};
    strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&now, &parts));
    return text.data();
}
