// CheckDustAll: the picture is read once, as the means of its blocks; what is judged follows from
// these.

#include "lib/pim/dust/rova_pim_brightness.h"
#include "lib/pim/dust/rova_pim_dust_search.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <vector>

namespace
{

constexpr int32_t GREATEST_DIFF = 25500; // of white and black

// Kept from picture to picture.
struct all_blocks {
    rova_pim_dust_grid grid;
    std::vector<uint64_t> row_sums; // of the row in hand
    std::vector<int32_t> means;     // of all rows, times 100
    uint64_t quadrants[4];          // sums: left and right above, left and right below
    uint64_t sum;

    std::span<const int32_t> row(int32_t index) const
    {
        const auto columns = static_cast<std::size_t>(grid.columns);
        return std::span(means).subspan(static_cast<std::size_t>(index) * columns, columns);
    }
};

// Blocks whose corners lie left of the middle.
std::size_t left_columns(const rova_pim_dust_grid &grid, const rova_pim_dust_config &cfg)
{
    const int64_t middle = std::max(cfg.iImgX / 2, 0);
    const int64_t columns = (middle + grid.blockX - 1) / grid.blockX;
    return static_cast<std::size_t>(std::min<int64_t>(columns, grid.columns));
}

// A block belongs to the quadrant of its corner.
void add_row(all_blocks &blocks, int32_t row, const rova_pim_dust_config &cfg)
{
    const bool below = row * blocks.grid.blockY >= cfg.iImgY / 2;
    const auto middle =
        blocks.row_sums.begin() + static_cast<std::ptrdiff_t>(left_columns(blocks.grid, cfg));
    const uint64_t left = std::accumulate(blocks.row_sums.begin(), middle, uint64_t{0});
    const uint64_t right = std::accumulate(middle, blocks.row_sums.end(), uint64_t{0});
    blocks.quadrants[below ? 2 : 0] += left;
    blocks.quadrants[below ? 3 : 1] += right;
    blocks.sum += left + right;
}

const all_blocks &read_blocks(const rova_pim_image &image, const rova_pim_dust_grid &grid,
                              const rova_pim_dust_config &cfg)
{
    static all_blocks blocks;
    const auto columns = static_cast<std::size_t>(grid.columns);
    blocks.grid = grid;
    blocks.row_sums.resize(columns);
    blocks.means.resize(columns * static_cast<std::size_t>(grid.rows));
    std::ranges::fill(blocks.quadrants, 0);
    blocks.sum = 0;
    for (int32_t row = 0; row < grid.rows; row++) {
        rova_pim_dust_sums(image, grid, row, blocks.row_sums);
        rova_pim_dust_means(
            grid, blocks.row_sums,
            std::span(blocks.means).subspan(static_cast<std::size_t>(row) * columns, columns));
        add_row(blocks, row, cfg);
    }
    return blocks;
}

// A block of the border and the neighbour that it is compared with; region 0: it is not tested.
struct border_pair {
    char region;
    rova_pim_corners block;
    rova_pim_shading_step step;
};

// Marks of corners, which lie in the picture.
char mark_of(const all_blocks &blocks, int32_t column, int32_t row, const rova_pim_dust_config &cfg)
{
    return GetShadingMark(column * blocks.grid.blockX, row * blocks.grid.blockY, cfg);
}

int32_t mean_of(const all_blocks &blocks, int32_t column, int32_t row)
{
    return blocks.row(row)[static_cast<std::size_t>(column)];
}

// Region A looks down; D and E look back to the left, whose block is the one that may be dark.  The
// bottom has no test: its mark is B.
rova_pim_shading_step step_of(const all_blocks &blocks, int32_t column, int32_t row, char region)
{
    const int32_t here = mean_of(blocks, column, row);
    if (region == 'A')
        return {here, mean_of(blocks, column, row + 1), 0};
    return {mean_of(blocks, column - 1, row), here, 0};
}

bool is_tested(const all_blocks &blocks, int32_t column, int32_t row, char mark,
               const rova_pim_dust_config &cfg)
{
    if (mark == 'A')
        return row + 1 < blocks.grid.rows && mark_of(blocks, column, row + 1, cfg) == mark;
    return (mark == 'D' || mark == 'E') && column > 0 &&
           mark_of(blocks, column - 1, row, cfg) == mark;
}

border_pair pair_at(const all_blocks &blocks, int32_t column, int32_t row,
                    const rova_pim_dust_config &cfg)
{
    const char mark = mark_of(blocks, column, row, cfg);
    if (!is_tested(blocks, column, row, mark, cfg))
        return {};
    const auto &[bx, by, columns, rows] = blocks.grid;
    border_pair pair = {mark,
                        {column * bx, row * by, column * bx + bx - 1, row * by + by - 1},
                        step_of(blocks, column, row, mark)};
    pair.step.difference = std::abs(pair.step.block - pair.step.inner);
    return pair;
}

void log_find(const border_pair &pair, rova_pim_dust_config &cfg)
{
    rova_pim_keep_shading(pair.block, pair.step, cfg);
    rova_pim_log(
        " Found SangGaRim Area in %c Region : (%4d, %4d)  : C_AVE100 = %5d, N_AVE100 = %5d, "
        "DIFF100 = %5d \n\n",
        pair.region, pair.block.x1, pair.block.y1, pair.step.block, pair.step.inner,
        pair.step.difference);
    rova_pim_log_shading(pair.region, pair.block, pair.step, "NG", cfg);
    rova_pim_log(" Shading is %s in Region %c \n", "FAIL", pair.region);
}

// Whether the block is a find.
bool judge_pair(const border_pair &pair, rova_pim_dust_config &cfg)
{
    if (pair.region == '\0')
        return false;
    if (rova_pim_is_shading(pair.step, cfg)) {
        log_find(pair, cfg);
        return true;
    }
    if (cfg.iDbgOption[2] == 1)
        rova_pim_log_shading(pair.region, pair.block, pair.step, "OK", cfg);
    return false;
}

// Whether some neighbours differ enough to be a find, wherever they are.  Nearly no row of a good
// picture has any; that is seen at a fraction of the cost of looking up the marks of its blocks.
bool may_have_shading(const all_blocks &blocks, int32_t row, int32_t limit)
{
    const std::span<const int32_t> means = blocks.row(row);
    const int32_t least = std::min(limit, GREATEST_DIFF) + 1;
    return rova_pim_dust_any_differs(means.first(means.size() - 1), means.subspan(1), least) ||
           (row + 1 < blocks.grid.rows &&
            rova_pim_dust_any_differs(means, blocks.row(row + 1), least));
}

// In the order of the rows, up to the first find.
bool has_shading(const all_blocks &blocks, rova_pim_dust_config &cfg)
{
    for (int32_t row = 0; row < blocks.grid.rows; row++) {
        if (cfg.iDbgOption[2] != 1 && !may_have_shading(blocks, row, cfg.iShadingDiff100))
            continue;
        for (int32_t column = 0; column < blocks.grid.columns; column++) {
            if (judge_pair(pair_at(blocks, column, row, cfg), cfg))
                return true;
        }
    }
    for (const char region : {'A', 'D', 'E'})
        rova_pim_log(" Shading is %s in Region %c \n", "OK", region);
    return false;
}

int check_shading(const all_blocks &blocks, rova_pim_dust_config &cfg)
{
    if (cfg.iShadingOn == 0)
        return 0;
    rova_pim_start_shading();
    return rova_pim_end_shading(has_shading(blocks, cfg), cfg);
}

// What sums are divided by.
bool is_size(int64_t divisor, const rova_pim_dust_config &cfg)
{
    if (divisor > 0)
        return true;
    rova_pim_report(" Image Size Error : %d x %d \n", cfg.iImgX, cfg.iImgY);
    return false;
}

int check_4x(const all_blocks &blocks, rova_pim_dust_config &cfg)
{
    if (cfg.i4xOn == 0)
        return 0;
    rova_pim_start_4x();
    const int64_t divisor = int64_t{cfg.iImgY} * (cfg.iImgX / 2) / 2;
    if (!is_size(divisor, cfg))
        return -1;
    int64_t mean100[4];
    std::ranges::transform(blocks.quadrants, mean100, [divisor](uint64_t sum) {
        return static_cast<int64_t>(sum) * 100 / divisor;
    });
    return rova_pim_judge_4x(mean100, cfg);
}

int check_exposure(const all_blocks &blocks, rova_pim_dust_config &cfg)
{
    if (cfg.iExpOn == 0)
        return 0;
    rova_pim_start_exposure();
    const int64_t divisor = int64_t{cfg.iImgX} * cfg.iImgY;
    if (!is_size(divisor, cfg))
        return -1;
    const int64_t mean = static_cast<int64_t>(blocks.sum) / divisor;
    return rova_pim_judge_exposure(blocks.sum, static_cast<float>(mean), cfg);
}

// Places only: the extremes in the record stay as they were.
void keep(const rova_pim_dust_parts &blobs, rova_pim_dust_config &cfg)
{
    cfg.iDCnt = static_cast<int32_t>(blobs.count);
    rova_pim_log(">>>> iDCnt = %d \n", cfg.iDCnt);
    for (int i = 0; i < std::min(cfg.iDCnt, PIM_DUST); i++) {
        const rova_pim_dust_spot &blob = blobs.spots[static_cast<std::size_t>(i)];
        rova_pim_dust_spot &spot = cfg.tDust[i];
        spot = {blob.x1, blob.y1, blob.x2, blob.y2, spot.min100, spot.max100};
        rova_pim_log(" DUST[%d] = (%4d, %4d), (%4d, %4d) \n", i, spot.x1, spot.y1, spot.x2,
                     spot.y2);
    }
}

void check_dust(const rova_pim_image &image, const all_blocks &blocks, rova_pim_dust_config &cfg)
{
    static int32_t number = 0;
    if (cfg.iDustOn == 0)
        return;
    const auto means = [&](int32_t row) { return blocks.row(row); };
    rova_pim_dust_parts blobs;
    rova_pim_dust_search({image, cfg, blocks.grid, means, true, number}, blobs);
    rova_pim_dust_merge(blobs);
    keep(blobs, cfg);
    rova_pim_dust_end(cfg);
}

// The first that fails skips the others.
int judge(const rova_pim_image &image, const all_blocks &blocks, rova_pim_dust_config &cfg)
{
    if (check_shading(blocks, cfg) != 0 || check_4x(blocks, cfg) != 0 ||
        check_exposure(blocks, cfg) != 0)
        return -1;
    check_dust(image, blocks, cfg);
    return 0;
}

int lay_grid(const rova_pim_image &image, const rova_pim_dust_config &cfg, rova_pim_dust_grid *grid)
{
    if (cfg.iDustOn != 0)
        return rova_pim_dust_begin(image, cfg, grid);
    return rova_pim_dust_grid_of(image, cfg.iBlockX, cfg.iBlockY, grid);
}

} // namespace

int CheckDustAll(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.iShadingOn == 0 && cfg.i4xOn == 0 && cfg.iExpOn == 0 && cfg.iDustOn == 0)
        return 0;
    rova_pim_dust_grid grid;
    if (lay_grid(image, cfg, &grid) != 0)
        return -1;
    rova_pim_log(" <<<<< Start Checking Dust All ... >>>>>");
    const int result = judge(image, read_blocks(image, grid, cfg), cfg);
    rova_pim_log(" <<<<< End Checking Dust All ... >>>>>");
    return result;
}
