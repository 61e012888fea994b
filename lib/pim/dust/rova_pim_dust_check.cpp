// CheckDust: the search alone, with the means of each row as it is reached.

#include "lib/pim/dust/rova_pim_dust_search.h"
#include "lib/pim/rova_pim_log_sink.h"

#include <algorithm>
#include <vector>

namespace
{

// Of one row, kept from picture to picture.
struct row_buffers {
    std::vector<uint64_t> sums;
    std::vector<int32_t> means;
};

row_buffers &buffers_of(const rova_pim_dust_grid &grid)
{
    static row_buffers buffers;
    buffers.sums.resize(static_cast<std::size_t>(grid.columns));
    buffers.means.resize(static_cast<std::size_t>(grid.columns));
    return buffers;
}

// The last block's pixels belong to the dust.
void keep(const rova_pim_dust_parts &blobs, rova_pim_dust_config &cfg)
{
    cfg.iDCnt = std::min(static_cast<int32_t>(blobs.count), PIM_DUST);
    rova_pim_log(">>>> iDCnt = %d \n", cfg.iDCnt);
    for (int i = 0; i < cfg.iDCnt; i++) {
        rova_pim_dust_spot &spot = cfg.tDust[i];
        spot = blobs.spots[static_cast<std::size_t>(i)];
        spot.x2 += cfg.iBlockX - 1;
        spot.y2 += cfg.iBlockY - 1;
        rova_pim_log(" DUST[%2d] = (%4d, %4d), (%4d, %4d) = %3.2f, %3.2f \n", i, spot.x1, spot.y1,
                     spot.x2, spot.y2, rova_pim_dust_hundredth(spot.min100),
                     rova_pim_dust_hundredth(spot.max100));
    }
}

} // namespace

int CheckDust(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    static int32_t number = 0;
    rova_pim_dust_grid grid;
    if (cfg.iDustOn == 0 || rova_pim_dust_begin(image, cfg, &grid) != 0)
        return 0;
    row_buffers &row = buffers_of(grid);
    const auto means = [&](int32_t index) -> std::span<const int32_t> {
        rova_pim_dust_sums(image, grid, index, row.sums);
        rova_pim_dust_means(grid, row.sums, row.means);
        return row.means;
    };
    rova_pim_dust_parts blobs;
    rova_pim_dust_search({image, cfg, grid, means, false, number}, blobs);
    while (rova_pim_dust_merge(blobs)) {
    }
    keep(blobs, cfg);
    rova_pim_dust_end(cfg);
    return 0;
}
