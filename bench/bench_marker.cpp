// The search for colour markers: a sliding box of 12 x 12 over 400 x 400 values that are all
// visited, and a screen nail's four markers.  Both against the plain search and against one plain
// read of the values that have to be looked at, from planes that together exceed every cache.
#include "bench/pictures.h"
#include "lib/pim/mot/rova_pim_marker.h"
#include "tests/lib/pim/mot/marker_chart.h"
#include "tests/lib/pim/mot/plain_marker.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace
{

constexpr int32_t SIDE = 400;
constexpr int32_t ARRAY = 12;
constexpr std::size_t STRIP = SIDE * SIDE;
constexpr std::size_t STRIPS = 1024; // 160 MB

// Values around the middle of the range, so that no box is without one.
const std::vector<uint8_t> &values()
{
    static const std::vector<uint8_t> all = [] {
        std::mt19937 random(1);
        std::vector<uint8_t> bytes(STRIP * STRIPS);
        for (uint8_t &byte : bytes)
            byte = static_cast<uint8_t>(100 + random() % 56);
        return bytes;
    }();
    return all;
}

const uint8_t *strip(std::size_t turn)
{
    return values().data() + turn % STRIPS * STRIP;
}

// All bytes of a strip but the last few.
uint64_t read_strip(const uint8_t *bytes)
{
    constexpr std::size_t ROW = 640;
    return bench::read_rows({bytes, ROW, STRIP / ROW}, ROW);
}

void walk_strip(const uint8_t *bytes, rova_pim_histogram *histogram, bool portable)
{
    int64_t hits = 0;
    rova_pim_walk_boxes({{bytes, STRIP}, SIDE, SIDE},
                        {.w = ARRAY,
                         .h = ARRAY,
                         .min = 120,
                         .max = 255,
                         .count = 0,
                         .step = rova_pim_row_step::AFTER_IN_RANGE,
                         .trace = false,
                         .portable = portable},
                        histogram, [&](const rova_pim_hits &found) { hits += found.to; });
    benchmark::DoNotOptimize(hits);
}

void plain_boxes(const uint8_t *bytes, rova_pim_histogram &histogram)
{
    int64_t hits = 0;
    for (int32_t y = 0; y < SIDE - ARRAY; y++) {
        for (int32_t x = 0; x < SIDE - ARRAY; x++) {
            int32_t sum = 0, count = 0;
            for (int32_t j = y; j < y + ARRAY; j++) {
                for (int32_t i = x; i < x + ARRAY; i++) {
                    const uint8_t value = bytes[j * SIDE + i];
                    sum += value;
                    count += value >= 120;
                    histogram.counts[value]++;
                }
            }
            hits += sum / (ARRAY * ARRAY) >= 120 && count >= 0;
        }
    }
    benchmark::DoNotOptimize(hits);
}

// A search counts the values for a histogram only where it is printed.
void BM_SlidingBox(benchmark::State &state, bool portable, bool counted)
{
    std::vector<double> reading, walking;
    rova_pim_histogram histogram = {};
    std::size_t turn = 0;
    for (auto _ : state) {
        reading.push_back(
            bench::timed([&] { benchmark::DoNotOptimize(read_strip(strip(turn++))); }));
        walking.push_back(bench::timed(
            [&] { walk_strip(strip(turn++), counted ? &histogram : nullptr, portable); }));
        state.SetIterationTime(walking.back());
    }
    const double plain = bench::timed([&] { plain_boxes(strip(turn), histogram); });
    benchmark::DoNotOptimize(histogram);
    state.counters["of_read"] = bench::median(walking) / bench::median(reading);
    state.counters["plain_of_read"] = plain / bench::median(reading);
}
BENCHMARK_CAPTURE(BM_SlidingBox, best, false, false)->UseManualTime()->MinTime(1);
BENCHMARK_CAPTURE(BM_SlidingBox, best_with_histogram, false, true)->UseManualTime()->MinTime(1);
BENCHMARK_CAPTURE(BM_SlidingBox, portable, true, false)->UseManualTime()->MinTime(1);
BENCHMARK_CAPTURE(BM_SlidingBox, portable_with_histogram, true, true)->UseManualTime()->MinTime(1);

// Markers in the middle of a grey picture: most boxes are skipped.
void BM_ScreenNail(benchmark::State &state)
{
    test::Camera camera;
    test::MarkerPicture picture(CS422_Y_CbCr);
    picture.paint_markers();
    rova_pim_buffers_allocate(1600, 1200);
    test::configure_markers(cfgPm);
    double searching = 0, plain = 0;
    for (auto _ : state) {
        const double seconds = bench::timed(
            [&] { rova_pim_search_screen_nail(picture.image, PIM_COLOUR_CR, 0, cfgPm); });
        searching += seconds;
        state.SetIterationTime(seconds);
        plain += bench::timed(
            [&] { test::plain_search_screen_nail(picture.image, PIM_COLOUR_CR, 0, cfgPm); });
    }
    state.counters["plain_of_fast"] = plain / searching;
    rova_pim_buffers_free();
}
BENCHMARK(BM_ScreenNail)->UseManualTime();

} // namespace
