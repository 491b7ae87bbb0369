// The way back to the peer: everything that the agent itself says goes through socksend.
#pragma once

// Writes `length` bytes of `text` (which is NUL-terminated as well) to the socket, in as many writes as it
// takes. Returns `length`, or -1 after a fatal write error, and then errno tells it and the rest is unsent.
// Waits without limit for a peer that does not drain a non-blocking socket.
int socksend(int socket, const char* text, unsigned long length);

// Makes room for many lines in the sending buffer of a local socket, so that a peer that reads slowly does not cost a
// pause every few hundred lines. TCP widens its buffers by itself, and would no longer do so.
void widen_sending_buffer(int socket);

// Sends the final line: "EXIT STATUS", the status, its text. Cut to 511 characters, and a line that is cut
// loses its newline. That it could not be sent is only logged.
void qas_report_exit_status(int status, int socket);
