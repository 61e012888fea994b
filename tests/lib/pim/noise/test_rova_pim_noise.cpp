#include "tests/lib/pim/noise/noise_run.h"
#include "tests/lib/pim/noise/random_noise.h"

#include <climits>
#include <cstring>
#include <memory>
#include <utility>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

class Noise : public test::NoiseRun
{
protected:
    Noise()
    {
        cfg.iColorOn = cfg.iLineOn = 1;
        blocks(4, 3, 10, 10);
    }
    std::vector<int32_t> verdicts() const
    {
        return {cfg.iDotOk, cfg.iColorOk, cfg.iLineOk, cfg.iTotal};
    }
    std::vector<int32_t> positions(int32_t *count)
    {
        int32_t all[PIM_NOISE_LINES];
        text = test::captured_output([&] { GetNoiseLinePositions(all, count, cfg); });
        return {std::begin(all), std::end(all)};
    }
    void make_dot() const { picture.paint(0, 0, 16, 16, 40); }
    void make_colour() const
    {
        for (int32_t y = 0; y < 16; y++) {
            for (int32_t pair = 0; pair < 8; pair++)
                picture.cr(pair, y) = 150;
        }
    }
    void make_line() const { picture.paint(20, 0, 1, Y, 110); }

    std::string text;
};

constexpr int32_t NONE = PIM_NO_RESULT;

} // namespace

TEST_F(Noise, ACleanPicturePassesAllChecksInTheirOrder)
{
    const std::string rule = " " + std::string(80, '=') + "\n";
    text = run();
    EXPECT_EQ(result, 0);
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 1, 1));
    EXPECT_THAT(text, StartsWith(rule +
                                 " <<<<< Run  Noise Detection ... >>>>>"
                                 "                                            \n" +
                                 rule + " <<<<< Start Checking Dot Noise"));
    EXPECT_LT(text.find("End  Checking Dot"), text.find("Start Checking Color"));
    EXPECT_LT(text.find("End  Checking Color"), text.find("Start Checking Line"));
    EXPECT_THAT(text, HasSubstr(" OUTFILE SIZE = 0 \n <<<<< Stop Noise Detection ... >>>>>"
                                "                                            \n"));
    EXPECT_THAT(file(), HasSubstr("\nIMG_0013.JPG,OK,ISO 100,OK,"));
}

TEST_F(Noise, ADotEndsTheTestAndLeavesTheOthersOut)
{
    make_dot();
    make_colour();
    make_line();
    text = run();
    EXPECT_EQ(result, -1);
    EXPECT_THAT(text, HasSubstr(" ERROR ~~! : Found Dot Noise. \n OUTFILE SIZE"));
    EXPECT_THAT(text, Not(HasSubstr("Color")));
    EXPECT_THAT(verdicts(), ElementsAre(0, NONE, NONE, 0));
    std::string dashes;
    for (int i = 0; i < 6 + 33; i++)
        dashes += "-,";
    EXPECT_THAT(file(), HasSubstr("," + dashes + "\n"));
}

TEST_F(Noise, AColourEndsTheTestAndLeavesTheLinesOut)
{
    make_colour();
    make_line();
    text = run();
    EXPECT_EQ(result, -1);
    EXPECT_THAT(text, HasSubstr(" ERROR ~~! : Found Color Noise. \n OUTFILE SIZE"));
    EXPECT_THAT(verdicts(), ElementsAre(1, 0, NONE, 0));
}

TEST_F(Noise, ALineIsFoundLast)
{
    make_line();
    text = run();
    EXPECT_EQ(result, -1);
    EXPECT_THAT(text, HasSubstr(" ERROR ~~! : Found Line Noise.  \n OUTFILE SIZE"));
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 0, 0));
    EXPECT_THAT(file(), HasSubstr(",NG,19,19,, , "));
}

TEST_F(Noise, ChecksThatAreOffDoNotRun)
{
    cfg.iDotOn = cfg.iColorOn = cfg.iLineOn = 0;
    run();
    EXPECT_EQ(result, 0);
    EXPECT_THAT(verdicts(), ElementsAre(NONE, NONE, NONE, NONE));
    cfg.iLineOn = 1;
    run();
    EXPECT_THAT(verdicts(), ElementsAre(NONE, NONE, 1, 1));
}

TEST_F(Noise, ACheckThatIsOffPassesAndTouchesNothing)
{
    cfg.iDotOn = cfg.iColorOn = cfg.iLineOn = 0;
    cfg.iNX = picture.image.height = 0; // which is refused otherwise
    const rova_pim_noise_config before = cfg;
    for (const Check function : {CheckDotNoise, CheckColorNoise, CheckLineNoise}) {
        EXPECT_EQ(check(function), "");
        EXPECT_EQ(result, 0);
        EXPECT_EQ(std::memcmp(&before, &cfg, sizeof(cfg)), 0);
    }
}

TEST_F(Noise, ASecondPictureOverwritesOnlyTheChecksThatRun)
{
    make_line();
    run();
    make_dot();
    run();
    EXPECT_EQ(result, -1);
    EXPECT_THAT(verdicts(), ElementsAre(0, 1, 0, 0));
}

TEST_F(Noise, AWrongBlockSizeIsADotErrorWithoutAVerdict)
{
    run();
    cfg.iDivX = 17;
    text = run();
    EXPECT_EQ(result, -1);
    EXPECT_THAT(text, AllOf(HasSubstr(" Block Size Error : 17 x 10 [ 16 x 16 ] \n"),
                            HasSubstr(" ERROR ~~! : Found Dot Noise. \n")));
    EXPECT_THAT(verdicts(), ElementsAre(1, 1, 1, 1));
}

TEST_F(Noise, DebugTextIsAppendedToItsFile)
{
    const std::string expected = run();
    camera.remove(test::NOISE_RESULT);
    for (const int32_t mode : {PIM_DEBUG_BUFFERED, PIM_DEBUG_DIRECT}) {
        print_modes(mode, PIM_RESULT_DIRECT);
        camera.write(test::NOISE_DEBUG, "before\n");
        EXPECT_EQ(run(), "");
        EXPECT_EQ(camera.read(test::NOISE_DEBUG), "before\n" + expected);
        EXPECT_EQ(gDbgFpState, 0);
        EXPECT_EQ(gDbgFp, nullptr);
        camera.remove(test::NOISE_RESULT);
    }
}

TEST_F(Noise, WithoutDebugPrintNoFileIsMade)
{
    gDbgPrintOnOff = 0;
    EXPECT_EQ(run(), "");
    EXPECT_FALSE(camera.exists(test::NOISE_DEBUG));
}

TEST_F(Noise, OtherDebugPrintsOpenTheFileAndPrintNothing)
{
    for (const int32_t mode : {3, -1}) {
        print_modes(mode, PIM_RESULT_DIRECT);
        EXPECT_EQ(run(), "");
        EXPECT_TRUE(camera.exists(test::NOISE_DEBUG)) << mode;
        EXPECT_EQ(camera.read(test::NOISE_DEBUG), "");
        camera.remove(test::NOISE_DEBUG);
    }
}

TEST_F(Noise, ADebugFileThatCannotBeOpenedIsReportedAndTheTestGoesOn)
{
    print_modes(PIM_DEBUG_DIRECT, PIM_RESULT_DIRECT);
    say(cfg.strDbgFile, "/mnt/mmc/none/noise.txt");
    EXPECT_EQ(run(), "");
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/none/noise.txt"));
    EXPECT_EQ(gDbgFpState, 0);
    EXPECT_THAT(file(), HasSubstr("IMG_0013.JPG,OK,"));
}

TEST_F(Noise, TheIsoChoosesTheLimits)
{
    SetNoiseIso(1600, cfg);
    EXPECT_EQ(cfg.iIso, 1600);
    EXPECT_EQ(cfg.iIsoIdx, 1);
    SetNoiseIso(100, cfg);
    EXPECT_EQ(cfg.iIsoIdx, 0);
    cfg.iIsoHigh = 100;
    SetNoiseIso(100, cfg);
    EXPECT_EQ(cfg.iIsoIdx, 0);
}

TEST_F(Noise, AnIsoThatIsNoneOfTheTwoIsReportedAndLeavesTheIndex)
{
    cfg.iIsoIdx = 1;
    text = test::captured_output([&] { SetNoiseIso(400, cfg); });
    EXPECT_EQ(text, " WRONG ISO = 400 \n");
    EXPECT_TRUE(camera.logged("WRONG ISO = 400"));
    EXPECT_EQ(cfg.iIso, 400);
    EXPECT_EQ(cfg.iIsoIdx, 1);
}

TEST_F(Noise, AccessorsTellTheRecord)
{
    cfg.iDotOk = 1;
    cfg.iColorOk = 2;
    cfg.iLineOk = 3;
    cfg.iTotal = 4;
    cfg.iIso = 5;
    cfg.RunNoiseFunc = 6;
    int32_t values[6];
    GetDotNoiseOk(&values[0], cfg);
    GetColorNoiseOk(&values[1], cfg);
    GetLineNoiseOk(&values[2], cfg);
    GetNoiseTotal(&values[3], cfg);
    GetNoiseIso(&values[4], cfg);
    GetRunNoiseFunc(&values[5], cfg);
    EXPECT_THAT(values, ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(Noise, ThereIsNoTotalUntilACheckHasRun)
{
    cfg.iTotal = 1;
    int32_t total = 0;
    GetNoiseTotal(&total, cfg);
    EXPECT_EQ(total, NONE);
    for (int32_t *verdict : {&cfg.iDotOk, &cfg.iColorOk, &cfg.iLineOk}) {
        *verdict = 1;
        GetNoiseTotal(&total, cfg);
        EXPECT_EQ(total, 1);
        *verdict = NONE;
    }
}

TEST_F(Noise, LinePositionsAreCopiedAsTheyStand)
{
    cfg.iLnDeNum = 2;
    for (int32_t i = 0; i < PIM_NOISE_LINES; i++)
        cfg.LnDef[i] = 10 + i;
    int32_t count = 0;
    EXPECT_EQ(positions(&count), std::vector(cfg.LnDef, cfg.LnDef + PIM_NOISE_LINES));
    EXPECT_EQ(count, 2);
    EXPECT_EQ(text, "");
}

TEST_F(Noise, LinePositionsAreScaledToTheLcdWhenAskedFor)
{
    cfg.iDbgOption[3] = 1;
    cfg.iImgX = 5472;
    cfg.iLcdX = 800;
    cfg.iLnDeNum = 3;
    cfg.LnDef[0] = 5471;
    cfg.LnDef[1] = 0;
    cfg.LnDef[2] = 2736;
    cfg.LnDef[3] = 77;
    int32_t count = 0;
    const std::vector<int32_t> scaled = positions(&count);
    EXPECT_THAT(std::vector(scaled.begin(), scaled.begin() + 4), ElementsAre(799, 0, 400, 77));
    EXPECT_EQ(text, " Line Noise Position [ 0 ] = 799 \n"
                    " Line Noise Position [ 1 ] = 0 \n"
                    " Line Noise Position [ 2 ] = 400 \n");
    cfg.iDbgOption[3] = 2;
    EXPECT_EQ(positions(&count)[0], 5471);
}

TEST_F(Noise, TheNumberOfLinesIsNoMoreThanTheirTableHolds)
{
    const std::pair<int32_t, int32_t> counts[] = {{-1, 0},  {INT_MIN, 0}, {31, 31},
                                                  {32, 32}, {33, 32},     {INT_MAX, 32}};
    for (const int32_t scaled : {0, 1}) {
        cfg.iDbgOption[3] = scaled;
        for (const auto &[found, told] : counts) {
            cfg.iLnDeNum = found;
            int32_t count = -1;
            positions(&count);
            EXPECT_EQ(count, told) << found;
            EXPECT_EQ(std::ranges::count(text, '\n'), scaled * told) << found;
        }
    }
}

TEST_F(Noise, LinePositionsOfAnyConfiguredSizesAreNumbers)
{
    cfg.iDbgOption[3] = 1;
    cfg.iLnDeNum = INT_MAX;
    cfg.LnDef[0] = 5471;
    cfg.iLcdX = INT_MAX;
    cfg.iImgX = -1;
    int32_t count = 0;
    EXPECT_EQ(positions(&count)[0], INT_MIN);
    EXPECT_EQ(count, PIM_NOISE_LINES);
    cfg.iImgX = 0;
    EXPECT_EQ(positions(&count)[0], 5471);
    EXPECT_EQ(text, " no place on the LCD : the configured image is 0 wide \n");
    EXPECT_TRUE(camera.logged("no place on the LCD : the configured image is 0 wide"));
}

using test::NoiseComparison;
using test::NoiseOutcome;

TEST_F(NoiseComparison, EverythingIsAsThePlainTestHasIt)
{
    static constexpr int32_t DEBUG_MODES[] = {0, 1, 2, 4, 4};
    int passed = 0, seen[3] = {};
    const auto plain_record = std::make_unique<rova_pim_noise_config>();
    for (uint32_t seed = 0; seed < 600; seed++) {
        test::RandomNoise random(seed);
        test::NoisePicture random_picture = random.picture();
        random.draw(random_picture);
        random.configure(random_picture.image, cfg);
        print_modes(DEBUG_MODES[random.number(0, 4)], random.number(0, 2));
        const rova_pim_noise_config given = *plain_record = cfg;
        const NoiseOutcome expected = plain(random_picture.image, *plain_record);
        for (const bool portable : {true, false}) {
            rova_pim_pixels_set_portable(portable);
            cfg = given;
            const NoiseOutcome got = engine(random_picture.image);
            ASSERT_EQ(got.result, expected.result) << seed;
            ASSERT_EQ(got.text, expected.text) << seed;
            ASSERT_EQ(got.debug, expected.debug) << seed;
            ASSERT_EQ(got.file, expected.file) << seed;
            ASSERT_EQ(got.title, expected.title) << seed;
            ASSERT_EQ(got.data, expected.data) << seed;
            ASSERT_EQ(std::memcmp(plain_record.get(), &cfg, sizeof(cfg)), 0) << seed;
        }
        passed += expected.result == 0;
        seen[0] += cfg.iDotOk == 0;
        seen[1] += cfg.iColorOk == 0;
        seen[2] += cfg.iLineOk == 0;
    }
    EXPECT_GT(passed, 60);
    for (const int failed : seen)
        EXPECT_GT(failed, 60);
}
