// Full-size pictures of noise, more of them than any cache holds, and how long a plain read of
// their bytes takes.
#pragma once

#include "lib/pim/rova_pim_image.h"
#include "lib/pim/rova_pim_pixels.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <random>
#include <vector>

namespace bench
{

inline constexpr int32_t WIDTH = 5472;
inline constexpr int32_t HEIGHT = 3648;
inline constexpr std::size_t PLANE = std::size_t{WIDTH} * HEIGHT;
inline constexpr std::size_t PICTURE = 2 * PLANE; // of luma, then Cb and Cr
inline constexpr std::size_t PICTURES = 16;       // 640 MB

// A flat grey with some noise.  The next call gives another picture, which is in no cache.
inline uint8_t *next_picture()
{
    static std::vector<uint8_t> all = [] {
        std::mt19937 random(1);
        std::vector<uint8_t> bytes(PICTURE * PICTURES);
        for (std::size_t i = 0; i < PICTURE; i++)
            bytes[i] = static_cast<uint8_t>((i < PLANE ? 216 : 124) + random() % 8);
        for (std::size_t i = 1; i < PICTURES; i++)
            std::copy_n(bytes.begin(), PICTURE,
                        bytes.begin() + static_cast<std::ptrdiff_t>(i * PICTURE));
        return bytes;
    }();
    static std::size_t turn = 0;
    return all.data() + turn++ % PICTURES * PICTURE;
}

// Every byte of these rows, as fast as it comes: from eight rows at the same time, while the next
// eight are fetched.  Half a line of the cache at once: with less, reading takes a tenth longer.
#ifdef __x86_64__
__attribute__((target_clones("arch=x86-64-v3", "default")))
#endif
inline uint64_t
read_rows(const rova_pim_rows &rows, std::size_t width)
{
    using half = uint64_t __attribute__((vector_size(32), aligned(1), may_alias));
    constexpr std::size_t ROWS = 8, LINE = 2 * sizeof(half);
    half left = {}, right = {};
    for (std::size_t y = 0; y + ROWS <= rows.count; y += ROWS) {
        for (std::size_t x = 0; x + LINE <= width; x += LINE) {
            const uint8_t *line = rows.first + y * rows.pitch + x;
            for (std::size_t row = 0; row < ROWS; row++, line += rows.pitch) {
                __builtin_prefetch(line + ROWS * rows.pitch, 0, 2);
                left ^= reinterpret_cast<const half *>(line)[0];
                right ^= reinterpret_cast<const half *>(line)[1];
            }
        }
    }
    left ^= right;
    return left[0] ^ left[1] ^ left[2] ^ left[3];
}

// The same of bytes in a row.
inline uint64_t read_plain(const uint8_t *bytes, std::size_t count)
{
    constexpr std::size_t ROW = 1024;
    return read_rows({bytes, ROW, count / ROW}, ROW);
}

// Of this thread: other programs of the machine may take turns with it.
inline double seconds_run()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <typename Step> double timed(const Step &step)
{
    const double begin = seconds_run();
    step();
    return seconds_run() - begin;
}

inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

// Takes turns: read(), then step(picture).  The counter is the median of the steps' times over that
// of the reads'.
template <typename Read, typename Step>
void compare(benchmark::State &state, bool portable, const Read &read, const Step &step)
{
    std::vector<double> reads, steps;
    rova_pim_pixels_set_portable(portable);
    for (auto _ : state) {
        reads.push_back(timed(read));
        const uint8_t *picture = next_picture();
        steps.push_back(timed([&] { step(picture); }));
        state.SetIterationTime(steps.back());
    }
    rova_pim_pixels_set_portable(false);
    state.counters["of_read"] = median(steps) / median(reads);
}

// The same with one read of a picture's first bytes.
template <typename Step>
void measure(benchmark::State &state, std::size_t bytes, bool portable, const Step &step)
{
    compare(
        state, portable, [&] { benchmark::DoNotOptimize(read_plain(next_picture(), bytes)); },
        step);
}

} // namespace bench
