// A chart's markers, drawn into the chroma of a picture, with a configuration that finds them.
//
// The full image is 1600 x 1200, the picture 400 x 300 in rows of 416 bytes.  A marker's search
// area in the Cr plane is 60 x 60 in a screen nail and begins at (20, 45), (20, 195), (120, 45) and
// (120, 195); in a live view it is 60 x 30 and begins at (20, 22), (20, 97), (120, 22), (120, 97).
#pragma once

#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_image.h"
#include "tests/lib/pim/planes.h"
#include "tests/support/camera.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace test
{

inline constexpr int32_t CHART_PITCH = 416;
inline constexpr int32_t CHART_WIDTH = 400;
inline constexpr int32_t CHART_HEIGHT = 300;
inline constexpr int32_t GREY = 128;
inline constexpr int32_t RED = 200;

inline void configure_markers(rova_pim_pm_config &cfg)
{
    cfg = {};
    cfg.imageW = 1600;
    cfg.imageH = 1200;
    cfg.screenW = cfg.liveLcdW = CHART_WIDTH;
    cfg.screenH = cfg.liveLcdH = CHART_HEIGHT;
    cfg.lcdW = 800;
    cfg.lcdH = 480;
    cfg.scrCbOffset = cfg.scrCrOffset = CHART_PITCH * CHART_HEIGHT;
    cfg.liveLcdCbOffset = cfg.liveLcdCrOffset = CHART_PITCH * CHART_HEIGHT;
    cfg.scrSearchW = cfg.lvSearchW = 480;
    cfg.scrSearchH = cfg.lvSearchH = 240;
    cfg.arrayW = cfg.arrayH = 4;
    cfg.arrayCount = 12;
    for (rova_pim_chart_config &chart : cfg.chart) {
        chart.colorMin = 160;
        chart.colorMax = 255;
        const rova_pim_point markers[] = {{400, 300}, {400, 900}, {1200, 300}, {1200, 900}};
        std::ranges::copy(markers, chart.cm);
        chart.cmDist = {800, 600};
        for (int i = 0; i < PIM_WINDOWS; i++)
            chart.orgWin[i] = {10 * i, -8 * i, 80, 40};
    }
}

// The picture in colour space `iCS`: 4:2:2 or 4:2:0, both with Cb and Cr in turn.
struct MarkerPicture {
    Planes planes;
    rova_pim_image image;

    explicit MarkerPicture(int32_t iCS)
        : planes(static_cast<std::size_t>(CHART_PITCH * CHART_HEIGHT *
                                          (iCS == CS422_Y_CbCr ? 4 : 3) / 2)),
          image{planes.bytes(), CHART_WIDTH, CHART_HEIGHT, CHART_PITCH, iCS}
    {
        std::fill_n(planes.data(), planes.bytes().size(), static_cast<uint8_t>(GREY));
    }
    // In chroma values; Cr unless told otherwise.
    void paint(int32_t x, int32_t y, int32_t w, int32_t h, int32_t value = RED, int32_t plane = 1)
    {
        for (int32_t j = y; j < y + h; j++) {
            for (int32_t i = x; i < x + w; i++)
                planes.data()[CHART_PITCH * (CHART_HEIGHT + j) + 2 * i + plane] =
                    static_cast<uint8_t>(value);
        }
    }
    // A patch of 10 x 8 in the search area of each marker of a screen nail or a live view.
    void paint_markers(int32_t dx = 25, int32_t dy = 25)
    {
        const bool live = image.iCS == CS420_Y_CbCr;
        for (int32_t x : {20, 120}) {
            for (int32_t k : {0, 1})
                paint(x + dx, (live ? 22 + 75 * k : 45 + 150 * k) + dy, 10, 8);
        }
    }
};

struct Markers : testing::Test {
    Camera camera;
    rova_pim_pm_config &cfg = cfgPm;

    Markers()
    {
        rova_pim_buffers_free();
        rova_pim_buffers_allocate(1600, 1200);
        configure_markers(cfg);
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    }
    ~Markers() override
    {
        rova_pim_buffers_free();
        cfg = {};
        cmWinW = cmWinH = 0;
        gDbgPrintOnOff = 0;
    }
};

} // namespace test
