#include "tests/lib/pim/held_records.h"
#include "tests/lib/pim/movie/movie_run.h"

#include <gmock/gmock.h>

#include <cmath>

using testing::ContainsRegex;

namespace
{

class MovieAudio : public test::MovieRun
{
};

} // namespace

TEST_F(MovieAudio, AToneInRangePassesAndIsRecordedInKilohertz)
{
    EXPECT_EQ(hear(1000, 1001, -20.5F, -19.5F), 1);
    EXPECT_EQ(printed, "");
    EXPECT_EQ(cfg.audio[0].index, 0);
    EXPECT_EQ(cfg.audio[0].result, 1);
    EXPECT_EQ(cfg.audio[0].leftFreq, 1.0F);
    EXPECT_EQ(cfg.audio[0].rightFreq, 1.001F);
    EXPECT_EQ(cfg.audio[0].leftDbfs, -20.5F) << "the loudness, not peak or RMS";
    EXPECT_EQ(cfg.audio[0].rightDbfs, -19.5F);
    EXPECT_EQ(cfg.audioCount, 1);
    EXPECT_EQ(cfg.audioOk, 1);
    EXPECT_EQ(cfg.audioResult, 1);
}

TEST_F(MovieAudio, TheLimitsPass)
{
    EXPECT_EQ(hear(900, 1100, -25.0F, -15.0F), 1);
    EXPECT_EQ(hear(1100, 900, -15.0F, -25.0F), 1);
}

TEST_F(MovieAudio, EachOfTheFourValuesCanFail)
{
    EXPECT_EQ(hear(899, 1000, -20, -20), 0);
    EXPECT_EQ(hear(1101, 1000, -20, -20), 0);
    EXPECT_EQ(hear(1000, 899, -20, -20), 0);
    EXPECT_EQ(hear(1000, 1101, -20, -20), 0);
    EXPECT_EQ(hear(1000, 1000, -25.01F, -20), 0);
    EXPECT_EQ(hear(1000, 1000, -14.99F, -20), 0);
    EXPECT_EQ(hear(1000, 1000, -20, -25.01F), 0);
    EXPECT_EQ(hear(1000, 1000, -20, -14.99F), 0);
    EXPECT_EQ(hear(1000, 1000, NAN, -20), 0);
    EXPECT_EQ(cfg.audioOk, 0);
    EXPECT_EQ(cfg.audioCount, 9);
}

TEST_F(MovieAudio, AFailurePrintsAllFourValues)
{
    hear(500, 1000, -20, -60.25F);
    EXPECT_THAT(printed, ContainsRegex("^checkAudio [0-9]+: actual freqL 0.500000 kHz, freqMin "
                                       "0.900000 kHz, freqMax 1.100000 kHz\n"));
    EXPECT_THAT(printed, ContainsRegex("checkAudio [0-9]+: actual freqR 1.000000 kHz, freqMin "
                                       "0.900000 kHz, freqMax 1.100000 kHz\n"));
    EXPECT_THAT(printed, ContainsRegex("checkAudio [0-9]+: actual dbfsL -20.000000 db, dbfsMin "
                                       "-25.000000 db, dbfsMax -15.000000 db\n"));
    EXPECT_THAT(printed, ContainsRegex("checkAudio [0-9]+: actual dbfsR -60.250000 db, dbfsMin "
                                       "-25.000000 db, dbfsMax -15.000000 db\n$"));
    EXPECT_EQ(cfg.audio[0].result, 0);
    EXPECT_EQ(cfg.audio[0].leftFreq, 0.5F) << "recorded all the same";
}

TEST_F(MovieAudio, OneFailureMakesTheWholeSoundFail)
{
    hear(1000, 1000, -20, -20);
    EXPECT_EQ(cfg.audioResult, 1);
    hear(1, 1000, -20, -20);
    EXPECT_EQ(cfg.audioResult, 0);
    hear(1000, 1000, -20, -20);
    EXPECT_EQ(cfg.audioResult, 0);
    EXPECT_EQ(cfg.audioOk, 2);
    EXPECT_EQ(cfg.audio[2].index, 2);
}

TEST_F(MovieAudio, ASoundBehindThe64thCountsWithoutARecord)
{
    for (int i = 0; i < 64; i++)
        hear(1000, 1000, -20, -20);
    EXPECT_EQ(printed, "");
    EXPECT_EQ(hear(1, 1, -20, -20), 0);
    EXPECT_THAT(printed, testing::HasSubstr(" audio 64 counts without a record: there are 64 \n"));
    EXPECT_EQ(cfg.audioCount, 65);
    EXPECT_EQ(cfg.audioResult, 0);
    EXPECT_EQ(cfg.audio[63].result, 1);
    EXPECT_EQ(cfg.tableDone, 0) << "what stands behind is whole";
}

TEST_F(MovieAudio, ASoundWaitsForWhoHasTheRecords)
{
    EXPECT_FALSE(test::changes_held_records([&] { hear(1000, 1000, -20, -20); },
                                            [&] { return cfg.audioCount != 0; }));
    EXPECT_EQ(cfg.audioCount, 1);
}
