// What the whole process shares.
#pragma once

#include <string>

// The program name: the tag of the messages of `main` and the name of the debug log.
extern const char* c_pname;

// The descriptor of the debug log, or -1.
extern int debugFD;

// The temporary output directory of a RUNZMCPLOGS or RUNZMSU request, which `main` removes when the request
// fails. Empty until the dispatcher is about to run the tool.
extern std::string g_termdir;
