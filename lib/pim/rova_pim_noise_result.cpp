// The result file of the noise test: a row for each picture.
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_noise.h"
#include "lib/pim/rova_pim_result.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>

namespace
{

constexpr char TITLE[] = "File, Total ,    , Dot Noise,  ,    ,     ,    ,      ,      , Color "
                         "Noise,  ,  ,  ,    ,    , Line Noise ,  ,  ,  ,   ,    ,  ,   ,   ,  \n";
constexpr char COLUMNS[] =
    "Name, Resutl, ISO, Result   , Y,Ymax, Ymin, Yn , Ynmax, YnMin, Result     , R, G, B, R-G, "
    "B-G, Result     , X1, X2, X3, X4, X5, X6, X7, X8, X9,  \n";
constexpr long NEW_FILE = 1; // bytes of a file that has no rows yet, at most

const char *verdict_word(int32_t verdict)
{
    if (verdict == 1)
        return "OK";
    return verdict == 0 ? "NG" : "-";
}

int32_t find_total(const rova_pim_noise_config &cfg)
{
    const auto verdicts = {cfg.iDotOk, cfg.iColorOk, cfg.iLineOk};
    if (std::ranges::count(verdicts, PIM_NO_RESULT) == std::ssize(verdicts))
        return PIM_NO_RESULT;
    return std::ranges::count(verdicts, 0) != 0 ? 0 : 1;
}

long size_of_result()
{
    std::fseek(gRstFp, 0, SEEK_END);
    const long size = std::ftell(gRstFp);
    rova_pim_debug(" OUTFILE SIZE = %d \n", static_cast<int>(size));
    return size;
}

// True when the heads are due.
bool begin_file(const rova_pim_noise_config &cfg)
{
    if (cfg.iRstPrint != PIM_RESULT_BUFFERED && cfg.iRstPrint != PIM_RESULT_DIRECT)
        return cfg.iRstPrint == PIM_RESULT_KEPT;
    if (rova_pim_result_open(cfg.strOutFile) != 0) {
        rova_pim_report(" FILE OPEN ERROR : %s \n\n", cfg.strOutFile);
        return false;
    }
    return size_of_result() <= NEW_FILE;
}

void print_heads(const rova_pim_noise_config &cfg)
{
    if (cfg.iRstPrint == PIM_RESULT_KEPT)
        std::snprintf(pPtpTile, sizeof(pPtpTile), "%s", TITLE);
    else
        rova_pim_result_print("%s", TITLE);
    rova_pim_result_print("%s", COLUMNS);
}

void print_values(int32_t verdict, std::initializer_list<float> values)
{
    rova_pim_result_print("%s,", verdict_word(verdict));
    for (const float value : values) {
        if (verdict == PIM_NO_RESULT)
            rova_pim_result_print("-,");
        else
            rova_pim_result_print("%3.2f,", value);
    }
}

void print_lines(const rova_pim_noise_config &cfg)
{
    rova_pim_result_print("%s,", verdict_word(cfg.iLineRst));
    for (int i = 0; i < PIM_NOISE_LINES; i++) {
        if (cfg.iLineRst == PIM_NO_RESULT)
            rova_pim_result_print("-,");
        else if (i < cfg.iLnDeNumRst)
            rova_pim_result_print("%d,", cfg.LnDefRst[i]);
        else
            rova_pim_result_print(", ");
    }
    rova_pim_result_print("\n");
}

void print_row(const rova_pim_noise_config &cfg)
{
    constexpr int NAME = sizeof(gMotExifInfo.filename);
    rova_pim_result_print("%.*s,", NAME, gMotExifInfo.filename);
    rova_pim_result_print("%s,", verdict_word(cfg.iTotal));
    rova_pim_result_print("ISO %d,", cfg.iIso);
    print_values(cfg.iDotRst, {cfg.fY, cfg.fYMax, cfg.fYMin, cfg.fYnAvg, cfg.fYnMax, cfg.fYnMin});
    print_values(cfg.iColorRst, {cfg.fR, cfg.fG, cfg.fB, cfg.fRG, cfg.fBG});
    print_lines(cfg);
}

} // namespace

void WriteNoiseResult(rova_pim_noise_config &cfg)
{
    rova_pim_result_close();
    rova_pim_result_clear();
    const bool heads = begin_file(cfg);
    cfg.iTotal = find_total(cfg);
    if (heads)
        print_heads(cfg);
    print_row(cfg);
    rova_pim_result_close();
}
