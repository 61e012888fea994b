// CSV result files: on the memory card, appended to over many runs, or in /tmp for the PC link.
// A handle belongs to one command handler, on the server thread.
#pragma once

#include "common/rova_cmd_data.h"

struct rova_csv;
using rova_csv_handle = rova_csv *;

// `filename` is a bare name, `header` the titles of the caller's columns.  NULL on failure.
rova_csv_handle rova_csv_create(const char *filename, const char *header);

// One row; `fmt` holds no line end.  1, or 0 when the text could not be written and for a NULL
// handle.
int rova_csv_write(rova_csv_handle handle, const char *fmt, ...)
    __attribute__((format(printf, 2, 3)));

// Closes and frees; puts the file's path into `stream` (may be NULL).  1, or 0 for a NULL handle.
int rova_csv_close(rova_csv_handle handle, rova_resp_stream *stream);

// Formats (at most 4095 bytes) and writes to a descriptor; returns the formatted length.
int rova_fd_printf(int fd, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
