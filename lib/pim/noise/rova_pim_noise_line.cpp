// Lines: columns that differ from the one before, or that have a pixel far below their mean.
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/noise/rova_pim_noise_grid.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_pixels.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace
{

// By column.  A pixel lies below the dip exactly when the smallest does.
struct line_columns {
    std::vector<uint64_t> sums;
    std::vector<uint8_t> minima;
    std::vector<uint8_t> column; // where pixels are no neighbours
    int64_t rows;

    int64_t hundredfold_mean(std::size_t x) const
    {
        return static_cast<int64_t>(sums[x]) * 100 / rows;
    }
    bool dips(std::size_t x, int32_t offset) const
    {
        return minima[x] < static_cast<int64_t>(sums[x]) / rows - offset;
    }
};

// Row by row, since a walk down a column costs a cache line a pixel.
void measure_bytes(const rova_pim_image &image, line_columns &columns)
{
    rova_pim_column_stats({image.bytes.data(), static_cast<std::size_t>(image.pitch),
                           static_cast<std::size_t>(image.height)},
                          columns.sums, columns.minima);
}

void measure_column(const rova_pim_image &image, int32_t x, line_columns &columns)
{
    const auto at = static_cast<std::size_t>(x);
    columns.column.resize(static_cast<std::size_t>(image.height));
    GetArea(image, {x, 0, x, image.height - 1}, columns.column);
    columns.sums[at] = std::accumulate(columns.column.begin(), columns.column.end(), uint64_t{0});
    columns.minima[at] = *std::ranges::min_element(columns.column);
}

void measure_columns(const rova_pim_image &image, line_columns &columns)
{
    columns.rows = image.height;
    columns.sums.resize(static_cast<std::size_t>(image.width));
    columns.minima.resize(static_cast<std::size_t>(image.width));
    if (rova_pim_luma_step(image.iCS) == 1) {
        measure_bytes(image, columns);
        return;
    }
    for (int32_t x = 0; x < image.width; x++)
        measure_column(image, x, columns);
}

// Fills LnDef and returns the number of faults.  Column 1 is left out: behind column 0 the walk
// looks at the column after the one that it stands on.
int32_t find_lines(const line_columns &columns, int32_t iX, rova_pim_noise_config &cfg)
{
    const int iso = rova_pim_noise_iso(cfg);
    const int32_t offset = cfg.iLineOffset[iso];
    int32_t n = 0;
    int64_t prev = columns.hundredfold_mean(0);
    if (columns.dips(0, offset))
        cfg.LnDef[n++] = 0;
    for (int32_t c = 1; c < iX - 1 && n < PIM_NOISE_LINES; c++) {
        const auto x = static_cast<std::size_t>(c) + 1;
        const int64_t mean = columns.hundredfold_mean(x);
        const auto change = static_cast<float>(std::abs(prev - mean));
        if (columns.dips(x, offset))
            cfg.LnDef[n++] = c;
        else if (change >= cfg.fLineDiff[iso] * 100.0F)
            cfg.LnDef[n++] = prev > mean ? c : c - 1;
        prev = mean;
    }
    return n;
}

void judge(int32_t n, rova_pim_noise_config &cfg)
{
    cfg.iLnDeNum = cfg.iLnDeNumRst = n;
    rova_pim_debug(">>>> iLnDeNum  = %d \n", n);
    cfg.iLineOk = cfg.iLineRst = n == 0 ? 1 : 0;
    for (int32_t i = 0; i < n; i++) {
        cfg.LnDefRst[i] = cfg.LnDef[i];
        rova_pim_debug(" LnDef[%d] = %4d  \n", i, cfg.LnDef[i]);
    }
}

bool is_readable(const rova_pim_image &image)
{
    return image.width > 0 && image.height > 0 &&
           rova_pim_noise_has_luma(image, image.width - 1, image.height - 1);
}

} // namespace

int CheckLineNoise(const rova_pim_image &image, rova_pim_noise_config &cfg)
{
    static line_columns columns; // kept from picture to picture
    if (cfg.iLineOn == 0)
        return 0;
    rova_pim_debug(" <<<<< Start Checking Line Noise ... >>>>>");
    const bool wrong_size = image.width > image.pitch;
    if (wrong_size)
        rova_pim_report(" Wrong Size : X = %4d , Y = %4d, STRIDE = %4d \n", image.width,
                        image.height, image.pitch);
    if (!is_readable(image)) {
        rova_pim_report(" no columns of a picture of %d x %d in its %zu bytes \n", image.width,
                        image.height, image.bytes.size());
        return -1;
    }
    measure_columns(image, columns);
    const int32_t n = find_lines(columns, image.width, cfg);
    judge(n, cfg);
    rova_pim_debug(" <<<<< End  Checking Line Noise ... >>>>>");
    return n != 0 || wrong_size ? -1 : 0;
}
