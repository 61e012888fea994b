#include "lib/pim/dust/rova_pim_brightness.h"

#include "lib/pim/rova_pim_log_sink.h"
#include "lib/pim/rova_pim_reader.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr int64_t LEAST = -99900;
constexpr int64_t MOST = 99900;

double hundredth(int64_t value)
{
    return static_cast<double>(value) / 100.0;
}

struct extremes {
    int64_t max100;
    int64_t min100;
};

extremes extremes_of(const int64_t (&mean100)[4])
{
    extremes found = {LEAST, MOST};
    for (const int64_t mean : mean100) {
        found.max100 = std::max(found.max100, mean);
        found.min100 = std::min(found.min100, mean);
    }
    return found;
}

// The last column is the difference.
void log_quadrants(const int64_t (&mean100)[4], const extremes &found, const char *verdict,
                   const rova_pim_dust_config &cfg)
{
    const auto &[l1, l2, l3, l4] = mean100;
    const int64_t difference = found.max100 - found.min100;
    rova_pim_log(" 4x AVE = %d, %d, %d, %d \n", rova_pim_narrow(l1), rova_pim_narrow(l2),
                 rova_pim_narrow(l3), rova_pim_narrow(l4));
    rova_pim_log(" 4x Y      = %4d - %4d  = %4d\n", rova_pim_narrow(found.max100),
                 rova_pim_narrow(found.min100), rova_pim_narrow(difference));
    rova_pim_log(" 4x Y Diff = %4d \n", cfg.i4xDiff100);
    rova_pim_log(" %s, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f , %3.2f \n", verdict, hundredth(l1),
                 hundredth(l2), hundredth(l3), hundredth(l4), hundredth(found.max100),
                 hundredth(found.min100), hundredth(difference));
}

} // namespace

void rova_pim_start_shading()
{
    rova_pim_log(" <<<<< Start Checking Shading Image ... >>>>>");
    rova_pim_log(" Log :,SangGaRim ");
    rova_pim_log(" AREA , X1 , Y1 , X2, Y2, L1, L2, " ROVA_PIM_DELTA ", Ref. " ROVA_PIM_DELTA);
}

bool rova_pim_is_shading(const rova_pim_shading_step &step, const rova_pim_dust_config &cfg)
{
    return step.block < int64_t{cfg.iShadingRef} * 100 && step.difference > cfg.iShadingDiff100;
}

void rova_pim_log_shading(char region, const rova_pim_corners &block,
                          const rova_pim_shading_step &step, const char (&verdict)[3],
                          const rova_pim_dust_config &cfg)
{
    const char word[] = {region, ' ', '[', verdict[0], verdict[1], ']', '\0'};
    rova_pim_log(" %s, %d, %d, %d, %d , %3.2f, %3.2f, %3.2f, %3.2f \n", word, block.x1, block.y1,
                 block.x2, block.y2, hundredth(step.block), hundredth(step.inner),
                 hundredth(step.difference), hundredth(cfg.iShadingDiff100));
}

void rova_pim_keep_shading(const rova_pim_corners &at, const rova_pim_shading_step &step,
                           rova_pim_dust_config &cfg)
{
    cfg.tShadingPos = at;
    cfg.fShadingC = static_cast<float>(hundredth(step.block));
    cfg.fShadingN = static_cast<float>(hundredth(step.inner));
    cfg.fShadingD = std::trunc(std::fabs(cfg.fShadingC - cfg.fShadingN));
}

int rova_pim_end_shading(bool found, rova_pim_dust_config &cfg)
{
    cfg.iShadingOk = cfg.iShadingRst = found ? 0 : 1;
    if (found)
        rova_pim_log(" Shading POS : (%5d, %5d) (%5d, %5d) \n", cfg.tShadingPos.x1,
                     cfg.tShadingPos.y1, cfg.tShadingPos.x2, cfg.tShadingPos.y2);
    rova_pim_log(" <<<<< End   Checking Shading Image ... >>>>>");
    return found ? -1 : 0;
}

void rova_pim_start_4x()
{
    rova_pim_log(" <<<<< Start Checking 4x Shading ... >>>>>");
    rova_pim_log(" Log :,Shading ");
    rova_pim_log(" AREA , L1 , L2 , L3, L4, MAX, MIN, " ROVA_PIM_DELTA ", Ref. " ROVA_PIM_DELTA);
}

int rova_pim_judge_4x(const int64_t (&mean100)[4], rova_pim_dust_config &cfg)
{
    const extremes found = extremes_of(mean100);
    const bool pass = found.max100 - found.min100 <= cfg.i4xDiff100;
    log_quadrants(mean100, found, pass ? "OK " : "NG", cfg);
    cfg.i4xOk = cfg.i4xRst = pass ? 1 : 0;
    cfg.f4xMin = static_cast<float>(hundredth(found.min100));
    cfg.f4xMax = static_cast<float>(hundredth(found.max100));
    cfg.f4xD = std::trunc(std::fabs(cfg.f4xMax - cfg.f4xMin));
    rova_pim_log(" <<<<< End   Checking 4x Shading ... >>>>>");
    return pass ? 0 : -1;
}

void rova_pim_start_exposure()
{
    rova_pim_log(" <<<<< Start Checking Exposure Image ... >>>>>");
    rova_pim_log(" Log :,Exposure ");
    rova_pim_log(" AREA , L , R.Max, R.Min ");
}

int rova_pim_judge_exposure(uint64_t sum, float mean, rova_pim_dust_config &cfg)
{
    cfg.fExpY = mean;
    rova_pim_log(" AreaSum = %lld , AreaAve = %3.2f \n", static_cast<long long>(sum), cfg.fExpY);
    rova_pim_log(" Ref. Luma Max / Mix = %3d / %3d \n", cfg.iExpHigh, cfg.iExpLow);
    const bool pass = cfg.fExpY <= static_cast<float>(cfg.iExpHigh) &&
                      cfg.fExpY >= static_cast<float>(cfg.iExpLow);
    rova_pim_log(" %s, %3.2f, %d, %d \n", pass ? " [OK]" : " [NG]", cfg.fExpY, cfg.iExpHigh,
                 cfg.iExpLow);
    cfg.iExpOk = cfg.iExpRst = pass ? 1 : 0;
    rova_pim_log(" <<<<< End   Checking Exposure Image ... >>>>>");
    return pass ? 0 : -1;
}
