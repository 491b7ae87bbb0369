// Descriptors that the process inherited.
#pragma once

// Marks every open descriptor from `first` on as close-on-exec, so that no program that this process executes inherits
// it. Works on every kernel, with or without /proc.
void keep_descriptors_from_programs(int first);
