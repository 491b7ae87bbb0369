// Descriptors that the process was started with.
#pragma once

// Marks every open descriptor from `first` on close-on-exec, so that no program that this process becomes or starts
// inherits it. Works on every kernel, with and without /proc.
void keep_descriptors_from_programs(int first);
