// The two logs: the macros write to the platform log and the standard streams, rova_log and
// rova_log_raw to the file log on the camera.  Neither knows of the other.  Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

inline constexpr char ROVA_LOG_DIR[] = "/opt/share/rova/";
inline constexpr char ROVA_LOG_FILE[] = "/opt/share/rova//rova.log";
inline constexpr char ROVA_LOG_FILE_OLD[] = "/opt/share/rova//rova.log.old";
inline constexpr long ROVA_LOG_FILE_LIMIT = 0x40000; // bytes; reached: the file becomes ".old"

inline constexpr char ROVA_TAG[] = "SYS_ROVA";
inline constexpr char ROVA_TAG_CONN[] = "ROVACONN";
inline constexpr char ROVA_TAG_GYRO[] = "SYS_GYRO";

// A file that logs under another tag defines ROVA_LOG_TAG before it includes this header.
#ifndef ROVA_LOG_TAG
#define ROVA_LOG_TAG ROVA_TAG
#endif

enum class rova_log_kind { err, info, notice, conn };

// Where a macro stands; filled by the macros below.
struct rova_log_site {
    const char *tag;
    const char *file;
    const char *function;
    int line;
};

// One coloured line to the platform log and, if `echo` is not null, to that stream.  Text beyond
// the kind's room (246 or 248 bytes) is cut.  Uses a stack buffer only.
void rova_log_line(rova_log_kind kind, const rova_log_site &site, std::FILE *echo, const char *fmt,
                   ...) __attribute__((format(printf, 4, 5)));

#define ROVA_LOG_SITE_ (rova_log_site{ROVA_LOG_TAG, __FILE__, __func__, __LINE__})

#define ROVA_LOG_ERR(...) rova_log_line(rova_log_kind::err, ROVA_LOG_SITE_, stderr, __VA_ARGS__)
#define ROVA_LOG_INFO(...) rova_log_line(rova_log_kind::info, ROVA_LOG_SITE_, nullptr, __VA_ARGS__)
// The format of these two begins with the colour: ROVA_LOG_NOTICE("\033[33mready \n").
#define ROVA_LOG_NOTICE(...)                                                                       \
    rova_log_line(rova_log_kind::notice, ROVA_LOG_SITE_, stdout, __VA_ARGS__)
#define ROVA_LOG_CONN(echo, ...)                                                                   \
    rova_log_line(rova_log_kind::conn, ROVA_LOG_SITE_, echo, __VA_ARGS__)

// The system's reason for the last call that failed (errno), for the message about it.
const char *rova_reason();

// The file log writes nothing until it has been switched on.
void rova_log_set_enable(uint32_t on);

// Append a line that begins with the time, or a text that goes on with such a line; the text brings
// its own line feed and is cut at 2047 bytes.  Each call is flushed to the disk.  Return the number
// of bytes written, 0 when switched off, negative when the file cannot be opened; rova_log_raw also
// returns the non-zero status of a mkdir that failed.
int rova_log(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
int rova_log_raw(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// Hex dump, 16 bytes a line, labelled with addresses that count from `base`.
void rova_log_dump(const void *data, uint32_t base, std::size_t length);
