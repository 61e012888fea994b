#include "lib/pim/dust/rova_pim_dust_blobs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using spots = std::vector<rova_pim_dust_spot>;

std::string told(const rova_pim_dust_parts &parts)
{
    std::string text;
    for (const rova_pim_dust_spot &spot : parts.all())
        text += std::to_string(spot.x1) + "," + std::to_string(spot.y1) + "-" +
                std::to_string(spot.x2) + "," + std::to_string(spot.y2) + ":" +
                std::to_string(spot.min100) + ".." + std::to_string(spot.max100) + " ";
    return text;
}

rova_pim_dust_parts parts_of(const spots &list)
{
    rova_pim_dust_parts parts = {};
    for (const rova_pim_dust_spot &spot : list)
        parts.spots[parts.count++] = spot;
    return parts;
}

// A row of 4000 columns at y = 30.
struct DustPieces : testing::Test {
    std::vector<uint8_t> marks = std::vector<uint8_t>(4000, PIM_DUST_NO_MARK);
    std::vector<int32_t> values = std::vector<int32_t>(4000, 0);

    void mark(std::size_t x, int32_t value)
    {
        marks[x] = PIM_DUST_MARK;
        values[x] = value;
    }
    rova_pim_dust_parts pieces(int64_t gap, bool black = false)
    {
        rova_pim_dust_parts found;
        rova_pim_dust_pieces({30, 8, {}, marks, values, true}, gap, black, found);
        return found;
    }
};

// Stripes of 8 rows, offsets of 2 blocks.
constexpr rova_pim_dust_reach REACH = {.gap = 16, .side = 16, .below = 16};

std::string joined(spots pieces, spots blobs)
{
    rova_pim_dust_parts list = parts_of(blobs);
    rova_pim_dust_join(parts_of(pieces), REACH, list);
    return told(list);
}

std::string merged_once(spots blobs)
{
    rova_pim_dust_parts list = parts_of(blobs);
    rova_pim_dust_merge(list);
    return told(list);
}

} // namespace

TEST_F(DustPieces, EverySecondColumnIsLookedAt)
{
    mark(3, 100);
    mark(6, 300);
    mark(7, 100);
    mark(8, 200);
    EXPECT_EQ(told(pieces(16)), "6,30-8,30:200..300 ");
}

TEST_F(DustPieces, AGapMustExceedTheWidthToSplitAPiece)
{
    mark(0, 100);
    mark(16, 150);
    EXPECT_EQ(told(pieces(16)), "0,30-16,30:100..150 ");
    mark(34, 90);
    EXPECT_EQ(told(pieces(16)), "0,30-16,30:100..150 34,30-34,30:90..90 ");
}

TEST_F(DustPieces, ABlackMarkCountsOnlyWhereAskedFor)
{
    mark(4, 0);
    EXPECT_EQ(told(pieces(16)), "");
    EXPECT_EQ(told(pieces(16, true)), "4,30-4,30:0..0 ");
}

TEST_F(DustPieces, OfMoreThan256PiecesTheRestIsDropped)
{
    for (std::size_t x = 0; x < 257 * 4; x += 4)
        mark(x, 100);
    const rova_pim_dust_parts found = pieces(2);
    EXPECT_EQ(found.count, 256u);
    EXPECT_EQ(found.spots[255].x1, 255 * 4);
    EXPECT_EQ(found.spots[255].x2, 255 * 4);
}

TEST(DustBlobs, PiecesInTheFirstMarkedStripeBeyondTheFirstAreLost)
{
    EXPECT_EQ(joined({{0, 0, 9, 0, 5, 6}, {100, 0, 109, 0, 5, 6}}, {}), "0,0-9,0:5..6 ");
}

TEST(DustBlobs, APieceThatJoinsNothingBecomesABlob)
{
    EXPECT_EQ(joined({{50, 8, 59, 8, 5, 6}, {100, 8, 109, 8, 7, 8}}, {{0, 0, 9, 0, 1, 2}}),
              "0,0-9,0:1..2 50,8-59,8:5..6 100,8-109,8:7..8 ");
}

TEST(DustBlobs, APieceJoinsABlobBesideIt)
{
    const rova_pim_dust_spot blob = {100, 0, 120, 8, 50, 60};
    struct beside {
        int32_t x1, x2;
        const char *result;
    };
    const beside rows[] = {
        {100, 130, "100,0-130,16:40..70 "}, // begins within
        {90, 120, "90,0-120,16:40..70 "},   // ends within
        {90, 130, "90,0-130,16:40..70 "},   // covers it
        {70, 84, "70,0-120,16:40..70 "},    // ends 16 in front
        {136, 140, "100,0-140,16:40..70 "}, // begins 16 behind
    };
    for (const beside &row : rows)
        EXPECT_EQ(joined({{row.x1, 16, row.x2, 16, 40, 70}}, {blob}), row.result);
    EXPECT_EQ(joined({{70, 16, 83, 16, 40, 70}}, {blob}), "100,0-120,8:50..60 70,16-83,16:40..70 ");
    EXPECT_EQ(joined({{137, 16, 140, 16, 40, 70}}, {blob}),
              "100,0-120,8:50..60 137,16-140,16:40..70 ");
}

TEST(DustBlobs, APieceJoinsABlobUpToTheSmallOffsetAbove)
{
    EXPECT_EQ(joined({{0, 16, 9, 16, 5, 6}}, {{0, 0, 9, 0, 1, 2}}), "0,0-9,16:1..6 ");
    EXPECT_EQ(joined({{0, 17, 9, 17, 5, 6}}, {{0, 0, 9, 0, 1, 2}}), "0,0-9,0:1..2 0,17-9,17:5..6 ");
}

TEST(DustBlobs, APieceJoinsEveryBlobInReach)
{
    EXPECT_EQ(joined({{20, 8, 30, 8, 5, 6}}, {{0, 0, 9, 0, 1, 2}, {40, 0, 50, 0, 3, 9}}),
              "0,0-30,8:1..6 20,0-50,8:3..9 ");
}

TEST(DustBlobs, LaterPiecesJoinABlobOfTheSameStripe)
{
    EXPECT_EQ(joined({{50, 8, 59, 8, 5, 6}, {75, 8, 79, 8, 7, 8}}, {{0, 0, 9, 0, 1, 2}}),
              "0,0-9,0:1..2 50,8-79,8:5..8 ");
}

TEST(DustBlobs, At256BlobsLaterPiecesAreDroppedEvenThoseThatCouldJoin)
{
    spots blobs;
    for (int i = 0; i < 255; i++)
        blobs.push_back({i * 100, 0, i * 100 + 9, 0, 1, 2});
    rova_pim_dust_parts list = parts_of(blobs);
    rova_pim_dust_join(parts_of({{50, 8, 59, 8, 5, 6}, {100, 8, 109, 8, 7, 8}}), REACH, list);
    EXPECT_EQ(list.count, 256u);
    EXPECT_EQ(list.spots[255].x1, 50);
    EXPECT_EQ(list.spots[1].y2, 0);
}

TEST(DustBlobs, TwoBlobsInTheFormOfACrossRemainTwo)
{
    EXPECT_EQ(merged_once({{0, 10, 30, 20, 1, 2}, {10, 0, 20, 30, 3, 4}}),
              "0,10-30,20:1..2 10,0-20,30:3..4 ");
}

TEST(DustBlobs, ACornerOnTheEdgeIsEnoughToMerge)
{
    const char *one = "0,0-20,20:1..4 ";
    EXPECT_EQ(merged_once({{0, 0, 10, 10, 1, 2}, {10, 10, 20, 20, 3, 4}}), one);
    EXPECT_EQ(merged_once({{10, 10, 20, 20, 3, 4}, {0, 0, 10, 10, 1, 2}}), one);
    EXPECT_EQ(merged_once({{10, 0, 20, 10, 1, 2}, {0, 10, 10, 20, 3, 4}}), one);
    EXPECT_EQ(merged_once({{0, 0, 20, 20, 1, 4}, {5, 5, 6, 6, 2, 2}}), one);
    EXPECT_EQ(merged_once({{5, 5, 6, 6, 2, 2}, {0, 0, 20, 20, 1, 4}}), one);
    EXPECT_EQ(merged_once({{0, 0, 10, 10, 1, 2}, {11, 0, 20, 10, 3, 4}}),
              "0,0-10,10:1..2 11,0-20,10:3..4 ");
}

TEST(DustBlobs, TheEarlierOfTwoTakesInTheLater)
{
    EXPECT_EQ(merged_once({{5, 5, 6, 6, 2, 2}, {50, 50, 51, 51, 3, 3}, {0, 0, 20, 20, 1, 4}}),
              "0,0-20,20:1..4 50,50-51,51:3..3 ");
}

TEST(DustBlobs, ABlobTakesInAnEarlierOneThatHasGrownSince)
{
    EXPECT_EQ(merged_once({{0, 0, 10, 10, 1, 1}, {15, 0, 18, 3, 2, 2}, {8, 8, 20, 20, 3, 3}}),
              "0,0-20,20:1..3 ");
}

TEST(DustBlobs, OnePassDoesNotSeeWhatMergingBroughtTogether)
{
    // The first touches only what the other two make together.
    rova_pim_dust_parts list =
        parts_of({{15, 0, 18, 3, 2, 2}, {0, 0, 10, 10, 1, 1}, {8, 8, 20, 20, 3, 3}});
    EXPECT_TRUE(rova_pim_dust_merge(list));
    EXPECT_EQ(told(list), "15,0-18,3:2..2 0,0-20,20:1..3 ");
    EXPECT_TRUE(rova_pim_dust_merge(list));
    EXPECT_EQ(told(list), "0,0-20,20:1..3 ");
    EXPECT_FALSE(rova_pim_dust_merge(list));
}

TEST(DustBlobs, APassGoesOnWithTheSameBlobBehindARemovedOne)
{
    EXPECT_EQ(merged_once({{0, 0, 1, 1, 1, 1},
                           {40, 40, 60, 60, 2, 2},
                           {45, 45, 46, 46, 3, 3},
                           {47, 47, 48, 48, 4, 4},
                           {90, 90, 91, 91, 5, 5}}),
              "0,0-1,1:1..1 40,40-60,60:2..4 90,90-91,91:5..5 ");
}
