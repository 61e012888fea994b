// The dust test of a small picture: both of its paths leave what the plain ones leave, and no
// numbers in the configuration or of the picture's sizes lead out of its bytes.
#include "lib/pim/rova_pim_pixels.h"
#include "tests/lib/pim/dust/random_dust.h"

#include <cstdlib>

namespace
{

using Config = rova_pim_dust_config;
using Check = int (*)(const rova_pim_image &, Config &);
using PlainCheck = int (test::PlainDust::*)();

void expect_same(const test::DustOutcome &one, const test::DustOutcome &other)
{
    if (!(one == other))
        std::abort();
}

// Two bitmaps do not have the same name.
test::DustOutcome nameless(test::DustOutcome outcome)
{
    const std::string name = test::bitmap_of(outcome.text);
    outcome.text.erase(outcome.text.find(name), name.size());
    return outcome;
}

struct Run : test::DustComparison {
    void TestBody() override {}

    // `number` counts the bitmaps as the engine does: none of these cases is refused.
    void compare(const rova_pim_image &picture, const Config &before, Check checked,
                 PlainCheck plain, int32_t &number)
    {
        const auto engine = [&](bool portable) {
            rova_pim_pixels_set_portable(portable);
            return run(before, [&](Config &after) { return checked(picture, after); });
        };
        const test::DustOutcome portable = engine(true);
        expect_same(portable, run(before, [&](Config &after) {
                        return (test::PlainDust(picture, after, number).*plain)();
                    }));
        expect_same(nameless(portable), nameless(engine(false)));
        number += portable.bitmap.empty() ? 0 : 1;
    }
};

// Some numbers become others, good or bad.
void spoil(test::Choices &choices, rova_pim_image &picture, rova_pim_dust_config &cfg)
{
    int32_t *const numbers[] = {&picture.width,
                                &picture.height,
                                &picture.pitch,
                                &picture.iCS,
                                &cfg.iBlockX,
                                &cfg.iBlockY,
                                &cfg.iSmallOffset,
                                &cfg.iBigOffset,
                                &cfg.iImgX,
                                &cfg.iImgY,
                                &cfg.iShadingRef,
                                &cfg.tShadingArea[0].x1,
                                &cfg.tShadingArea[1].y2,
                                &cfg.tShadingArea[3].x2,
                                &cfg.tSearchArea[4].x1,
                                &cfg.iWinX[1],
                                &cfg.iWinW[1],
                                &cfg.iWinH[2],
                                &cfg.iCbOffset,
                                &cfg.iCrOffset};
    for (int32_t *number : numbers) {
        if (choices.chance(15))
            *number = choices.number(-4, 4) * (choices.chance(50) ? 1 : INT32_MAX / 4);
    }
}

void run_any(test::Choices &choices, rova_pim_image picture, rova_pim_dust_config cfg)
{
    cfg.iCsOn = 1;
    cfg.iRstPrint = 2; // to memory
    cfg.iPixelSave = cfg.iBmpSave = cfg.iLogSave = 0;
    spoil(choices, picture, cfg);
    for (const int32_t in_one_pass : {0, 1}) {
        cfg.iDbgOption[1] = in_one_pass;
        RunDust(picture, cfg);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    static Run run; // its camera is made once, as the engine's counters are
    static int32_t bitmaps, bitmaps_in_one_pass;
    test::RandomDust random(std::span(data, size));
    rova_pim_dust_config cfg = {};
    random.configure(cfg);
    const rova_pim_image picture = random.picture(cfg);
    run.compare(picture, cfg, CheckDust, &test::PlainDust::check, bitmaps);
    run.compare(picture, cfg, CheckDustAll, &test::PlainDust::check_all, bitmaps_in_one_pass);
    gDbgPrintOnOff = gLogPrintOnOff = 0;
    run_any(random, picture, cfg);
    return 0;
}
