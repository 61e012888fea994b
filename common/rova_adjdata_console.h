// Adjustment data at a terminal: on standard output, for a person.
//
// Results are 1, or 0 with the reason on standard output or in the platform log.
#pragma once

#include <cstdint>

// The item in a table, as a number or as a dump of its bytes.
int rova_show_adjdata(const char *name);
// The item as text.
int rova_show_adjdata_string(const char *name);
// Sets and saves the item, then shows it.  `size` is the item's.  Items of 1, 2 and 4 bytes take
// `value`; the bytes of larger ones are read from standard input in hexadecimal, up to the item's
// size, the input's end or what is no number, and those not given become 0.
int rova_store_adjdata(const char *name, uint32_t size, int value);
