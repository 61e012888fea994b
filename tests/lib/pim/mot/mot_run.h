// A resolution test in the middle of its run: a configuration of three charts and five levels, with
// the sinks and buffers as a load leaves them.
#pragma once

#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/mot/rova_pim_mot.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_result.h"
#include "tests/support/camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

namespace test
{

inline constexpr char MOT_RESULT[] = "/mnt/mmc/result.csv";

inline std::string repeated(const std::string &text, int times)
{
    std::string all;
    for (int i = 0; i < times; i++)
        all += text;
    return all;
}

class MotRun : public testing::Test
{
protected:
    Camera camera;
    rova_pim_pm_config &cfg = cfgPm;

    MotRun()
    {
        cfg = {};
        say(cfg.resultFile, MOT_RESULT);
        say(cfg.debugFile, "/mnt/mmc/debug.txt");
        cfg.imageW = 640;
        cfg.imageH = 640;
        cfg.alpha = 50;
        cfg.beta = 30;
        cfg.finalResult = cfg.bestIndex = PIM_NO_RESULT;
        for (int chart = 0; chart < PIM_CHARTS; chart++) {
            cfg.chartUsage[chart] = 1;
            fill(cfg.chart[chart], cfg.result[chart]);
        }
        gMotExifInfo = {};
        std::ranges::fill(pPtpTile, '\0');
        std::ranges::fill(pPtpTilefromEEPROM, '\0');
        rova_pim_mot_qa_rows = 0;
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
        print_mode(PIM_RESULT_DIRECT);
        allocate();
    }
    ~MotRun() override
    {
        rova_pim_result_close();
        rova_pim_result_clear();
        rova_pim_debug_close();
        rova_pim_buffers_free();
        gRstPrintOpt = 0;
        gDbgPrintOnOff = 0;
        gMotExifInfo = {};
        cfg = {};
    }

    template <std::size_t SIZE> static void say(char (&field)[SIZE], const char *text)
    {
        std::snprintf(field, SIZE, "%s", text);
    }
    void print_mode(int32_t mode) { cfg.rstPrint = gRstPrintOpt = mode; }
    static void allocate()
    {
        rova_pim_buffers_free();
        const int32_t mode = gDbgPrintOnOff;
        gDbgPrintOnOff = 0;
        ASSERT_EQ(rova_pim_buffers_allocate(640, 640), 0);
        gDbgPrintOnOff = mode;
    }
    std::string file() const { return camera.read(MOT_RESULT); }
    // A chart that takes no pictures, as one without a group in the configuration.
    void disable(int chart)
    {
        cfg.chartUsage[chart] = 0;
        cfg.chart[chart] = {};
        const ChartResult before = cfg.result[chart];
        cfg.result[chart] = {};
        cfg.result[chart].bestLevel = before.bestLevel;
        cfg.result[chart].okCount = before.okCount;
    }

private:
    static void fill(rova_pim_chart_config &chart, ChartResult &result)
    {
        chart.afStart = -2;
        chart.afEnd = 2;
        chart.cz = 4;
        chart.rangeSize = 5;
        chart.ref[0] = 1000;
        chart.ref[1] = 3000;
        chart.ref[2] = 1100;
        chart.ref[3] = 3000;
        chart.okCntCondition = 2;
        chart.bestDefocusAlgorithm = 2;
        for (int k = 0; k < PIM_LEVELS; k++) {
            chart.remappedAfLevel[k] = 10 * (k - 2);
            result.afLevel[k] = k - 2;
        }
        const int32_t defocus[PIM_LEVELS] = {-4, -4, 0, 4, 4};
        std::ranges::copy(defocus, chart.defocus);
        for (int i = 0; i < PIM_WINDOWS; i++)
            chart.okLevel[i] = i < 2 ? 1500 : 1400;
        result.bestLevel = result.bestAfStep = result.bestRemapped = PIM_NO_RESULT;
        result.okCount = PIM_NO_RESULT;
    }
};

} // namespace test
