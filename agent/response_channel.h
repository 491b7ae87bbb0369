// Sends lines to the peer. Everything that the agent itself answers goes through socksend.
#pragma once

// Writes `length` bytes of `text` to the socket, in as many writes as needed. `text` must also be NUL-terminated,
// because it is logged. Returns `length`. After a write error, returns -1 with errno set; the rest is unsent. Waits
// without limit while a non-blocking socket is full.
int socksend(int socket, const char* text, unsigned long length);

// Enlarges the send buffer of a local socket, so that a slow peer does not cause a pause every few hundred lines.
// Does not change TCP sockets: the kernel enlarges their buffers itself, unless a program sets a size.
void widen_sending_buffer(int socket);

// Sends the final line: "EXIT STATUS", the status and its text. A line of more than 511 characters is cut and loses its
// newline. A failure to send is only logged.
void qas_report_exit_status(int status, int socket);
