#include "tests/lib/pim/dust/dust_run.h"

#include <climits>
#include <cstring>

namespace
{

constexpr char FILE_NAME[] = "/mnt/mmc/dust.csv";
constexpr char TITLE[] =
    "File, Total , SanGaRim,   ,   ,   ,   ,     , Shading,     ,    ,     , Exposure,  , "
    "Color Shading,  ,  ,  ,  ,  ,  ,  ,  ,  ,  ,  , Dust   ,    \n";
constexpr char COLUMNS[] =
    "Name, Result, Result  , P1, P1, Y1, Y2, Diff, Result ,  Min, Max, Diff, Result  , Y, "
    "Result       , L-Y, L-CB, L-CR, C-Y, C-CB, C-CR, R-Y, R-CB, R-CR, S.Val, S.ALPHA, Result , "
    "D1,Y1,D2,Y2,D3,Y3,D4,Y4,D5,Y5,D6,Y6,D7,Y7,D8,Y8,D9,Y9, \n";

std::string repeated(const std::string &text, int times)
{
    std::string all;
    for (int i = 0; i < times; i++)
        all += text;
    return all;
}

const std::string NOTHING = "HVXF0001.JPG, -,-,-,-,-, -,-,-,-,-,-,-,-,-," + repeated("-,", 11) +
                            "-," + repeated("-,", 32) + "\n";

class DustResult : public test::DustRun
{
protected:
    DustResult()
    {
        say(cfg.strOutFile, FILE_NAME);
        say(gMotExifInfo.filename, "HVXF0001.JPG");
        mode(PIM_RESULT_DIRECT);
    }
    void mode(int32_t value) { cfg.iRstPrint = gRstPrintOpt = value; }
    void write() { WriteDustResult(cfg); }
    std::string file() const { return camera.read(FILE_NAME); }
    // All checks ran; the middle of the first dust is truncated.
    void fill()
    {
        cfg.iTotal = 0;
        cfg.iShadingRst = 0;
        cfg.tShadingPos = {1, 2, 3, 4};
        cfg.fShadingC = 60.5F;
        cfg.fShadingN = 90.25F;
        cfg.fShadingD = 29;
        cfg.i4xRst = 1;
        cfg.f4xMin = 99;
        cfg.f4xMax = 101.5F;
        cfg.f4xD = 2;
        cfg.iExpRst = 1;
        cfg.fExpY = 100.125F;
        cfg.iCsRst = 1;
        for (int i = 0; i < 3; i++) {
            cfg.fCsY[i] = static_cast<float>(10 * i + 1);
            cfg.fCsCb[i] = static_cast<float>(10 * i + 2);
            cfg.fCsCr[i] = static_cast<float>(10 * i + 3);
        }
        cfg.fCsSVal = 4.5F;
        cfg.fAlpha = 7;
        cfg.iDustRst = 0;
        cfg.iDCnt = 2;
        cfg.tDust[0] = {10, 20, 13, 25, 4050, 5025};
        cfg.tDust[1] = {30, 40, 30, 40, 0, -150};
    }
    const std::string whole =
        "HVXF0001.JPG, NG,NG,\"(1, 2)\",\"(3, 4)\",60.50, 90.25,29.00,OK,99.00,101.50,2.00,OK,"
        "100.12,OK,1.00,2.00,3.00,11.00,12.00,13.00,21.00,22.00,23.00,4.50,7.00,NG,"
        "\"(11, 22)\",\"(40.50, 50.25)\",\"(30, 40)\",\"(0.00, -1.50)\"," +
        repeated(", ", 30) + "\n";
};

} // namespace

TEST_F(DustResult, ARowOfAllChecks)
{
    fill();
    write();
    EXPECT_EQ(file(), std::string(TITLE) + COLUMNS + whole);
}

TEST_F(DustResult, ChecksThatDidNotRunHaveADashForEachColumn)
{
    write();
    EXPECT_EQ(file(), std::string(TITLE) + COLUMNS + NOTHING);
}

TEST_F(DustResult, ADashStandsForAnyOtherVerdict)
{
    fill();
    cfg.iTotal = cfg.iExpRst = 5;
    write();
    EXPECT_NE(file().find("HVXF0001.JPG, -,NG,"), std::string::npos);
    EXPECT_NE(file().find(",2.00,-,100.12,OK,"), std::string::npos);
}

TEST_F(DustResult, HeadsAreWrittenToANewFileOnly)
{
    for (const int32_t value : {PIM_RESULT_DIRECT, PIM_RESULT_BUFFERED}) {
        mode(value);
        camera.write(FILE_NAME, "x");
        write();
        write();
        EXPECT_EQ(file(), std::string("x") + TITLE + COLUMNS + NOTHING + NOTHING);
        camera.write(FILE_NAME, "xy");
        write();
        EXPECT_EQ(file(), "xy" + NOTHING);
        camera.remove(FILE_NAME);
    }
    EXPECT_STREQ(pPtpTile, "");
}

TEST_F(DustResult, TheFilesSizeIsPrinted)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    camera.write(FILE_NAME, "12345");
    EXPECT_EQ(test::captured_output([&] { write(); }), " OUTFILE SIZE = 5 \n");
}

TEST_F(DustResult, AKeptRowHasItsSecondHeadBeforeIt)
{
    mode(PIM_RESULT_KEPT);
    fill();
    for (int i = 0; i < 2; i++) {
        write();
        EXPECT_STREQ(pPtpTile, TITLE);
        EXPECT_EQ(std::string(pRstData), COLUMNS + whole);
    }
    EXPECT_FALSE(camera.exists(FILE_NAME));
}

TEST_F(DustResult, AnotherModeWritesNothing)
{
    mode(3);
    write();
    EXPECT_FALSE(camera.exists(FILE_NAME));
    EXPECT_STREQ(pRstData, "");
    EXPECT_STREQ(pPtpTile, "");
}

TEST_F(DustResult, AFileThatCannotBeOpenedIsReported)
{
    say(cfg.strOutFile, "/mnt/mmc/missing/dust.csv");
    write();
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/missing/dust.csv"));
    EXPECT_STREQ(pRstData, "");
}

TEST_F(DustResult, TheMostDustLeavesNoEmptyEntry)
{
    fill();
    for (rova_pim_dust_spot &spot : cfg.tDust)
        spot = {INT_MAX, INT_MAX, INT_MAX, INT_MAX, 100, 200};
    const std::string entry = "\"(2147483647, 2147483647)\",\"(1.00, 2.00)\",";
    for (const int32_t found : {32, 33, INT_MAX}) {
        cfg.iDCnt = found;
        camera.remove(FILE_NAME);
        write();
        EXPECT_TRUE(file().ends_with("7.00,NG," + repeated(entry, 32) + "\n"));
    }
}

TEST_F(DustResult, TheMiddleOfAnyPlaceIsCutTowardsZero)
{
    fill();
    cfg.iDCnt = 1;
    cfg.tDust[0] = {INT_MIN, -3, INT_MAX, 2, 100, 200};
    write();
    EXPECT_NE(file().find(",NG,\"(0, 0)\",\"(1.00, 2.00)\","), std::string::npos);
}

TEST_F(DustResult, ANameWithoutAnEndIsCut)
{
    std::memset(&gMotExifInfo, 'n', sizeof(gMotExifInfo));
    write();
    EXPECT_NE(file().find("\n" + std::string(64, 'n') + ", -,-,"), std::string::npos);
}
