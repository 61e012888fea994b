#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_reader.h"
#include "lib/pim/rova_pim_result.h"

#include <algorithm>
#include <cstdio>

namespace
{

constexpr char TITLE[] =
    "Tot. Result, Frame #, V.Result, Color, P1, P2, P3, V1, V2, V3, H.Diff, V.Diff, A.Result, "
    "Freq.Min, L.Freq., R.Freq., Freq.Max, Inten.Min, L.Inten., R.Inten., Inten.Max\n";

// A frame whose columns are dashes.  No frame gets it: those without a result have PIM_NO_RESULT.
constexpr int32_t DASHES = 99;

const char *verdict(int32_t result)
{
    return result == 1 ? "OK" : "NG";
}

bool has_file(const rova_pim_movie_config &cfg)
{
    return cfg.rstPrint < PIM_RESULT_KEPT;
}

bool is_due(int32_t frame, const rova_pim_movie_config &cfg)
{
    return cfg.tableDone == 0 && frame >= rova_pim_movie_last(rova_pim_movie_red(cfg)) &&
           frame >= rova_pim_movie_last(rova_pim_movie_blue(cfg));
}

void print_end(int32_t frame, const rova_pim_movie_config &cfg)
{
    rova_pim_debug(" iFrameCnt = %d  iRedStartFrame  = %d,  iRedFrameNum-1  = %d iRedFrameInc  = "
                   "%d  \n",
                   frame, cfg.redStart, rova_pim_narrow(int64_t{cfg.redNum} - 1), cfg.redInc);
    rova_pim_debug(" iFrameCnt = %d  iBlueStartFrame = %d,  iBlueFrameNum-1 = %d iBlueFrameInc = "
                   "%d  \n",
                   frame, cfg.blueStart, rova_pim_narrow(int64_t{cfg.blueNum} - 1), cfg.blueInc);
}

// Whether the title is due; what another test has left in the sink goes to its own file.
bool begin_table(const rova_pim_movie_config &cfg, bool *titled)
{
    rova_pim_result_close();
    rova_pim_result_clear();
    std::ranges::fill(pPtpTile, '\0');
    *titled = cfg.rstPrint == PIM_RESULT_KEPT;
    if (!has_file(cfg))
        return true;
    if (rova_pim_result_open(cfg.resultFile) != 0) {
        rova_pim_report(" FILE OPEN ERROR : %s \n\n", cfg.resultFile);
        return false;
    }
    const int32_t size = rova_pim_result_size();
    rova_pim_debug(" OUTFILE SIZE = %d \n", size);
    *titled = size == 0;
    return true;
}

void judge(rova_pim_movie_config &cfg)
{
    const bool seen = cfg.frameCount == cfg.totalFrames && cfg.frameOk == cfg.totalFrames;
    const bool heard = cfg.audioTest == 0 || (cfg.audioTest == 1 && cfg.audioResult == 1);
    rova_pim_debug(" TOT FRAME NUM = %d , OK = %d \n\n", cfg.frameCount, cfg.frameOk);
    cfg.movieResult = seen && heard ? 1 : 0;
    rova_pim_debug(cfg.movieResult == 1 ? " MOVIE Checking OK !!! \n\n"
                                        : " MOVIE Checking ERR !!! \n\n");
}

// A kept text is the data alone; its title stands beside it, as other tests have it.
void print_title(const rova_pim_movie_config &cfg)
{
    if (cfg.rstPrint == PIM_RESULT_KEPT)
        std::snprintf(pPtpTile, sizeof(pPtpTile), "%s", TITLE);
    else
        rova_pim_result_print("%s", TITLE);
}

// Text of a row's columns.
using columns = char[512];

void write_picture(const rova_pim_frame_record &record, columns &text)
{
    if (record.result == DASHES)
        std::snprintf(text, sizeof(text), "%s", "-,-,-, -, -,-, -, -,-, -,");
    else
        std::snprintf(text, sizeof(text),
                      "%s,%s,\"(%d, %d)\",\"(%d, %d)\",\"(%d, %d)\",%d, %d, %d,%d, %d,",
                      verdict(record.result), record.colour == PIM_COLOUR_CR ? "RED" : "BLUE",
                      record.p1.x, record.p1.y, record.p2.x, record.p2.y, record.p3.x, record.p3.y,
                      record.v1, record.v2, record.v3, record.vDiff, record.hDiff);
}

void write_sound(const rova_pim_audio_record &sound, bool dashes, const rova_pim_movie_config &cfg,
                 columns &text)
{
    if (dashes)
        std::snprintf(text, sizeof(text), "%s", "-,-, -, -, -,-, -, -, -,");
    else
        std::snprintf(text, sizeof(text),
                      "%s,%0.2f, %0.2f, %0.2f, %0.2f,%0.2f, %0.2f, %0.2f, %0.2f,",
                      verdict(cfg.audioResult), cfg.freqMin, sound.leftFreq, sound.rightFreq,
                      cfg.freqMax, cfg.dbfsMin, sound.leftDbfs, sound.rightDbfs, cfg.dbfsMax);
}

// As one piece, so that a kept text holds whole rows only.
void print_row(int32_t i, const rova_pim_movie_config &cfg)
{
    const rova_pim_frame_record &record = cfg.frame[i];
    columns picture;
    columns sound;
    write_picture(record, picture);
    write_sound(cfg.audio[i], record.result == DASHES, cfg, sound);
    rova_pim_result_print("%s,%d,%s%s\n", verdict(cfg.movieResult), record.frame, picture, sound);
}

void print_rows(const rova_pim_movie_config &cfg)
{
    const int32_t rows = std::min(cfg.frameCount, PIM_MOVIE_FRAMES);
    for (int32_t i = 0; i < rows; i++) {
        print_row(i, cfg);
        if (i + 1 < rows)
            rova_pim_result_print_empty_columns(cfg.dbgOption[0]);
    }
}

} // namespace

void rova_pim_movie_write_table(int32_t frame, rova_pim_movie_config &cfg)
{
    bool titled = false;
    if (!is_due(frame, cfg))
        return;
    print_end(frame, cfg);
    if (!begin_table(cfg, &titled))
        return;
    judge(cfg);
    if (titled)
        print_title(cfg);
    print_rows(cfg);
    rova_pim_result_close();
    cfg.tableDone = 1;
}

void GetMovieResult(int32_t *final, int32_t *red, int32_t *blue)
{
    const rova_pim_movie_config &cfg = cfgMovie;
    *red = *blue = 1;
    *final = cfg.enableTest == 1 ? cfg.movieResult : PIM_NO_RESULT;
    if (*final != 0)
        return;
    for (int32_t i = 0; i < std::min(cfg.frameCount, PIM_MOVIE_FRAMES); i++) {
        if (cfg.frame[i].result == 0)
            (cfg.frame[i].colour == PIM_COLOUR_CR ? *red : *blue) = 0;
    }
}
