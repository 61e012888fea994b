// Colours: blocks whose mean red, green and blue are too low or too far apart.
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/noise/rova_pim_noise_grid.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_pixels.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>
#include <vector>

namespace
{

// As it is printed, in 32 bits.
int32_t product(int32_t a, int32_t b)
{
    return static_cast<int32_t>(int64_t{a} * b);
}

struct block_colour {
    float r, g, b;
    float rg, bg;
};

struct colour_measure {
    std::vector<rova_pim_rgb_sums> sums; // of a row of blocks
    std::vector<block_colour> blocks;
    std::vector<uint8_t> luma, cb, cr, chroma; // a row of one block's, the last Cb and Cr in turn
};

// By a fixed rule, which is no true minimum and maximum; what is reported depends on it.
struct colour_ranges {
    float rg_max, rg_first;
    float bg_max, bg_first;
};

struct colour_walk {
    const rova_pim_image &image;
    const rova_pim_noise_config &cfg;
    const rova_pim_noise_grid &grid;
    int32_t v;     // rows of pixels for each row of chroma
    int32_t pairs; // of pixels in a row of a block
    colour_measure &measure;

    int32_t x(int32_t col) const { return col * grid.cellX + grid.iBX; }
    int32_t y(int32_t row) const { return row * grid.cellY + grid.iBY; }
    uint64_t pixels() const
    {
        return static_cast<uint64_t>(grid.divY / v * v) * static_cast<uint64_t>(pairs) * 2;
    }
};

// A row of chroma of the blocks in a column.  False where the picture has not got it whole.
bool copy_chroma(const colour_walk &walk, int32_t col, int32_t y)
{
    const auto &[image, cfg, grid, v, pairs, measure] = walk;
    const auto size = static_cast<std::size_t>(pairs);
    const int32_t x = walk.x(col) / 2;
    return GetChromaArea(image, PIM_COLOUR_CB, x, y, pairs, 1, cfg.iCbOffset, measure.cb) == size &&
           GetChromaArea(image, PIM_COLOUR_CR, x, y, pairs, 1, cfg.iCrOffset, measure.cr) == size;
}

void size_rows(const colour_walk &walk)
{
    const auto pairs = static_cast<std::size_t>(walk.pairs);
    walk.measure.luma.resize(static_cast<std::size_t>(walk.grid.divX));
    walk.measure.cb.resize(pairs);
    walk.measure.cr.resize(pairs);
    walk.measure.chroma.resize(2 * pairs);
}

// All blocks are in the picture when the first begins and the last ends in it.
bool is_readable(const colour_walk &walk)
{
    const rova_pim_noise_grid &grid = walk.grid;
    const int64_t right = int64_t{grid.iNX - 1} * grid.cellX + grid.iBX + grid.divX - 1;
    const int64_t bottom = int64_t{grid.iNY - 1} * grid.cellY + grid.iBY + grid.divY - 1;
    if (walk.pixels() == 0 || !rova_pim_noise_has_luma(walk.image, right, bottom))
        return false;
    size_rows(walk);
    const int32_t last_row = walk.y(grid.iNY - 1) / walk.v + grid.divY / walk.v - 1;
    return copy_chroma(walk, 0, walk.y(0) / walk.v) && copy_chroma(walk, grid.iNX - 1, last_row);
}

// Stills, whose Cb and Cr lie in turn: all blocks of a row.
void add_in_place(const colour_walk &walk, int32_t row)
{
    const auto pitch = static_cast<std::size_t>(walk.image.pitch);
    const auto rows = static_cast<std::size_t>(walk.grid.divY);
    const uint8_t *luma = walk.image.bytes.data() + static_cast<std::size_t>(walk.y(row)) * pitch;
    rova_pim_add_rgb_blocks({luma, pitch, rows}, {luma + walk.cfg.iCbOffset, pitch, rows},
                            static_cast<std::size_t>(walk.grid.iBX),
                            static_cast<std::size_t>(walk.grid.cellX),
                            static_cast<std::size_t>(walk.pairs), walk.measure.sums);
}

// Any colour space, by way of copies.
void add_block(const colour_walk &walk, int32_t col, int32_t row)
{
    const auto &[image, cfg, grid, v, pairs, measure] = walk;
    const int32_t x = walk.x(col), y = walk.y(row);
    for (int32_t r = 0; r < grid.divY / v; r++) {
        copy_chroma(walk, col, y / v + r);
        for (std::size_t i = 0; i < measure.cb.size(); i++) {
            measure.chroma[2 * i] = measure.cb[i];
            measure.chroma[2 * i + 1] = measure.cr[i];
        }
        for (int32_t k = r * v; k < (r + 1) * v; k++) {
            GetArea(image, {x, y + k, x + grid.divX - 1, y + k}, measure.luma);
            rova_pim_add_rgb(measure.luma.data(), measure.chroma.data(), measure.cb.size(),
                             measure.sums[static_cast<std::size_t>(col)]);
        }
    }
}

void add_row(const colour_walk &walk, int32_t row)
{
    std::ranges::fill(walk.measure.sums, rova_pim_rgb_sums{});
    if (walk.image.iCS == CS422_Y_CbCr && walk.cfg.iCbOffset == walk.cfg.iCrOffset) {
        add_in_place(walk, row);
        return;
    }
    for (int32_t col = 0; col < walk.grid.iNX; col++)
        add_block(walk, col, row);
}

block_colour mean_of(const rova_pim_rgb_sums &sums, uint64_t pixels)
{
    const auto count = static_cast<float>(pixels);
    const float r = static_cast<float>(sums.red) / count;
    const float g = static_cast<float>(sums.green) / count;
    const float b = static_cast<float>(sums.blue) / count;
    return {r, g, b, r - g, b - g};
}

void measure_blocks(const colour_walk &walk)
{
    walk.measure.sums.resize(static_cast<std::size_t>(walk.grid.iNX));
    walk.measure.blocks.clear();
    for (int32_t row = 0; row < walk.grid.iNY; row++) {
        add_row(walk, row);
        for (const rova_pim_rgb_sums &sums : walk.measure.sums)
            walk.measure.blocks.push_back(mean_of(sums, walk.pixels()));
    }
}

colour_ranges find_ranges(std::span<const block_colour> blocks)
{
    const float rg_first = blocks[0].rg, bg_first = blocks[0].bg;
    float rg_max = bg_first, bg_max = 0;
    for (const auto &[r, g, b, rg, bg] : blocks.subspan(1)) {
        if (rg > rg_max || rg < rg_first)
            rg_max = rg;
        if (bg > bg_max || bg > bg_first)
            bg_max = bg;
    }
    return {rg_max, rg_first, bg_max, bg_first};
}

// A difference without its sign, cut to hundredths.
float cut(float difference)
{
    return static_cast<float>(std::abs(static_cast<int32_t>(difference * 100.0F))) / 100.0F;
}

bool fails(const block_colour &block, const rova_pim_noise_config &cfg)
{
    const int iso = rova_pim_noise_iso(cfg);
    return block.r < cfg.fRedSpec[iso] || block.g < cfg.fGreenSpec[iso] ||
           block.b < cfg.fBlueSpec[iso] || cut(block.rg) > cfg.fRGDiffSpec[iso] ||
           cut(block.bg) > cfg.fBGDiffSpec[iso];
}

void print_head(const rova_pim_noise_config &cfg)
{
    const int iso = rova_pim_noise_iso(cfg);
    rova_pim_debug(PIM_RULE);
    rova_pim_debug("  AREA    R        G        B           R-G      B-G          ");
    rova_pim_debug("       [%6.2f] [%6.2f] [%6.2f]    [%6.2f] [%6.2f] \n", cfg.fRedSpec[iso],
                   cfg.fGreenSpec[iso], cfg.fBlueSpec[iso], cfg.fRGDiffSpec[iso],
                   cfg.fBGDiffSpec[iso]);
    rova_pim_debug(PIM_RULE);
}

void store(float r, float g, float b, float rg, float bg, rova_pim_noise_config &cfg)
{
    cfg.fR = r;
    cfg.fG = g;
    cfg.fB = b;
    cfg.fRG = rg;
    cfg.fBG = bg;
}

// The number of blocks that fail, the first of which is stored.
int32_t test_blocks(std::span<const block_colour> blocks, rova_pim_noise_config &cfg)
{
    int32_t failed = 0;
    for (std::size_t i = 0; i < blocks.size(); i++) {
        const auto &[r, g, b, rg, bg] = blocks[i];
        rova_pim_debug(" [ %2d ] %6.2f : %6.2f : %6.2f  ::: %6.2f : %6.2f ", static_cast<int>(i), r,
                       g, b, rg, bg);
        const bool ng = fails(blocks[i], cfg);
        rova_pim_debug(" [ %s ] \n", ng ? "NG" : "OK");
        if (ng && failed++ == 0)
            store(r, g, b, cut(rg), cut(bg), cfg);
    }
    return failed;
}

void store_means(std::span<const block_colour> blocks, rova_pim_noise_config &cfg)
{
    float r = 0, g = 0, b = 0;
    for (const block_colour &block : blocks) {
        r += block.r;
        g += block.g;
        b += block.b;
    }
    const auto count = static_cast<float>(blocks.size());
    r /= count;
    g /= count;
    b /= count;
    store(r, g, b, r - g, b - g, cfg);
}

// Ranges over their limits are told and change nothing.
void report_ranges(const colour_ranges &ranges, rova_pim_noise_config &cfg)
{
    const int iso = rova_pim_noise_iso(cfg);
    cfg.fRGRange = ranges.rg_max - ranges.rg_first;
    cfg.fBGRange = ranges.bg_max - ranges.bg_first;
    rova_pim_debug(" R-G.Max - R-G.Min = %6.2f - %6.2f = %6.2f ", ranges.rg_max, ranges.rg_first,
                   cfg.fRGRange);
    rova_pim_debug(" [ %s ] \n", cfg.fRGRange > cfg.fRGMaxMinSpec[iso] ? "NG" : "OK");
    rova_pim_debug(" B-G.Max - B-G.Min = %6.2f - %6.2f = %6.2f ", ranges.bg_max, ranges.bg_first,
                   cfg.fBGRange);
    rova_pim_debug(" [ %s ] \n", cfg.fBGRange > cfg.fBGMaxMinSpec[iso] ? "NG" : "OK");
}

int check(const colour_walk &walk, rova_pim_noise_config &cfg)
{
    const std::vector<block_colour> &blocks = walk.measure.blocks;
    measure_blocks(walk);
    print_head(cfg);
    const int32_t failed = test_blocks(blocks, cfg);
    if (failed == 0)
        store_means(blocks, cfg);
    report_ranges(find_ranges(blocks), cfg);
    cfg.iColorOk = cfg.iColorRst = failed == 0 ? 1 : 0;
    rova_pim_debug(failed == 0 ? " >>> OK : NO Color Noise ~~~ !!! "
                               : " >>> NG : Found Color Noise ~~~ !!! ");
    rova_pim_debug(" <<<<< End  Checking Color Noise ... >>>>>");
    return failed == 0 ? 0 : -1;
}

} // namespace

int CheckColorNoise(const rova_pim_image &image, rova_pim_noise_config &cfg)
{
    static colour_measure measure; // kept: blocks may be as many as pixels
    rova_pim_noise_grid grid;
    if (cfg.iColorOn == 0)
        return 0;
    rova_pim_debug(" <<<<< Start Checking Color Noise ... >>>>>");
    if (rova_pim_noise_lay_grid(image, cfg, grid) != 0)
        return -1;
    const int32_t v = image.iCS >= CS420_Y_Cb_Cr && image.iCS <= CS420_CbYCrY ? 2 : 1;
    const colour_walk walk = {image, cfg, grid, v, grid.divX / 2, measure};
    if (!is_readable(walk)) {
        rova_pim_report(
            " no colours of %d x %d blocks of %d x %d in the %zu bytes of the picture \n", grid.iNX,
            grid.iNY, grid.divX, grid.divY, image.bytes.size());
        return -1;
    }
    rova_pim_debug(" NX  x NY  = %d x %d = %d \n", grid.iNX, grid.iNY, product(grid.iNX, grid.iNY));
    rova_pim_debug(" IDX x IDY = %d x %d = %d \n", grid.divX, grid.divY,
                   product(grid.divX, grid.divY));
    rova_pim_debug(" iBX x iBY = %d x %d \n", grid.iBX, grid.iBY);
    return check(walk, cfg);
}
