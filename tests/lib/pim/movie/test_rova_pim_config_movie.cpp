#include "tests/lib/pim/config_run.h"
#include "tests/lib/pim/numbers.h"

#include <climits>
#include <cstring>

namespace
{

using testing::HasSubstr;

using MovieConfig = test::ConfigRun<test::MovieFile>;

constexpr char LABELS[] = " Model Name = LUMEN1 : Ver. = v3.12 \n"
                          " Debug Print = 4 [ ON ]  \n"
                          " Result Print = 2  [ PTP TRANSFER ]  \n"
                          " Debug File Name = /mnt/mmc/movie_debug.txt \n"
                          " Output File Name = /mnt/mmc/movie_result.txt \n\n"
                          " RunNoiseFunc. = 1 [ON] \n"
                          " Raw Save = 0 [OFF] \n"
                          " Err. Raw Save = 2 [ON] \n"
                          " Debugging Print Level = 1 2 3 4 5 6 7 8\t\n\n"
                          " Debugging Option = 8 7 6 5 4 3 2 30\t\n\n"
                          " Image Size : 1280 x   20 \n"
                          " Live View Image Size [ TV  OUT ] : 640 x 481 \n\n"
                          " Live View Image Size [ LCD OUT ] : 720 x 482 \n\n"
                          " LCD Size : 800 x 483 \n\n"
                          " SCREEN OUTPUT TYPE : 0 [ LCD OUT ] \n\n"
                          " [ LCD OUT ] Cb Color Offset = 921600 \n"
                          " [ LCD OUT ] Cr Color Offset = 921601 \n"
                          " [ TV OUT ] Cb Color Offset = 345600 \n"
                          " [ TV OUT ] Cr Color Offset = 345601 \n"
                          " Test Field. = 0.500000  \n"
                          " Red Frame Start = 12 \n"
                          " Red Frame Num. = 4 \n"
                          " Red Frame Inc. = 2 \n"
                          " Red Color Range : 190 - 245  \n"
                          " Red Color X/Y Offset =   8   9 \n"
                          " Red Color X/Y Diff. =   6   7 \n"
                          " Blue Frame Start = 37 \n"
                          " Blue Frame Num. = 5 \n"
                          " Blue Frame Inc. = 3 \n"
                          " Blue Color Range : 191 - 246  \n"
                          " Blue Color X/Y Offset =  10  11 \n"
                          " Blue Color X/Y Diff. = 120 1210 \n"
                          " Audio Test On/Off = 1 [ ON ] \n"
                          " Audio Freq. Spec = 1.00 : [ 0.95 ~ 1.05 ] \n"
                          " Audio Freq. Spec = -20.00 : [ -23.00 ~ -17.00 ] \n";

} // namespace

TEST_F(MovieConfig, EveryLineFillsItsField)
{
    load_numbered("screenOutType");
    test::Numbers n;
    EXPECT_STREQ(cfg.strModelName, "LUMEN1");
    EXPECT_STREQ(cfg.debugFile, "/mnt/mmc/movie_debug.txt");
    EXPECT_STREQ(cfg.resultFile, "/mnt/mmc/movie_result.txt");
    EXPECT_EQ(cfg.dbgPrint, 0);
    EXPECT_EQ(cfg.screenOutType, 0);
    n.expect(cfg.rstPrint, cfg.enableTest, cfg.enableSaveRaw, cfg.enableSaveErrRaw, cfg.dbgLevel,
             cfg.dbgOption);
    n.expect(cfg.imageW, cfg.imageH, cfg.liveTvW, cfg.liveTvH, cfg.liveLcdW, cfg.liveLcdH, cfg.lcdW,
             cfg.lcdH, cfg.cbOffset, cfg.crOffset);
    n.skip(2); // of the television
    n.expect(cfg.testField);
    n.expect(cfg.redStart, cfg.redNum, cfg.redInc, cfg.redMin, cfg.redMax, cfg.redOffX, cfg.redOffY,
             cfg.redDiffX, cfg.redDiffY);
    n.expect(cfg.blueStart, cfg.blueNum, cfg.blueInc, cfg.blueMin, cfg.blueMax, cfg.blueOffX,
             cfg.blueOffY, cfg.blueDiffX, cfg.blueDiffY);
    n.expect(cfg.audioTest, cfg.freqSpec, cfg.freqMin, cfg.freqMax, cfg.dbfsSpec, cfg.dbfsMin,
             cfg.dbfsMax);
    EXPECT_EQ(n.next(), 101 + 20 + 10 + 2 + 1 + 18 + 7);
}

TEST_F(MovieConfig, EveryLabelIsPrintedInTheFilesOrder)
{
    EXPECT_EQ(printed(), test::CONFIG_START + LABELS + test::CONFIG_END);
}

TEST_F(MovieConfig, LabelsSayWhatAValueMeans)
{
    expect_label("rstPrint", "0", " Result Print = 0  [ DIRECT PRINT ]  \n");
    expect_label("rstPrint", "1", " Result Print = 1  [ BUFFERED PRINT ]  \n");
    expect_label("rstPrint", "-1", " Result Print = -1  [ PTP TRANSFER ]  \n");
    expect_label("enableTest", "0", " RunNoiseFunc. = 0 [OFF] \n");
    expect_label("enableSaveRaw", "1", " Raw Save = 1 [ON] \n");
    expect_label("screenOutType", "1", " SCREEN OUTPUT TYPE : 1 [ TV OUT ] \n\n");
    expect_label("audioTest", "0", " Audio Test On/Off = 0 [ OFF ] \n");
}

TEST_F(MovieConfig, ATelevisionHasItsOffsets)
{
    ASSERT_EQ(load({{"screenOutType", "1"}}), 0);
    EXPECT_EQ(cfg.cbOffset, 345600);
    EXPECT_EQ(cfg.crOffset, 345601);
    EXPECT_EQ(cfg.liveLcdW, 720);
    EXPECT_EQ(cfg.liveLcdH, 482);
}

TEST_F(MovieConfig, OtherScreensDropTheTelevisionsOffsets)
{
    for (const char *type : {"0", "2", "-1"}) {
        EXPECT_THAT(printed({{"screenOutType", type}}),
                    HasSubstr(" [ TV OUT ] Cb Color Offset = 345600 \n"
                              " [ TV OUT ] Cr Color Offset = 345601 \n"));
        EXPECT_EQ(cfg.cbOffset, 921600) << type;
        EXPECT_EQ(cfg.crOffset, 921601) << type;
    }
}

TEST_F(MovieConfig, TheFramesOfBothColoursMakeTheTotal)
{
    ASSERT_EQ(load(), 0);
    EXPECT_EQ(cfg.totalFrames, 9);
    ASSERT_EQ(load({{"redNum", "2147483647"}, {"blueNum", "2147483647"}}), 0);
    EXPECT_EQ(cfg.totalFrames, -2); // cut to 32 bits
}

TEST_F(MovieConfig, TheTotalIsThereBeforeTheSoundsLines)
{
    const test::ConfigLines frames(test::MOVIE_LINES.begin(), test::MOVIE_LINES.begin() + 32);
    EXPECT_EQ(load_text(test::lines_text(frames)), -1);
    EXPECT_EQ(cfg.totalFrames, 9);
    cfg = {};
    const test::ConfigLines less(test::MOVIE_LINES.begin(), test::MOVIE_LINES.begin() + 31);
    EXPECT_EQ(load_text(test::lines_text(less)), -1);
    EXPECT_EQ(cfg.totalFrames, 0);
}

TEST_F(MovieConfig, ALoadLeavesNoResultsBehind)
{
    std::memset(&cfg, 0x55, sizeof(cfg));
    std::strcpy(gMotExifInfo.filename, "SAM_0001.JPG");
    ASSERT_EQ(load(), 0);
    EXPECT_EQ(cfg.frameCount, 0);
    EXPECT_EQ(cfg.frameOk, 0);
    EXPECT_EQ(cfg.audioCount, 0);
    EXPECT_EQ(cfg.audioOk, 0);
    EXPECT_EQ(cfg.movieResult, -99);
    EXPECT_EQ(cfg.audioResult, -99);
    EXPECT_EQ(cfg.tableDone, 0);
    for (const rova_pim_frame_record &frame : cfg.frame) {
        EXPECT_EQ(frame.colour, 3);
        EXPECT_EQ(frame.result, -99);
        EXPECT_EQ(frame.frame, 0);
        EXPECT_EQ(frame.hDiff, 0);
    }
    for (const rova_pim_audio_record &audio : cfg.audio) {
        EXPECT_EQ(audio.result, -99);
        EXPECT_EQ(audio.leftFreq, -99.0F);
        EXPECT_EQ(audio.leftDbfs, -99.0F);
        EXPECT_EQ(audio.rightFreq, -99.0F);
        EXPECT_EQ(audio.rightDbfs, -99.0F);
    }
    EXPECT_STREQ(gMotExifInfo.filename, "SAM_0001.JPG");
}
