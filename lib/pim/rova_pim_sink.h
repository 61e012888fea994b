// What the two text sinks share: pieces that are formatted into a buffer of the caller's.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <span>

// Formats behind the `held` bytes of `buffer` and counts the piece in.  0, or -1, with nothing
// changed but bytes behind `held`, when that would bring it to the buffer's size or more.
int rova_pim_sink_append(std::span<char> buffer, int32_t &held, const char *fmt, va_list args)
    __attribute__((format(printf, 3, 0)));

// Writes the held bytes to the stream, NULL: nowhere, and empties the buffer.
void rova_pim_sink_flush(std::span<char> buffer, int32_t &held, std::FILE *stream);

// Opens for appending in place of what the stream was; `state` becomes 1 or 0.  0, or -1 with the
// reason in errno.
int rova_pim_sink_open(const char *path, std::FILE *&stream, int32_t &state);

// Closes the stream if there is one; what could not be written is logged.
void rova_pim_sink_close(std::FILE *&stream, int32_t &state);
