// Adjustment data: what a camera learns on the production line, by item id or name.
//
// The items' bytes stand in the partitions' images, which belong to the preference service and are
// shared with the camera application; a change lasts once its partition is saved.  Ids are the
// ADJ_ID_ constants of common/rova_adjdata_items.h.  Results are 1, or 0 with the reason in both
// logs, unless said otherwise.  Server thread; no lock guards the images.
#pragma once

#include "common/rova_adjdata_items.h"
#include "common/rova_adjdata_table.h"

#include <cstdint>

// The pref id of an item id, 0 to 9, or -1 for a high word that is no partition's.
int rova_adjdata_pref_id(uint64_t id);

// The item by its exact name; its size goes to `*size_out` (may be NULL).  An unknown name gives 0
// and stores 0; NULL and an empty name give 0 and store nothing.
uint64_t rova_get_adjdata_id(const char *name, uint32_t *size_out);

// The item's bytes in the partition's image: writable, valid for the life of the process.  NULL
// for id 0, an id of no partition and a missing partition.  The id need not be an item's.
void *rova_get_adjdata(uint64_t id);

// Items of these sizes are numbers; larger ones are texts and tables.
bool rova_adjdata_is_number(uint32_t size);
// The number in `size` bytes, with its sign; 0 for other sizes.
int32_t rova_adjdata_number(const void *bytes, uint32_t size);
// The number that an item of `size` bytes holds.  False, with the reason in both logs and `*number`
// left alone, when the item cannot be reached.
bool rova_read_adjdata_number(uint64_t id, uint32_t size, int32_t *number);

// Copies the item's bytes into the image, and with `save` not 0 saves the partition.  `size` is the
// item's.  A failed save leaves the image changed.
int rova_set_adjdata(uint64_t id, const void *data, uint32_t size, int save);

// Saving to flash: the partition of an id, all six (1 whatever happens), the one of a pref id from
// 4 to 9 (1 whatever its save gives).
int rova_save_adjdata(uint64_t id);
int rova_save_adjdata_all();
int rova_save_adjdata_part(int pref_id);

// Default contents, saved: of all partitions but adj_dpc (1 whatever happens), or of one.
int rova_load_default_adjdata_all();
int rova_load_default_adj_sys();
int rova_load_default_adj_cap();
int rova_load_default_adj_iq();
int rova_load_default_adj_vfpn();
int rova_load_default_adj_cs();
int rova_load_default_adj_dpc();
// Hands the default images to the preference service.  Always 1.
int rova_save_default_adjdata();
