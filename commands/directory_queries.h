// Questions about directories of this host, answered to the peer.
#pragma once

#include <string>

// Sends one "ZMSU PACKAGE=" line for each entry of the directory that is not itself a directory, links
// followed, in the order in which the directory yields them. Returns 0, status::directory_failed when it cannot
// be opened, status::failure at the first entry that cannot be examined, or status::output_not_sent; lines
// already sent stay sent.
int list_dir_and_send_output(std::string directory, int socket);

// Sends one "CALCLOGSIZE:" line with the free and total space, in whole mebibytes, of the file system
// that holds the directory, or its parent when the directory does not exist. Returns 0, status::directory_failed
// when neither exists or the file system cannot be examined, or status::output_not_sent.
int calc_free_space_send_output(std::string directory, int socket);
