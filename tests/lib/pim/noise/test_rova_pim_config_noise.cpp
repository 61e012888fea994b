#include "tests/lib/pim/config_run.h"
#include "tests/lib/pim/numbers.h"

#include <cstring>

namespace
{

using testing::Each;
using testing::HasSubstr;
using testing::Not;

using NoiseConfig = test::ConfigRun<test::NoiseFile>;

constexpr char LABELS[] = " Model Name = LUMEN1 : Ver. = v3.12 \n"
                          " Debug Print = 4 [ ON ]  \n"
                          " Result Print = 2  [ ON ]  \n"
                          " Debug File Name = /mnt/mmc/noise_debug.txt \n"
                          " Output File Name = /mnt/mmc/noise_result.txt \n"
                          " RunNoiseFunc. = 1 [ON] \n"
                          " Jpeg Save = 0 [OFF] \n"
                          " Raw Save = 2 [ON] \n"
                          " Debugging Print Level = 1 2 3 4 5 6 7 8\t\n\n"
                          " Debugging Option = 8 7 6 5 4 3 2 1\t\n\n"
                          " Image Size : 5472 x   48 \n"
                          " Live View Image Size [ TV  OUT ] : 640 x 481 \n\n"
                          " Live View Image Size [ LCD OUT ] : 720 x 482 \n\n"
                          " LCD Size : 800 x 483 \n\n"
                          " SCREEN OUTPUT TYPE : 0 [ LCD OUT ] \n\n"
                          " [ MAIN IMG ] CB Offset = 20078592 \n"
                          " [ MAIN IMG ] CR Offset = 20078593 \n"
                          " Number of Sub Blocks = 24 16 \n"
                          " Sub Block Size = 226 225 \n"
                          " ISO DEFINE : LOW ISO = 100 , HIGH ISO = 1600 \n"
                          " ISO =   100  \n"
                          " Normalizing Base :  0  \n"
                          " Dot Noise = 1 [ ON ] \n"
                          " Y Spec. = 124.00 : 120.00  \n"
                          " Y's Max-Min Spec. = 4.25 : 8.50  \n"
                          " Normalized Y's Max-Min Spec. = 4.50 : 8.00  \n"
                          " Color Noise = 0 [ OFF ] \n"
                          " RED   Spec. = 121.00 111.00 \n"
                          " GREEN Spec. = 122.00 112.00 \n"
                          " BLUE  Spec. = 123.00 113.00 \n"
                          " RED -GREEN  Diff. = 6.00 :  10.00 \n"
                          " BLUE - GREEN Diff. = 7.00 : 11.00 \n"
                          " (R-G)Max - (R-G)Min Diff. = 8.00 : 12.00 \n"
                          " (B-G)Max - (B-G)Min Diff. = 9.00 : 13.00 \n"
                          " Line Noise = -1 [ ON ] \n"
                          " Line Diff. = -2.50 : 4.00 \n"
                          " Line Offset = 60 : -80 \n";

} // namespace

TEST_F(NoiseConfig, EveryLineFillsItsField)
{
    load_numbered("iScreenOut");
    test::Numbers n;
    EXPECT_STREQ(cfg.strModelName, "LUMEN1");
    EXPECT_STREQ(cfg.strDbgFile, "/mnt/mmc/noise_debug.txt");
    EXPECT_STREQ(cfg.strOutFile, "/mnt/mmc/noise_result.txt");
    EXPECT_EQ(cfg.iDbgPrint, 0);
    EXPECT_EQ(cfg.iScreenOut, 0);
    n.expect(cfg.iRstPrint, cfg.RunNoiseFunc, cfg.iJpegSave, cfg.iRawSave, cfg.iDbgLevel,
             cfg.iDbgOption);
    n.expect(cfg.iImgX, cfg.iImgY, cfg.iTvX, cfg.iTvY, cfg.iLcdLiveX, cfg.iLcdLiveY, cfg.iLcdX,
             cfg.iLcdY, cfg.iCbOffset, cfg.iCrOffset);
    n.expect(cfg.iNX, cfg.iNY, cfg.iDivX, cfg.iDivY, cfg.iIsoLow, cfg.iIsoHigh, cfg.iIso);
    n.expect(cfg.iNormBase, cfg.iDotOn, cfg.fYSpec, cfg.fYMaxMinSpec, cfg.fNormMaxMinSpec);
    n.expect(cfg.iColorOn, cfg.fRedSpec, cfg.fGreenSpec, cfg.fBlueSpec, cfg.fRGDiffSpec,
             cfg.fBGDiffSpec, cfg.fRGMaxMinSpec, cfg.fBGMaxMinSpec);
    n.expect(cfg.iLineOn, cfg.fLineDiff, cfg.iLineOffset);
    EXPECT_EQ(n.next(), 101 + 20 + 10 + 7 + 8 + 15 + 5);
}

TEST_F(NoiseConfig, EveryLabelIsPrintedInTheFilesOrder)
{
    EXPECT_EQ(printed(), test::CONFIG_START + LABELS + test::CONFIG_END);
}

TEST_F(NoiseConfig, LabelsSayWhatAValueMeans)
{
    expect_label("iRstPrint", "0", " Result Print = 0  [ OFF ]  \n");
    expect_label("RunNoiseFunc", "0", " RunNoiseFunc. = 0 [OFF] \n");
    expect_label("iJpegSave", "1", " Jpeg Save = 1 [ON] \n");
    expect_label("iScreenOut", "2", " SCREEN OUTPUT TYPE : 2 [ TV OUT ] \n\n");
    expect_label("iDotOn", "0", " Dot Noise = 0 [ OFF ] \n");
    expect_label("iColorOn", "2", " Color Noise = 2 [ ON ] \n");
    expect_label("iLineOn", "0", " Line Noise = 0 [ OFF ] \n");
}

TEST_F(NoiseConfig, TheIsoChoosesItsSpecs)
{
    ASSERT_EQ(load(), 0);
    EXPECT_EQ(cfg.iIsoIdx, 0);
    ASSERT_EQ(load({{"iIso", "1600"}}), 0);
    EXPECT_EQ(cfg.iIsoIdx, 1);
    ASSERT_EQ(load({{"iIsoLow", "1600 1600"}, {"iIso", "1600"}}), 0);
    EXPECT_EQ(cfg.iIsoIdx, 0);
}

TEST_F(NoiseConfig, AnIsoThatIsNoneOfTheTwoIsReportedAndLeavesTheIndex)
{
    const std::string text = printed({{"iIso", "400"}});
    EXPECT_THAT(text, HasSubstr(" ISO =   400  \n WRONG ISO = 400 \n Normalizing Base :"));
    EXPECT_TRUE(camera.logged("WRONG ISO = 400"));
    EXPECT_EQ(cfg.iIso, 400);
    EXPECT_EQ(cfg.iIsoIdx, 0);
    EXPECT_THAT(printed(), Not(HasSubstr("WRONG ISO")));
}

TEST_F(NoiseConfig, ALoadLeavesNoResultsBehind)
{
    std::memset(&cfg, 0x55, sizeof(cfg));
    std::memset(&gMotExifInfo, 0x55, sizeof(gMotExifInfo));
    ASSERT_EQ(load(), 0);
    for (int32_t verdict :
         {cfg.iDotOk, cfg.iDotRst, cfg.iColorOk, cfg.iColorRst, cfg.iLineOk, cfg.iLineRst})
        EXPECT_EQ(verdict, -99);
    EXPECT_EQ(cfg.iTotal, 0);
    EXPECT_EQ(cfg.fYMax, 0);
    EXPECT_EQ(cfg.fBGRange, 0);
    EXPECT_EQ(cfg.iLnDeNum, 0);
    EXPECT_THAT(cfg.LnDef, Each(0));
    EXPECT_THAT(cfg.LnDefRst, Each(0));
    EXPECT_EQ(test::bytes_of(gMotExifInfo), std::string(200, '\0'));
}

TEST_F(NoiseConfig, AFailedLoadKeepsThePicturesName)
{
    std::strcpy(gMotExifInfo.filename, "SAM_0001.JPG");
    EXPECT_EQ(load_text("LUMEN1\n"), -1);
    EXPECT_STREQ(gMotExifInfo.filename, "SAM_0001.JPG");
}

TEST_F(NoiseConfig, WhatIsNoNumberStandsForZero)
{
    ASSERT_EQ(load({{"iIsoLow", "x 1600"}, {"iNX", "24"}, {"fYSpec", "nan inf"}, {"iIso", "-"}}),
              0);
    EXPECT_EQ(cfg.iIsoLow, 0);
    EXPECT_EQ(cfg.iIsoHigh, 0);
    EXPECT_EQ(cfg.iNX, 24);
    EXPECT_EQ(cfg.iNY, 0);
    EXPECT_EQ(cfg.fYSpec[0], 0.0F);
    EXPECT_EQ(cfg.iIsoIdx, 0);
}
