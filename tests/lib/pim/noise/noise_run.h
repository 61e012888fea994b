// A noise test behind its load: a grey picture that passes, and a configuration of 4 x 3 whole
// cells for it.
#pragma once

#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_pixels.h"
#include "lib/pim/rova_pim_result.h"
#include "tests/lib/pim/planes.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace test
{

inline constexpr char NOISE_RESULT[] = "/mnt/mmc/noise.csv";
inline constexpr char NOISE_DEBUG[] = "/mnt/mmc/noise.txt";

// A still in 4:2:2, between guard pages: both planes hold `grey` everywhere.
class NoisePicture
{
public:
    NoisePicture(int32_t width, int32_t height, int32_t pitch, uint8_t grey = 128)
        : planes_(static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height) * 2),
          image{planes_.bytes(), width, height, pitch, CS422_Y_CbCr}
    {
        std::fill_n(planes_.data(), planes_.bytes().size(), grey);
    }
    int32_t chroma() const { return image.pitch * image.height; } // the plane's offset
    uint8_t &byte(int32_t at) const { return planes_.data()[at]; }
    uint8_t &luma(int32_t x, int32_t y) const { return byte(y * image.pitch + x); }
    uint8_t &cb(int32_t pair, int32_t y) const
    {
        return byte(chroma() + y * image.pitch + 2 * pair);
    }
    uint8_t &cr(int32_t pair, int32_t y) const
    {
        return byte(chroma() + y * image.pitch + 2 * pair + 1);
    }
    void paint(int32_t x, int32_t y, int32_t w, int32_t h, uint8_t value) const
    {
        for (int32_t row = y; row < y + h; row++)
            std::fill_n(&luma(x, row), w, value);
    }

private:
    Planes planes_;

public:
    rova_pim_image image;
};

class NoiseRun : public testing::Test
{
protected:
    static constexpr int32_t X = 64, Y = 48, PITCH = 70;

    Camera camera;
    rova_pim_noise_config &cfg = cfgNoise;
    NoisePicture picture{X, Y, PITCH};
    int result = 1;

    NoiseRun()
    {
        cfg = {};
        say(cfg.strOutFile, NOISE_RESULT);
        say(cfg.strDbgFile, NOISE_DEBUG);
        cfg.RunNoiseFunc = 1;
        cfg.iIsoLow = 100;
        cfg.iIsoHigh = 1600;
        cfg.iIso = 100;
        cfg.iImgX = X;
        cfg.iImgY = Y;
        cfg.iLcdX = 800;
        cfg.iLcdY = 480;
        cfg.iNX = 4;
        cfg.iNY = 3;
        cfg.iCbOffset = cfg.iCrOffset = picture.chroma();
        cfg.iDotOn = 1;
        cfg.iColorOn = 0;
        cfg.iLineOn = 0;
        both(cfg.fYSpec, 100);
        for (auto *spec : {&cfg.fYMaxMinSpec, &cfg.fNormMaxMinSpec, &cfg.fRGMaxMinSpec,
                           &cfg.fBGMaxMinSpec, &cfg.fRGDiffSpec, &cfg.fBGDiffSpec, &cfg.fLineDiff})
            both(*spec, 10);
        for (auto *spec : {&cfg.fRedSpec, &cfg.fGreenSpec, &cfg.fBlueSpec})
            both(*spec, 100);
        cfg.iLineOffset[0] = cfg.iLineOffset[1] = 20;
        for (int32_t *verdict : {&cfg.iDotOk, &cfg.iDotRst, &cfg.iColorOk, &cfg.iColorRst,
                                 &cfg.iLineOk, &cfg.iLineRst})
            *verdict = PIM_NO_RESULT;
        say(gMotExifInfo.filename, "IMG_0013.JPG");
        print_modes(PIM_DEBUG_STDOUT, PIM_RESULT_DIRECT);
        cfg.iDbgPrint = 0; // what is printed goes to the standard output, without a file
    }
    ~NoiseRun() override
    {
        rova_pim_pixels_set_portable(false);
        rova_pim_result_close();
        rova_pim_result_clear();
        rova_pim_debug_close();
        gRstPrintOpt = 0;
        gDbgPrintOnOff = 0;
        gMotExifInfo = {};
        std::ranges::fill(pPtpTile, '\0');
        cfg = {};
    }

    template <std::size_t SIZE> static void say(char (&field)[SIZE], const char *text)
    {
        std::snprintf(field, SIZE, "%s", text);
    }
    static void both(float (&spec)[2], float value) { spec[0] = spec[1] = value; }
    void print_modes(int32_t debug, int32_t result_mode)
    {
        cfg.iDbgPrint = gDbgPrintOnOff = debug;
        cfg.iRstPrint = gRstPrintOpt = result_mode;
    }
    void blocks(int32_t nx, int32_t ny, int32_t div_x, int32_t div_y)
    {
        cfg.iNX = nx;
        cfg.iNY = ny;
        cfg.iDivX = div_x;
        cfg.iDivY = div_y;
    }

    // Each gives the text that it printed and leaves its result in `result`.
    using Check = int (*)(const rova_pim_image &, rova_pim_noise_config &);
    std::string check(Check function)
    {
        return captured_output([&] { result = function(picture.image, cfg); });
    }
    std::string run() { return check(RunNoise); }
    // With this line in the text and the log, and nothing else done.
    void expect_refused(Check function, const std::string &report)
    {
        const rova_pim_noise_config before = cfg;
        EXPECT_THAT(check(function), testing::HasSubstr(report));
        EXPECT_EQ(result, -1) << report;
        EXPECT_EQ(std::memcmp(&before, &cfg, sizeof(cfg)), 0) << report;
        EXPECT_TRUE(camera.logged(report.substr(1, report.find_last_not_of(" \n")))) << report;
    }

    std::vector<int32_t> lines() const
    {
        return {cfg.LnDef, cfg.LnDef + std::clamp(cfg.iLnDeNum, 0, PIM_NOISE_LINES)};
    }
    std::string file() const { return camera.read(NOISE_RESULT); }
};

} // namespace test
