#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_dust.h"
#include "lib/pim/rova_pim_log_sink.h"
#include "lib/pim/rova_pim_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace
{

constexpr int32_t ROW_STEP = 2; // every second row is read
constexpr int64_t LEAST = -99900;
constexpr int64_t MOST = 99900;

// What the sums are divided by; 0 or less is no size to divide by, and a picture without columns
// has no rows to read.
bool are_sizes(const rova_pim_image &image, int64_t divisor, const rova_pim_dust_config &cfg)
{
    if (divisor > 0 && image.width > 0)
        return true;
    rova_pim_report(" Image Size Error : %d x %d [ %d x %d ] \n", cfg.iImgX, cfg.iImgY, image.width,
                    image.height);
    return false;
}

// Adds up a row's luma from x0 to x1, which may be none.  False, reported: it is not in the
// picture.
bool add_row(const rova_pim_image &image, int32_t y, int32_t x0, int32_t x1, uint64_t &sum)
{
    const auto [added, count] = GetAreaSum(image, {x0, y, x1, y});
    sum += added;
    if (count != 0 || x1 < x0)
        return true;
    rova_pim_report(" Row Error : ( %d, %d ) ( %d, %d ) is not in the picture \n", x0, y, x1, y);
    return false;
}

// The rows of one half of the picture, left and right.
bool add_half(const rova_pim_image &image, int32_t from, int32_t to, uint64_t (&sums)[2])
{
    const int32_t middle = image.width / 2;
    for (int64_t y = from; y < to; y += ROW_STEP) {
        const auto row = static_cast<int32_t>(y);
        if (!add_row(image, row, 0, middle - 1, sums[0]) ||
            !add_row(image, row, middle, image.width - 1, sums[1]))
            return false;
    }
    return true;
}

// The quadrants' means, times 100: left and right above, left and right below.
struct quadrants {
    int64_t mean100[4];
    int64_t max100;
    int64_t min100;
};

int64_t mean100_of(uint64_t sum, int64_t divisor)
{
    return static_cast<int64_t>(sum) * 100 / divisor;
}

double hundredth(int64_t value)
{
    return static_cast<double>(value) / 100.0;
}

bool measure(const rova_pim_image &image, const rova_pim_dust_config &cfg, quadrants &found)
{
    const int64_t divisor = int64_t{cfg.iImgY} * (cfg.iImgX / 2) / 4;
    const int32_t middle = cfg.iImgY / 2;
    uint64_t upper[2] = {}, lower[2] = {};
    if (!are_sizes(image, divisor, cfg) || !add_half(image, 0, middle, upper) ||
        !add_half(image, middle, cfg.iImgY, lower))
        return false;
    found = {{mean100_of(upper[0], divisor), mean100_of(upper[1], divisor),
              mean100_of(lower[0], divisor), mean100_of(lower[1], divisor)},
             LEAST,
             MOST};
    for (const int64_t mean100 : found.mean100) {
        found.max100 = std::max(found.max100, mean100);
        found.min100 = std::min(found.min100, mean100);
    }
    return true;
}

// The last column is the difference.
void log_quadrants(const quadrants &found, const char *verdict, const rova_pim_dust_config &cfg)
{
    const auto &[l1, l2, l3, l4] = found.mean100;
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

bool sum_picture(const rova_pim_image &image, const rova_pim_dust_config &cfg, uint64_t &sum)
{
    for (int64_t y = 0; y < cfg.iImgY; y += ROW_STEP) {
        if (!add_row(image, static_cast<int32_t>(y), 0, image.width - 1, sum))
            return false;
    }
    return true;
}

} // namespace

int Check4xShading(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.i4xOn == 0)
        return 0;
    rova_pim_log(" <<<<< Start Checking 4x Shading ... >>>>>");
    rova_pim_log(" Log :,Shading ");
    rova_pim_log(" AREA , L1 , L2 , L3, L4, MAX, MIN, " ROVA_PIM_DELTA ", Ref. " ROVA_PIM_DELTA);
    quadrants found = {};
    if (!measure(image, cfg, found))
        return -1;
    const bool pass = found.max100 - found.min100 <= cfg.i4xDiff100;
    log_quadrants(found, pass ? "OK " : "NG", cfg);
    cfg.i4xOk = cfg.i4xRst = pass ? 1 : 0;
    cfg.f4xMin = static_cast<float>(hundredth(found.min100));
    cfg.f4xMax = static_cast<float>(hundredth(found.max100));
    cfg.f4xD = std::trunc(std::fabs(cfg.f4xMax - cfg.f4xMin));
    rova_pim_log(" <<<<< End   Checking 4x Shading ... >>>>>");
    return pass ? 0 : -1;
}

int CheckExposure(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.iExpOn == 0)
        return 0;
    rova_pim_log(" <<<<< Start Checking Exposure Image ... >>>>>");
    rova_pim_log(" Log :,Exposure ");
    rova_pim_log(" AREA , L , R.Max, R.Min ");
    const int64_t divisor = int64_t{cfg.iImgX} * cfg.iImgY / 2;
    uint64_t sum = 0;
    if (!are_sizes(image, divisor, cfg) || !sum_picture(image, cfg, sum))
        return -1;
    cfg.fExpY = static_cast<float>(sum) / static_cast<float>(divisor);
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
