#include "lib/pim/mot/rova_pim_valley.h"

#include "lib/pim/rova_pim_debug.h"
#include "tests/support/text.h"

#include <climits>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

using Line = std::vector<int32_t>;

struct Valley : testing::Test {
    std::unique_ptr<rova_pim_pm_config> cfg = std::make_unique<rova_pim_pm_config>();

    Valley() { cfg->sucValleyDepth = 10; }
    int32_t count(Line line) const { return rova_pim_count_valleys(line, *cfg); }
    Line cleaned(Line line) const
    {
        rova_pim_count_valleys(line, *cfg);
        return line;
    }
};

// Twelve or more pixels of one level, but for those given.
Line level_with(std::size_t size, std::vector<std::pair<std::size_t, int32_t>> others)
{
    Line line(size, 100);
    for (const auto &[at, value] : others)
        line[at] = value;
    return line;
}

} // namespace

TEST_F(Valley, ALineWithoutDifferencesHasNone)
{
    EXPECT_EQ(count({}), 0);
    EXPECT_EQ(count({7}), 0);
    EXPECT_EQ(count(Line(40, 100)), 0);
}

TEST_F(Valley, EachDropThatRisesAgainCounts)
{
    EXPECT_EQ(count({100, 100, 50, 50, 100}), 1);
    EXPECT_EQ(count({100, 50, 100, 50, 100}), 2);
    EXPECT_EQ(count({50, 100, 50}), 1);
    EXPECT_EQ(count({50, 100}), 0); // nothing got darker
    EXPECT_EQ(count({100, 50}), 0); // nothing got brighter again
    EXPECT_EQ(count({100, 80, 60, 50, 70, 90}), 1);
}

TEST_F(Valley, AValleyIsAtLeastAsDeepAsAsked)
{
    EXPECT_EQ(count({100, 90, 100}), 1);
    EXPECT_EQ(count({100, 90, 100, 90, 100}), 2);
    cfg->sucValleyDepth = 11;
    EXPECT_EQ(count({100, 90, 100}), 0);
    cfg->sucValleyDepth = 0;
    EXPECT_EQ(count({100, 99, 100}), 2); // the first fall follows a rise of nothing
    EXPECT_EQ(count({100, 100, 100}), 1);
    cfg->sucValleyDepth = INT_MIN;
    EXPECT_EQ(count({100, 100, 100}), 1);
    cfg->sucValleyDepth = INT_MAX;
    EXPECT_EQ(count({255, 0, 255, 0, 255}), 0);
}

// The second fall follows a rise of 10 only: it turns the direction, and the sums go on.
TEST_F(Valley, ARiseThatIsTooSmallCountsTowardsTheNextOne)
{
    cfg->sucValleyDepth = 20;
    EXPECT_EQ(count({100, 80, 90, 70, 80}), 1);
    EXPECT_EQ(count({100, 80, 90, 70, 79}), 0);
    // Rises and falls of several steps.
    EXPECT_EQ(count({100, 88, 76, 88, 100}), 1);
    EXPECT_EQ(count({100, 112, 124, 123}), 1);
}

// The fall of 30 went into the first valley; one of 5 is left before the second.
TEST_F(Valley, BothSumsBeginAnewBehindAValley)
{
    cfg->sucValleyDepth = 20;
    EXPECT_EQ(count({100, 70, 100, 95, 125}), 1);
    EXPECT_EQ(count({100, 70, 100, 80, 110}), 2);
}

TEST_F(Valley, TheOffsetLeavesOutBothEnds)
{
    const Line line = {100, 50, 100, 50, 100};
    cfg->lineDataOffset = 1;
    EXPECT_EQ(count(line), 2);
    cfg->lineDataOffset = 2; // one difference
    EXPECT_EQ(count(line), 0);
    cfg->lineDataOffset = 3; // none
    EXPECT_EQ(count(line), 0);
    cfg->sucValleyDepth = 0;
    EXPECT_EQ(count(line), 0);
    cfg->lineDataOffset = 2; // no depth is asked before the fall, nor at the end
    EXPECT_EQ(count(line), 2);
    cfg->sucValleyDepth = 10;
    cfg->lineDataOffset = 1; // without the fall into the valley
    EXPECT_EQ(count({100, 50, 50, 50, 100}), 0);
}

TEST_F(Valley, NoOffsetReadsBeyondTheLine)
{
    const Line line = {100, 50, 100, 50, 100};
    for (int32_t offset : {-1, -3, -100, INT_MIN}) {
        cfg->lineDataOffset = offset;
        EXPECT_EQ(count(line), 2) << offset;
        EXPECT_EQ(count({}), 0) << offset;
    }
    cfg->lineDataOffset = INT_MAX;
    EXPECT_EQ(count(line), 0);
}

TEST_F(Valley, PeaksAreCutDownToTheMeanAgainAndAgain)
{
    const Line line = {100, 0, 40, 0, 100};
    EXPECT_EQ(cleaned(line), line);
    cfg->meadLoop = 1; // 240 / 5
    EXPECT_THAT(cleaned(line), ElementsAre(48, 0, 40, 0, 48));
    cfg->meadLoop = 2; // 136 / 5
    EXPECT_THAT(cleaned(line), ElementsAre(27, 0, 27, 0, 27));
    cfg->meadLoop = 3; // 81 / 5
    EXPECT_THAT(cleaned(line), ElementsAre(16, 0, 16, 0, 16));
    cfg->meadLoop = 5; // 48 / 5, 27 / 5
    EXPECT_THAT(cleaned(line), ElementsAre(5, 0, 5, 0, 5));
    cfg->meadLoop = -1;
    EXPECT_EQ(cleaned(line), line);
}

TEST_F(Valley, AnyNumberOfCutsComesToAnEnd)
{
    cfg->meadLoop = INT_MAX;
    EXPECT_THAT(cleaned({100, 0, 40, 0, 100}), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_EQ(cleaned(Line(9, 100)), Line(9, 100));
    // 200 / 2, 190 / 2, 185 / 2 and so on down to the darker pixel.
    EXPECT_THAT(cleaned({110, 90}), ElementsAre(90, 90));
}

TEST_F(Valley, FlatteningLeavesValleysLessDeep)
{
    const Line line = {200, 100, 80, 100, 200}; // cut at 136, 110, 100, 96
    cfg->sucValleyDepth = 20;
    EXPECT_EQ(count(line), 1);
    cfg->meadLoop = 3;
    EXPECT_EQ(count(line), 1);
    cfg->meadLoop = 4;
    EXPECT_EQ(count(line), 0);
}

TEST_F(Valley, SpikesInTheOuterQuartersAreSmoothed)
{
    EXPECT_EQ(cleaned(level_with(12, {{1, 20}})), Line(12, 100));
    EXPECT_EQ(cleaned(level_with(12, {{9, 171}})), Line(12, 100));
    EXPECT_EQ(cleaned(level_with(12, {{2, 103}, {1, 20}}))[1], 101);
    for (std::size_t kept : {std::size_t{0}, std::size_t{2}, std::size_t{3}, std::size_t{6},
                             std::size_t{8}, std::size_t{10}, std::size_t{11}}) {
        const Line line = level_with(12, {{kept, 20}});
        EXPECT_EQ(cleaned(line), line) << kept;
    }
    const Line eleven = level_with(11, {{1, 20}, {8, 20}});
    EXPECT_EQ(cleaned(eleven), eleven);
}

// Three quarters of 14 are 10, three times a quarter is 9.
TEST_F(Valley, TheLastQuarterBeginsWhereThreeAreOver)
{
    EXPECT_EQ(cleaned(level_with(14, {{10, 20}})), Line(14, 100));
    const Line before = level_with(14, {{9, 20}});
    EXPECT_EQ(cleaned(before), before);
}

// The mean is 93 with the spike, and 100 without it.
TEST_F(Valley, SpikesAreSmoothedBeforePeaksAreCut)
{
    cfg->meadLoop = 1;
    EXPECT_EQ(cleaned(level_with(12, {{1, 20}})), Line(12, 100));
}

TEST_F(Valley, ASpikeIsMoreThanSeventyFromBothNeighbours)
{
    EXPECT_EQ(cleaned(level_with(12, {{1, 29}}))[1], 100);
    EXPECT_EQ(cleaned(level_with(12, {{1, 30}}))[1], 30);
    EXPECT_EQ(cleaned(level_with(12, {{0, 90}, {1, 20}}))[1], 20);
    EXPECT_EQ(cleaned(level_with(12, {{2, 90}, {1, 20}}))[1], 20);
    EXPECT_EQ(cleaned(level_with(12, {{8, 90}, {9, 20}}))[9], 20);
    EXPECT_EQ(cleaned(level_with(12, {{10, 90}, {9, 20}}))[9], 20);
}

// Sixteen pixels: 1, 12, 2 and 13 are looked at, each with what became of its neighbours.
TEST_F(Valley, SpikesAreSmoothedOneAfterTheOther)
{
    EXPECT_EQ(cleaned(level_with(16, {{1, 0}, {3, 0}})), level_with(16, {{3, 0}}));
    EXPECT_EQ(cleaned(level_with(16, {{12, 0}, {14, 0}})), level_with(16, {{14, 0}}));
    EXPECT_EQ(cleaned(level_with(16, {{2, 0}})), Line(16, 100));
    EXPECT_EQ(cleaned(level_with(16, {{13, 0}})), Line(16, 100));
    const Line inner = level_with(16, {{3, 0}, {11, 0}});
    EXPECT_EQ(cleaned(inner), inner);
}

namespace
{

// A strip whose lines either cross four valleys or are of one level.
class Strip
{
public:
    static constexpr int32_t LENGTH = 9;

    Strip(int32_t lines, const std::set<int32_t> &resolved)
        : lines_(lines), pixels_(static_cast<std::size_t>(LENGTH * lines), 200)
    {
        for (int32_t line : resolved) {
            for (int32_t i = 1; i < LENGTH; i += 2)
                pixels_[static_cast<std::size_t>(line * LENGTH + i)] = 50;
        }
        for (int32_t i = 0; i < LENGTH; i++) {
            for (int32_t line = 0; line < lines; line++)
                turned_.push_back(pixels_[static_cast<std::size_t>(line * LENGTH + i)]);
        }
    }
    rova_pim_strip rows() const { return {pixels_, LENGTH, lines_}; }
    rova_pim_strip columns() const { return {turned_, lines_, LENGTH}; }

private:
    int32_t lines_;
    std::vector<uint8_t> pixels_;
    std::vector<uint8_t> turned_;
};

std::set<int32_t> from_to(int32_t first, int32_t last)
{
    std::set<int32_t> lines;
    for (int32_t i = first; i <= last; i++)
        lines.insert(i);
    return lines;
}

struct Walk : testing::Test {
    std::unique_ptr<rova_pim_pm_config> cfg = std::make_unique<rova_pim_pm_config>();
    std::vector<int32_t> line = std::vector<int32_t>(Strip::LENGTH);

    Walk()
    {
        cfg->sucValleyDepth = 100;
        cfg->sucValleyN = 4;
        cfg->failCnt = 2;
    }
    ~Walk() override { gDbgPrintOnOff = 0; }
    int32_t walk(const rova_pim_strip &strip, int32_t start, int32_t end, int32_t dir)
    {
        return rova_pim_walk_wedge(strip, start, end, dir, line, *cfg);
    }
    // Of rows and columns alike.
    int32_t walk(const Strip &strip, int32_t start, int32_t end, int32_t dir)
    {
        const int32_t result = walk(strip.rows(), start, end, dir);
        EXPECT_EQ(walk(strip.columns(), start, end, dir), result);
        return result;
    }
    std::string trace(const rova_pim_strip &strip, int32_t start, int32_t end, int32_t dir)
    {
        cfg->dbgLevel[0] = 1;
        std::string text = printed(strip, start, end, dir);
        cfg->dbgLevel[0] = 0;
        return text;
    }
    std::string printed(const rova_pim_strip &strip, int32_t start, int32_t end, int32_t dir)
    {
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
        return test::captured_output([&] { walk(strip, start, end, dir); });
    }
};

} // namespace

TEST_F(Walk, EndsAtTheLastLineResolved)
{
    EXPECT_EQ(walk(Strip(20, from_to(5, 10)), 5, 15, 0), 10);
    EXPECT_EQ(walk(Strip(20, from_to(10, 15)), 5, 15, 1), 10);
    EXPECT_EQ(walk(Strip(20, from_to(10, 15)), 5, 15, -7), 10);
}

TEST_F(Walk, AWedgeThatIsNotResolvedEndsWhereItBegins)
{
    EXPECT_EQ(walk(Strip(20, {}), 5, 15, 0), 5);
    EXPECT_EQ(walk(Strip(20, {}), 5, 15, 1), 15);
    EXPECT_EQ(walk(Strip(20, from_to(8, 15)), 5, 15, 0), 5); // two fails before
}

TEST_F(Walk, AWedgeResolvedToItsFarEndEndsThere)
{
    EXPECT_EQ(walk(Strip(20, from_to(5, 15)), 5, 15, 0), 15);
    EXPECT_EQ(walk(Strip(20, from_to(5, 15)), 5, 15, 1), 5);
    // Reached with fewer fails than end it.
    EXPECT_EQ(walk(Strip(20, from_to(5, 14)), 5, 15, 0), 15);
    EXPECT_EQ(walk(Strip(20, from_to(6, 15)), 5, 15, 1), 5);
    EXPECT_EQ(walk(Strip(20, from_to(5, 13)), 5, 15, 0), 13);
    // Without any success nothing is reached.
    cfg->failCnt = 100;
    EXPECT_EQ(walk(Strip(20, {}), 5, 15, 0), 5);
    EXPECT_EQ(walk(Strip(20, {}), 5, 15, 1), 15);
    EXPECT_EQ(walk(Strip(20, {9}), 5, 15, 0), 15);
}

TEST_F(Walk, FailsAddUpOverSuccesses)
{
    EXPECT_EQ(walk(Strip(20, {5, 7, 9, 10}), 5, 15, 0), 7);
    cfg->failCnt = 3;
    EXPECT_EQ(walk(Strip(20, {5, 7, 9, 10}), 5, 15, 0), 10);
}

TEST_F(Walk, OneFailOrLessEndsIt)
{
    for (int32_t fails : {1, 0, -1, INT_MIN}) {
        cfg->failCnt = fails;
        EXPECT_EQ(walk(Strip(20, {5, 6, 8, 9}), 5, 15, 0), 6) << fails;
        EXPECT_EQ(walk(Strip(20, {12, 14, 15}), 5, 15, 1), 14) << fails;
        EXPECT_EQ(walk(Strip(20, from_to(5, 15)), 5, 15, 0), 15) << fails;
    }
}

TEST_F(Walk, ALineNeedsTheNumberOfValleys)
{
    cfg->sucValleyN = 5;
    EXPECT_EQ(walk(Strip(20, from_to(5, 15)), 5, 15, 0), 5);
    cfg->sucValleyN = 0;
    EXPECT_EQ(walk(Strip(20, {}), 5, 15, 0), 15);
}

TEST_F(Walk, PrintsEachLineOfTheLinearPartAtLevelOne)
{
    const Strip strip(20, {5, 6});
    const std::string rows = " (Y, Resol, CntS/F) = (    5 ,   4 ,   0,   0)\n"
                             " (Y, Resol, CntS/F) = (    6 ,   4 ,   1,   0)\n"
                             " (Y, Resol, CntS/F) = (    7 ,   0 ,   2,   0)\n"
                             " (Y, Resol, CntS/F) = (    8 ,   0 ,   2,   1)\n";
    EXPECT_EQ(trace(strip.rows(), 5, 15, 0), rows);
    EXPECT_EQ(trace(strip.columns(), 4, 5, 1), " (X, Resol, CntS/F) = (    5 ,   4 ,   0,   0)\n"
                                               " (X, Resol, CntS/F) = (    4 ,   0 ,   1,   0)\n");
    EXPECT_EQ(printed(strip.rows(), 5, 15, 0), "");
}

// A strip as wide as it is high is walked by its rows.
TEST_F(Walk, ASquareHasRows)
{
    std::vector<uint8_t> pixels(81, 200);
    for (std::size_t i : {10, 12, 14, 16})
        pixels[i] = 50; // row 1
    EXPECT_EQ(walk(rova_pim_strip{pixels, 9, 9}, 1, 8, 0), 1);
    EXPECT_THAT(trace({pixels, 9, 9}, 1, 8, 0), HasSubstr("(Y, Resol"));
}

// Span 16: 8 fails, 4 is resolved, 6 is resolved.
TEST_F(Walk, BisectionPutsTheLinearPartNearTheLimit)
{
    cfg->binaryTreeLevel = 3;
    const std::string rest = " (Y, Resol, CntS/F) = (    8 ,   4 ,   0,   0)\n"
                             " (Y, Resol, CntS/F) = (    9 ,   4 ,   1,   0)\n"
                             " (Y, Resol, CntS/F) = (   10 ,   0 ,   2,   0)\n"
                             " (Y, Resol, CntS/F) = (   11 ,   0 ,   2,   1)\n";
    EXPECT_EQ(walk(Strip(30, from_to(2, 9)), 2, 18, 0), 9);
    EXPECT_EQ(trace(Strip(30, from_to(2, 9)).rows(), 2, 18, 0), rest);
    EXPECT_EQ(walk(Strip(30, from_to(11, 18)), 2, 18, 1), 11);
}

TEST_F(Walk, TheFirstRoundLooksAtTheMiddleOnly)
{
    cfg->binaryTreeLevel = 1;
    EXPECT_THAT(trace(Strip(30, from_to(2, 12)).rows(), 2, 19, 0), // 17 / 2
                testing::StartsWith(" (Y, Resol, CntS/F) = (   10 ,"));
    EXPECT_THAT(trace(Strip(30, from_to(2, 9)).rows(), 2, 19, 0),
                testing::StartsWith(" (Y, Resol, CntS/F) = (    2 ,"));
    EXPECT_THAT(trace(Strip(30, from_to(11, 19)).rows(), 2, 19, 1),
                testing::StartsWith(" (Y, Resol, CntS/F) = (   11 ,"));
}

// Half a step is cut: from 5 of 10 on to 7, or back to 3.  The linear part begins at the last
// offset that was resolved, also where an earlier one lay further on.
TEST_F(Walk, EachRoundMovesByHalfAStep)
{
    const auto begins = [&](const std::set<int32_t> &resolved, int32_t end) {
        return trace(Strip(30, resolved).rows(), 2, end, 0).substr(0, 31);
    };
    cfg->binaryTreeLevel = 2;
    EXPECT_EQ(begins(from_to(2, 20), 12), " (Y, Resol, CntS/F) = (    9 , ");
    EXPECT_EQ(begins(from_to(2, 6), 12), " (Y, Resol, CntS/F) = (    5 , ");
    cfg->binaryTreeLevel = 3; // 8, not 12, 6
    EXPECT_EQ(begins(from_to(2, 12), 18), " (Y, Resol, CntS/F) = (    8 , ");
}

TEST_F(Walk, TheStripsOutermostLinesCount)
{
    cfg->failCnt = 1;
    EXPECT_EQ(walk(Strip(16, from_to(0, 15)), 0, 15, 0), 15);
    EXPECT_EQ(walk(Strip(16, from_to(0, 15)), 0, 15, 1), 0);
}

// 8, 12, 18: beyond the far end, and resolved there too.
TEST_F(Walk, ALimitBeyondTheFarEndIsNone)
{
    cfg->binaryTreeLevel = 3;
    EXPECT_EQ(walk(Strip(30, from_to(2, 29)), 2, 18, 0), 2);
    EXPECT_EQ(walk(Strip(30, from_to(0, 22)), 4, 20, 1), 20);
    EXPECT_THAT(trace(Strip(30, from_to(2, 29)).rows(), 2, 18, 0), IsEmpty());
    cfg->binaryTreeLevel = 2;
    EXPECT_EQ(walk(Strip(30, from_to(2, 29)), 2, 18, 0), 18);
}

TEST_F(Walk, ALineOutsideOfTheStripIsNotResolved)
{
    cfg->binaryTreeLevel = 3;
    EXPECT_EQ(walk(Strip(20, from_to(2, 19)), 2, 18, 0), 18);
    EXPECT_EQ(walk(Strip(20, from_to(0, 18)), 1, 17, 1), 1);
    cfg->sucValleyN = 0; // what is not there does not count as nothing
    cfg->binaryTreeLevel = PIM_MOST_ROUNDS;
    EXPECT_EQ(walk(Strip(20, {}), 2, 18, 0), 18);
}

TEST_F(Walk, RoundsBelowZeroAreNone)
{
    for (int32_t rounds : {0, -1, INT_MIN}) {
        cfg->binaryTreeLevel = rounds;
        EXPECT_EQ(walk(Strip(20, from_to(5, 10)), 5, 15, 0), 10) << rounds;
        EXPECT_THAT(trace(Strip(20, from_to(5, 10)).rows(), 5, 15, 0),
                    testing::StartsWith(" (Y, Resol, CntS/F) = (    5 ,"));
    }
}

TEST_F(Walk, AnEndBeforeTheStartHasNoLines)
{
    for (int32_t rounds : {0, 1, PIM_MOST_ROUNDS}) {
        cfg->binaryTreeLevel = rounds;
        EXPECT_EQ(walk(Strip(30, {}), 20, 5, 0), 20) << rounds;
        EXPECT_EQ(walk(Strip(30, {}), 20, 5, 1), 5) << rounds;
    }
}

TEST_F(Walk, AStripWithoutPixelsIsNotWalked)
{
    cfg->sucValleyN = 0;
    cfg->binaryTreeLevel = 5;
    EXPECT_EQ(walk(rova_pim_strip{{}, 0, 0}, 3, INT_MAX, 0), 3);
    EXPECT_EQ(walk(rova_pim_strip{{}, 0, 0}, 0, -5, 1), -5);
    EXPECT_EQ(walk(rova_pim_strip{{}, 0, 0}, INT_MIN, INT_MAX, 0), INT_MIN);
}

// Negative spans can be resolved too: a step is then a step back.  Whatever is found, it ends.
TEST_F(Walk, EveryConfigurationEnds)
{
    cfg->sucValleyN = INT_MIN;
    cfg->failCnt = INT_MAX;
    cfg->binaryTreeLevel = PIM_MOST_ROUNDS;
    const Strip strip(30, from_to(0, 29));
    for (int32_t start : {0, 7, 29}) {
        for (int32_t end : {0, 8, 29}) {
            EXPECT_THAT(walk(strip, start, end, 0),
                        testing::AllOf(testing::Ge(0), testing::Le(29)));
            EXPECT_THAT(walk(strip, start, end, 1),
                        testing::AllOf(testing::Ge(0), testing::Le(29)));
        }
    }
}
