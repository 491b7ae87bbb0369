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

// Where there is no source of random bytes the clock has to do: a name must only be new, not secret.
unsigned char random_byte() {
    unsigned char byte = 0;
    if (getrandom(&byte, sizeof byte, 0) != sizeof byte) {
        byte = static_cast<unsigned char>(time_now().tv_nsec);
    }
    return byte;
}

// Returns characters of a to z and 0 to 9, each as likely as any other.
std::string random_characters() {
    constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr std::size_t fair_bytes = 256 / alphabet.size() * alphabet.size();
    std::string characters;
    while (characters.size() < random_length) {
        const unsigned char byte = random_byte();
        if (byte < fair_bytes) {
            characters += alphabet[byte % alphabet.size()];
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
