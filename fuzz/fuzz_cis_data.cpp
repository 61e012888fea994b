// The sensor's dot file of any bytes: counts, list and size agree and fit the adjustment data.
#include "common/rova_cis_data.h"

#include <cstdlib>
#include <numeric>
#include <vector>

namespace
{

void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    // A block of its own, so that reading one byte too many is seen.
    const std::vector<char> text(data, data + size);
    rova_cis_dots dots;
    const int parsed = rova_cis_data_parse(text, &dots);
    const rova_cis_data &found = dots.data;
    const int counts[] = {found.pixel_num_b, found.pixel_num_o, found.pixel_num_t,
                          found.pixel_num_w, found.pixel_num_c, found.pixel_num_x,
                          found.pixel_num_s, found.pixel_num_p, found.pixel_num_l};
    for (int count : counts)
        require(count >= 0 && count <= ROVA_CIS_SECTION_PIXEL_MAX);
    const int pixels = std::accumulate(std::begin(counts), std::end(counts), 0);
    require(dots.pixels.size() == static_cast<std::size_t>(pixels));
    require(found.dot_data_size == 4 * pixels);
    require(found.chip_ver >= INT16_MIN && found.chip_ver <= INT16_MAX);
    require(found.clamp_level >= INT16_MIN && found.clamp_level <= INT16_MAX);
    require((parsed == 1) == dots.refused.empty());
    return 0;
}
