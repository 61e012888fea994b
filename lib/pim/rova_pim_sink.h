// What the text sinks share: pieces that are formatted into a buffer of the caller's.
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

// A sink in the modes of rova_pim_debug.h, by the words that make it up.
struct rova_pim_text_sink {
    const int32_t &mode;
    std::FILE *&stream;
    int32_t &state; // 1 while the stream is open
    int32_t &held;  // bytes in the buffer
    std::span<char> buffer;
};

// Opens the sink's file for appending, with an empty buffer.  0, or -1 with the reason in errno.
int rova_pim_text_open(const rova_pim_text_sink &sink, const char *path);
// Prints as the mode says.
void rova_pim_text_print(const rova_pim_text_sink &sink, const char *fmt, va_list args)
    __attribute__((format(printf, 2, 0)));
// Writes out what is held and closes the file, if it is open.
void rova_pim_text_close(const rova_pim_text_sink &sink);
