// Small things all of the daemon shares: single values in attribute files and plain files, texts,
// run-mode flags, the stop test.  The failure values differ by function and are part of the
// contract.  Any thread.
#pragma once

#include "common/rova_cmd_data.h"

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

// Keys of the daemon's life.
inline constexpr char ROVA_KEY_STOP_CMD[] = "memory/rova/stop_cmd";
inline constexpr char ROVA_KEY_START_CMD[] = "memory/rova/start_cmd";
inline constexpr char ROVA_KEY_POWER_OFF[] = "memory/rova/power_off";

// Attribute files: each call opens, acts and closes.  No more of their text than this is read.
inline constexpr std::size_t ROVA_SYSFS_TEXT_SIZE = 256;
int rova_sysfs_read_int(const char *path);                         // -1: cannot be opened; 0: empty
int rova_sysfs_write_int(const char *path, int value);             // 0, or -1
unsigned long rova_sysfs_read_ulong(const char *path);             // any base; 0 on every failure
int rova_sysfs_write_ulong(const char *path, unsigned long value); // 0, or -1
// Copies the text without a terminator (at most ROVA_SYSFS_TEXT_SIZE bytes) and returns its decimal
// value.
int rova_sysfs_read_string(const char *path, char *dst);         // -1: cannot be opened; 0: empty
int rova_sysfs_write_string(const char *path, const char *text); // 0, or -1

// Ordinary files.
unsigned long rova_file_read_ulong(const char *path);             // 0 on every failure
int rova_file_write_ulong(const char *path, unsigned long value); // 0, or -1; synced

// "0x1f" or decimal; stops at the first character that is no digit.  NULL gives 0.
int rova_str2int(const char *text);
// Cuts white space at the end in place and returns the first position that is not white space.
char *rova_str_trim(char *text);

// The layout of rova_log_dump on standard output; `no_address` leaves the address column out.
void rova_dump_stdout(const void *data, uint32_t base, std::size_t length, int no_address);

// "stop", "card", "script", "ptp", "ptp2", else "unknown".
const char *rova_cmd_type_name(uint32_t type);
// Both logs; ends the line of the file log that the server thread began.
void rova_show_cmd_data(const cmd_data *record, uint32_t type);

// 1 while the daemon is asked to stop.  Every long wait polls it.
int rova_check_stop();
// Whether the stop protocol has begun, by the key or by a signal.  Commands that are queued still
// run after a signal, but a wait that may have no end has to find one.  Any thread.
void rova_set_stopping(bool stopping);
bool rova_is_stopping();

// ALT (automatic life test) mode follows from the script's exact path; set before any thread runs.
int rova_set_alt_mode(const char *script_path);
int rova_get_alt_mode();

// Customer service script number; 0 when it is missing or unreadable.
unsigned long rova_get_cs_mode_type();
// 1, or 0 (`out` untouched) for an index above 10.  `out` has room for 64 bytes.
int rova_get_adj_script_path(unsigned long index, char *out);

// 1, or 0 when the timer could not be written.
int rova_wdt_set(int seconds, int boot_shutdown);

// 0, or -1 when opening or the request fails.
int rova_ioctl(const char *path, unsigned long request, void *arg);
// Maps `length` bytes at `offset` of an open file, read-write and shared.  0, or -1, also when the
// file ends before.
int rova_mmap_region(int fd, off_t offset, std::size_t length, void **mapped_addr, void **map_base);
