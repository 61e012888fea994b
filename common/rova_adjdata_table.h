// The item tables of the adjustment partitions.
#pragma once

#include <cstdint>
#include <span>

struct adjdata_info {
    char name[80];
    uint64_t id;
    uint32_t size; // bytes
};

// One partition of adjustment data.
struct adjdata_part {
    uint32_t pref_id;
    const adjdata_info *items; // behind the last: a row with the name "end", id 0 and size 0
    const void *default_image; // `data_size` bytes
    uint32_t data_size;
};

// The six partitions, in the order of their pref ids.
std::span<const adjdata_part> rova_adjdata_parts();

// The row of this exact name; NULL for an unknown one.
const adjdata_info *rova_find_adjdata(const char *name);
// The item's row; NULL for an id that no row has, and, with a line in the platform log, for id 0.
const adjdata_info *rova_get_adjdata_info(uint64_t id);
// The row of this exact id from `row` on to its table's "end"; NULL if there is none.
const adjdata_info *rova_find_adjdata_row(const adjdata_info *row, uint64_t id);
