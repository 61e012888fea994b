// The dust test of a small picture: both of its paths leave what the plain ones leave, and no
// numbers in the configuration or of the picture's sizes lead out of its bytes.
#include "lib/pim/rova_pim_pixels.h"
#include "tests/lib/pim/dust/random_dust.h"

#include <cstdlib>

namespace
{

// Each counts as the engine does: none of these cases is refused.
int32_t bitmaps, bitmaps_in_one_pass;

struct Run : test::DustComparison {
    ~Run() override { rova_pim_pixels_set_portable(false); }
    void TestBody() override {}

    void compare(const rova_pim_image &picture, const rova_pim_dust_config &before)
    {
        using Config = rova_pim_dust_config;
        expect_same(run(before, [&](Config &after) { return CheckDust(picture, after); }),
                    run(before, [&](Config &after) {
                        return test::PlainDust(picture, after, bitmaps).check();
                    }));
        expect_same(run(before, [&](Config &after) { return CheckDustAll(picture, after); }),
                    run(before, [&](Config &after) {
                        return test::PlainDust(picture, after, bitmaps_in_one_pass).check_all();
                    }));
    }

private:
    static void expect_same(const test::DustOutcome &fast, const test::DustOutcome &plain)
    {
        if (!(fast == plain))
            std::abort();
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
    Run run;
    test::RandomDust random(std::span(data, size));
    rova_pim_dust_config cfg = {};
    random.configure(cfg);
    const rova_pim_image picture = random.picture(cfg);
    for (const bool portable : {false, true}) {
        rova_pim_pixels_set_portable(portable);
        run.compare(picture, cfg);
    }
    gDbgPrintOnOff = gLogPrintOnOff = 0;
    run_any(random, picture, cfg);
    return 0;
}
