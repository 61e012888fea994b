// Files that a radio's driver reads.
#pragma once

#include <string>

// Replaces the file by this text, without a line end.  False when it cannot be opened or written,
// with the reason in the log.  Server thread.
bool rova_driver_file_write(const char *path, const std::string &text);
