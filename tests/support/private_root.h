// A private root file system and network for a process. Programs with fixed paths (/usr/kumel, /opt,
// /etc/rkregistry.cfg) and loopback ports can run in it, several at once, for any user, without touching the host.
#pragma once

#include <string>

// Moves this process, which must have one thread, and its future children into a private root. Throws
// std::system_error when the kernel refuses. Works for root, for an ordinary user (who becomes root of a user
// namespace) and inside a private root. The host sees nothing of it, and it disappears with its last process. Inside:
//
//   /.host                      the host's root
//   /usr, /etc, /var, others    symbolic links to what the host has there, entry by entry
//   /usr/kumel, /etc/rkregistry.cfg  missing, whatever the host has
//   /opt, /tmp, /var/tmp        empty and writable
//   /etc/hosts, resolv.conf, nsswitch.conf  private files: only localhost, and no name server
//   host name                   private_host_name
//   network                     only a loopback interface, which is up
//
// The working folder does not change. Use inside_path for paths of the host that may be below a replaced folder.
void enter_private_root();

// Returns whether this process is in a private root. Check it before you remove fixed paths.
[[nodiscard]] bool in_private_root();

// Returns the inside path of an absolute path of the host. Does not change a path of the inside.
[[nodiscard]] std::string inside_path(const std::string& host_path);

inline constexpr const char* private_host_name = "agenthost.example.test";
