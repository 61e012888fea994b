// The dust test: dust, shading, exposure and colour shading on a picture of a flat white chart.
//
// The record is written by the command thread while no callback is registered, then by the capture
// service's thread, one picture at a time.  What ends in 100 is a hundred times the value before
// it.
#pragma once

#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_image.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>

inline constexpr int PIM_DUST = 32;           // the most that are told
inline constexpr int PIM_SEARCH_AREAS = 5;    // A to E
inline constexpr int PIM_EXCEPT_AREAS = 4;    // top, bottom, left, right
inline constexpr int PIM_BLUR_AREAS = 5;      // the same, and one that stays empty
inline constexpr int PIM_SHADING_AREAS = 4;   // A, C, D, E
inline constexpr int PIM_SHADING_WINDOWS = 3; // left, centre, right

// Corners in pixels; x2 and y2 are exclusive in an area of search and inclusive in a find.
struct rova_pim_corners {
    int32_t x1;
    int32_t y1;
    int32_t x2;
    int32_t y2;
};

struct rova_pim_search_area {
    int32_t iPercent;
    int32_t x1, y1, x2, y2; // as rova_pim_corners
    float fSmallRef;
    int32_t iSmallRef100;
    float fBigRef;
    int32_t iBigRef100;
};

struct rova_pim_dust_spot {
    int32_t x1, y1, x2, y2;
    int32_t min100;
    int32_t max100;
};

struct rova_pim_dust_config {
    char strOutFile[64];
    char strDbgFile[64];
    int32_t iDbgPrint;
    int32_t iRstPrint;
    char strModelName[16];
    int32_t RunDustFunc; // 1: the test runs
    int32_t iJpegSave;
    int32_t iRawSave;
    int32_t iLogSave; // the log's mode; 0: a check ends at its first find
    char strLogFile[64];
    int32_t iPixelSave;
    int32_t iPixelFrom, iPixelTo; // rows
    char strPixelFile[64];
    int32_t iBmpSave;
    char strBmpFile[64];
    int32_t iDbgLevel[8];  // [1] each find is logged
    int32_t iDbgOption[8]; // [1] one pass for all; [2] 1: what passes is logged; [3] 1: positions
                           // are told in pixels of the LCD
    int32_t iImgX, iImgY;
    int32_t iTvX, iTvY;
    int32_t iLcdLiveX, iLcdLiveY;
    int32_t iLcdX, iLcdY;
    int32_t iScreenOut; // 0 LCD
    int32_t iBlockX, iBlockY;

    int32_t iShadingOn;
    rova_pim_corners tShadingArea[PIM_SHADING_AREAS];
    int32_t iShadingU, iShadingLo, iShadingL, iShadingR; // blocks
    int32_t iShadingRef;
    float fShadingDiff;
    int32_t iShadingDiff100;
    int32_t iShadingOk; // verdicts: 1, 0 or PIM_NO_RESULT
    int32_t iShadingRst;
    rova_pim_corners tShadingPos;
    float fShadingC, fShadingN, fShadingD;

    int32_t i4xOn;
    float f4xDiff;
    int32_t i4xDiff100;
    int32_t i4xOk, i4xRst;
    float f4xMin, f4xMax, f4xD;

    int32_t iExpOn;
    int32_t iExpLow, iExpHigh;
    int32_t iExpOk, iExpRst;
    float fExpY;

    int32_t iDustOn;
    rova_pim_search_area tSearchArea[PIM_SEARCH_AREAS];
    int32_t iSmallOffset, iBigOffset; // blocks
    int32_t iExceptU, iExceptLo, iExceptR, iExceptL;
    rova_pim_corners tExceptArea[PIM_EXCEPT_AREAS];
    int32_t iBlurU, iBlurLo, iBlurR, iBlurL; // percent
    rova_pim_corners BlurArea[PIM_BLUR_AREAS];
    float fBlurRef;
    int32_t iBlurRef100;

    int32_t iCsOn;
    int32_t iWinX[PIM_SHADING_WINDOWS], iWinW[PIM_SHADING_WINDOWS];
    int32_t iWinY[PIM_SHADING_WINDOWS], iWinH[PIM_SHADING_WINDOWS];
    float fAlpha;
    int32_t iCsOk, iCsRst;
    float fCsY[PIM_SHADING_WINDOWS], fCsCb[PIM_SHADING_WINDOWS], fCsCr[PIM_SHADING_WINDOWS];
    float fCsVal, fCsSVal;

    int32_t iDustOk;
    rova_pim_dust_spot tDust[PIM_DUST];
    int32_t iDCnt;
    int32_t iDustRst;
    int32_t iTotal;
    int32_t iCbOffset, iCrOffset; // bytes from the picture's first
};

extern rova_pim_dust_config cfgDust;

// NULL for one of the three is reported and refused.  As rova_pim_read_config.
int rova_pim_read_config_dust(const char *path, rova_pim_dust_config *cfg, const char *project);

// Runs the checks and writes the result row.  What the last check returned.  A picture that a check
// refuses has not passed.
int RunDust(const rova_pim_image &image, rova_pim_dust_config &cfg);

// The checks of brightness.  0 passed or switched off; -1 failed, or refused, reported, with the
// verdict as it was.
int CheckSangGaRim(const rova_pim_image &image, rova_pim_dust_config &cfg);
int Check4xShading(const rova_pim_image &image, rova_pim_dust_config &cfg);
int CheckExposure(const rova_pim_image &image, rova_pim_dust_config &cfg);
int CheckColorShading(const rova_pim_image &image, rova_pim_dust_config &cfg);

struct rova_pim_window {
    int32_t x, y; // pixels of luma; bytes of chroma
    int32_t w, h;
};

// The sum and mean of one plane (rova_pim_colour) in a window of a still: of chroma, every second
// byte from the window's first or second in the rows that begin `offset` bytes behind the picture's
// first.  0, or -1 with zeros: the colour space has no such plane, the window no pixels.
int GetWinAverage(const rova_pim_image &image, const rova_pim_window &window, int32_t tColor,
                  int32_t offset, uint64_t *sum, float *mean);

// Always 0; iDustOk has the verdict, which stays as it was where the sizes are refused, reported.
int CheckDust(const rova_pim_image &image, rova_pim_dust_config &cfg);

// Shading, 4x shading, exposure and dust in one pass.
int CheckDustAll(const rova_pim_image &image, rova_pim_dust_config &cfg);

// Called behind a run with iDbgOption[7] set, by the capture service's thread that holds the
// records: it must not load a configuration.  NULL, as at the start: nothing.
using rova_pim_dust_hook = void (*)(const rova_pim_image &image);
void rova_pim_set_dust_hook(rova_pim_dust_hook hook);

// Writes the row as iRstPrint says.
void WriteDustResult(rova_pim_dust_config &cfg);

// PIM_NO_RESULT unless the check's switch is 1.
void GetShadingOk(int32_t *ok, const rova_pim_dust_config &cfg);
void Get4xShadingOk(int32_t *ok, const rova_pim_dust_config &cfg);
void GetExposureOk(int32_t *ok, const rova_pim_dust_config &cfg);
void GetDustOk(int32_t *ok, const rova_pim_dust_config &cfg);
// As they stand.
void GetColorShadingOk(int32_t *ok, const rova_pim_dust_config &cfg);
void GetDustTotal(int32_t *total, const rova_pim_dust_config &cfg);
void GetRunDustFunc(int32_t *run, const rova_pim_dust_config &cfg);

void GetShadingPosition(int32_t (&pos)[4], const rova_pim_dust_config &cfg);
void GetDustPositions(rova_pim_corners (&positions)[PIM_DUST], int32_t *count,
                      const rova_pim_dust_config &cfg);
// In pixels of the LCD; on an axis where the configured image has no size, as it is.
rova_pim_corners rova_pim_dust_on_lcd(const rova_pim_corners &place,
                                      const rova_pim_dust_config &cfg);

// What holds at a point: limits times 100, and the letter of its area or '-'.
int32_t GetSmallRef(int32_t x, int32_t y, const rova_pim_dust_config &cfg);
int32_t GetBigRef(int32_t x, int32_t y, const rova_pim_dust_config &cfg);
int32_t GetBlurRef(int32_t x, int32_t y, const rova_pim_dust_config &cfg);
char GetAreaMark(int32_t x, int32_t y, const rova_pim_dust_config &cfg);
char GetShadingMark(int32_t x, int32_t y, const rova_pim_dust_config &cfg);
bool IsExceptArea(int32_t x1, int32_t y1, int32_t x2, int32_t y2, const rova_pim_dust_config &cfg);
