// Lists the files of a directory, and reports the free and total space of its file system.
#pragma once

#include <string>

// Sends one "ZMSU PACKAGE=" line for each entry of the directory, unsorted. Follows links and skips directories.
// Returns 0, or stops at the first failure: status::directory_failed if the directory cannot be opened, status::failure
// if an entry cannot be examined, or status::output_not_sent.
int list_dir_and_send_output(std::string directory, int socket);

// Sends one "CALCLOGSIZE:" line with the free and total space of the directory's file system, in whole mebibytes. Uses
// the parent if the directory does not exist. Returns 0, status::directory_failed if neither exists or the file system
// cannot be examined, or status::output_not_sent.
int calc_free_space_send_output(std::string directory, int socket);
