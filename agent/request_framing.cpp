#include "agent/request_framing.h"

#include <array>
#include <cstdint>
#include <cstring>

#include "platform/network.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

constexpr const char* tag = "receive_inputs_from_client";
constexpr int longest_argument = 2047;

}  // namespace

int receive_inputs_from_client(int socket, RequestVector& request) {
    int error = 0;
    // The count is the low 32 bits of the number.
    const auto count = static_cast<std::int32_t>(get_long(socket, xnet_get_max_timeout(), &error));
    if (count <= 0) {
        logmsgf(log_level::error, tag, "failure receiving #args E=%d (%s)", error, strerror(error));
        return status::request_not_received;
    }
    // Reserves no memory for the announced count, which may be false.
    std::array<char, longest_argument + 1> buffer;
    for (std::int32_t i = 0; i != count; ++i) {
        buffer[0] = '\0';
        if (get_string(socket, buffer.data(), longest_argument, xnet_get_max_timeout(), &error) <= 0) {
            logmsgf(log_level::error, tag, "failed to read peer msg A#=%d E=%d %s", i, error, strerror(error));
            return status::request_not_received;
        }
        logmsgf(log_level::information, tag, "string from peer C=%s", buffer.data());
        request.emplace_back(buffer.data());
    }
    return status::success;
}
