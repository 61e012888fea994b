#include "tests/lib/pim/dust/dust_run.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr char DEBUG_FILE[] = "/mnt/mmc/dust_debug.txt";
constexpr char LOG_FILE[] = "/mnt/mmc/dust_log.txt";
constexpr char START[] =
    " ================================================================================\n"
    " <<<<< RunDust. START.... >>>>>                                                   \n"
    " ================================================================================\n";
constexpr char END[] =
    " <<<<< RunDust. END.... >>>>>                                                   \n";

// A good picture of an even grey, of which single places can be spoilt, and all checks on.
class DustTest : public test::DustRun
{
protected:
    DustTest()
    {
        take(160, 120);
        cfg.iBlockX = cfg.iBlockY = 4;
        for (int32_t *on : switches())
            *on = 1;
        cfg.iShadingU = cfg.iShadingL = 5;
        cfg.iShadingRef = 256;
        cfg.iShadingDiff100 = 1000;
        test::lay_shading(cfg);
        cfg.i4xDiff100 = 300;
        cfg.iExpLow = 50;
        cfg.iExpHigh = 150;
        cfg.iSmallOffset = 2;
        cfg.iBigOffset = 4;
        cfg.tSearchArea[1] = {0, 0, 0, 160, 120, 10, 1000, 10, 1000};
        for (int i = 0; i < 3; i++) {
            cfg.iWinX[i] = 20 + 40 * i;
            cfg.iWinY[i] = 50;
            cfg.iWinW[i] = cfg.iWinH[i] = 16;
        }
        cfg.fAlpha = 10;
        say(cfg.strDbgFile, DEBUG_FILE);
        say(cfg.strLogFile, LOG_FILE);
        say(cfg.strOutFile, "/mnt/mmc/dust.csv");
        cfg.iRstPrint = gRstPrintOpt = PIM_RESULT_KEPT;
        gLogPrintOnOff = 0;
        save_debug(PIM_DEBUG_DIRECT);
    }
    ~DustTest() override { rova_pim_set_dust_hook(nullptr); }

    std::vector<int32_t *> switches()
    {
        return {&cfg.iShadingOn, &cfg.i4xOn, &cfg.iExpOn, &cfg.iDustOn, &cfg.iCsOn};
    }
    std::vector<int32_t> verdicts() const
    {
        return {cfg.iShadingOk, cfg.i4xOk, cfg.iExpOk, cfg.iDustOk, cfg.iCsOk};
    }
    void save_debug(int32_t mode) { cfg.iDbgPrint = gDbgPrintOnOff = mode; }
    void save_log(int32_t mode) { cfg.iLogSave = gLogPrintOnOff = mode; }
    // Its debug text.
    std::string run()
    {
        camera.remove(DEBUG_FILE);
        result = RunDust(picture->image, cfg);
        return camera.read(DEBUG_FILE);
    }
    void spoil_border() { picture->fill(0, 40, 3, 43, 50); }
    void spoil_quadrant() { picture->fill(0, 0, 79, 59, 96); }
    void spoil_exposure() { cfg.iExpLow = 140; }
    void spoil_place() { picture->fill(80, 60, 87, 67, 50); }
    void spoil_colour()
    {
        for (int y = 50; y < 66; y++) {
            for (int x = 20; x < 36; x += 2)
                picture->at(x, picture->image.height + y) = 140;
        }
    }
};

constexpr int32_t NONE = PIM_NO_RESULT;

} // namespace

TEST_F(DustTest, AGoodPicturePasses)
{
    EXPECT_THAT(run(),
                AllOf(testing::StartsWith(START), testing::EndsWith(END), Not(HasSubstr("ERROR"))));
    EXPECT_EQ(result, 0);
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 1, 1, 1));
    EXPECT_EQ(cfg.iTotal, 1);
    EXPECT_THAT(pRstData, HasSubstr("\n, OK,OK,\""));
    EXPECT_EQ(gDbgFpState, 0);
    EXPECT_EQ(gLogFpState, 0);
}

TEST_F(DustTest, AShadingErrorEndsTheRun)
{
    spoil_border();
    EXPECT_THAT(run(), HasSubstr(" ERROR ~~! : Found Shading Error. "));
    EXPECT_EQ(result, -1);
    EXPECT_THAT(verdicts(), ElementsAre(0, NONE, NONE, NONE, NONE));
    EXPECT_EQ(cfg.iTotal, 0);
    EXPECT_THAT(pRstData, HasSubstr("\n, NG,NG,\"(0, 40)\",\"(3, 43)\",50.00, 100.00,50.00,"
                                    "-,-,-,-,-,-,-,"));
}

TEST_F(DustTest, AFourTimesShadingErrorEndsTheRun)
{
    spoil_quadrant();
    EXPECT_THAT(run(), HasSubstr(" ERROR ~~! : Found 4xShading Error/ "));
    EXPECT_EQ(result, -1);
    EXPECT_THAT(verdicts(), ElementsAre(1, 0, NONE, NONE, NONE));
    EXPECT_EQ(cfg.iTotal, 0);
}

TEST_F(DustTest, AnExposureErrorEndsTheRun)
{
    spoil_exposure();
    EXPECT_THAT(run(), HasSubstr(" ERROR ~~! : Found Exposure Error. "));
    EXPECT_EQ(result, -1);
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 0, NONE, NONE));
    EXPECT_EQ(cfg.iTotal, 0);
}

TEST_F(DustTest, ColourShadingFollowsDustInAnyCase)
{
    spoil_place();
    EXPECT_THAT(run(), Not(HasSubstr("ERROR")));
    EXPECT_EQ(result, 0);
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 1, 0, 1));
    EXPECT_EQ(cfg.iTotal, 0);
    EXPECT_GT(cfg.iDCnt, 0);
}

TEST_F(DustTest, AColourShadingErrorIsTheLast)
{
    spoil_colour();
    EXPECT_THAT(run(), HasSubstr(" ERROR ~~~! : Found Color Shading Error. "));
    EXPECT_EQ(result, -1);
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 1, 1, 0));
    EXPECT_EQ(cfg.iTotal, 0);
}

TEST_F(DustTest, TheTotalIsOfTheChecksThatAreOn)
{
    for (std::size_t i = 0; i < switches().size(); i++) {
        for (int32_t *on : switches())
            *on = on == switches()[i] ? 1 : 0;
        cfg.iShadingOk = cfg.i4xOk = cfg.iExpOk = cfg.iDustOk = cfg.iCsOk = NONE;
        run();
        EXPECT_EQ(cfg.iTotal, 1) << i;
        EXPECT_EQ(verdicts()[i], 1);
        EXPECT_EQ(std::ranges::count(verdicts(), NONE), 4);
    }
}

TEST_F(DustTest, WithAllChecksOffThereIsNoTotal)
{
    for (int32_t *on : switches())
        *on = 0;
    cfg.iTotal = 1;
    run();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iTotal, NONE);
}

TEST_F(DustTest, ASwitchIsOnUnlessItIsZero)
{
    for (int32_t *on : switches())
        *on = 2;
    run();
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 1, 1, 1));
    EXPECT_EQ(cfg.iTotal, 1);
    spoil_place();
    run();
    EXPECT_EQ(cfg.iTotal, 0);
}

TEST_F(DustTest, AnEarlierFailureCountsWhereACheckDoesNotRun)
{
    spoil_exposure();
    cfg.iDustOn = cfg.iCsOn = 0;
    run();
    EXPECT_EQ(cfg.iTotal, 0);
    cfg.iExpOn = 0; // its verdict stays, and is not asked for
    run();
    EXPECT_EQ(cfg.iExpOk, 0);
    EXPECT_EQ(cfg.iTotal, 1);
}

TEST_F(DustTest, ACheckThatRefusesItsSizesHasNoVerdictAndFails)
{
    cfg.iWinX[2] = 150;
    EXPECT_THAT(run(), HasSubstr(" ERROR ~~~! : Found Color Shading Error. "));
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 1, 1, NONE));
    EXPECT_EQ(cfg.iTotal, 0);
}

// The verdict that a picture before it left is not its own.
TEST_F(DustTest, APictureThatACheckRefusesHasNotPassed)
{
    for (const int32_t in_one_pass : {0, 1}) {
        cfg.iDbgOption[1] = in_one_pass;
        for (int32_t *on : switches()) {
            for (int32_t *other : switches())
                *other = other == on ? 1 : 0;
            if (in_one_pass != 0 && on == &cfg.iCsOn)
                continue; // it does not run
            run();
            EXPECT_EQ(cfg.iTotal, 1);
            const rova_pim_image whole = picture->image;
            picture->image.bytes = {};
            run();
            EXPECT_EQ(cfg.iTotal, 0);
            picture->image = whole;
        }
    }
}

TEST_F(DustTest, TheVerdictOfACheckThatIsOffStays)
{
    run();
    for (int32_t *on : switches())
        *on = 0;
    run();
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 1, 1, 1));
}

TEST_F(DustTest, ARefusedPictureHasNoVerdictOnDust)
{
    run();
    EXPECT_EQ(cfg.iDustOk, 1);
    for (int32_t *on : switches())
        *on = on == &cfg.iDustOn ? 1 : 0;
    picture->image.bytes = {};
    run();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iDustOk, NONE);
    EXPECT_EQ(cfg.iDustRst, NONE);
}

TEST_F(DustTest, InOnePassColourShadingNeverRunsAndCounts)
{
    cfg.iDbgOption[1] = 1;
    run();
    EXPECT_EQ(result, 0);
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 1, 1, NONE));
    EXPECT_EQ(cfg.iTotal, 0);
    cfg.iCsOn = 0;
    run();
    EXPECT_EQ(cfg.iTotal, 1);
}

TEST_F(DustTest, InOnePassTheResultIsNoFailure)
{
    cfg.iDbgOption[1] = -1;
    spoil_exposure();
    EXPECT_THAT(run(), Not(HasSubstr("ERROR ~~")));
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iExpOk, 0);
    EXPECT_EQ(cfg.iTotal, 0);
}

TEST_F(DustTest, TheFilesAreAppendedToAndClosed)
{
    save_log(PIM_DEBUG_BUFFERED);
    save_debug(PIM_DEBUG_BUFFERED);
    camera.write(LOG_FILE, "before\n");
    const std::string text = run();
    EXPECT_THAT(text, AllOf(testing::StartsWith(START), testing::EndsWith(END)));
    EXPECT_THAT(camera.read(LOG_FILE),
                AllOf(testing::StartsWith("before\n <<<<< Start Checking Shading Image"),
                      HasSubstr(" COLOR SHADING SUCCESS")));
    EXPECT_EQ(gLogFp, nullptr);
    EXPECT_EQ(gDbgFp, nullptr);
}

TEST_F(DustTest, TheRowFollowsTheLogAndIsThereBeforeTheEnd)
{
    save_log(PIM_DEBUG_BUFFERED);
    cfg.iRstPrint = gRstPrintOpt = PIM_RESULT_DIRECT;
    EXPECT_THAT(run(), testing::EndsWith(std::string(" OUTFILE SIZE = 0 \n") + END));
    say(cfg.strOutFile, LOG_FILE);
    camera.remove(LOG_FILE);
    EXPECT_THAT(run(), Not(HasSubstr(" OUTFILE SIZE = 0 \n")));
    EXPECT_THAT(camera.read(LOG_FILE),
                HasSubstr(" <<<<< End  Checking Color Shading ... >>>>>, OK,"));
}

TEST_F(DustTest, FilesThatAreNotWantedAreNotOpened)
{
    save_debug(0);
    run();
    EXPECT_FALSE(camera.exists(DEBUG_FILE));
    EXPECT_FALSE(camera.exists(LOG_FILE));
}

TEST_F(DustTest, FilesThatCannotBeOpenedAreReportedAndTheRunGoesOn)
{
    save_log(PIM_DEBUG_DIRECT);
    say(cfg.strDbgFile, "/mnt/mmc/missing/debug.txt");
    say(cfg.strLogFile, "/mnt/mmc/missing/log.txt");
    run();
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/missing/debug.txt"));
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/missing/log.txt"));
    EXPECT_EQ(cfg.iTotal, 1);
}

TEST_F(DustTest, TheHookIsCalledIfItIsWantedAndThere)
{
    static const uint8_t *seen;
    seen = nullptr;
    run();
    cfg.iDbgOption[7] = 1;
    run(); // without a hook
    rova_pim_set_dust_hook([](const rova_pim_image &image) { seen = image.bytes.data(); });
    cfg.iDbgOption[7] = 0;
    run();
    EXPECT_EQ(seen, nullptr);
    cfg.iDbgOption[7] = -1;
    run();
    EXPECT_EQ(seen, picture->planes.data());
}

TEST_F(DustTest, AStillInDustModeIsTested)
{
    const rova_pim_dust_config kept = cfgDust;
    cfgDust = cfg;
    cfgDust.RunDustFunc = 1;
    SetPIMode(PI_MODE_DUST);
    const rova_pim_image &image = picture->image;
    test::captured_output([&] {
        CheckMain(image.pitch, image.height, image.width, image.height, picture->planes.address(),
                  0, 0, 0, 0, 0, 0, 0, 0, 0, 5);
    });
    EXPECT_EQ(cfgDust.iTotal, 1);
    SetPIMode(PI_MODE_NONE);
    cfgDust = kept;
}
