// A dust test in the middle of its run: a picture of any size in planes of its own, and a
// configuration that has all checks off and fits to it.
#pragma once

#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"
#include "lib/pim/rova_pim_result.h"
#include "tests/lib/pim/planes.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

namespace test
{

// A still whose planes end where no byte may be read, all of one grey.
struct DustPicture {
    Planes planes;
    rova_pim_image image;

    DustPicture(int width, int height, int pitch, uint8_t grey)
        : planes(static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height) * 2),
          image{planes.bytes(), width, height, pitch, CS422_Y_CbCr}
    {
        std::fill_n(planes.data(), planes.bytes().size(), grey);
    }
    uint8_t &at(int x, int y) const { return planes.data()[y * image.pitch + x]; }
    // Inclusive corners.
    void fill(int x1, int y1, int x2, int y2, uint8_t grey) const
    {
        for (int y = y1; y <= y2; y++)
            std::fill(&at(x1, y), &at(x2, y) + 1, grey);
    }
};

// The regions as the reader of the file lays them out.
inline void lay_shading(rova_pim_dust_config &cfg)
{
    const int X = cfg.iImgX, Y = cfg.iImgY, bx = cfg.iBlockX, by = cfg.iBlockY;
    cfg.tShadingArea[0] = {bx * cfg.iShadingL, 0, X - 5 * bx, by * cfg.iShadingU};
    cfg.tShadingArea[1] = {5 * bx, Y - 5 * by, X - 5 * bx, Y};
    cfg.tShadingArea[2] = {0, 0, 5 * bx, Y};
    cfg.tShadingArea[3] = {X - 5 * bx, 0, X, Y};
}

class DustRun : public testing::Test
{
protected:
    Camera camera;
    rova_pim_dust_config cfg = {};
    std::unique_ptr<DustPicture> picture;

    DustRun()
    {
        gLogPrintOnOff = PIM_DEBUG_STDOUT;
        gDbgPrintOnOff = 0;
        for (int32_t *verdict :
             {&cfg.iShadingOk, &cfg.iShadingRst, &cfg.i4xOk, &cfg.i4xRst, &cfg.iExpOk, &cfg.iExpRst,
              &cfg.iDustOk, &cfg.iDustRst, &cfg.iCsOk, &cfg.iCsRst, &cfg.iTotal})
            *verdict = PIM_NO_RESULT;
        cfg.iLcdX = 800;
        cfg.iLcdY = 480;
    }
    ~DustRun() override
    {
        rova_pim_log_close();
        rova_pim_debug_close();
        rova_pim_result_close();
        rova_pim_result_clear();
        gLogPrintOnOff = gDbgPrintOnOff = gRstPrintOpt = 0;
        gMotExifInfo = {};
        std::ranges::fill(pPtpTile, '\0');
    }

    template <std::size_t SIZE> static void say(char (&field)[SIZE], const char *text)
    {
        std::snprintf(field, SIZE, "%s", text);
    }
    void take(int width, int height, uint8_t grey = 100, int spare = 3)
    {
        picture = std::make_unique<DustPicture>(width, height, width + spare, grey);
        cfg.iImgX = width;
        cfg.iImgY = height;
        cfg.iCbOffset = cfg.iCrOffset = picture->image.pitch * height;
    }
    // What a check logs; its result goes to `result`.
    template <typename check> std::string log_of(check run)
    {
        return captured_output([&] { result = run(picture->image, cfg); });
    }
    int result = 99;
};

} // namespace test
