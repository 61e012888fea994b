// Grey pictures of 8 bits a pixel as BMP files, to look at what a test saw, and the numbers in
// their names.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

// Writes a picture of width x height bytes, packed by rows, to a file of the camera.  The file's
// rows are cut to a multiple of 4 pixels.  0, or -1: no such file could be opened (printed),
// nothing is left of the width, the picture is not that large, or writing failed (logged; no file
// is left).
int SaveBmp(const char *path, std::span<const uint8_t> picture, int32_t width, int32_t height);

// Writes row y, counted from the top, of a picture of width x height to a stream that can be
// positioned; `row` holds at least width bytes.  Row 0 writes the head too.  Rows are not padded,
// whatever the width.  0, or -1 (logged).
int SaveBmpRow(std::FILE *stream, std::span<const uint8_t> row, int32_t width, int32_t height,
               int32_t y);

// Writes to `out` the name with `n` added to the digits, up to four, behind the file's last '_',
// and prints it.  They are written with four digits or more; a name without any counts from 0, its
// number goes in front of the extension.  What `out` has no room for is cut.
void MakeNumberedName(const char *name, std::span<char> out, int32_t n);
