// A movie test in the middle of its run: a configuration of two red and two blue frames, a frame
// that is red and blue alike, and the sinks as a load leaves them.
#pragma once

#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_result.h"
#include "tests/lib/pim/planes.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace test
{

inline constexpr char MOVIE_RESULT[] = "/mnt/mmc/movie.csv";
inline constexpr char MOVIE_DEBUG[] = "/mnt/mmc/debug.txt";
inline constexpr uint8_t RED = 220;
inline constexpr uint8_t BLUE = 210;

class MovieRun : public testing::Test
{
protected:
    static constexpr int32_t WIDTH = 40;
    static constexpr int32_t HEIGHT = 20;
    // The field in chroma values: 5 to 15 of 20 in a row, rows 2 to 7 of 10.
    static constexpr int32_t X0 = 5, X1 = 15, Y0 = 2, Y1 = 7;

    Camera camera;
    rova_pim_movie_config &cfg = cfgMovie;
    Planes frame{static_cast<std::size_t>(WIDTH) * HEIGHT * 3 / 2};
    std::string printed;

    MovieRun()
    {
        load(cfg);
        std::ranges::fill(rova_pim_movie_done, 0);
        std::ranges::fill(pPtpTile, '\0');
        rova_pim_result_clear();
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
        print_mode(PIM_RESULT_DIRECT);
        std::fill_n(frame.data(), WIDTH * HEIGHT, uint8_t{0});
        for (int32_t y = 0; y < HEIGHT / 2; y++)
            for (int32_t x = 0; x < WIDTH / 2; x++)
                set(x, y, BLUE, RED);
    }
    ~MovieRun() override
    {
        rova_pim_result_close();
        rova_pim_result_clear();
        rova_pim_debug_close();
        std::ranges::fill(pPtpTile, '\0');
        std::ranges::fill(rova_pim_movie_done, 0);
        gRstPrintOpt = 0;
        gDbgPrintOnOff = 0;
        cfg = {};
    }

    // As a load leaves it: frames 10, 13 red, 30, 32 blue.
    static void load(rova_pim_movie_config &cfg)
    {
        cfg = {};
        std::snprintf(cfg.resultFile, sizeof(cfg.resultFile), "%s", MOVIE_RESULT);
        std::snprintf(cfg.debugFile, sizeof(cfg.debugFile), "%s", MOVIE_DEBUG);
        cfg.enableTest = 1;
        cfg.cbOffset = cfg.crOffset = WIDTH * HEIGHT;
        cfg.testField = 0.5F;
        cfg.redStart = 10;
        cfg.redNum = 2;
        cfg.redInc = 3;
        cfg.redMin = 200;
        cfg.redMax = 240;
        cfg.redOffX = 1000;
        cfg.redOffY = 4;
        cfg.redDiffX = 5;
        cfg.redDiffY = 7;
        cfg.blueStart = 30;
        cfg.blueNum = 2;
        cfg.blueInc = 2;
        cfg.blueMin = 190;
        cfg.blueMax = 230;
        cfg.blueOffX = 1000;
        cfg.blueOffY = 2;
        cfg.blueDiffX = 3;
        cfg.blueDiffY = 4;
        cfg.freqSpec = 1.0F;
        cfg.freqMin = 0.9F;
        cfg.freqMax = 1.1F;
        cfg.dbfsSpec = -20.0F;
        cfg.dbfsMin = -25.0F;
        cfg.dbfsMax = -15.0F;
        cfg.totalFrames = 4;
        cfg.movieResult = cfg.audioResult = PIM_NO_RESULT;
        for (rova_pim_frame_record &record : cfg.frame) {
            record.colour = 3;
            record.result = PIM_NO_RESULT;
        }
        for (rova_pim_audio_record &record : cfg.audio)
            record = {0, PIM_NO_RESULT, -99.0F, -99.0F, -99.0F, -99.0F};
    }
    void print_mode(int32_t mode) { cfg.rstPrint = gRstPrintOpt = mode; }

    uint8_t &cb(int32_t x, int32_t y) { return frame.data()[WIDTH * HEIGHT + y * WIDTH + 2 * x]; }
    uint8_t &cr(int32_t x, int32_t y) { return (&cb(x, y))[1]; }
    void set(int32_t x, int32_t y, uint8_t blue, uint8_t red)
    {
        cb(x, y) = blue;
        cr(x, y) = red;
    }

    rova_pim_image image() const { return {frame.bytes(), WIDTH, HEIGHT, WIDTH, CS420_Y_CbCr}; }
    // What is printed is in `printed`.
    int judge(int32_t number) { return judge(number, image()); }
    int judge(int32_t number, const rova_pim_image &picture)
    {
        int result = 0;
        printed =
            captured_output([&] { result = rova_pim_movie_test_frame(number, picture, cfg); });
        return result;
    }
    int hear(int32_t left, int32_t right, float left_dbfs, float right_dbfs)
    {
        // Peak and RMS are not looked at.
        const rova_pim_aframe_info info = {left, right, 1, 2, 3, 4, left_dbfs, right_dbfs};
        int result = 0;
        printed = captured_output([&] { result = checkAudio(info); });
        return result;
    }
    void judge_all()
    {
        for (const int32_t number : {10, 13, 30, 32})
            judge(number);
    }
    std::string file() const { return camera.read(MOVIE_RESULT); }
};

} // namespace test
