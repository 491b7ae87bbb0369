#include "agent/globals.h"

const char* c_pname = "zmlogadmagent";
int debugFD = -1;
std::string g_termdir;
