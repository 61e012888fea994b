#include "lib/pim/mot/rova_pim_mot_best.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

namespace
{

// A side window passes with 1000 and has enough to spare with 1050; a neighbour has to gain 30.
class Best : public testing::Test
{
protected:
    std::unique_ptr<rova_pim_pm_config> cfg = std::make_unique<rova_pim_pm_config>();
    ChartResult &result = cfg->result[PIM_CHARTS - 1];
    rova_pim_chart_config &chart = cfg->chart[PIM_CHARTS - 1];

    Best()
    {
        cfg->alpha = 50;
        cfg->beta = 30;
        for (int i = 2; i < PIM_WINDOWS; i++)
            chart.okLevel[i] = 1000;
        chart.okLevel[0] = chart.okLevel[1] = 9000; // not looked at
    }
    // A level that passes.
    void level(int k, int32_t centre, int32_t side)
    {
        result.ok[k] = 1;
        for (int i = 0; i < PIM_WINDOWS; i++)
            result.win[k][i] = i < 2 ? centre : side;
        result.cen[k] = 2 * centre;
        result.sid[k] = 8 * side;
    }
    int32_t best(int32_t algorithm)
    {
        chart.bestDefocusAlgorithm = algorithm;
        return rova_pim_mot_best_index(PIM_CHARTS - 1, *cfg);
    }
    // A focus with nothing to spare, and neighbours that gain just enough.
    void gaining(bool minus, bool plus)
    {
        level(2, 2000, 1049);
        if (minus)
            level(1, 2030, 1079);
        if (plus)
            level(3, 2030, 1079);
    }
};

struct Keys {
    int32_t ok;
    int32_t first;
    int32_t second;
};

struct KeyCase {
    const char *name;
    std::vector<Keys> levels;
    int32_t best;
};

// Of both algorithms of keys.
const std::vector<KeyCase> &key_cases()
{
    static const std::vector<KeyCase> CASES = {
        {"no level passes", {{0, 9, 9}, {0, 9, 9}, {0, 9, 9}, {0, 9, 9}, {0, 9, 9}}, -99},
        {"one passes", {{0, 9, 9}, {0, 9, 9}, {0, 9, 9}, {1, 1, 1}, {0, 9, 9}}, 3},
        {"greatest first key", {{1, 5, 1}, {1, 4, 9}, {1, 3, 9}, {1, 4, 9}, {1, 1, 9}}, 0},
        {"greatest first key last", {{1, 1, 9}, {1, 2, 8}, {1, 3, 7}, {1, 4, 6}, {1, 5, 5}}, 4},
        {"equal first keys", {{1, 5, 1}, {1, 5, 3}, {1, 5, 2}, {1, 5, 1}, {1, 5, 1}}, 1},
        {"a second key alone wins nothing", {{1, 5, 1}, {1, 4, 3}, {0, 0, 0}, {0, 0, 0}}, 0},
        {"all equal", {{1, 5, 5}, {1, 5, 5}, {1, 5, 5}, {1, 5, 5}, {1, 5, 5}}, 2},
        {"equal at the same distance", {{0, 0, 0}, {1, 5, 5}, {0, 9, 9}, {1, 5, 5}, {0, 0, 0}}, 1},
        {"equal at the ends", {{1, 5, 5}, {0, 0, 0}, {0, 9, 9}, {0, 0, 0}, {1, 5, 5}}, 0},
        {"equal, the nearer later", {{1, 5, 5}, {0, 0, 0}, {0, 9, 9}, {1, 5, 5}, {1, 5, 5}}, 3},
        {"equal, the nearer first", {{0, 0, 0}, {0, 0, 0}, {1, 5, 5}, {1, 5, 5}, {1, 5, 5}}, 2},
        {"keys of 0 against none", {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {1, 0, 0}}, 4},
        {"keys below the first ones", {{1, -1, 9}, {1, 0, -1}, {0, 0, 0}, {0, 0, 0}}, -99},
    };
    return CASES;
}

} // namespace

TEST_F(Best, ByMarginsTheFocusStaysWhereAllSidesHaveEnoughToSpare)
{
    gaining(true, true);
    level(2, 2000, 1050);
    EXPECT_EQ(best(1), 2);
    for (int i = 2; i < PIM_WINDOWS; i++) {
        level(2, 2000, 1050);
        result.win[2][i] = 1049;
        EXPECT_EQ(best(1), 3) << "window " << i;
    }
}

TEST_F(Best, ByMarginsANeighbourWinsThatGainsJustEnough)
{
    gaining(false, true);
    EXPECT_EQ(best(1), 3);
    result = {};
    gaining(true, false);
    EXPECT_EQ(best(1), 1);
}

TEST_F(Best, ByMarginsNoWindowOfANeighbourMayFallShort)
{
    for (int k : {1, 3}) {
        for (int i = 0; i < PIM_WINDOWS; i++) {
            result = {};
            gaining(k == 1, k == 3);
            result.win[k][i]--;
            EXPECT_EQ(best(1), 2) << "level " << k - 2 << " window " << i;
        }
    }
}

TEST_F(Best, ByMarginsANeighbourNeedNotGainWhereTheFocusHasEnoughToSpare)
{
    for (int k : {1, 3}) {
        result = {};
        gaining(k == 1, k == 3);
        result.win[2][5] = 1050;
        result.win[k][5] = 1000;
        EXPECT_EQ(best(1), k);
    }
}

TEST_F(Best, ByMarginsANeighbourThatDoesNotPassWinsNothing)
{
    for (int k : {1, 3}) {
        result = {};
        gaining(true, true);
        result.ok[k] = 0;
        EXPECT_EQ(best(1), 4 - k);
    }
    result.ok[1] = result.ok[3] = 0;
    level(0, 2500, 2000);
    level(4, 2500, 2000);
    EXPECT_EQ(best(1), 2);
}

// The centre decides, then the sides; what is equal goes to the greater level.
TEST_F(Best, ByMarginsOfTwoLevelsTheCentreDecidesThenTheSides)
{
    const struct {
        int32_t cen;
        int32_t sid;
        bool minus;
    } cases[] = {{1, -1, true}, {-1, 1, false}, {0, 1, true}, {0, 0, false}, {0, -1, false}};
    for (const auto &[cen, sid, minus] : cases) {
        SCOPED_TRACE(testing::Message() << cen << " " << sid);
        result = {};
        gaining(true, true);
        result.cen[1] += cen;
        result.sid[1] += sid;
        EXPECT_EQ(best(1), minus ? 1 : 3);
        result.ok[2] = 0;
        EXPECT_EQ(best(1), minus ? 1 : 3);
        result = {};
        level(0, 2000, 1500);
        level(4, 2000, 1500);
        result.cen[0] += cen;
        result.sid[0] += sid;
        EXPECT_EQ(best(1), minus ? 0 : 4);
    }
}

TEST_F(Best, ByMarginsWithoutTheFocusTheNearestPassingLevelWins)
{
    const struct {
        int32_t ok[PIM_LEVELS];
        int32_t best;
    } cases[] = {{{1, 1, 0, 0, 1}, 1}, {{1, 0, 0, 1, 1}, 3},   {{0, 1, 0, 0, 0}, 1},
                 {{0, 0, 0, 1, 0}, 3}, {{1, 0, 0, 0, 0}, 0},   {{0, 0, 0, 0, 1}, 4},
                 {{1, 1, 0, 1, 1}, 3}, {{0, 0, 0, 0, 0}, -99}, {{1, 0, 0, 0, 1}, 4}};
    for (const auto &[ok, expected] : cases) {
        SCOPED_TRACE(testing::Message() << ok[0] << ok[1] << ok[3] << ok[4]);
        std::ranges::copy(ok, result.ok);
        EXPECT_EQ(best(1), expected);
    }
}

TEST_F(Best, ByMarginsOfTheLargestNumbersNothingOverflows)
{
    gaining(true, true);
    cfg->alpha = INT_MAX;
    EXPECT_EQ(best(1), 3);
    cfg->beta = INT_MAX;
    EXPECT_EQ(best(1), 2);
    cfg->alpha = INT_MIN;
    chart.okLevel[2] = INT_MIN;
    EXPECT_EQ(best(1), 2);
}

TEST_F(Best, ByCentreThenSides)
{
    for (const auto &[name, levels, expected] : key_cases()) {
        result = {};
        for (std::size_t k = 0; k < levels.size(); k++) {
            result.ok[k] = levels[k].ok;
            result.cen[k] = levels[k].first;
            result.sid[k] = levels[k].second;
            result.minSide[k] = 100 - levels[k].first; // not looked at
        }
        EXPECT_EQ(best(2), expected) << name;
    }
}

TEST_F(Best, ByTheLeastSideThenCentre)
{
    for (const auto &[name, levels, expected] : key_cases()) {
        result = {};
        for (std::size_t k = 0; k < levels.size(); k++) {
            result.ok[k] = levels[k].ok;
            result.minSide[k] = levels[k].first;
            result.cen[k] = levels[k].second;
            result.sid[k] = 100 - levels[k].first; // not looked at
        }
        EXPECT_EQ(best(3), expected) << name;
    }
}

TEST_F(Best, OtherAlgorithmsChooseNothing)
{
    gaining(true, true);
    for (int32_t algorithm : {0, 4, -1, INT_MAX})
        EXPECT_EQ(best(algorithm), PIM_NO_RESULT) << algorithm;
}
