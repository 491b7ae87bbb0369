// The network library of the recording platform.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/network.h"
#include "tests/support/recorded_calls.h"
#include "tests/support/recording_platform.h"

namespace recording_platform {

FramedRead framed_number(long long number) {
    return {.number = number, .text = "", .result = 1, .error_number = 0};
}

FramedRead framed_text(const std::string& text) {
    return {.number = 0, .text = text, .result = 1, .error_number = 0};
}

FramedRead framed_failure(int result, int error_number) {
    return {.number = result, .text = "", .result = result, .error_number = error_number};
}

}  // namespace recording_platform

using recording_platform::FramedRead;
using recording_platform::record_call;
using recording_platform::script;
using recording_platform::words;

namespace {

FramedRead next_read() {
    if (script.framed_reads.empty()) {
        recording_platform::record_misuse("more was read than the script holds");
        return recording_platform::framed_failure(-1, ECONNRESET);
    }
    FramedRead read = script.framed_reads.front();
    script.framed_reads.pop_front();
    return read;
}

void store_error(const FramedRead& read, int* error) {
    if (read.error_number != 0) {
        *error = read.error_number;
    }
}

}  // namespace

int xnet_verify_peer_creds(int socket, std::uint32_t service_tag, int flag, std::uint32_t* flags,
                           std::uint32_t* user_type, void* reserved, int timeout) {
    record_call(words("xnet_verify_peer_creds", socket, service_tag, flag, *flags, *user_type,
                      reserved == nullptr ? "null" : "not null", timeout));
    if (script.during_verification) {
        script.during_verification();
    }
    if (script.verification_fails != 0) {
        return script.verification_fails;
    }
    *flags = script.peer_flags;
    *user_type = script.user_type;
    return 0;
}

int xnet_get_max_timeout() {
    record_call("xnet_get_max_timeout");
    return script.network_timeout++;
}

long get_long(int socket, int timeout, int* error) {
    record_call(words("get_long", socket, timeout, *error));
    const FramedRead read = next_read();
    store_error(read, error);
    return static_cast<long>(read.number);
}

int get_string(int socket, char* buffer, int max_length, int timeout, int* error) {
    record_call(words("get_string", socket, buffer[0] == '\0' ? "cleared" : "not cleared", max_length, timeout));
    const FramedRead read = next_read();
    store_error(read, error);
    if (read.result > 0) {
        snprintf(buffer, static_cast<std::size_t>(max_length) + 1, "%s", read.text.c_str());
    }
    return read.result;
}
