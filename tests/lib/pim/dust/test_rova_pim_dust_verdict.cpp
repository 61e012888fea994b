#include "tests/lib/pim/dust/dust_run.h"

#include <climits>

namespace
{

class DustVerdict : public test::DustRun
{
protected:
    DustVerdict()
    {
        cfg.iImgX = 1600;
        cfg.iImgY = 960;
        cfg.tShadingPos = {100, 51, 203, 85};
        cfg.iDCnt = 2;
        cfg.tDust[0] = {10, 21, 31, 41, 0, 0};
        cfg.tDust[1] = {1599, 959, 1600, 960, 0, 0};
        cfg.tDust[2] = {1, 2, 3, 4, 5, 6};
    }
    std::string shading_position()
    {
        return test::captured_output([&] { GetShadingPosition(position, cfg); });
    }
    std::string dust_positions()
    {
        return test::captured_output([&] { GetDustPositions(positions, &count, cfg); });
    }
    void expect_dust(int i, const std::array<int, 4> &corners)
    {
        const auto [x1, y1, x2, y2] = positions[i];
        EXPECT_EQ((std::array<int, 4>{x1, y1, x2, y2}), corners) << i;
    }
    int32_t position[4] = {};
    rova_pim_corners positions[PIM_DUST] = {};
    int32_t count = 0;
};

using getter = void (*)(int32_t *, const rova_pim_dust_config &);

int32_t got(getter get, const rova_pim_dust_config &cfg)
{
    int32_t value = 12345;
    get(&value, cfg);
    return value;
}

} // namespace

TEST_F(DustVerdict, OfACheckWhoseSwitchIsNotOneIsNone)
{
    struct {
        getter get;
        int32_t *on;
        int32_t *ok;
    } const checks[] = {{GetShadingOk, &cfg.iShadingOn, &cfg.iShadingOk},
                        {Get4xShadingOk, &cfg.i4xOn, &cfg.i4xOk},
                        {GetExposureOk, &cfg.iExpOn, &cfg.iExpOk},
                        {GetDustOk, &cfg.iDustOn, &cfg.iDustOk}};
    for (const auto &[get, on, ok] : checks) {
        for (const int32_t verdict : {1, 0, PIM_NO_RESULT}) {
            *ok = verdict;
            *on = 1;
            EXPECT_EQ(got(get, cfg), verdict);
            for (const int32_t other : {0, 2, -1}) {
                *on = other;
                EXPECT_EQ(got(get, cfg), PIM_NO_RESULT);
            }
        }
        *ok = PIM_NO_RESULT;
    }
}

TEST_F(DustVerdict, OfColoursTheTotalAndTheSwitchAreToldAsTheyStand)
{
    cfg.iCsOn = 0;
    for (const int32_t value : {1, 0, PIM_NO_RESULT, 7}) {
        cfg.iCsOk = cfg.iTotal = cfg.RunDustFunc = value;
        EXPECT_EQ(got(GetColorShadingOk, cfg), value);
        EXPECT_EQ(got(GetDustTotal, cfg), value);
        EXPECT_EQ(got(GetRunDustFunc, cfg), value);
    }
}

TEST_F(DustVerdict, PlacesAreThoseOfThePicture)
{
    EXPECT_EQ(shading_position() + dust_positions(), "");
    EXPECT_EQ(std::to_array(position), (std::array<int, 4>{100, 51, 203, 85}));
    EXPECT_EQ(count, 2);
    expect_dust(0, {10, 21, 31, 41});
    expect_dust(1, {1599, 959, 1600, 960});
    expect_dust(2, {0, 0, 0, 0});
}

TEST_F(DustVerdict, PlacesAreScaledToTheLcdIfWanted)
{
    cfg.iDbgOption[3] = 1;
    EXPECT_EQ(shading_position(), " SangGaRim Position = (50, 25) (101, 42) \n");
    EXPECT_EQ(std::to_array(position), (std::array<int, 4>{50, 25, 101, 42}));
    EXPECT_EQ(dust_positions(), " Dust Position [ 0 ] = (5, 10) (15, 20) \n"
                                " Dust Position [ 1 ] = (799, 479) (800, 480) \n");
    expect_dust(0, {5, 10, 15, 20});
    cfg.iDbgOption[3] = 2;
    shading_position();
    EXPECT_EQ(position[0], 100);
}

TEST_F(DustVerdict, APlaceIsMultipliedFirst)
{
    cfg.iDbgOption[3] = 1;
    cfg.iImgX = 3;
    cfg.iImgY = INT_MAX;
    cfg.tShadingPos = {2, INT_MAX, -2, -INT_MAX};
    EXPECT_EQ(shading_position(), " SangGaRim Position = (533, 480) (-533, -480) \n");
}

TEST_F(DustVerdict, PlacesOfAPictureWithoutASizeAreNotScaled)
{
    cfg.iDbgOption[3] = 1;
    cfg.iImgY = 0;
    EXPECT_EQ(shading_position() + dust_positions(), "");
    EXPECT_EQ(position[0], 100);
    expect_dust(0, {10, 21, 31, 41});
    EXPECT_TRUE(camera.logged("no place on the LCD : the configured image is 1600 x 0"));
}

TEST_F(DustVerdict, MoreDustThanThereIsRoomForIsCountedOnly)
{
    cfg.tDust[31] = {7, 8, 9, 10, 0, 0};
    for (const int32_t found : {33, INT_MAX}) {
        cfg.iDCnt = found;
        dust_positions();
        EXPECT_EQ(count, found);
        expect_dust(31, {7, 8, 9, 10});
    }
    cfg.iDCnt = -1;
    dust_positions();
    EXPECT_EQ(count, -1);
    expect_dust(0, {0, 0, 0, 0});
}
