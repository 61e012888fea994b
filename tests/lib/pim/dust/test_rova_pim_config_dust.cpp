#include "tests/lib/pim/config_run.h"
#include "tests/lib/pim/numbers.h"

#include <climits>
#include <cstring>

namespace
{

using testing::Each;
using testing::ElementsAre;

class DustConfig : public test::ConfigRun<test::DustFile>
{
protected:
    // The areas as x1, y1, x2, y2.
    using Corners = std::vector<int32_t>;
    using Places = std::vector<Corners>;
    template <typename area> static Corners corners(const area &a)
    {
        return {a.x1, a.y1, a.x2, a.y2};
    }
    template <typename area, std::size_t N> static Places places(const area (&areas)[N])
    {
        Places all;
        for (const area &a : areas)
            all.push_back(corners(a));
        return all;
    }
    // Of a picture of 1003 x 507 and blocks of 16 x 8, unless said otherwise.
    void load_areas(const test::Said &said = {}) { ASSERT_EQ(load(said), 0); }
};

constexpr char HEAD[] = " Model Name = LUMEN1 : Ver. = v3.12 \n"
                        " Debug Print = 4 [ ON ]  \n"
                        " Result Print = 2  [ ON ]  \n"
                        " Debug File Name = /mnt/mmc/dust_debug.txt \n"
                        " Output File Name for Test Result : /mnt/mmc/dust_result.txt \n\n"
                        " RunDustFunc. = 1 [ON] \n"
                        " Jpeg Save = 0 [OFF] \n"
                        " Raw Save = 2 [ON] \n"
                        " Log Save = 0 [OFF] \n"
                        " Log File Name = /mnt/mmc/dust_log.csv \n"
                        " Pixel Data Save = 0 [OFF] \n"
                        " Pixel Data Range = 16 ,47 \n"
                        " Pixel File Name = /mnt/mmc/dust_pixels.csv \n"
                        " BMP Save = 1 [ ON ] \n"
                        " BMP File = /mnt/mmc/dust_0000.bmp  \n"
                        " Debugging Print Level = 1 2 3 4 5 6 7 8\t\n"
                        " Debugging Option = 8 7 6 5 4 3 2 1\t\n"
                        " Image Size  1003 x  507 \n"
                        " Live View Image Size [ TV  OUT ] : 640 x 481 \n"
                        " Live View Image Size [ LCD OUT ] : 720 x 482 \n"
                        " LCD Size : 800 x 483 \n"
                        " SCREEN OUTPUT TYPE : 0 [ LCD OUT ] \n"
                        " [ MAIN IMG ] CB Offset = 20078592 \n"
                        " [ MAIN IMG ] CR Offset = 20078593 \n";

constexpr char CHECKS[] = " BLOCK SIZE =  16 x   8 \n"
                          " Shading On/Off = 1 [ ON] \n"
                          " Shading Range : U-[ 6 ], L-[7], L-[3], R-[4] blocks \n"
                          " Shading Ref. = 180  \n"
                          " Shading Diff. = 8.25  \n"
                          " Shading Diff*100. = 825  \n"
                          " 4X Shading On/Off = 0 [OFF] \n"
                          " 4X Shading Diff. = 7.00  \n"
                          " 4X Shading Diff*100 = 699  \n"
                          " Exposure/Darness On/Off = 1 [ ON ] \n"
                          " Exposure Y High. = 240  \n"
                          " Exposure Y Low. = 200  \n"
                          " Dust On/Off = 1 [ ON ] \n"
                          " Search Area [%] = 11 80 12 / 13 14 \n"
                          " Exception Block = 1 2 3 4 \n"
                          " Small Dust Block Offset = 4 \n"
                          " Small Dust Pass Ref. = 4.10 4.20 4.30 / 4.40 4.50 \n"
                          " Small Dust Pass Ref*100. =   410   419   430 /   440   450 \n"
                          " Big  Dust Block Offset = 10 \n"
                          " Big  Dust Pass Ref. = 6.10 6.20 6.30 / 6.40 -6.50 \n"
                          " Big  Dust Pass Ref.*100 =   610   620   630 /   640  -650 \n"
                          " Blur Aread [%] = 5 6 7 8 \n"
                          " Blur Pass Ref. = 1.50 \n"
                          " Blur Pass Ref.*100 =   150 \n";

constexpr char AREAS[] = " tExceptArea[0] = (   48,     0) (  939,     8) \n"
                         " tExceptArea[1] = (   48,   491) (  939,   507) \n"
                         " tExceptArea[2] = (    0,     0) (   48,   507) \n"
                         " tExceptArea[3] = (  939,     0) ( 1003,   507) \n"
                         " tSearchArea[0] = (  130,     8) (  863,    55) \n"
                         " tSearchArea[1] = (  130,    55) (  863,   447) \n"
                         " tSearchArea[2] = (  130,   447) (  863,   491) \n"
                         " tSearchArea[3] = (   48,     8) (  130,   491) \n"
                         " tSearchArea[4] = (  863,     8) (  939,   491) \n"
                         " BlurArea[0] = (   50,     0) (  923,    25) \n"
                         " BlurArea[1] = (   50,   477) (  923,   507) \n"
                         " BlurArea[2] = (    0,     0) (   50,   507) \n"
                         " BlurArea[3] = (  923,     0) ( 1003,   507) \n"
                         " tShadingArea[0] = (   48,     0) (  923,    48) \n"
                         " tShadingArea[1] = (   80,   467) (  923,   507) \n"
                         " tShadingArea[2] = (    0,     0) (   80,   507) \n"
                         " tShadingArea[3] = (  923,     0) ( 1003,   507) \n";

constexpr char COLOURS[] = " Color Shading = 1 [ ON ] \n"
                           " Left Win. = S(  10,   20), SZ(100 x 200) \n"
                           " Left Win. = S(  30,   21), SZ(101 x 201) \n"
                           " Left Win. = S(  50,   22), SZ(102 x 202) \n"
                           " ALPHA =   20.50\n";

} // namespace

TEST_F(DustConfig, EveryLineFillsItsField)
{
    load_numbered("iScreenOut");
    test::Numbers n;
    EXPECT_STREQ(cfg.strModelName, "LUMEN1");
    EXPECT_STREQ(cfg.strDbgFile, "/mnt/mmc/dust_debug.txt");
    EXPECT_STREQ(cfg.strOutFile, "/mnt/mmc/dust_result.txt");
    EXPECT_STREQ(cfg.strLogFile, "/mnt/mmc/dust_log.csv");
    EXPECT_STREQ(cfg.strPixelFile, "/mnt/mmc/dust_pixels.csv");
    EXPECT_STREQ(cfg.strBmpFile, "/mnt/mmc/dust_0000.bmp");
    EXPECT_EQ(cfg.iDbgPrint, 0);
    EXPECT_EQ(cfg.iScreenOut, 0);
    n.expect(cfg.iRstPrint, cfg.RunDustFunc, cfg.iJpegSave, cfg.iRawSave, cfg.iLogSave,
             cfg.iPixelSave, cfg.iPixelFrom, cfg.iPixelTo, cfg.iBmpSave, cfg.iDbgLevel,
             cfg.iDbgOption);
    n.expect(cfg.iImgX, cfg.iImgY, cfg.iTvX, cfg.iTvY, cfg.iLcdLiveX, cfg.iLcdLiveY, cfg.iLcdX,
             cfg.iLcdY, cfg.iCbOffset, cfg.iCrOffset, cfg.iBlockX, cfg.iBlockY);
    n.expect(cfg.iShadingOn, cfg.iShadingU, cfg.iShadingLo, cfg.iShadingL, cfg.iShadingR,
             cfg.iShadingRef, cfg.fShadingDiff, cfg.i4xOn, cfg.f4xDiff);
    n.expect(cfg.iExpOn, cfg.iExpHigh, cfg.iExpLow, cfg.iDustOn);
    for (const rova_pim_search_area &area : cfg.tSearchArea)
        n.expect(area.iPercent);
    n.expect(cfg.iExceptU, cfg.iExceptLo, cfg.iExceptL, cfg.iExceptR, cfg.iSmallOffset);
    for (const rova_pim_search_area &area : cfg.tSearchArea)
        n.expect(area.fSmallRef);
    n.expect(cfg.iBigOffset);
    for (const rova_pim_search_area &area : cfg.tSearchArea)
        n.expect(area.fBigRef);
    n.expect(cfg.iBlurU, cfg.iBlurLo, cfg.iBlurL, cfg.iBlurR, cfg.fBlurRef, cfg.iCsOn);
    for (int i = 0; i < PIM_SHADING_WINDOWS; i++)
        n.expect(cfg.iWinX[i], cfg.iWinW[i], cfg.iWinY[i], cfg.iWinH[i]);
    n.expect(cfg.fAlpha);
    EXPECT_EQ(n.next(), 101 + 25 + 12 + 9 + 4 + 5 + 5 + 5 + 1 + 5 + 6 + 12 + 1);
}

TEST_F(DustConfig, EveryLabelIsPrintedInTheFilesOrder)
{
    EXPECT_EQ(printed(), test::CONFIG_START + HEAD + CHECKS + AREAS + COLOURS + test::CONFIG_END);
}

TEST_F(DustConfig, LabelsSayWhatAValueMeans)
{
    expect_label("iRstPrint", "0", " Result Print = 0  [ OFF ]  \n");
    expect_label("RunDustFunc", "0", " RunDustFunc. = 0 [OFF] \n");
    expect_label("iJpegSave", "1", " Jpeg Save = 1 [ON] \n");
    expect_label("iLogSave", "3", " Log Save = 3 [ON] \n");
    expect_label("iPixelSave", "1", " Pixel Data Save = 1 [ON] \n");
    expect_label("iBmpSave", "0", " BMP Save = 0 [ OFF ] \n");
    expect_label("iScreenOut", "2", " SCREEN OUTPUT TYPE : 2 [ TV OUT ] \n");
    expect_label("iShadingOn", "0", " Shading On/Off = 0 [ OFF] \n");
    expect_label("i4xOn", "1", " 4X Shading On/Off = 1 [ON] \n");
    expect_label("iExpOn", "0", " Exposure/Darness On/Off = 0 [ OFF ] \n");
    expect_label("iDustOn", "0", " Dust On/Off = 0 [ OFF ] \n");
    expect_label("iCsOn", "0", " Color Shading = 0 [ OFF ] \n");
}

TEST_F(DustConfig, TheLogTakesItsMode)
{
    ASSERT_EQ(load({{"iLogSave", "2"}}), 0);
    EXPECT_EQ(gLogPrintOnOff, 2);
    ASSERT_EQ(load({{"iLogSave", "0"}}), 0);
    EXPECT_EQ(gLogPrintOnOff, 0);
}

TEST_F(DustConfig, LimitsAreTakenAHundredTimes)
{
    ASSERT_EQ(load(), 0);
    EXPECT_EQ(cfg.iShadingDiff100, 825);
    EXPECT_EQ(cfg.i4xDiff100, 699);
    EXPECT_EQ(cfg.iBlurRef100, 150);
    const int32_t small[] = {410, 419, 430, 440, 450}; // 4.2 is a float below it
    const int32_t big[] = {610, 620, 630, 640, -650};
    for (int i = 0; i < PIM_SEARCH_AREAS; i++) {
        EXPECT_EQ(cfg.tSearchArea[i].iSmallRef100, small[i]) << i;
        EXPECT_EQ(cfg.tSearchArea[i].iBigRef100, big[i]) << i;
    }
}

// The float 1.15 times 100 is 115 in float and less in double.
TEST_F(DustConfig, AHundredTimesIsAFloatProductThatIsCut)
{
    ASSERT_EQ(load({{"fShadingDiff", "1.15"}, {"f4xDiff", "-1.999"}, {"fBlurRef", "8.195"}}), 0);
    EXPECT_EQ(cfg.iShadingDiff100, 115);
    EXPECT_EQ(cfg.i4xDiff100, -199);
    EXPECT_EQ(cfg.iBlurRef100, 819);
}

TEST_F(DustConfig, AHundredTimesIsWhatARecordHasRoomFor)
{
    ASSERT_EQ(load({{"fShadingDiff", "1e30"},
                    {"f4xDiff", "-3e38"},
                    {"fBlurRef", "21474836.48"},
                    {"fBigRef", "-21474834 0 0 0 0"},
                    {"fSmallRef", "21474834 -21474836.48 -21474840 3.4e38 nan"}}),
              0);
    EXPECT_EQ(cfg.iShadingDiff100, INT_MAX);
    EXPECT_EQ(cfg.i4xDiff100, INT_MIN);
    EXPECT_EQ(cfg.iBlurRef100, INT_MAX);
    EXPECT_EQ(cfg.tSearchArea[0].iSmallRef100, 2147483392); // the float below 2^31
    EXPECT_EQ(cfg.tSearchArea[0].iBigRef100, -2147483392);
    EXPECT_EQ(cfg.tSearchArea[1].iSmallRef100, INT_MIN);
    EXPECT_EQ(cfg.tSearchArea[2].iSmallRef100, INT_MIN);
    EXPECT_EQ(cfg.tSearchArea[3].iSmallRef100, INT_MAX);
    EXPECT_EQ(cfg.tSearchArea[4].iSmallRef100, 0);
}

TEST_F(DustConfig, TheBorderThatIsLeftOut)
{
    load_areas();
    EXPECT_EQ(places(cfg.tExceptArea),
              (Places{{48, 0, 939, 8}, {48, 491, 939, 507}, {0, 0, 48, 507}, {939, 0, 1003, 507}}));
}

TEST_F(DustConfig, TheAreasOfTheSearch)
{
    load_areas();
    EXPECT_EQ(places(cfg.tSearchArea), (Places{{130, 8, 863, 55},
                                               {130, 55, 863, 447},
                                               {130, 447, 863, 491},
                                               {48, 8, 130, 491},
                                               {863, 8, 939, 491}}));
}

TEST_F(DustConfig, APercentageIsTakenOfTheWholeSize)
{
    load_areas({{"iImgX", "1099 599"}});
    EXPECT_THAT(corners(cfg.tSearchArea[1]), ElementsAre(142, 65, 946, 528));
    EXPECT_THAT(corners(cfg.BlurArea[0]), ElementsAre(54, 0, 1012, 29));
    EXPECT_THAT(corners(cfg.BlurArea[1]), ElementsAre(54, 564, 1012, 599));
}

TEST_F(DustConfig, ThePercentageOfTheMiddlePlaysNoPart)
{
    load_areas();
    const Places before = places(cfg.tSearchArea);
    load_areas({{"iPercent", "11 7 12 13 14"}});
    EXPECT_EQ(places(cfg.tSearchArea), before);
}

TEST_F(DustConfig, TheBlurredBorderHasAFifthAreaThatStaysEmpty)
{
    load_areas();
    EXPECT_EQ(places(cfg.BlurArea), (Places{{50, 0, 923, 25},
                                            {50, 477, 923, 507},
                                            {0, 0, 50, 507},
                                            {923, 0, 1003, 507},
                                            {0, 0, 0, 0}}));
}

TEST_F(DustConfig, TheLeftEdgeOfTheBlurComesFromTheUpperPercentage)
{
    load_areas();
    const Places before = places(cfg.BlurArea);
    load_areas({{"iBlurU", "5 6 70 8"}});
    EXPECT_EQ(places(cfg.BlurArea), before);
    load_areas({{"iBlurU", "20 6 7 8"}});
    EXPECT_THAT(corners(cfg.BlurArea[2]), ElementsAre(0, 0, 200, 507));
}

TEST_F(DustConfig, TheAreasOfTheShading)
{
    load_areas();
    EXPECT_EQ(
        places(cfg.tShadingArea),
        (Places{{48, 0, 923, 48}, {80, 467, 923, 507}, {0, 0, 80, 507}, {923, 0, 1003, 507}}));
}

TEST_F(DustConfig, OfTheShadingsRangeOnlyTheUpperAndLeftValuesAreUsed)
{
    load_areas();
    const Places before = places(cfg.tShadingArea);
    load_areas({{"iShadingU", "6 70 3 40"}});
    EXPECT_EQ(places(cfg.tShadingArea), before);
}

TEST_F(DustConfig, AreasOfTheGreatestNumbersAreCutToTheRecord)
{
    load_areas({{"iImgX", "2147483647 2147483647"},
                {"iBlockX", "2147483647 -2147483648"},
                {"iPercent", "2147483647 0 100 -2147483648 2147483647"},
                {"iExceptU", "-2147483648 2147483647 2147483647 -2147483648"},
                {"iBlurU", "2147483647 -2147483648 0 2147483647"},
                {"iShadingU", "2147483647 0 2147483647 0"}});
    EXPECT_EQ(cfg.tExceptArea[0].x1, 1);            // (2^31 - 1)^2
    EXPECT_EQ(cfg.tExceptArea[0].y2, 0);            // 2^62
    EXPECT_EQ(cfg.tSearchArea[2].y1, 0);            // a hundred percent off
    EXPECT_EQ(cfg.tShadingArea[0].x1, 1);           // (2^31 - 1)^2
    EXPECT_EQ(cfg.tShadingArea[2].x2, INT_MAX - 4); // 5 x (2^31 - 1)
}

TEST_F(DustConfig, AreasOfNothingAreEmpty)
{
    load_areas({{"iImgX", "0 0"}, {"iBlockX", "0 0"}});
    EXPECT_THAT(places(cfg.tSearchArea), Each(Each(0)));
    EXPECT_THAT(places(cfg.BlurArea), Each(Each(0)));
}

TEST_F(DustConfig, ALoadLeavesNoResultsBehind)
{
    std::memset(&cfg, 0x55, sizeof(cfg));
    std::memset(&gMotExifInfo, 0x55, sizeof(gMotExifInfo));
    ASSERT_EQ(load(), 0);
    for (int32_t verdict :
         {cfg.iShadingOk, cfg.iShadingRst, cfg.i4xOk, cfg.i4xRst, cfg.iExpOk, cfg.iExpRst,
          cfg.iDustOk, cfg.iDustRst, cfg.iCsOk, cfg.iCsRst, cfg.iTotal})
        EXPECT_EQ(verdict, -99);
    EXPECT_EQ(cfg.iDCnt, 0);
    EXPECT_EQ(cfg.fExpY, 0);
    EXPECT_EQ(cfg.fCsVal, 0);
    EXPECT_THAT(corners(cfg.tShadingPos), Each(0));
    EXPECT_EQ(test::bytes_of(gMotExifInfo), std::string(200, '\0'));
}

TEST_F(DustConfig, AFailedLoadKeepsThePicturesName)
{
    std::strcpy(gMotExifInfo.filename, "SAM_0001.JPG");
    std::string without_last = test::lines_text(test::DUST_LINES);
    without_last.resize(without_last.rfind('\n', without_last.size() - 2) + 1);
    for (const std::string &text : {std::string("LUMEN1\n"), without_last}) {
        EXPECT_EQ(load_text(text), -1);
        EXPECT_STREQ(gMotExifInfo.filename, "SAM_0001.JPG");
    }
}
