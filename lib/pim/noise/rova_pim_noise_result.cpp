// The result file of the noise test: a row for each picture.
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_result_row.h"

#include <algorithm>
#include <iterator>

namespace
{

constexpr char TITLE[] = "File, Total ,    , Dot Noise,  ,    ,     ,    ,      ,      , Color "
                         "Noise,  ,  ,  ,    ,    , Line Noise ,  ,  ,  ,   ,    ,  ,   ,   ,  \n";
constexpr char COLUMNS[] =
    "Name, Resutl, ISO, Result   , Y,Ymax, Ymin, Yn , Ynmax, YnMin, Result     , R, G, B, R-G, "
    "B-G, Result     , X1, X2, X3, X4, X5, X6, X7, X8, X9,  \n";

int32_t find_total(const rova_pim_noise_config &cfg)
{
    const auto verdicts = {cfg.iDotOk, cfg.iColorOk, cfg.iLineOk};
    if (std::ranges::count(verdicts, PIM_NO_RESULT) == std::ssize(verdicts))
        return PIM_NO_RESULT;
    return std::ranges::count(verdicts, 0) != 0 ? 0 : 1;
}

void print_lines(const rova_pim_noise_config &cfg)
{
    rova_pim_result_print_verdict(cfg.iLineRst);
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
    rova_pim_result_print_verdict(cfg.iTotal);
    rova_pim_result_print("ISO %d,", cfg.iIso);
    rova_pim_result_print_verdict(cfg.iDotRst);
    rova_pim_result_print_values(
        cfg.iDotRst, {cfg.fY, cfg.fYMax, cfg.fYMin, cfg.fYnAvg, cfg.fYnMax, cfg.fYnMin});
    rova_pim_result_print_verdict(cfg.iColorRst);
    rova_pim_result_print_values(cfg.iColorRst, {cfg.fR, cfg.fG, cfg.fB, cfg.fRG, cfg.fBG});
    print_lines(cfg);
}

} // namespace

void WriteNoiseResult(rova_pim_noise_config &cfg)
{
    cfg.iTotal = find_total(cfg);
    rova_pim_result_begin_row(cfg.iRstPrint, cfg.strOutFile, TITLE, COLUMNS);
    print_row(cfg);
    rova_pim_result_close();
}
