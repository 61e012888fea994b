// The noise test: dots, colours and lines on a picture of a flat grey chart.
//
// The record is written by the command thread while no callback is registered, then by the capture
// service's thread, one picture at a time.
#pragma once

#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_image.h"

#include <cstdint>

inline constexpr int PIM_NOISE_LINES = 32; // the most that are told

// Pairs are for low and high ISO, in this order.
struct rova_pim_noise_config {
    char strOutFile[64];
    char strDbgFile[64];
    int32_t iDbgPrint;
    int32_t iRstPrint;
    char strModelName[16];
    int32_t RunNoiseFunc; // 1: the test runs
    int32_t iJpegSave;
    int32_t iRawSave;
    int32_t iDbgLevel[8];
    int32_t iDbgOption[8]; // [3] 1: positions are told in pixels of the LCD
    int32_t iImgX, iImgY;
    int32_t iTvX, iTvY;
    int32_t iLcdLiveX, iLcdLiveY;
    int32_t iLcdX, iLcdY;
    int32_t iScreenOut; // 0 LCD
    int32_t iIsoLow, iIsoHigh;
    int32_t iIso, iIsoIdx;
    int32_t iNX, iNY;     // blocks in a row and in a column
    int32_t iDivX, iDivY; // a block's pixels; 0: the whole cell
    int32_t iNormBase;    // 0: the average, else the middle block

    int32_t iDotOn;
    float fYSpec[2];
    float fYMaxMinSpec[2];
    float fNormMaxMinSpec[2];
    int32_t iDotOk; // verdicts: 1, 0 or PIM_NO_RESULT
    float fY, fYMax, fYMin;
    float fYnAvg, fYnMax, fYnMin;
    int32_t iDotRst;

    int32_t iColorOn;
    float fRedSpec[2], fGreenSpec[2], fBlueSpec[2];
    float fRGDiffSpec[2], fBGDiffSpec[2];
    float fRGMaxMinSpec[2], fBGMaxMinSpec[2];
    int32_t iColorOk;
    float fR, fG, fB, fRG, fBG;
    float fRGRange, fBGRange;
    int32_t iColorRst;

    int32_t iLineOn;
    float fLineDiff[2];
    int32_t iLineOffset[2];
    int32_t iLnDeNum;
    int32_t LnDef[PIM_NOISE_LINES];
    int32_t iLineOk;
    int32_t LnDefRst[PIM_NOISE_LINES];
    int32_t iLnDeNumRst;
    int32_t iLineRst;

    int32_t iTotal;
    int32_t iCbOffset, iCrOffset; // bytes from the picture's first
};

extern rova_pim_noise_config cfgNoise;

// NULL for one of the three is reported and refused.  As rova_pim_read_config.
int rova_pim_read_config_noise(const char *path, rova_pim_noise_config *cfg, const char *project);

// Runs the checks that are on, up to the first that fails, and writes the result row.  0, or -1
// when a check failed or refused its sizes, which is reported.
int RunNoise(const rova_pim_image &image, rova_pim_noise_config &cfg);

// 0 passed or switched off; -1 a fault was found, or the sizes are refused with the verdict as it
// was.
int CheckDotNoise(const rova_pim_image &image, rova_pim_noise_config &cfg);
int CheckColorNoise(const rova_pim_image &image, rova_pim_noise_config &cfg);
int CheckLineNoise(const rova_pim_image &image, rova_pim_noise_config &cfg);

// Works out the total and writes the row as iRstPrint says.
void WriteNoiseResult(rova_pim_noise_config &cfg);

void GetDotNoiseOk(int32_t *ok, const rova_pim_noise_config &cfg);
void GetColorNoiseOk(int32_t *ok, const rova_pim_noise_config &cfg);
void GetLineNoiseOk(int32_t *ok, const rova_pim_noise_config &cfg);
void GetNoiseTotal(int32_t *total, const rova_pim_noise_config &cfg);
void GetNoiseIso(int32_t *iso, const rova_pim_noise_config &cfg);
void GetRunNoiseFunc(int32_t *run, const rova_pim_noise_config &cfg);

// An ISO that is none of the two is reported and leaves the index.
void SetNoiseIso(int32_t iso, rova_pim_noise_config &cfg);

// All entries are copied; `count` of them are found columns.
void GetNoiseLinePositions(int32_t (&positions)[PIM_NOISE_LINES], int32_t *count,
                           const rova_pim_noise_config &cfg);
