// A root file system and a network of a process's own, so that what works on fixed paths (/usr/kumel, /opt,
// /etc/rkregistry.cfg) and on loopback ports can be run by anybody, several times at once, without touching the host.
#pragma once

#include <string>

// Moves this process, which has one thread, into a private root; its children follow it. Throws std::system_error
// when the kernel refuses. Works as root and as an ordinary user (who becomes root of a user namespace), and also
// from within a private root. Nothing of it is ever visible on the host, nor left there: all goes with its last
// process. Inside:
//
//   /.host                      the host's root
//   /usr, /etc, /var, others    symbolic links to what the host has there, entry by entry
//   /usr/kumel, /etc/rkregistry.cfg  missing, whatever the host has
//   /opt, /tmp, /var/tmp        empty and writable
//   /etc/hosts, resolv.conf, nsswitch.conf  the root's own: localhost alone, and no name server
//   host name                   private_host_name
//   network                     a loopback interface that is up, and no other
//
// The working folder stays the same one. A path of the host that may lie below one of the replaced folders is
// reached through inside_path.
void enter_private_root();

// Tells whether this process is in a private root: whoever wipes fixed paths asks first.
[[nodiscard]] bool in_private_root();

// Returns the path by which an absolute path of the host is reached inside. A path of the inside stays as it is.
[[nodiscard]] std::string inside_path(const std::string& host_path);

inline constexpr const char* private_host_name = "agenthost.example.test";
