// Each check of brightness does what it does plainly.
#include "lib/pim/rova_pim_pixels.h"
#include "tests/lib/pim/dust/dust_run.h"
#include "tests/lib/pim/dust/plain_shading.h"

#include <cstring>
#include <random>

namespace
{

// Pictures and configurations of all kinds, small ones; some of them ask for too much.
class AsPlain : public test::DustRun
{
protected:
    std::mt19937 random{20261122};

    int pick(int from, int to) { return std::uniform_int_distribution(from, to)(random); }
    bool often() { return pick(0, 9) != 0; }

    ~AsPlain() override { rova_pim_pixels_set_portable(false); }

    void paint()
    {
        const int base = pick(0, 255), noise = pick(0, 40);
        for (uint8_t *byte = picture->planes.data(); byte != &*picture->planes.bytes().end();
             byte++)
            *byte = static_cast<uint8_t>(std::clamp(base + pick(-noise, noise), 0, 255));
        for (int i = pick(0, 4); i > 0; i--) {
            const int x = pick(0, cfg.iImgX - 1), y = pick(0, cfg.iImgY - 1);
            picture->fill(x, y, std::min(x + 8, cfg.iImgX - 1), std::min(y + 8, cfg.iImgY - 1),
                          static_cast<uint8_t>(pick(0, 255)));
        }
    }
    void draw()
    {
        take(pick(1, 90), pick(1, 70), 0, pick(0, 9));
        paint();
        constexpr int32_t SPACES[] = {CS422_Y_CbCr, CS422_Y_CbCr, CS422_Y_CbCr,
                                      CS422_YCbYCr, CS422_CbYCrY, CS422_Y_ONLY};
        picture->image.iCS = SPACES[pick(0, 5)];
        if (!often())
            cfg.iImgX = pick(0, 200);
        if (!often())
            cfg.iImgY = pick(0, 200);
        cfg.iShadingOn = cfg.i4xOn = cfg.iExpOn = cfg.iCsOn = often() ? 1 : 0;
        cfg.iLogSave = pick(0, 4);
        cfg.iDbgOption[2] = pick(0, 1);
        cfg.i4xDiff100 = pick(0, 6000);
        cfg.iExpLow = pick(0, 140);
        cfg.iExpHigh = pick(100, 255);
        draw_bands();
        draw_windows();
    }
    void draw_bands()
    {
        cfg.iBlockX = pick(1, 9);
        cfg.iBlockY = pick(1, 9);
        cfg.iShadingU = pick(0, 8);
        cfg.iShadingL = pick(0, 8);
        cfg.iShadingRef = pick(0, 256);
        cfg.iShadingDiff100 = pick(0, 9000);
        test::lay_shading(cfg);
        if (!often())
            cfg.tShadingArea[pick(0, 3)] = {pick(-20, 90), pick(-20, 90), pick(-20, 90),
                                            pick(-20, 90)};
    }
    void draw_windows()
    {
        for (int i = 0; i < 3; i++) {
            cfg.iWinX[i] = pick(often() ? 0 : -2, cfg.iImgX);
            cfg.iWinY[i] = pick(often() ? 0 : -2, cfg.iImgY);
            cfg.iWinW[i] = pick(often() ? 1 : -2, std::max(1, cfg.iImgX - cfg.iWinX[i]));
            cfg.iWinH[i] = pick(often() ? 1 : -2, std::max(1, cfg.iImgY - cfg.iWinY[i]));
        }
        if (!often())
            cfg.iCrOffset = pick(-2000, 12000);
        cfg.fAlpha = static_cast<float>(pick(0, 900)) / 7.0F;
    }
    using check_fn = int (*)(const rova_pim_image &, rova_pim_dust_config &);
    // Runs both from the same record; false where the plain one found a byte missing.
    bool compare(check_fn engine, check_fn plain)
    {
        const rova_pim_dust_config before = cfg;
        const std::string log = log_of(engine);
        const rova_pim_dust_config after = cfg;
        const int returned = result;
        cfg = before;
        bool refused = false;
        const std::string expected = log_of([&](const rova_pim_image &image, auto &record) {
            try {
                return plain(image, record);
            } catch (const test::PlainRefusal &) {
                refused = true;
                return -1;
            }
        });
        EXPECT_EQ(returned, result);
        EXPECT_EQ(log, expected);
        EXPECT_EQ(std::memcmp(&after, &cfg, sizeof(cfg)), 0);
        return !refused;
    }
    void compare_many(check_fn engine, check_fn plain)
    {
        const rova_pim_dust_config first = cfg;
        int whole = 0, passed = 0;
        for (int i = 0; i < 600 && !HasFailure(); i++) {
            SCOPED_TRACE(i);
            cfg = first;
            rova_pim_pixels_set_portable(i % 2 != 0);
            draw();
            whole += compare(engine, plain) ? 1 : 0;
            passed += result == 0 ? 1 : 0;
        }
        EXPECT_GT(whole, 200);
        EXPECT_LT(whole, 600);
        EXPECT_GT(passed, 60);
        EXPECT_GT(whole, passed);
    }
};

} // namespace

TEST_F(AsPlain, ShadingIsFound)
{
    compare_many(CheckSangGaRim, test::plain_shading);
}

TEST_F(AsPlain, QuadrantsAreJudged)
{
    compare_many(Check4xShading, test::plain_4x_shading);
}

TEST_F(AsPlain, ExposureIsJudged)
{
    compare_many(CheckExposure, test::plain_exposure);
}

TEST_F(AsPlain, ColorShadingIsJudged)
{
    compare_many(CheckColorShading, test::plain_color_shading);
}
