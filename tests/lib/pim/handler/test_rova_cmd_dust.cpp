#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/rova_app_table.h"
#include "tests/lib/pim/handler/still_family.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <functional>

using test::NG;
using testing::ContainsRegex;
using testing::ElementsAre;

namespace
{

class Dust : public test::StillFamilyTest
{
protected:
    Dust() : StillFamilyTest("dust") {}

    // All checks are on and have passed, but the whole has not; then as `change` says.  What the
    // command leaves on the screen.
    std::vector<std::string> shown(const std::function<void()> &change)
    {
        load_config();
        for (int32_t *on : {&cfgDust.iShadingOn, &cfgDust.i4xOn, &cfgDust.iExpOn, &cfgDust.iDustOn,
                            &cfgDust.iCsOn})
            *on = 1;
        for (int32_t *ok : {&cfgDust.iShadingOk, &cfgDust.i4xOk, &cfgDust.iExpOk, &cfgDust.iDustOk,
                            &cfgDust.iCsOk})
            *ok = 1;
        cfgDust.iTotal = 0;
        cfgDust.iImgX = 5472;
        cfgDust.iImgY = 3648;
        cfgDust.iLcdX = 720;
        cfgDust.iLcdY = 480;
        change();
        leave_result("T\n", "D\n");
        EXPECT_EQ(run("dust display_result on r.csv"), NG);
        return new_drawings();
    }
};

void add_spot(const rova_pim_corners &at)
{
    cfgDust.iDustOk = 0;
    cfgDust.tDust[cfgDust.iDCnt++] = {at.x1, at.y1, at.x2, at.y2, 0, 0};
}

// In a process of its own: the camera's folder is gone before that ends.
[[noreturn]] void display_at_start()
{
    {
        const test::Camera camera;
        rova_cmd_response answer = {};
        const cmd_data record = test::line_record("dust display_result on r.csv");
        rova_app_cmd_exec(rova_app_cmds(), &record, &answer);
        std::fprintf(stderr, "answer %d\n", answer.result);
    }
    std::exit(0);
}

} // namespace

TEST(DustAtStart, NoConfigurationIsLoaded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(display_at_start(), testing::ExitedWithCode(0), "answer 1");
}

TEST_F(Dust, TheTotalIsPrinted)
{
    shown([] {});
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_dust_display_result, [0-9]+, final 0 \n"));
}

TEST_F(Dust, TheFirstCheckThatFailedIsNamed)
{
    EXPECT_THAT(shown([] { cfgDust.iShadingOk = cfgDust.i4xOk = cfgDust.iDustOk = 0; }).back(),
                "20 Corner");
    EXPECT_THAT(shown([] { cfgDust.i4xOk = cfgDust.iExpOk = cfgDust.iCsOk = 0; }),
                ElementsAre("20 4xShading"));
    EXPECT_THAT(shown([] { cfgDust.iExpOk = cfgDust.iDustOk = 0; }), ElementsAre("20 Exposure"));
    EXPECT_THAT(shown([] { cfgDust.iDustOk = cfgDust.iCsOk = 0; }), ElementsAre("20 Dust"));
    EXPECT_THAT(shown([] { cfgDust.iCsOk = 0; }), ElementsAre("20 Color Shade"));
}

TEST_F(Dust, ACheckThatIsOffOrDidNotRunIsNotNamed)
{
    const auto drawn = shown([] {
        cfgDust.iShadingOk = cfgDust.i4xOk = 0;
        cfgDust.iShadingOn = cfgDust.i4xOn = 0;
        cfgDust.iExpOk = PIM_NO_RESULT;
        cfgDust.iCsOk = 0;
    });
    EXPECT_THAT(drawn, ElementsAre("20 Color Shade"));
    EXPECT_THAT(shown([] { cfgDust.iCsOk = PIM_NO_RESULT; }), ElementsAre("20 -99"));
}

TEST_F(Dust, TheStepsFourNumbersMoveUpByTwo)
{
    const auto drawn = shown([] {
        cfgDust.iShadingOk = 0;
        cfgDust.tShadingPos = {380, 760, 2280, 3040};
        add_spot({0, 0, 1, 1});
    });
    EXPECT_THAT(drawn, ElementsAre("50 48, 98, 298, 398, red", "20 Corner"));
}

TEST_F(Dust, SpotsAreFramedTwoPixelsOut)
{
    const auto drawn = shown([] {
        add_spot({0, 0, 15, 15});
        add_spot({380, 760, 2280, 3040});
        add_spot({5456, 3632, 5471, 3647});
    });
    EXPECT_THAT(drawn, ElementsAre("50 -2, -2, 3, 3, red", "50 48, 98, 302, 402, red",
                                   "50 715, 475, 721, 481, red", "20 Dust"));
}

TEST_F(Dust, PositionsThatAreToldInPixelsOfTheLcdAreNotScaledAgain)
{
    const auto corner = shown([] {
        cfgDust.iDbgOption[3] = 1;
        cfgDust.iShadingOk = 0;
        cfgDust.tShadingPos = {380, 760, 2280, 3040};
    });
    EXPECT_THAT(corner, ElementsAre("50 48, 98, 298, 398, red", "20 Corner"));
    const auto spots = shown([] {
        cfgDust.iDbgOption[3] = 1;
        add_spot({380, 760, 2280, 3040});
    });
    EXPECT_THAT(spots, ElementsAre("50 48, 98, 302, 402, red", "20 Dust"));
}

TEST_F(Dust, AnotherNumberOfThatOptionLeavesTheScalingToTheCommand)
{
    const auto drawn = shown([] {
        cfgDust.iDbgOption[3] = 2;
        add_spot({380, 760, 2280, 3040});
    });
    EXPECT_THAT(drawn, ElementsAre("50 48, 98, 302, 402, red", "20 Dust"));
}

TEST_F(Dust, EachAxisHasItsOwnScale)
{
    const auto drawn = shown([] {
        cfgDust.iLcdX = 800;
        add_spot({1368, 912, 2736, 1824});
    });
    EXPECT_THAT(drawn, ElementsAre("50 198, 118, 402, 242, red", "20 Dust"));
}

TEST_F(Dust, AtMostEighteenSpotsAreFramed)
{
    const auto drawn = shown([] {
        for (int32_t i = 0; i < PIM_DUST; i++)
            add_spot({76 * i, 0, 76 * i, 0});
    });
    ASSERT_EQ(drawn.size(), 19U);
    EXPECT_EQ(drawn[17], "50 168, -2, 172, 2, red");
    EXPECT_EQ(drawn[18], "20 Dust");
}

// A configuration without sizes cannot be scaled by.
TEST_F(Dust, WithoutThePicturesSizeThePlacesStayInItsPixels)
{
    const auto drawn = shown([] {
        cfgDust.iImgX = cfgDust.iImgY = 0;
        add_spot({10, 20, 30, 40});
    });
    EXPECT_THAT(drawn, ElementsAre("50 8, 18, 32, 42, red", "20 Dust"));
}

TEST_F(Dust, PlacesOnAnLcdOfTheGreatestSizeAreStillNumbers)
{
    const auto drawn = shown([] {
        cfgDust.iImgX = cfgDust.iImgY = 1;
        cfgDust.iLcdX = cfgDust.iLcdY = INT_MIN;
        add_spot({1, 0, 1, 0});
    });
    EXPECT_THAT(drawn, ElementsAre("50 2147483646, -2, -2147483646, 2, red", "20 Dust"));
}
