// The movie test: frames of a red and a blue field, and a tone on the sound track.
// Application thread only.
#pragma once

#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_image.h"

#include <rova/rova.h>

#include <cstdint>

inline constexpr int PIM_MOVIE_FRAMES = 64; // the most that are recorded

struct rova_pim_frame_record {
    int32_t frame;
    int32_t colour;    // PIM_COLOUR_CR red, PIM_COLOUR_CB blue, 3 not used
    rova_pim_point p1; // in pixels; the first failing point and its value
    int32_t v1;
    rova_pim_point p2; // what it was compared with in its row
    int32_t v2;
    rova_pim_point p3; // and in its column
    int32_t v3;
    int32_t vDiff;
    int32_t hDiff;
    int32_t result; // 1, 0 or PIM_NO_RESULT
};

struct rova_pim_audio_record {
    int32_t index;
    int32_t result; // 1, 0 or PIM_NO_RESULT
    float leftFreq; // kHz
    float leftDbfs; // loudness
    float rightFreq;
    float rightDbfs;
};

struct rova_pim_movie_config {
    char strModelName[16];
    int32_t dbgPrint;
    int32_t rstPrint;
    char debugFile[64];
    char resultFile[64];
    int32_t enableTest;       // 1: frames are checked
    int32_t enableSaveRaw;    // 1: each is dumped
    int32_t enableSaveErrRaw; // 1: each that failed is
    int32_t dbgLevel[8];
    int32_t dbgOption[8]; // [0] empty columns of rows 2 onward, [6] 1: tells each frame, [7] frames
                          // a second
    int32_t imageW, imageH;
    int32_t liveTvW, liveTvH;
    int32_t liveLcdW, liveLcdH;
    int32_t lcdW, lcdH;
    int32_t screenOutType;            // 0 LCD
    int32_t cbOffset, crOffset;       // bytes from a frame's first
    float testField;                  // half the field as a part of half the frame
    int32_t redStart, redNum, redInc; // frames
    int32_t redMin, redMax;
    int32_t redOffX, redOffY;
    int32_t redDiffX, redDiffY;
    int32_t blueStart, blueNum, blueInc;
    int32_t blueMin, blueMax;
    int32_t blueOffX, blueOffY;
    int32_t blueDiffX, blueDiffY;
    int32_t audioTest;                // 1: the sound counts
    float freqSpec, freqMin, freqMax; // kHz
    float dbfsSpec, dbfsMin, dbfsMax;

    // -- the run
    int32_t totalFrames;
    int32_t frameCount, frameOk;
    int32_t audioCount, audioOk;
    int32_t movieResult, audioResult; // 1, 0 or PIM_NO_RESULT
    rova_pim_frame_record frame[PIM_MOVIE_FRAMES];
    rova_pim_audio_record audio[PIM_MOVIE_FRAMES];
    int32_t tableDone; // 1: the result table has been written
    int32_t refused;   // frames that were due and could not be judged
};

extern rova_pim_movie_config cfgMovie;

// NULL for one of the three is reported and refused.  As rova_pim_read_config.
int rova_pim_read_config_movie(const char *path, rova_pim_movie_config *cfg, const char *project);

// dbgOption[7].
int32_t GetMovieDebugValue7();

// Judges a frame in CS420_Y_CbCr, with rows of `width` bytes; dumps it as the configuration says.
// `y` is the first of width * height * 3 / 2 bytes; null, and a size that there is no room for
// below 4 GiB, are reported and refused.  Takes the lock of the records, as the next one does.
void CheckMovie(const uint8_t *y, int32_t width, int32_t height, int32_t frame);
// 1 passed, 0 failed.  From the 65th on it counts without a record.
int checkAudio(const rova_pim_aframe_info &info);

// `final` is 1, 0 or PIM_NO_RESULT; the colours are 0 where one of their recorded frames failed,
// else 1.
void GetMovieResult(int32_t *final, int32_t *red, int32_t *blue);

// -- the steps

// What the configuration says of one colour's frames.
struct rova_pim_movie_part {
    const char *word;
    int32_t colour; // PIM_COLOUR_CR red, PIM_COLOUR_CB blue
    int32_t plane;  // bytes from a frame's first
    int32_t start, num, inc;
    int32_t min, max;
    int32_t off; // in pixels, in both directions
    int32_t diffX, diffY;
};
rova_pim_movie_part rova_pim_movie_red(const rova_pim_movie_config &cfg);
rova_pim_movie_part rova_pim_movie_blue(const rova_pim_movie_config &cfg);

// The number of its last frame.
constexpr int64_t rova_pim_movie_last(const rova_pim_movie_part &part)
{
    return part.start + int64_t{part.inc} * (int64_t{part.num} - 1);
}

// Red and blue frames checked since the process began; a load does not begin anew.
extern int32_t rova_pim_movie_done[2];

// Judges the field of a frame of this colour: fills the record's result and, of a bad frame, the
// first bad pixel, which is reported.  False, reported, where there is no such field.
bool rova_pim_movie_judge_field(const rova_pim_image &image, const rova_pim_movie_part &part,
                                float test_field, rova_pim_frame_record *record);

// Judges a frame, and writes the table behind the last one.  0, or -1: it failed or was refused.
int rova_pim_movie_test_frame(int32_t frame, const rova_pim_image &image,
                              rova_pim_movie_config &cfg);

// Appends the table to the result file, once, behind the last frame of both colours; a file that
// cannot be opened is reported.
void rova_pim_movie_write_table(int32_t frame, rova_pim_movie_config &cfg);
