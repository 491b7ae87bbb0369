// A name server that never answers.
#pragma once

#include "platform/posix.h"

// Lets every name of the private root come from a name server that never answers. Returns its socket.
[[nodiscard]] Descriptor start_silent_name_server();
