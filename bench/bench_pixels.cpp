// The sums over a picture of 5472 x 3648, each as a ratio to one plain read of the bytes that it
// has to look at.
#include "bench/pictures.h"

namespace
{

using bench::HEIGHT;
using bench::PICTURE;
using bench::PLANE;
using bench::WIDTH;

rova_pim_rows strip_at(const uint8_t *plane, std::size_t y, std::size_t rows)
{
    return {plane + y * WIDTH, WIDTH, rows};
}

void BM_Sum(benchmark::State &state, bool portable)
{
    bench::measure(state, PLANE, portable, [](const uint8_t *picture) {
        benchmark::DoNotOptimize(rova_pim_sum_bytes({picture, PLANE}));
    });
}

void BM_Blocks(benchmark::State &state, bool portable, std::size_t side)
{
    std::vector<uint64_t> sums(WIDTH / side);
    bench::measure(state, PLANE, portable, [&](const uint8_t *picture) {
        for (std::size_t y = 0; y + side <= HEIGHT; y += side)
            rova_pim_sum_blocks(strip_at(picture, y, side), side, side, sums);
        benchmark::DoNotOptimize(sums);
    });
}

void BM_Columns(benchmark::State &state, bool portable)
{
    std::vector<uint64_t> sums(WIDTH);
    std::vector<uint8_t> minima(WIDTH);
    bench::measure(state, PLANE, portable, [&](const uint8_t *picture) {
        rova_pim_column_stats(strip_at(picture, 0, HEIGHT), sums, minima);
        benchmark::DoNotOptimize(sums);
    });
}

void BM_Colours(benchmark::State &state, bool portable, std::size_t side)
{
    std::vector<rova_pim_rgb_sums> sums(WIDTH / side);
    bench::measure(state, PICTURE, portable, [&](const uint8_t *picture) {
        for (std::size_t y = 0; y + side <= HEIGHT; y += side)
            rova_pim_add_rgb_blocks(strip_at(picture, y, side), strip_at(picture + PLANE, y, side),
                                    0, side, side / 2, sums);
        benchmark::DoNotOptimize(sums);
    });
}

BENCHMARK_CAPTURE(BM_Sum, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_Sum, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_Blocks, best_of_16, false, 16)->UseManualTime();
BENCHMARK_CAPTURE(BM_Blocks, portable_of_16, true, 16)->UseManualTime();
BENCHMARK_CAPTURE(BM_Blocks, best_of_8, false, 8)->UseManualTime();
BENCHMARK_CAPTURE(BM_Blocks, portable_of_8, true, 8)->UseManualTime();
BENCHMARK_CAPTURE(BM_Columns, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_Columns, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_Colours, best_of_16, false, 16)->UseManualTime();
BENCHMARK_CAPTURE(BM_Colours, portable_of_16, true, 16)->UseManualTime();
BENCHMARK_CAPTURE(BM_Colours, best_of_17, false, 17)->UseManualTime();
BENCHMARK_CAPTURE(BM_Colours, portable_of_17, true, 17)->UseManualTime();

} // namespace
