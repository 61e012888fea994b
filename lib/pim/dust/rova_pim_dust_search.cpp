#include "lib/pim/dust/rova_pim_dust_search.h"

#include "lib/pim/dust/rova_pim_dust_dump.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"

#include <algorithm>
#include <vector>

namespace
{

constexpr char START[] = " <<<<< Start Checking Dust ... >>>>>";
constexpr char END[] = " <<<<< End   Checking Dust ... >>>>>";

// Kept from picture to picture.
struct rows_of_pixels {
    std::vector<uint8_t> marks;
    std::vector<int32_t> values;
};

rows_of_pixels &clean_rows(int32_t width)
{
    static rows_of_pixels rows;
    rows.marks.assign(static_cast<std::size_t>(width), PIM_DUST_NO_MARK);
    rows.values.assign(static_cast<std::size_t>(width), 0);
    return rows;
}

void clean(rova_pim_dust_stripe &stripe)
{
    if (!stripe.marked)
        return;
    std::ranges::fill(stripe.marks, PIM_DUST_NO_MARK);
    std::ranges::fill(stripe.values, 0);
    stripe.marked = false;
}

rova_pim_dust_reach reach_of(const rova_pim_dust_config &cfg)
{
    return {.gap = int64_t{std::max(cfg.iSmallOffset, cfg.iBigOffset)} * cfg.iBlockX,
            .side = int64_t{cfg.iSmallOffset} * cfg.iBlockX,
            .below = int64_t{cfg.iSmallOffset} * cfg.iBlockY};
}

void log_head()
{
    rova_pim_log("%s", START);
    rova_pim_log(" Log :,Dust ");
    rova_pim_log(" AREA , X1, Y1, X2, Y2, L1, L2, N.L3, " ROVA_PIM_DELTA "12 , " ROVA_PIM_DELTA
                 "23, R." ROVA_PIM_DELTA "12, R." ROVA_PIM_DELTA "23 \n");
}

} // namespace

int rova_pim_dust_begin(const rova_pim_image &image, const rova_pim_dust_config &cfg,
                        rova_pim_dust_grid *grid)
{
    if (rova_pim_dust_grid_of(image, cfg.iBlockX, cfg.iBlockY, grid) != 0)
        return -1;
    if (cfg.iSmallOffset >= 0 && cfg.iBigOffset >= 0)
        return 0;
    rova_pim_report(" Dust Offset Error : %d, %d \n", cfg.iSmallOffset, cfg.iBigOffset);
    return -1;
}

void rova_pim_dust_search(const rova_pim_dust_order &order, rova_pim_dust_parts &blobs)
{
    log_head();
    const rova_pim_dust_grid &grid = order.grid;
    const rova_pim_dust_reach reach = reach_of(order.cfg);
    rows_of_pixels &rows = clean_rows(order.image.width);
    rova_pim_dust_stripe stripe = {0, grid.blockX, {}, rows.marks, rows.values, false};
    rova_pim_dust_dump dump(order.image, order.cfg, order.number);
    rova_pim_dust_parts pieces;
    blobs.count = 0;
    for (int32_t row = 0; row < grid.rows; row++) {
        clean(stripe);
        stripe.y = row * grid.blockY;
        stripe.means = order.means(row);
        rova_pim_dust_mark(stripe, order.cfg);
        rova_pim_dust_pieces(stripe, reach.gap, order.black, pieces);
        rova_pim_dust_join(pieces, reach, blobs);
        dump.write(stripe, std::min(grid.blockY, order.image.height - stripe.y));
    }
}

void rova_pim_dust_end(rova_pim_dust_config &cfg)
{
    cfg.iDustOk = cfg.iDCnt == 0 ? 1 : 0;
    cfg.iDustRst = cfg.iDustOk;
    rova_pim_log("%s", END);
}
