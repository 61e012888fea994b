// Adjustment data: what a camera learns on the production line, by item id.
#pragma once

#include <cstdint>

// High word: the partition; low word: the item's byte offset in the partition's data.
inline constexpr uint64_t ADJ_ID_CIS_SN = 0x8560100000000000; // image sensor serial number, 4 bytes

// The partition number an id belongs to, or -1 for a high word that is no partition's.
int rova_adjdata_pref_id(uint64_t id);

// The item's bytes in the partition's image: writable, valid for the life of the process, owned by
// the preference service.  NULL, and a line in the platform log, for id 0; the same and a line in
// the file log for an id of no partition and for a missing partition.
void *rova_get_adjdata(uint64_t id);
