// Files that a radio's driver reads.
#pragma once

#include "common/rova_guard.h"

#include <string>

// Empties the file, or makes it.  Empty when it cannot be opened, which is logged.  Server thread.
rova_file rova_driver_file_open(const char *path);

// Writes the text to the file that was opened so.  False, with the reason in the log, on failure.
bool rova_driver_file_put(const rova_file &file, const char *path, const std::string &text);

// Replaces the file by this text, without a line end.  False when it cannot be opened or written,
// with the reason in the log.  Server thread.
bool rova_driver_file_write(const char *path, const std::string &text);
