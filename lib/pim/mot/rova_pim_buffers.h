// The two buffers of the picture tests: made by the first load of a configuration, kept until a
// test frees them.  Of the command thread and the capture service's, never at the same time.
#pragma once

#include <cstdint>
#include <span>

extern uint8_t *gPimaImg;   // the rectangle in hand, packed by rows
extern int32_t *gLineImg;   // the line in hand
extern int32_t gMallocFlag; // 1 while the two are there

// Makes the buffers for pictures of this size unless gMallocFlag is set: a picture of
// (height / 8) x (width / 4) bytes and a line of `height` numbers.  Their sizes are printed.  0, or
// -1 with a report: a size that no camera has, or no memory.
int rova_pim_buffers_allocate(int32_t width, int32_t height);

// Frees them and clears the flag.
void rova_pim_buffers_free();

// The buffers in their real sizes, empty without; a strip is measured against these.
std::span<uint8_t> rova_pim_picture_buffer();
std::span<int32_t> rova_pim_line_buffer();
