// How the process starts and ends: standard descriptors, early exits, the peer.
#pragma once

// Ends the process with `status`, or with 252 for 255 and more. A negative status is passed through.
[[noreturn]] void myexit(int status);

// Initialises the network library where that is needed; on Linux it is not.
void mywinsock_start();

// Makes a write beyond a limit of file sizes fail with EFBIG, where SIGXFSZ would end the process. Programs that this
// process starts have the signal's default again.
void survive_file_size_limit();

// Points descriptor `fd` at "/dev/null". Returns 0, or -1 when "/dev/null" could not be opened or `fd` was
// closed: the agent insists that its standard descriptors were open. A failing dup2 is logged only.
int redirect_fd(int fd);

// Verifies that the peer is root on a host of the SERVER list. Returns 0, the status of the verification
// when that failed, status::peer_not_a_server or status::peer_not_root.
int setup_comms_w_client(int socket);
