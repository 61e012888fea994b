// A search for dust on a small picture: a flat one with 8 x 8 blocks, one search area over all of
// it, and the log on the standard output.
#pragma once

#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace test
{

class DustSearchRun : public testing::Test
{
protected:
    static constexpr uint8_t WHITE = 200;
    static constexpr int32_t BLOCK = 8;

    Camera camera;
    rova_pim_dust_config cfg = {};
    rova_pim_image image = {};
    std::string text; // of the last run

    DustSearchRun()
    {
        gDbgPrintOnOff = gLogPrintOnOff = PIM_DEBUG_STDOUT;
        make_picture(320, 160, 336);
        cfg.iBlockX = cfg.iBlockY = BLOCK;
        cfg.iDustOn = 1;
        cfg.iSmallOffset = 2;
        cfg.iBigOffset = 4;
        cfg.iDustOk = cfg.iDustRst = PIM_NO_RESULT;
        cfg.iShadingOk = cfg.iShadingRst = PIM_NO_RESULT;
        cfg.i4xOk = cfg.i4xRst = cfg.iExpOk = cfg.iExpRst = PIM_NO_RESULT;
        cfg.tSearchArea[1] = {.iPercent = 0,
                              .x1 = 0,
                              .y1 = 0,
                              .x2 = image.width,
                              .y2 = image.height,
                              .fSmallRef = 5,
                              .iSmallRef100 = 500,
                              .fBigRef = 6,
                              .iBigRef100 = 600};
        say(cfg.strPixelFile, "/mnt/mmc/pixels.csv");
        say(cfg.strBmpFile, "/mnt/mmc/marks_0000.bmp");
    }
    ~DustSearchRun() override { gDbgPrintOnOff = gLogPrintOnOff = 0; }

    template <std::size_t SIZE> static void say(char (&field)[SIZE], const char *name)
    {
        std::snprintf(field, SIZE, "%s", name);
    }
    void make_picture(int32_t width, int32_t height, int32_t pitch, int32_t spare_rows = 0)
    {
        bytes_.assign(
            static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height + spare_rows), WHITE);
        image = {bytes_, width, height, pitch, CS422_Y_CbCr};
        cfg.iImgX = width;
        cfg.iImgY = height;
    }
    void paint(int32_t x, int32_t y, int32_t w, int32_t h, uint8_t value)
    {
        for (int32_t row = y; row < y + h; row++)
            std::fill_n(bytes_.begin() + int64_t{row} * image.pitch + x, w, value);
    }
    // In blocks.
    void paint_blocks(int32_t column, int32_t row, int32_t w, int32_t h, uint8_t value = 150)
    {
        paint(column * BLOCK, row * BLOCK, w * BLOCK, h * BLOCK, value);
    }
    // A row of blocks that differ from their neighbours, for each second of them to be marked.
    void paint_bar(int32_t column, int32_t row, int32_t w)
    {
        for (int32_t i = 0; i < w; i++)
            paint_blocks(column + i, row, 1, 1, i % 2 == 0 ? 150 : 140);
    }
    // A dust and a hook, and another hook that touches this one below: what the hooks make together
    // holds a corner of the dust.
    void paint_hooks()
    {
        cfg.iSmallOffset = 1;
        cfg.iBigOffset = 2;
        paint_blocks(22, 2, 1, 5);
        paint_blocks(4, 5, 1, 7);
        paint_bar(4, 12, 15);
        paint_blocks(30, 10, 1, 4);
        paint_bar(16, 14, 15);
    }
    // So many spots, in a picture that has room for them: one above, as the first row of blocks
    // that has any keeps but one, and the others side by side.
    void paint_many(int32_t count)
    {
        make_picture(count * 3 * BLOCK, 160, count * 3 * BLOCK);
        cfg.tSearchArea[1].x2 = image.width;
        cfg.iSmallOffset = cfg.iBigOffset = 1;
        paint_blocks(1, 1, 1, 1);
        for (int32_t i = 0; i < count - 1; i++)
            paint_blocks(1 + i * 3, 10, 1, 1);
    }
    int check(int (*test)(const rova_pim_image &, rova_pim_dust_config &) = CheckDust)
    {
        int result = 1;
        text = captured_output([&] { result = test(image, cfg); });
        return result;
    }
    std::size_t lines_with(const std::string &part) const
    {
        return static_cast<std::size_t>(
            std::ranges::count_if(lines_of(text), [&](const std::string &line) {
                return line.find(part) != std::string::npos;
            }));
    }
    std::vector<uint8_t> &bytes() { return bytes_; }

private:
    std::vector<uint8_t> bytes_;
};

// The name of the bitmap that a run made.
inline std::string bitmap_of(const std::string &text)
{
    constexpr char NAME[] = ">>> Output FIle : ";
    const std::size_t at = text.find(NAME);
    if (at == std::string::npos)
        return "";
    const std::size_t from = at + sizeof(NAME) - 1;
    return text.substr(from, text.find(' ', from) - from);
}

inline int number_of(const std::string &bitmap)
{
    return std::stoi(bitmap.substr(bitmap.rfind('_') + 1));
}

} // namespace test
