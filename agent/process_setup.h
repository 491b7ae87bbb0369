// Steps of start-up: standard descriptors, early exits, the check of the peer.
#pragma once

// Ends the process with `status`, or with 252 if it is 255 or more. A negative status is passed on unchanged.
[[noreturn]] void myexit(int status);

// Initialises the network library. Linux needs no initialisation, so this does nothing.
void mywinsock_start();

// Makes a write beyond the file size limit fail with EFBIG instead of ending the process with SIGXFSZ. Programs that
// this process executes get the default action of the signal again.
void survive_file_size_limit();

// Points descriptor `fd` at "/dev/null". Returns 0, or -1 if "/dev/null" cannot be opened or `fd` is closed: the agent
// requires open standard descriptors. Returns 0 even if dup2 fails. Logs failures; `main` calls this before the log is
// open, and then the messages are dropped.
int redirect_fd(int fd);

// Verifies that the peer is root on a host of the SERVER list. Returns 0, status::peer_not_a_server,
// status::peer_not_root, or the status of xnet_verify_peer_creds if that fails.
int setup_comms_w_client(int socket);
