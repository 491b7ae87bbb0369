#include "agent/process_setup.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>

#include "agent/exit_status.h"
#include "platform/network.h"
#include "platform/posix.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

constexpr std::uint32_t service_tag = 0x5A4D4C41;  // 'ZMLA'
constexpr int way_of_asking = 1;
constexpr int verification_timeout = 60;  // seconds
constexpr int exit_status_limit = 255;

}  // namespace

void myexit(int status) {
    exit(status < exit_status_limit ? status : exit_status::too_large);
}

void mywinsock_start() {}

void survive_file_size_limit() {
    // Catches the signal instead of ignoring it: exec resets a caught signal to its default, but leaves an ignored one
    // ignored.
    struct sigaction caught {};
    caught.sa_handler = [](int) {};
    caught.sa_flags = SA_RESTART;
    struct sigaction found {};
    if (sigaction(SIGXFSZ, &caught, &found) == 0 && found.sa_handler == SIG_IGN) {
        sigaction(SIGXFSZ, &found, nullptr);
    }
}

int redirect_fd(int fd) {
    constexpr const char* tag = "redirect_fd";
    const Descriptor null(open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!null.valid()) {
        logmsgf(log_level::error, tag, "failed to open /dev/null");
        return -1;
    }
    if (null.get() == fd) {
        logmsgf(log_level::error, tag, "Can't redirect fd to itself FD=%d", fd);
        return -1;
    }
    if (dup2(null.get(), fd) == -1) {
        // Not a failure, on purpose: start-up continues.
        logmsgf(log_level::error, tag, "dup failed fd=%d new=%d", null.get(), fd);
    }
    return 0;
}

int setup_comms_w_client(int socket) {
    constexpr const char* tag = "setup_comms_w_client";
    std::uint32_t flags = 0;
    std::uint32_t user_type = 0;
    const int result =
        xnet_verify_peer_creds(socket, service_tag, way_of_asking, &flags, &user_type, nullptr, verification_timeout);
    if (result != 0) {
        logmsgf(log_level::error, tag, "failed to accept connection SC=%d (%s)", result, getECmsg(result));
        return result;
    }
    if ((flags & peer_flag::host_is_server) == 0) {
        logmsgf(log_level::error, tag, "peer not in SERVER list");
        return status::peer_not_a_server;
    }
    if ((flags & peer_flag::user_is_unknown) != 0) {
        logmsgf(log_level::error, tag, "peer user info unavailable");
        return status::peer_not_root;
    }
    // The network layer vouches for users of other kinds than the operating system's. They pass with any flags.
    if (user_type == operating_system_user &&
        (flags & (peer_flag::user_is_root | peer_flag::user_is_privileged)) == 0) {
        logmsgf(log_level::error, tag, "peer is not root user");
        return status::peer_not_root;
    }
    logmsgf(log_level::information, tag, "verified credentials of peer");
    return status::success;
}
