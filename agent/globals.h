// Global state of the process.
#pragma once

#include <string>

// The program name. It is the tag of the messages of `main` and the name of the debug log.
extern const char* c_pname;

// The descriptor of the debug log, or -1.
extern int debugFD;

// The temporary output directory of a RUNZMCPLOGS or RUNZMSU request. The dispatcher sets it just before it runs the
// tool, and `main` removes the directory if the request fails.
extern std::string g_termdir;
