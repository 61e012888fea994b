#include "lib/pim/dust/rova_pim_brightness.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace
{

constexpr int32_t ROW_STEP = 2; // every second row is read

// What the sums are divided by; 0 or less is no size to divide by.  The picture's rows are read at
// twice their distance.
bool are_sizes(const rova_pim_image &image, int64_t divisor, const rova_pim_dust_config &cfg)
{
    if (divisor > 0 && image.width > 0 && image.pitch > 0 && image.pitch <= INT32_MAX / ROW_STEP)
        return true;
    rova_pim_report(" Image Size Error : %d x %d [ %d x %d ] \n", cfg.iImgX, cfg.iImgY, image.width,
                    image.height);
    return false;
}

// The rows that are read from row `from` on, as a picture of their own: every second one.
rova_pim_image read_rows(const rova_pim_image &image, int32_t from)
{
    const std::size_t skipped =
        static_cast<std::size_t>(from) * static_cast<std::size_t>(image.pitch);
    rova_pim_image rows = image;
    rows.bytes = image.bytes.subspan(std::min(skipped, image.bytes.size()));
    rows.pitch = image.pitch * ROW_STEP;
    return rows;
}

// Sums the luma of every second row of a part, whose x2 and y2 are exclusive; it may be empty.
// False, reported: a row is not in the picture.
bool sum_rows(const rova_pim_image &image, const rova_pim_corners &part, uint64_t &sum)
{
    sum = 0;
    if (part.x2 <= part.x1 || part.y2 <= part.y1)
        return true;
    const int32_t last = (part.y2 - part.y1 - 1) / ROW_STEP;
    const rova_pim_rect rect = {part.x1, 0, part.x2 - 1, last};
    const auto [found, count] = GetAreaSum(read_rows(image, part.y1), rect);
    sum = found;
    if (count != 0)
        return true;
    rova_pim_report(" Row Error : ( %d, %d ) ( %d, %d ) is not in the picture \n", part.x1, part.y1,
                    part.x2 - 1, part.y2 - 1);
    return false;
}

// Left and right above, left and right below; times 100.
using quadrant_means = int64_t[4];

bool measure(const rova_pim_image &image, const rova_pim_dust_config &cfg, quadrant_means &means)
{
    const int64_t divisor = int64_t{cfg.iImgY} * (cfg.iImgX / 2) / 4;
    if (!are_sizes(image, divisor, cfg))
        return false;
    const int32_t x = image.width / 2, y = cfg.iImgY / 2;
    const rova_pim_corners parts[] = {
        {0, 0, x, y}, {x, 0, image.width, y}, {0, y, x, cfg.iImgY}, {x, y, image.width, cfg.iImgY}};
    for (std::size_t i = 0; i < std::size(parts); i++) {
        uint64_t sum = 0;
        if (!sum_rows(image, parts[i], sum))
            return false;
        means[i] = static_cast<int64_t>(sum) * 100 / divisor;
    }
    return true;
}

} // namespace

int Check4xShading(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.i4xOn == 0)
        return 0;
    rova_pim_start_4x();
    quadrant_means means = {};
    return measure(image, cfg, means) ? rova_pim_judge_4x(means, cfg) : -1;
}

int CheckExposure(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.iExpOn == 0)
        return 0;
    rova_pim_start_exposure();
    const int64_t divisor = int64_t{cfg.iImgX} * cfg.iImgY / 2;
    uint64_t sum = 0;
    if (!are_sizes(image, divisor, cfg) || !sum_rows(image, {0, 0, image.width, cfg.iImgY}, sum))
        return -1;
    return rova_pim_judge_exposure(sum, static_cast<float>(sum) / static_cast<float>(divisor), cfg);
}
