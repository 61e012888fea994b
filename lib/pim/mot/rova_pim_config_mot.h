// The resolution test's record: what its configuration file says, and what the run found.
#pragma once

#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_image.h"

#include <cstdint>

inline constexpr int PIM_CHARTS = 3;   // wide, tele, mid
inline constexpr int PIM_LEVELS = 5;   // AF levels -2 to +2
inline constexpr int PIM_MARKERS = 4;  // left top, left bottom, right top, right bottom
inline constexpr int PIM_WINDOWS = 10; // 0 and 1 at the centre, then two at each marker

// Inclusive corners; w and h as each step defines them.
struct rova_pim_box {
    int32_t x0;
    int32_t y0;
    int32_t x1;
    int32_t y1;
    int32_t w;
    int32_t h;
};

// A wedge's window relative to its origin, in pixels of the full image.
struct rova_pim_offset_box {
    int32_t x;
    int32_t y;
    int32_t lx;
    int32_t ly;
};

// What the configuration file says of one chart.
struct rova_pim_chart_config {
    int32_t afStart;
    int32_t afEnd;
    int32_t cz;        // defocus step
    int32_t rangeSize; // pictures; 0 disables the chart
    int32_t remappedAfLevel[PIM_LEVELS];
    int32_t defocus[PIM_LEVELS];
    int32_t dir[PIM_WINDOWS]; // 0 left to right
    int32_t pos[PIM_WINDOWS]; // 0 centre
    int32_t reversedPima;
    int32_t colorMin;
    int32_t colorMax;
    rova_pim_point cm[PIM_MARKERS];
    rova_pim_offset_box orgWin[PIM_WINDOWS];
    int32_t ref[4];
    int32_t okLevel[PIM_WINDOWS];
    int32_t okCntCondition;
    int32_t bestDefocusAlgorithm;
    rova_pim_point cmDist;                // of the markers as configured
    rova_pim_box cmExpected[PIM_MARKERS]; // around the markers as configured
};

// What a chart's pictures gave, by level.
struct ChartResult {
    int32_t win[PIM_LEVELS][PIM_WINDOWS];
    int32_t ok[PIM_LEVELS];
    int32_t cen[PIM_LEVELS];
    int32_t sid[PIM_LEVELS];
    int32_t picCount;
    int32_t afLevel[PIM_LEVELS];
    int32_t remapped[PIM_LEVELS];
    int32_t defocus[PIM_LEVELS];
    int32_t bestLevel;
    int32_t bestAfStep;
    int32_t bestRemapped;
    int32_t afStep[PIM_LEVELS];
    int32_t minSide[PIM_LEVELS];
    int32_t okCount;
    int32_t org[PIM_LEVELS][PIM_WINDOWS];
    int32_t yValue[PIM_LEVELS];
};

struct rova_pim_pm_config {
    int32_t configLoaded; // 1 behind a complete load
    // -- the file, in its order
    char strModelName[256];
    int32_t argMode;
    int32_t dbgPrint;
    int32_t rstPrint;
    char debugFile[256];
    char resultFile[256];
    int32_t resultType;  // 0: a table for each chart; else one for all
    int32_t developMode; // 1: CheckMain runs the MOT test
    int32_t avcsMode;
    int32_t saveJpeg;
    int32_t saveRaw; // 1: stills are dumped, those of the dust and noise tests too; 2: live view
    int32_t writeDefocus;
    int32_t orgResultData;
    int32_t cmWindowDrawing;
    int32_t pimaWindowDrawing;
    int32_t dbgLevel[8];
    int32_t dbgOption[8];
    int32_t testMode; // 0 normal, 1 QA, else tilt
    int32_t qaPicNum;
    float pixelSize;
    float effectivePixel;
    float chartHeight[PIM_CHARTS];
    float centerPimaHeight[PIM_CHARTS];
    int32_t imageW, imageH;
    int32_t screenW, screenH;
    int32_t liveTvW, liveTvH;
    int32_t liveLcdW, liveLcdH;
    int32_t lcdW, lcdH;
    int32_t screenOutType;
    int32_t meadLoop;
    int32_t sucValleyDepth;
    int32_t sucValleyN;
    int32_t failCnt;
    int32_t binaryTreeLevel;
    int32_t lineDataOffset;
    int32_t mainCbOffset, mainCrOffset;
    int32_t scrCbOffset, scrCrOffset;
    int32_t liveLcdCbOffset, liveLcdCrOffset;
    int32_t liveTvCbOffset, liveTvCrOffset;
    int32_t lvSearchW, lvSearchH;
    int32_t scrSearchW, scrSearchH;
    int32_t arrayW, arrayH;
    int32_t arrayCount;
    int32_t avcsOkDelay;
    int32_t motOkDelay;
    int32_t alpha;
    int32_t beta;
    int32_t chartUsage[PIM_CHARTS];
    rova_pim_chart_config chart[PIM_CHARTS];

    // -- the run
    ChartResult result[PIM_CHARTS];
    int32_t finalResult; // 1 pass, 0 fail, PIM_NO_RESULT
    int32_t bestIndex;   // chosen for the chart in hand, PIM_NO_RESULT
    // the markers
    rova_pim_point cmCenter[PIM_MARKERS]; // (0, 0): not found
    rova_pim_rect cmRect[PIM_MARKERS];    // in pixels of the full image
    rova_pim_box cmWin[PIM_MARKERS];
    int32_t cmDistX, cmDistY;
    int32_t liveResult; // 1: all markers found in the live view
    int32_t iCmFoundFlag[PIM_MARKERS];
    // the wedges of the picture in hand
    rova_pim_box scrWin[PIM_WINDOWS];     // in pixels of the screen nail or live view
    rova_pim_box scrPima[PIM_WINDOWS];    // in its window
    rova_pim_box orgWin[PIM_WINDOWS];     // in pixels of the full image, as the next two
    rova_pim_box orgRelPima[PIM_WINDOWS]; // in its window
    rova_pim_box orgAbsPima[PIM_WINDOWS];
    int32_t rangeFail[PIM_WINDOWS]; // 1: of no plausible length
    int32_t motValue[PIM_WINDOWS];  // TV lines
    int32_t motOrgValue[PIM_WINDOWS];
    int32_t posFound[PIM_WINDOWS];
    int32_t posCorrected[PIM_WINDOWS];
    int32_t qaResult;
    int32_t yValueNow;
    int32_t nowChart;
    int32_t nowCS;
    uint8_t reserved[1232];
};
static_assert(sizeof(rova_pim_pm_config) == 7280);

extern rova_pim_pm_config cfgPm;

// Size of the last marker search, in pixels of the full image.  No part of the record: the next
// load sees it.
extern int32_t cmWinW;
extern int32_t cmWinH;

// The MOT reader: NULL for one of the three is reported and refused.  As rova_pim_read_config.
int rova_pim_read_config_mot(const char *path, rova_pim_pm_config *cfg, const char *project);

// Opens the debug sink's file if the configuration wants one; what keeps it shut is reported.
void rova_pim_open_debug_file(const rova_pim_pm_config &cfg);
