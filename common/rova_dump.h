// Hex dump layout, the same for the file log and the console.
#pragma once

#include <cstddef>
#include <cstdint>

// Hands each line of the dump, without a line end, to `flush`; one empty line when `length` is 0.
// The address column counts from `base` and is left out with `no_address`.
void rova_dump_lines(const void *data, uint32_t base, std::size_t length, bool no_address,
                     void (*flush)(const char *line));
