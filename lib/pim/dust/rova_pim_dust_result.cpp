// The result file of the dust test: a row for each picture.
#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_result_row.h"

namespace
{

constexpr char TITLE[] =
    "File, Total , SanGaRim,   ,   ,   ,   ,     , Shading,     ,    ,     , Exposure,  , Color "
    "Shading,  ,  ,  ,  ,  ,  ,  ,  ,  ,  ,  , Dust   ,    \n";
constexpr char COLUMNS[] =
    "Name, Result, Result  , P1, P1, Y1, Y2, Diff, Result ,  Min, Max, Diff, Result  , Y, Result   "
    "    , L-Y, L-CB, L-CR, C-Y, C-CB, C-CR, R-Y, R-CB, R-CR, S.Val, S.ALPHA, Result , D1,Y1,D2,Y2,"
    "D3,Y3,D4,Y4,D5,Y5,D6,Y6,D7,Y7,D8,Y8,D9,Y9, \n";

void print_point(int32_t x, int32_t y)
{
    rova_pim_result_print("\"(%d, %d)\",", x, y);
}

void print_shading(const rova_pim_dust_config &cfg)
{
    rova_pim_result_print_verdict(cfg.iShadingRst);
    if (cfg.iShadingRst == PIM_NO_RESULT) {
        rova_pim_result_print("-,-,-, -,-,");
        return;
    }
    print_point(cfg.tShadingPos.x1, cfg.tShadingPos.y1);
    print_point(cfg.tShadingPos.x2, cfg.tShadingPos.y2);
    rova_pim_result_print("%3.2f, %3.2f,", cfg.fShadingC, cfg.fShadingN);
    rova_pim_result_print("%3.2f,", cfg.fShadingD);
}

void print_colour_shading(const rova_pim_dust_config &cfg)
{
    rova_pim_result_print_verdict(cfg.iCsRst);
    for (int i = 0; i < PIM_SHADING_WINDOWS; i++)
        rova_pim_result_print_values(cfg.iCsRst, {cfg.fCsY[i], cfg.fCsCb[i], cfg.fCsCr[i]});
    rova_pim_result_print_values(cfg.iCsRst, {cfg.fCsSVal, cfg.fAlpha});
}

int32_t middle(int32_t from, int32_t to)
{
    return static_cast<int32_t>((int64_t{from} + to) / 2);
}

void print_spot(const rova_pim_dust_spot &spot)
{
    print_point(middle(spot.x1, spot.x2), middle(spot.y1, spot.y2));
    rova_pim_result_print("\"(%3.2f, %3.2f)\",", spot.min100 / 100.0, spot.max100 / 100.0);
}

// A dust has two columns, and room for one that was not found has one.
void print_dust(const rova_pim_dust_config &cfg)
{
    rova_pim_result_print_verdict(cfg.iDustRst);
    for (int i = 0; i < PIM_DUST; i++) {
        if (cfg.iDustRst == PIM_NO_RESULT)
            rova_pim_result_print("-,");
        else if (i < cfg.iDCnt)
            print_spot(cfg.tDust[i]);
        else
            rova_pim_result_print(", ");
    }
}

void print_row(const rova_pim_dust_config &cfg)
{
    constexpr int NAME = sizeof(gMotExifInfo.filename);
    rova_pim_result_print("%.*s, ", NAME, gMotExifInfo.filename);
    rova_pim_result_print_verdict(cfg.iTotal);
    print_shading(cfg);
    rova_pim_result_print_verdict(cfg.i4xRst);
    rova_pim_result_print_values(cfg.i4xRst, {cfg.f4xMin, cfg.f4xMax, cfg.f4xD});
    rova_pim_result_print_verdict(cfg.iExpRst);
    rova_pim_result_print_values(cfg.iExpRst, {cfg.fExpY});
    print_colour_shading(cfg);
    print_dust(cfg);
    rova_pim_result_print("\n");
}

} // namespace

void WriteDustResult(rova_pim_dust_config &cfg)
{
    rova_pim_result_begin_row(cfg.iRstPrint, cfg.strOutFile, TITLE, COLUMNS);
    print_row(cfg);
    rova_pim_result_close();
}
