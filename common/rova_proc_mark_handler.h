// Process marks: one byte for each station of the production line, in the partition of the line.
//
// Server thread.
#pragma once

#include <cstdint>

struct proc_mark_info {
    uint64_t id; // high word: the partition's; low word: the mark's byte offset in its data
    char name[80];
};

inline constexpr int ROVA_PREF_ID_LINE = 2;
inline constexpr uint64_t ROVA_PROC_MARK_STEP_LABEL = 0x8550000000000000;

// The marks in the order of their bytes; behind the last a row with the name "end" and the id of
// all ones.
extern const proc_mark_info rova_proc_mark_info[];

// The row of this exact name; NULL for an unknown one.
const proc_mark_info *rova_find_proc_mark(const char *name);
// The row of this id; NULL for an id that no row has.
const proc_mark_info *rova_get_proc_mark_info(uint64_t id);
// The row's name; NULL, and a line in the platform log, for an id that no row has.
const char *rova_get_proc_mark_name(uint64_t id);

// Stores a mark and saves the partition.  1, or 0 with the reason in both logs.
int rova_set_proc_mark_value(uint64_t id, int value);
// Sets every mark to 0, one by one in their order; what fails is told in the logs only.
void rova_clear_proc_marks();
// The stored byte, 0 to 255, and 0 on failure, a place behind the partition's end included.  The id
// need not be a mark's.
int rova_get_proc_mark_value(uint64_t id);

// The letters "N", "E" and "P" for 0, 1 and 2.  -1 for any other text, "U" for any other value.
int rova_proc_mark_value(const char *text);
const char *rova_proc_mark_text(int value);
