// The noise and the dust test of a picture of 5472 x 3648 without faults, with the configurations
// of examples/config, each as a ratio to plain reads of what its steps have to look at.  How much
// longer the plain versions of the tests take is `plain_of_fast`.
#include "bench/pictures.h"
#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/noise/rova_pim_noise.h"
#include "tests/lib/pim/dust/plain_dust.h"
#include "tests/lib/pim/dust/plain_shading.h"
#include "tests/lib/pim/noise/plain_noise.h"
#include "tests/support/camera.h"

#include <fstream>
#include <iterator>
#include <string>

namespace
{

using bench::HEIGHT;
using bench::PICTURE;
using bench::PLANE;
using bench::WIDTH;

constexpr int32_t IN_MEMORY = 2; // where the result row goes

// A camera that has loaded an example.
template <typename Config> struct Loaded {
    test::Camera camera;
    Config cfg = {};

    Loaded(const char *name, int (*read)(const char *, Config *, const char *))
    {
        std::ifstream example(std::string(EXAMPLES) + "/" + name);
        camera.write("/mnt/mmc/test.cfg", {std::istreambuf_iterator<char>(example), {}});
        if (read("/mnt/mmc/test.cfg", &cfg, "LUMEN1") != 0)
            std::abort();
        cfg.iRstPrint = IN_MEMORY;
        cfg.iCbOffset = cfg.iCrOffset = static_cast<int32_t>(PLANE);
    }
};
struct Noise : Loaded<rova_pim_noise_config> {
    Noise() : Loaded("noise_lumen1.cfg", rova_pim_read_config_noise) {}
};
struct Dust : Loaded<rova_pim_dust_config> {
    Dust() : Loaded("dust_lumen1.cfg", rova_pim_read_config_dust) {}
    explicit Dust(int32_t in_one_pass) : Dust() { cfg.iDbgOption[1] = in_one_pass; }
};

// A few dusts in all pictures, as long as this lives.
class Specks
{
public:
    static constexpr int32_t COUNT = 3;

    Specks() { turn_over(); }
    ~Specks() { turn_over(); }
    Specks(const Specks &) = delete;
    Specks &operator=(const Specks &) = delete;

private:
    static void turn_over()
    {
        constexpr std::size_t SIDE = 40, AT[COUNT][2] = {{1000, 700}, {2700, 1800}, {4000, 3000}};
        constexpr uint8_t DARKER = 64; // a bit of what the pictures' bytes are
        for (std::size_t i = 0; i < bench::PICTURES; i++) {
            uint8_t *picture = bench::next_picture();
            for (const auto &[left, top] : AT) {
                for (std::size_t at = 0; at < SIDE * SIDE; at++)
                    picture[(top + at / SIDE) * WIDTH + left + at % SIDE] ^= DARKER;
            }
        }
    }
};

rova_pim_image image_of(const uint8_t *picture)
{
    return {{picture, PICTURE}, WIDTH, HEIGHT, WIDTH, CS422_Y_CbCr};
}

void read_luma()
{
    benchmark::DoNotOptimize(bench::read_plain(bench::next_picture(), PLANE));
}

void read_both()
{
    benchmark::DoNotOptimize(bench::read_plain(bench::next_picture(), PICTURE));
}

// What the three checks of the noise test look at.
void read_for_noise()
{
    read_luma();
    read_luma();
    read_both();
}

void read_every_second_row()
{
    const rova_pim_rows rows = {bench::next_picture(), std::size_t{2} * WIDTH, HEIGHT / 2};
    benchmark::DoNotOptimize(bench::read_rows(rows, WIDTH));
}

void read_luma_of(const rova_pim_corners &part)
{
    const auto from = [](int32_t x, int32_t y) {
        return static_cast<std::size_t>(x) + static_cast<std::size_t>(y) * WIDTH;
    };
    const rova_pim_rows rows = {bench::next_picture() + from(part.x1, part.y1), WIDTH,
                                static_cast<std::size_t>(part.y2 - part.y1)};
    benchmark::DoNotOptimize(bench::read_rows(rows, static_cast<std::size_t>(part.x2 - part.x1)));
}

// What the five checks of the dust test look at, each from memory: the bands of the border, every
// second row, once more, the luma, and three windows of luma and chroma, as many bytes of each.
void read_for_dust(const rova_pim_dust_config &cfg)
{
    for (const rova_pim_corners &band : cfg.tShadingArea)
        read_luma_of(band);
    read_every_second_row();
    read_every_second_row();
    read_luma();
    for (int i = 0; i < PIM_SHADING_WINDOWS; i++) {
        const rova_pim_corners window = {cfg.iWinX[i], cfg.iWinY[i], cfg.iWinX[i] + cfg.iWinW[i],
                                         cfg.iWinY[i] + cfg.iWinH[i]};
        read_luma_of(window);
        read_luma_of(window);
    }
}

// -1 if the dusts were not found.
int find_specks(int result, const rova_pim_dust_config &cfg)
{
    return result == 0 && cfg.iDCnt == Specks::COUNT ? 0 : -1;
}

// A picture that fails is not what is measured.
void expect_passed(int result, benchmark::State &state)
{
    if (result != 0)
        state.SkipWithError("the picture failed");
}

// `check` is called with a picture, `plain` with one of another turn.
template <typename Read, typename Check, typename Plain>
void compare_with_plain(benchmark::State &state, bool portable, const Read &read,
                        const Check &check, const Plain &plain)
{
    double running = 0;
    bench::compare(state, portable, read, [&](const uint8_t *picture) {
        running += bench::timed([&] { expect_passed(check(image_of(picture)), state); });
    });
    const uint8_t *picture = bench::next_picture();
    const double plain_seconds =
        bench::timed([&] { expect_passed(plain(image_of(picture)), state); });
    state.counters["plain_of_fast"] =
        plain_seconds * static_cast<double>(state.iterations()) / running;
}

void BM_RunNoise(benchmark::State &state, bool portable)
{
    Noise noise;
    compare_with_plain(
        state, portable, read_for_noise,
        [&](const rova_pim_image &image) { return RunNoise(image, noise.cfg); },
        [&](const rova_pim_image &image) {
            return test::PlainNoise{image, noise.cfg, noise.camera}.run();
        });
}

void BM_DotNoise(benchmark::State &state, bool portable)
{
    Noise noise;
    compare_with_plain(
        state, portable, read_luma,
        [&](const rova_pim_image &image) { return CheckDotNoise(image, noise.cfg); },
        [&](const rova_pim_image &image) {
            return test::PlainNoise{image, noise.cfg, noise.camera}.dot();
        });
}

void BM_ColorNoise(benchmark::State &state, bool portable)
{
    Noise noise;
    compare_with_plain(
        state, portable, read_both,
        [&](const rova_pim_image &image) { return CheckColorNoise(image, noise.cfg); },
        [&](const rova_pim_image &image) {
            return test::PlainNoise{image, noise.cfg, noise.camera}.color();
        });
}

void BM_LineNoise(benchmark::State &state, bool portable)
{
    Noise noise;
    compare_with_plain(
        state, portable, read_luma,
        [&](const rova_pim_image &image) { return CheckLineNoise(image, noise.cfg); },
        [&](const rova_pim_image &image) {
            return test::PlainNoise{image, noise.cfg, noise.camera}.line();
        });
}

void BM_4xShading(benchmark::State &state, bool portable)
{
    Dust dust;
    compare_with_plain(
        state, portable, read_every_second_row,
        [&](const rova_pim_image &image) { return Check4xShading(image, dust.cfg); },
        [&](const rova_pim_image &image) { return test::plain_4x_shading(image, dust.cfg); });
}

void BM_Exposure(benchmark::State &state, bool portable)
{
    Dust dust;
    compare_with_plain(
        state, portable, read_every_second_row,
        [&](const rova_pim_image &image) { return CheckExposure(image, dust.cfg); },
        [&](const rova_pim_image &image) { return test::plain_exposure(image, dust.cfg); });
}

void BM_CheckDust(benchmark::State &state, bool portable)
{
    const Specks specks;
    Dust dust;
    int32_t number = 0;
    compare_with_plain(
        state, portable, read_luma,
        [&](const rova_pim_image &image) {
            return find_specks(CheckDust(image, dust.cfg), dust.cfg);
        },
        [&](const rova_pim_image &image) {
            return find_specks(test::PlainDust(image, dust.cfg, number).check(), dust.cfg);
        });
}

// Shading, 4x shading, exposure and dust.
void BM_CheckDustAll(benchmark::State &state, bool portable)
{
    const Specks specks;
    Dust dust;
    int32_t number = 0;
    compare_with_plain(
        state, portable, read_luma,
        [&](const rova_pim_image &image) {
            return find_specks(CheckDustAll(image, dust.cfg), dust.cfg);
        },
        [&](const rova_pim_image &image) {
            return find_specks(test::PlainDust(image, dust.cfg, number).check_all(), dust.cfg);
        });
}

// The five checks, one after the other.
void BM_RunDust(benchmark::State &state, bool portable)
{
    const Specks specks;
    Dust dust(0);
    int32_t number = 0;
    compare_with_plain(
        state, portable, [&] { read_for_dust(dust.cfg); },
        [&](const rova_pim_image &image) {
            return find_specks(RunDust(image, dust.cfg), dust.cfg);
        },
        [&](const rova_pim_image &image) {
            test::plain_shading(image, dust.cfg);
            test::plain_4x_shading(image, dust.cfg);
            test::plain_exposure(image, dust.cfg);
            test::PlainDust(image, dust.cfg, number).check();
            return find_specks(test::plain_color_shading(image, dust.cfg), dust.cfg);
        });
}

// All but colour shading in one pass.
void BM_RunDustInOnePass(benchmark::State &state, bool portable)
{
    const Specks specks;
    Dust dust(1);
    int32_t number = 0;
    compare_with_plain(
        state, portable, read_luma,
        [&](const rova_pim_image &image) {
            return find_specks(RunDust(image, dust.cfg), dust.cfg);
        },
        [&](const rova_pim_image &image) {
            return find_specks(test::PlainDust(image, dust.cfg, number).check_all(), dust.cfg);
        });
}

BENCHMARK_CAPTURE(BM_RunNoise, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_RunNoise, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_DotNoise, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_DotNoise, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_ColorNoise, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_ColorNoise, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_LineNoise, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_LineNoise, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_RunDust, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_RunDust, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_RunDustInOnePass, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_RunDustInOnePass, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_CheckDust, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_CheckDust, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_CheckDustAll, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_CheckDustAll, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_4xShading, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_4xShading, portable, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_Exposure, best, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_Exposure, portable, true)->UseManualTime();

} // namespace
