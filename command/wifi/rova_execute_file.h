// Scripts of the radios.
#pragma once

// Runs the file with these words and this environment, each ended by NULL, and waits until it has
// ended.  1 once there was a process for it, whatever became of the script: one that cannot be run
// is only logged; 0 without a process.  Server thread.
int rova_execute_file(const char *path, char *const argv[], char *const envp[]);
