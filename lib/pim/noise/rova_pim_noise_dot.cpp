// Dots: blocks whose mean luma is too low.
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/noise/rova_pim_noise_grid.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_pixels.h"

#include <algorithm>
#include <span>
#include <vector>

namespace
{

// One axis of the blocks: where the first begins, from one to the next, and how long they are.
struct dot_axis {
    int32_t first;
    int32_t step;
    int32_t length;
    int32_t last_length;
    int32_t count;

    int32_t start(int32_t i) const { return first + i * step; }
    int32_t length_of(int32_t i) const { return i == count - 1 ? last_length : length; }
    int64_t end() const { return int64_t{first} + int64_t{count - 1} * step + last_length; }
};

// Blocks of whole cells leave no rest: the last one ends with the picture.
dot_axis whole_cells(int32_t div, int32_t count, int32_t size)
{
    return {0, div, div, size - (count - 1) * div, count};
}

struct dot_blocks {
    dot_axis x;
    dot_axis y;
};

// Whether the cells are whole is decided by the width alone.
dot_blocks lay_blocks(const rova_pim_image &image, const rova_pim_noise_grid &grid, bool whole)
{
    if (whole)
        return {whole_cells(grid.divX, grid.iNX, image.width),
                whole_cells(grid.divY, grid.iNY, image.height)};
    return {{grid.iBX, grid.cellX, grid.divX, grid.divX, grid.iNX},
            {grid.iBY, grid.cellY, grid.divY, grid.divY, grid.iNY}};
}

struct dot_measure {
    std::vector<uint64_t> sums; // of a row of blocks
    std::vector<float> means;   // of all blocks
    uint64_t sum;
    uint64_t count;
    int32_t errors;
};

// Where a byte is a pixel: the row is read once for all blocks.
void sum_bytes(const rova_pim_image &image, const dot_blocks &blocks, int32_t row,
               std::span<uint64_t> sums)
{
    const auto pitch = static_cast<std::size_t>(image.pitch);
    const auto step = static_cast<std::size_t>(blocks.x.step);
    const auto length = static_cast<std::size_t>(blocks.x.length);
    const rova_pim_rows rows = {image.bytes.data() +
                                    static_cast<std::size_t>(blocks.y.start(row)) * pitch +
                                    static_cast<std::size_t>(blocks.x.first),
                                pitch, static_cast<std::size_t>(blocks.y.length_of(row))};
    rova_pim_sum_blocks(rows, step, length, sums);
    if (blocks.x.last_length == blocks.x.length)
        return;
    uint64_t rest = 0;
    rova_pim_sum_blocks({rows.first + (sums.size() - 1) * step + length, pitch, rows.count}, 0,
                        static_cast<std::size_t>(blocks.x.last_length) - length, {&rest, 1});
    sums.back() += rest;
}

void sum_row(const rova_pim_image &image, const dot_blocks &blocks, int32_t row,
             std::span<uint64_t> sums)
{
    if (rova_pim_luma_step(image.iCS) == 1) {
        sum_bytes(image, blocks, row, sums);
        return;
    }
    const int32_t y = blocks.y.start(row), bottom = y + blocks.y.length_of(row) - 1;
    for (int32_t col = 0; col < blocks.x.count; col++) {
        const int32_t x = blocks.x.start(col);
        sums[static_cast<std::size_t>(col)] =
            GetAreaSum(image, {x, y, x + blocks.x.length_of(col) - 1, bottom}).sum;
    }
}

void take_block(uint64_t sum, uint64_t count, dot_measure &measure, rova_pim_noise_config &cfg)
{
    const float mean = static_cast<float>(sum) / static_cast<float>(count);
    measure.means.push_back(mean);
    measure.sum += sum;
    measure.count += count;
    if (mean < cfg.fYSpec[rova_pim_noise_iso(cfg)]) {
        measure.errors++;
        if (cfg.fY == 0)
            cfg.fY = mean;
    }
    if (mean > cfg.fYMax)
        cfg.fYMax = mean;
    if (mean < cfg.fYMin)
        cfg.fYMin = mean;
}

void measure_blocks(const rova_pim_image &image, const dot_blocks &blocks, dot_measure &measure,
                    rova_pim_noise_config &cfg)
{
    measure.sums.resize(static_cast<std::size_t>(blocks.x.count));
    measure.means.clear();
    measure.sum = measure.count = 0;
    measure.errors = 0;
    for (int32_t row = 0; row < blocks.y.count; row++) {
        sum_row(image, blocks, row, measure.sums);
        for (int32_t col = 0; col < blocks.x.count; col++)
            take_block(measure.sums[static_cast<std::size_t>(col)],
                       static_cast<uint64_t>(blocks.x.length_of(col)) *
                           static_cast<uint64_t>(blocks.y.length_of(row)),
                       measure, cfg);
    }
}

// A black picture's base is 0, and its values are no numbers.
void normalise(std::span<const float> means, float average, rova_pim_noise_config &cfg)
{
    const float spec = cfg.fYSpec[rova_pim_noise_iso(cfg)];
    const float base = cfg.iNormBase == 0 ? average : means[means.size() / 2];
    float sum = 0;
    for (std::size_t i = 0; i < means.size(); i++) {
        const float value = means[i] * 100.0F / base;
        sum += value;
        rova_pim_debug("  %2d    %6.2f   %6.2f  [ %s ]  \n", static_cast<int>(i), means[i], value,
                       means[i] < spec ? "NG" : "OK");
        if (i == 0)
            cfg.fYnMax = cfg.fYnMin = value;
        if (value > cfg.fYnMax)
            cfg.fYnMax = value;
        if (value < cfg.fYnMin)
            cfg.fYnMin = value;
    }
    cfg.fYnAvg = sum / static_cast<float>(means.size());
}

// Ranges over their limits are told and change nothing.
void print_ranges(const rova_pim_noise_config &cfg)
{
    const int iso = rova_pim_noise_iso(cfg);
    const float range = cfg.fYMax - cfg.fYMin, normal = cfg.fYnMax - cfg.fYnMin;
    rova_pim_debug(" Y-Max = %3.2f , Y-Min = %3.2f, Diff = %3.2f [ %3.2f ] \n", cfg.fYMax,
                   cfg.fYMin, range, cfg.fYMaxMinSpec[iso]);
    if (range > cfg.fYMaxMinSpec[iso])
        rova_pim_debug(" NG : Y.Max - Y.Min Error  ~ !!! ");
    rova_pim_debug(" YnormalMax - YnormalMin = %3.2f - %3.2f = %3.2f [ %3.2f ] \n", cfg.fYnMax,
                   cfg.fYnMin, normal, cfg.fNormMaxMinSpec[iso]);
    if (normal > cfg.fNormMaxMinSpec[iso])
        rova_pim_debug(" NG : Dot Noise Error : Normalize Error ~~~ !!! ");
}

int judge(int32_t errors, rova_pim_noise_config &cfg)
{
    cfg.iDotOk = cfg.iDotRst = errors == 0 ? 1 : 0;
    rova_pim_debug(errors == 0 ? " OK : NO DOT NOISE ~~~~!!! "
                               : " NG : FOUND DOT NOISE ERROR !!! ");
    rova_pim_debug(" <<<<< End  Checking Dot Noise ... >>>>>");
    return errors == 0 ? 0 : -1;
}

int check(const rova_pim_image &image, const dot_blocks &blocks, rova_pim_noise_config &cfg)
{
    static dot_measure measure; // kept: blocks may be as many as pixels
    cfg.fYMax = -999.0F;
    cfg.fYMin = 999.0F;
    cfg.fY = 0;
    measure_blocks(image, blocks, measure, cfg);
    const float average = static_cast<float>(measure.sum) / static_cast<float>(measure.count);
    if (cfg.fY == 0)
        cfg.fY = average;
    rova_pim_debug(" Normalizing Base = %d [ %s ] \n\n", cfg.iNormBase,
                   cfg.iNormBase == 0 ? "AVERAGE" : "CENTER");
    rova_pim_debug(" AREA      Y      Y.Nor   ");
    normalise(measure.means, average, cfg);
    print_ranges(cfg);
    return judge(measure.errors, cfg);
}

} // namespace

int CheckDotNoise(const rova_pim_image &image, rova_pim_noise_config &cfg)
{
    rova_pim_noise_grid grid;
    if (cfg.iDotOn == 0)
        return 0;
    rova_pim_debug(" <<<<< Start Checking Dot Noise ... >>>>>");
    if (rova_pim_noise_lay_grid(image, cfg, grid) != 0)
        return -1;
    const dot_blocks blocks = lay_blocks(image, grid, cfg.iDivX == 0);
    if (!rova_pim_noise_has_luma(image, blocks.x.end() - 1, blocks.y.end() - 1)) {
        rova_pim_report(" blocks of %d x %d leave the %zu bytes of the picture \n", grid.divX,
                        grid.divY, image.bytes.size());
        return -1;
    }
    rova_pim_debug(" NX x NY = %d x %d \n", grid.iNX, grid.iNY);
    rova_pim_debug(" DIV. X x Y = %d x %d \n", grid.divX, grid.divY);
    rova_pim_debug(" iBX x iBY = %d x %d \n", grid.iBX, grid.iBY);
    return check(image, blocks, cfg);
}
