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

// Identifies host and user at the other end of a connected socket, without reading from it, and leaves one
// message about them in the debug log. The host is held against the SERVER list that ZM_read_master_config
// read. Returns 0 with `*flags` and `*user_type` filled, or a status of the library when the connection could
// not be examined, as one that is no stream. Names of the list that could not be looked up within `timeout` seconds,
// all together, do not count. The caller does not ignore SIGCHLD. `reserved` is null; `service_tag` and `flag` name the
// service that asks and its way of asking; none of these three changes what this implementation does.
int xnet_verify_peer_creds(int socket, std::uint32_t service_tag, int flag, std::uint32_t* flags,
                           std::uint32_t* user_type, void* reserved, int timeout);

// Returns the time-out for one framed value, in seconds (1 to 86400).
int xnet_get_max_timeout();

// Reads one framed number. Returns it (any that 64 bits hold; its low bits where a long has fewer), or 0 on failure
// with the reason in `*error`, which a success leaves alone: ETIMEDOUT, ECONNRESET (closed before the value's end),
// EPROTO (not a netstring, not a number), ERANGE (beyond 64 bits), EMSGSIZE (a text of over 2047 bytes), or what the
// failing system call reported. Consumes no byte beyond the value. `timeout` bounds the whole value, in seconds.
long get_long(int socket, int timeout, int* error);

// Reads one framed string of at most `max_length` bytes into `buffer`, which holds one byte more, for the
// terminator. Returns 1, or -1 with the reason in `*error` as get_long, and EILSEQ for a string that holds
// a zero byte.
int get_string(int socket, char* buffer, int max_length, int timeout, int* error);
