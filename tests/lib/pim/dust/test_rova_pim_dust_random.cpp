#include "lib/pim/rova_pim_pixels.h"
#include "tests/lib/pim/dust/random_dust.h"

namespace
{

struct RandomDustRun : test::DustComparison, testing::WithParamInterface<bool> {
    RandomDustRun() { rova_pim_pixels_set_portable(GetParam()); }
    ~RandomDustRun() override { rova_pim_pixels_set_portable(false); }
};

std::string pixels_of(const testing::TestParamInfo<bool> &portable)
{
    return portable.param ? "Portable" : "OfThisProcessor";
}

INSTANTIATE_TEST_SUITE_P(Pixels, RandomDustRun, testing::Bool(), pixels_of);

} // namespace

TEST_P(RandomDustRun, CheckDustDoesAsThePlainSearch)
{
    int32_t number = last_number(CheckDust);
    int found = 0, bitmaps = 0, crowded = 0;
    for (uint32_t seed = 0; seed < 3000; seed++) {
        test::RandomDust random(seed);
        rova_pim_dust_config before = {};
        random.configure(before);
        const rova_pim_image picture = random.picture(before);
        const test::DustOutcome fast =
            run(before, [&](auto &after) { return CheckDust(picture, after); });
        const test::DustOutcome plain = run(
            before, [&](auto &after) { return test::PlainDust(picture, after, number).check(); });
        ASSERT_TRUE(fast == plain) << seed << "\n" << fast.text << "\n" << plain.text;
        found += fast.cfg.iDCnt != 0 ? 1 : 0;
        crowded += fast.cfg.iDCnt == PIM_DUST ? 1 : 0;
        bitmaps += fast.bitmap.empty() ? 0 : 1;
    }
    EXPECT_GT(found, 500);
    EXPECT_GT(crowded, 5);
    EXPECT_GT(bitmaps, 200);
}

TEST_P(RandomDustRun, CheckDustAllDoesAsThePlainPass)
{
    int32_t number = last_number(CheckDustAll);
    int shaded = 0, quartered = 0, exposed = 0, found = 0, passed = 0;
    for (uint32_t seed = 0; seed < 3000; seed++) {
        test::RandomDust random(seed);
        rova_pim_dust_config before = {};
        random.configure(before);
        before.iDustOk = before.i4xOk = before.iExpOk = before.iShadingOk = PIM_NO_RESULT;
        const rova_pim_image picture = random.picture(before);
        const test::DustOutcome fast =
            run(before, [&](auto &after) { return CheckDustAll(picture, after); });
        const test::DustOutcome plain = run(before, [&](auto &after) {
            return test::PlainDust(picture, after, number).check_all();
        });
        ASSERT_TRUE(fast == plain) << seed << "\n" << fast.text << "\n" << plain.text;
        shaded += fast.cfg.iShadingOk == 0 ? 1 : 0;
        quartered += fast.cfg.i4xOk == 0 ? 1 : 0;
        exposed += fast.cfg.iExpOk == 0 ? 1 : 0;
        found += fast.cfg.iDustOk == 0 ? 1 : 0;
        passed += fast.result == 0 && fast.cfg.iShadingOk == 1 ? 1 : 0;
    }
    EXPECT_GT(shaded, 50);
    EXPECT_GT(quartered, 50);
    EXPECT_GT(exposed, 50);
    EXPECT_GT(found, 200);
    EXPECT_GT(passed, 50);
}
