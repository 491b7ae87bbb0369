#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>

#include "platform/runtime.h"

namespace {

constexpr std::size_t random_length = 6;

timespec time_now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// Returns the number of bytes that it set. Without a source of random bytes it uses the clock, because a name must be
// new but need not be secret.
std::size_t get_random_bytes(std::array<unsigned char, random_length>& bytes) {
    const ssize_t count = getrandom(bytes.data(), bytes.size(), 0);
    if (count > 0) {
        return static_cast<std::size_t>(count);
    }
    bytes[0] = static_cast<unsigned char>(time_now().tv_nsec);
    return 1;
}

// Returns characters of a to z and 0 to 9, all equally likely.
std::string random_characters() {
    constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr std::size_t fair_bytes = 256 / alphabet.size() * alphabet.size();
    std::array<unsigned char, random_length> bytes{};
    std::string characters;
    while (characters.size() < random_length) {
        const std::size_t count = get_random_bytes(bytes);
        for (std::size_t i = 0; i < count && characters.size() < random_length; ++i) {
            if (bytes[i] < fair_bytes) {
                characters += alphabet[bytes[i] % alphabet.size()];
            }
        }
    }
    return characters;
}

// Returns 29 digits: 19 of the time in nanoseconds since 1970, 10 of the process ID.
std::string time_and_process() {
    const timespec now = time_now();
    std::array<char, 64> digits;
    const long long nanoseconds = static_cast<long long>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
    snprintf(digits.data(), digits.size(), "%019lld%010d", nanoseconds, getpid());
    return digits.data();
}

bool exists(const std::string& path) {
    struct stat state {};
    return lstat(path.c_str(), &state) == 0;
}

}  // namespace

std::string temporary_name(const std::string& directory, const std::string& prefix) {
    for (;;) {
        std::string name = directory + "/" + prefix + "-" + time_and_process() + "-" + random_characters();
        if (!exists(name)) {
            return name;
        }
    }
}
