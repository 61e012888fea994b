#include "tests/lib/pim/noise/noise_run.h"

#include <climits>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

class LineNoise : public test::NoiseRun
{
protected:
    LineNoise() { cfg.iLineOn = 1; }
    std::string check() { return NoiseRun::check(CheckLineNoise); }
    // The mean of one column becomes another.
    void column(int32_t x, uint8_t value) const { picture.paint(x, 0, 1, Y, value); }
    // One pixel far below its column's mean.
    void dot(int32_t x, int32_t y = 20) const { picture.luma(x, y) = 90; }
    void expect_refused(const std::string &report)
    {
        NoiseRun::expect_refused(CheckLineNoise, report);
    }
};

} // namespace

TEST_F(LineNoise, ACleanPicturePasses)
{
    EXPECT_EQ(check(), " <<<<< Start Checking Line Noise ... >>>>>>>>> iLnDeNum  = 0 \n"
                       " <<<<< End  Checking Line Noise ... >>>>>");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iLineOk, 1);
    EXPECT_EQ(cfg.iLineRst, 1);
    EXPECT_EQ(cfg.iLnDeNumRst, 0);
}

TEST_F(LineNoise, ADarkColumnIsFoundTwiceOnePositionBeforeItself)
{
    column(20, 100);
    EXPECT_THAT(check(),
                HasSubstr(">>>> iLnDeNum  = 2 \n LnDef[0] =   19  \n LnDef[1] =   19  \n"));
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iLineOk, 0);
    EXPECT_EQ(cfg.iLineRst, 0);
    EXPECT_EQ(cfg.iLnDeNumRst, 2);
    EXPECT_EQ(cfg.LnDefRst[0], 19);
    EXPECT_EQ(cfg.LnDefRst[1], 19);
}

TEST_F(LineNoise, ABrightColumnIsFoundOnBothItsSides)
{
    column(20, 160);
    check();
    EXPECT_THAT(lines(), ElementsAre(18, 20));
}

TEST_F(LineNoise, AChangeOfJustTheLimitIsAFault)
{
    picture.paint(30, 0, X - 30, Y, 138);
    check();
    EXPECT_THAT(lines(), ElementsAre(28));
    both(cfg.fLineDiff, 10.01F);
    check();
    EXPECT_THAT(lines(), IsEmpty());
    cfg.fLineDiff[1] = 1;
    cfg.iIsoIdx = 1;
    check();
    EXPECT_THAT(lines(), ElementsAre(28));
}

// 1 of 48 rows one brighter: hundredfold means of 12800 and 12802, cut.
TEST_F(LineNoise, ChangesAreMeasuredInHundredths)
{
    picture.luma(40, 3) = 129;
    both(cfg.fLineDiff, 0.02F);
    check();
    EXPECT_THAT(lines(), ElementsAre(38, 40));
    both(cfg.fLineDiff, 0.0201F);
    check();
    EXPECT_THAT(lines(), IsEmpty());
}

// 0.05 is a float above it, and a hundred times that is 5 in float and more in double.
TEST_F(LineNoise, ALimitIsTakenAHundredTimesInFloat)
{
    picture.image.height = 40;
    picture.luma(40, 3) = 130; // hundredfold means of 12800 and 12805
    both(cfg.fLineDiff, 0.05F);
    check();
    EXPECT_THAT(lines(), ElementsAre(38, 40));
}

TEST_F(LineNoise, APixelBelowItsColumnsDipIsAFaultOfTheWalksPosition)
{
    dot(20);
    check();
    EXPECT_THAT(lines(), ElementsAre(19));
}

// The mean is 127, and so the dip 107.
TEST_F(LineNoise, APixelOfJustTheDipIsNone)
{
    picture.luma(20, 0) = 107;
    check();
    EXPECT_THAT(lines(), IsEmpty());
    picture.luma(20, 0) = 106;
    check();
    EXPECT_THAT(lines(), ElementsAre(19));
    cfg.iLineOffset[1] = 30;
    cfg.iIsoIdx = 1;
    check();
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(LineNoise, ADipAlsoEndsTheComparisonWithTheColumnBefore)
{
    column(20, 160);
    dot(20);
    check();
    EXPECT_THAT(lines(), ElementsAre(19, 20));
}

TEST_F(LineNoise, Column0HasOnlyDips)
{
    dot(0);
    check();
    EXPECT_THAT(lines(), ElementsAre(0));
}

TEST_F(LineNoise, Column1IsNeverRead)
{
    column(1, 0);
    dot(1);
    check();
    EXPECT_EQ(result, 0);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(LineNoise, AStepAtColumn2IsFoundAtPosition1Or0)
{
    picture.paint(2, 0, X - 2, Y, 100);
    check();
    EXPECT_THAT(lines(), ElementsAre(1));
    picture.paint(2, 0, X - 2, Y, 160);
    check();
    EXPECT_THAT(lines(), ElementsAre(0));
}

TEST_F(LineNoise, TheLastColumnIsRead)
{
    dot(X - 1);
    check();
    EXPECT_THAT(lines(), ElementsAre(X - 2));
}

TEST_F(LineNoise, TheWalkEndsAt32Faults)
{
    for (int32_t x = 10; x < X; x++)
        dot(x);
    check();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iLnDeNum, 32);
    EXPECT_EQ(lines().back(), 9 + 31);
    EXPECT_EQ(cfg.LnDefRst[31], 9 + 31);
}

TEST_F(LineNoise, PositionsBehindTheNumberOfFaultsStayAsTheyWere)
{
    dot(20);
    dot(30);
    check();
    picture.luma(20, 20) = 128;
    check();
    EXPECT_EQ(cfg.iLnDeNum, 1);
    EXPECT_THAT(std::vector(cfg.LnDef, cfg.LnDef + 2), ElementsAre(29, 29));
    EXPECT_THAT(std::vector(cfg.LnDefRst, cfg.LnDefRst + 2), ElementsAre(29, 29));
}

// Columns behind the pitch are the next row's then.
TEST_F(LineNoise, APictureWiderThanItsPitchIsCheckedAndFailsInAnyCase)
{
    picture.image.width = PITCH + 2;
    EXPECT_THAT(check(), HasSubstr(" Wrong Size : X =   72 , Y =   48, STRIDE =   70 \n"));
    EXPECT_TRUE(camera.logged("Wrong Size : X =   72 , Y =   48, STRIDE =   70"));
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iLineOk, 1);
    dot(1, 20);
    check();
    EXPECT_THAT(lines(), ElementsAre(PITCH));
    EXPECT_EQ(cfg.iLineOk, 0);
}

TEST_F(LineNoise, APictureOfOneOrTwoColumnsHasColumn0Alone)
{
    dot(0);
    for (const int32_t width : {1, 2}) {
        picture.image.width = width;
        check();
        EXPECT_THAT(lines(), ElementsAre(0));
    }
}

TEST_F(LineNoise, OffsetsAndLimitsOfAnyNumbersAreCompared)
{
    cfg.iLineOffset[0] = INT_MIN; // a dip above any byte
    check();
    EXPECT_EQ(cfg.iLnDeNum, 32);
    cfg.iLineOffset[0] = INT_MAX;
    check();
    EXPECT_EQ(cfg.iLnDeNum, 0);
    both(cfg.fLineDiff, -1);
    check();
    EXPECT_EQ(cfg.iLnDeNum, 32);
}

TEST_F(LineNoise, APictureWithoutPixelsIsRefused)
{
    for (const auto &[x, y] : {std::pair(X, 0), {PITCH + 2, 0}, {0, Y}, {-1, Y}, {X, INT_MIN}}) {
        picture.image.width = x;
        picture.image.height = y;
        expect_refused(" no columns of a picture of " + std::to_string(x) + " x " +
                       std::to_string(y) + " in its 6720 bytes \n");
    }
}

TEST_F(LineNoise, APictureThatItsBytesDoNotHoldIsRefused)
{
    picture.image.bytes = picture.image.bytes.first(47 * PITCH + 63);
    expect_refused(" no columns of a picture of 64 x 48 in its 3353 bytes \n");
    picture.image.height = INT_MAX;
    expect_refused(" no columns of a picture of 64 x 2147483647 in its 3353 bytes \n");
    picture.image.height = 47;
    check();
    EXPECT_EQ(result, 0);
}

TEST_F(LineNoise, OtherColourSpacesHaveTheirLumaElsewhere)
{
    picture.image.width = 32;
    dot(41);
    picture.image.iCS = CS422_CbYCrY;
    check();
    EXPECT_THAT(lines(), ElementsAre(19));
    picture.image.iCS = CS422_YCbYCr;
    check();
    EXPECT_THAT(lines(), IsEmpty());
    picture.image.iCS = CS422_Y_CrCb;
    expect_refused(" no columns of a picture of 32 x 48 in its 6720 bytes \n");
}
