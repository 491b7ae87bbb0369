// The options of zmlogadm.
#pragma once

#include <array>

#include "platform/command_line.h"

namespace request_option {

inline constexpr int host = 'H';
inline constexpr int port = 'p';
inline constexpr int socket = 'S';
inline constexpr int local = 'l';
inline constexpr int agent = 256;
inline constexpr int timeout = 't';
inline constexpr int json = 257;
inline constexpr int strict = 258;
inline constexpr int no_progress = 259;
inline constexpr int help = 'h';
inline constexpr int version = 'V';

inline constexpr std::array all = {
    CommandOption{host, "host", "HOST", "connect to HOST, a name or an address"},
    CommandOption{port, "port", "PORT", "TCP port of the host (default: 24761)"},
    CommandOption{socket, "socket", "PATH", "connect to a Unix-domain socket instead"},
    CommandOption{local, "local", "", "start the agent of this host instead (the default)"},
    CommandOption{agent, "agent", "PATH", "with --local: the agent's file"},
    CommandOption{timeout, "timeout", "SECONDS", "give up connecting after that long (default: 30)"},
    CommandOption{json, "json", "", "print the answer as JSON, one object a line"},
    CommandOption{strict, "strict", "", "exit with 1, not 0, if anything failed or has no answer"},
    CommandOption{no_progress, "no-progress", "", "do not show on a terminal that the peer takes long"},
    CommandOption{help, "help", "", "print this help"},
    CommandOption{version, "version", "", "print the version"},
};

}  // namespace request_option
