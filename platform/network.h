// The product's network library: peer verification and framed reads.
#pragma once

#include <cstdint>

// Bits of the credential flags.
namespace peer_flag {
inline constexpr std::uint32_t host_is_server = 0x2;
inline constexpr std::uint32_t user_is_root = 0x40;
inline constexpr std::uint32_t user_is_unknown = 0x80;
inline constexpr std::uint32_t user_is_privileged = 0x100;
}  // namespace peer_flag

// User type of a peer whose operating-system user was identified.
inline constexpr std::uint32_t operating_system_user = 2;

// Identifies the host and the user at the other end of a connected socket, and writes one message about them to the
// debug log. Does not read from the socket. Compares the host with the SERVER list that ZM_read_master_config read.
// All names of the list together have `timeout` seconds to be looked up; the others are treated as not in the list.
// Returns 0 and fills `*flags` and `*user_type`, or returns a status of the library when it cannot examine the
// connection, for example because the socket is not a stream. The caller must not ignore SIGCHLD. `reserved` is null;
// `service_tag` and `flag` describe the calling service. This implementation ignores these three.
int xnet_verify_peer_creds(int socket, std::uint32_t service_tag, int flag, std::uint32_t* flags,
                           std::uint32_t* user_type, void* reserved, int timeout);

// Returns the time-out for one framed value, in seconds (1 to 86400).
int xnet_get_max_timeout();

// Reads one framed number of up to 64 bits and returns it. Where a long has fewer bits, returns the low ones. On
// failure, returns 0 and sets `*error` to ETIMEDOUT, ECONNRESET (the peer closed before the value's end), EPROTO (not a
// netstring, or not a number), ERANGE (more than 64 bits), EMSGSIZE (a text of more than 2047 bytes), or the error
// number of the system call that failed. Success does not change `*error`. Consumes no byte after the value. `timeout`
// limits the time for the whole value, in seconds.
long get_long(int socket, int timeout, int* error);

// Reads one framed string of at most `max_length` bytes into `buffer`, which has room for one more byte, the
// terminator. Returns 1. On failure, returns -1 and sets `*error` as get_long does, or to EILSEQ for a string that
// contains a zero byte.
int get_string(int socket, char* buffer, int max_length, int timeout, int* error);
