#include "lib/pim/rova_pim_image.h"

#include "tests/lib/pim/planes.h"
#include "tests/support/camera.h"

#include <climits>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

using testing::Each;
using testing::ElementsAre;

namespace
{

constexpr int32_t WIDTH = 40;
constexpr int32_t HEIGHT = 24;
constexpr int32_t PITCH = 96; // room for two or more bytes a pixel
constexpr int32_t OFFSET = PITCH * HEIGHT;

// Every byte that a colour space may be asked for, and then the end of the memory.
struct Picture : testing::Test {
    test::Camera camera;
    test::Planes planes{static_cast<std::size_t>(OFFSET) * 2 + PITCH};

    rova_pim_image image(int32_t iCS) const { return {planes.bytes(), WIDTH, HEIGHT, PITCH, iCS}; }
    uint8_t at(int64_t position) const
    {
        return planes.bytes()[static_cast<std::size_t>(position)];
    }
};

// The plain second way: one byte after the other, as the colour space says where it lies.
using Positions = std::vector<int>;

Positions luma_row(int iCS, int x0, int x1)
{
    Positions row;
    for (int x = x0; x <= x1; x++) {
        if (iCS == 1 || iCS == 2 || iCS == 3 || iCS == 9 || iCS == 11 || iCS == 14)
            row.push_back(x);
        else if (iCS == 12)
            row.push_back(2 * x);
        else if (iCS == 13)
            row.push_back(2 * x + 1);
    }
    return row;
}

void every(Positions &row, int from, int below, int step)
{
    for (int i = from; i < below; i += step)
        row.push_back(i);
}

Positions chroma_row(int iCS, int colour, int x, int w)
{
    Positions row;
    const bool cr = colour == 2;
    if (iCS == 1 || iCS == 11)
        every(row, x, x + w, 1);
    else if (iCS == 2 || iCS == 9)
        every(row, 2 * x + cr, 2 * (x + w) + cr, 2);
    else if (iCS == 3)
        every(row, 2 * x + !cr, 2 * (x + w) + !cr, 2);
    else if (iCS == 4 && cr)
        every(row, x, x + w, 1);
    else if (iCS == 12)
        every(row, 4 * x + (cr ? 3 : 1), 4 * (x + w), 4);
    else if (iCS == 13)
        every(row, 4 * x + (cr ? 2 : 0), 4 * (x + w), 4);
    else if (iCS == 14)
        every(row, x + cr, x + w + cr, 2);
    return row;
}

std::vector<uint8_t> luma_of(const Picture &picture, int iCS, const rova_pim_rect &rect)
{
    std::vector<uint8_t> bytes;
    for (int y = rect.y0; y <= rect.y1; y++)
        for (int position : luma_row(iCS, rect.x0, rect.x1))
            bytes.push_back(picture.at(int64_t{y} * PITCH + position));
    return bytes;
}

std::vector<uint8_t> chroma_of(const Picture &picture, int iCS, int colour, int x, int y, int w,
                               int h)
{
    std::vector<uint8_t> bytes;
    const int pitch = iCS == 1 ? PITCH / 2 : PITCH;
    for (int row = y; row < y + h; row++)
        for (int position : chroma_row(iCS, colour, x, w))
            bytes.push_back(picture.at(int64_t{OFFSET} + row * pitch + position));
    return bytes;
}

uint64_t sum_of(const std::vector<uint8_t> &bytes)
{
    uint64_t sum = 0;
    for (uint8_t byte : bytes)
        sum += byte;
    return sum;
}

std::vector<uint8_t> copied_luma(const rova_pim_image &image, const rova_pim_rect &rect)
{
    std::vector<uint8_t> out(10000, 0xee);
    out.resize(GetArea(image, rect, out));
    return out;
}

std::vector<uint8_t> copied_chroma(const rova_pim_image &image, int32_t colour, int32_t x,
                                   int32_t y, int32_t w, int32_t h)
{
    std::vector<uint8_t> out(10000, 0xee);
    out.resize(GetChromaArea(image, colour, x, y, w, h, OFFSET, out));
    return out;
}

// From before the first colour space to behind the last.
constexpr int32_t FIRST_CODE = -1;
constexpr int32_t LAST_CODE = CS_MAX + 1;

constexpr rova_pim_rect RECTS[] = {
    {0, 0, WIDTH - 1, HEIGHT - 1}, {3, 5, 17, 9}, {7, 2, 7, 2}, {0, 11, 39, 11}, {39, 0, 39, 23},
};

} // namespace

TEST(ColourSpace, NumbersStandInTheCamerasOrder)
{
    EXPECT_EQ(CS420_Y_ONLY, 0);
    EXPECT_EQ(CS420_Y_CbCr, 2);
    EXPECT_EQ(CS420_CbYCrY, 6);
    EXPECT_EQ(CS422_Y_ONLY, 7);
    EXPECT_EQ(CS422_Y_CbCr, 9);
    EXPECT_EQ(CS422_YCbYCr, 12);
    EXPECT_EQ(CS422_CbYCrY, 13);
    EXPECT_EQ(CS422_YYCbCrCbCr, 14);
    EXPECT_EQ(CS444_Y_ONLY, 15);
    EXPECT_EQ(CS444_CbYCrY, 21);
    EXPECT_EQ(CS_MAX, 22);
}

TEST(ColourSpace, SubsamplingIsThatOfItsFamilyAndNoneOfAPlaneAlone)
{
    const std::vector<std::pair<int, int>> expected = {
        {0, 0}, {2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}, {0, 0},
        {2, 1}, {2, 1}, {2, 1}, {2, 1}, {2, 1}, {2, 1}, {2, 1}, {0, 0},
        {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {0, 0}, {0, 0}};
    for (int iCS = 0; iCS < static_cast<int>(expected.size()); iCS++) {
        const auto [fx, fy] = rova_pim_chroma_subsampling(iCS);
        EXPECT_EQ(std::pair(fx, fy), expected[static_cast<std::size_t>(iCS)]) << iCS;
    }
    EXPECT_EQ(rova_pim_chroma_subsampling(-1).fx, 0);
    EXPECT_EQ(rova_pim_chroma_subsampling(INT_MAX).fy, 0);
}

TEST_F(Picture, LumaStepsByTheBytesOfAPixel)
{
    const int32_t expected[] = {0, 1, 1, 1, 0, 0, 0, 0, 0, 1, 0, 1, 2, 2, 1, 0, 0, 0, 0, 0, 0, 0};
    for (int32_t iCS = 0; iCS < CS_MAX; iCS++)
        EXPECT_EQ(rova_pim_luma_step(iCS), expected[iCS]) << iCS;
    EXPECT_EQ(rova_pim_luma_step(-1), 0);
    EXPECT_EQ(rova_pim_luma_step(INT_MAX), 0);
}

TEST_F(Picture, LumaIsCopiedAsEachColourSpaceHasIt)
{
    for (int32_t iCS = FIRST_CODE; iCS <= LAST_CODE; iCS++)
        for (const rova_pim_rect &rect : RECTS)
            EXPECT_EQ(copied_luma(image(iCS), rect), luma_of(*this, iCS, rect))
                << "colour space " << iCS << " from " << rect.x0 << ", " << rect.y0;
}

TEST_F(Picture, LumaOf422WithPlanesOfEachChromaAndOfSwappedPairsIsNotRead)
{
    EXPECT_TRUE(copied_luma(image(CS422_Y_Cb_Cr), RECTS[1]).empty());
    EXPECT_TRUE(copied_luma(image(CS422_Y_CrCb), RECTS[1]).empty());
}

TEST_F(Picture, LumaIsSummedAsEachColourSpaceHasIt)
{
    for (int32_t iCS = FIRST_CODE; iCS <= LAST_CODE; iCS++)
        for (const rova_pim_rect &rect : RECTS) {
            const std::vector<uint8_t> bytes = luma_of(*this, iCS, rect);
            const rova_pim_sum sum = GetAreaSum(image(iCS), rect);
            EXPECT_EQ(sum.sum, sum_of(bytes)) << "colour space " << iCS;
            EXPECT_EQ(sum.count, bytes.size()) << "colour space " << iCS;
        }
}

TEST_F(Picture, RowsOfEachLengthAreSummedToTheirLastByte)
{
    test::Planes row(1000);
    const rova_pim_image line = {row.bytes(), 1000, 1, 1000, CS422_Y_CbCr};
    for (int32_t length = 1; length <= 200; length++) {
        const int32_t x0 = 1000 - length;
        const uint64_t expected = sum_of({row.data() + x0, row.data() + 1000});
        EXPECT_EQ(GetAreaSum(line, {x0, 0, 999, 0}).sum, expected) << length;
    }
}

TEST_F(Picture, SumsDoNotStopAt32Bits)
{
    // All white, in rows that overlap: each begins a byte behind the one before.
    std::vector<uint8_t> white(6000, 255);
    const rova_pim_image image = {white, 3000, 3000, 1, CS422_Y_CbCr};
    const rova_pim_sum sum = GetAreaSum(image, {0, 0, 2999, 2999});
    EXPECT_EQ(sum.count, 9000000u);
    EXPECT_EQ(sum.sum, 2295000000u);
    const rova_pim_sum more = GetAreaSum(image, {0, 0, 2999, 3000});
    EXPECT_EQ(more.sum, 2295765000u);
    std::vector<uint8_t> whiter(10000, 255);
    const rova_pim_sum most = GetAreaSum({whiter, 5000, 5000, 1, CS422_Y_CbCr}, {0, 0, 4999, 4999});
    EXPECT_EQ(most.sum, uint64_t{25000000} * 255); // 6375000000, above 2^32
}

TEST_F(Picture, ARectangleOfNothingIsEmpty)
{
    for (const rova_pim_rect &rect : {rova_pim_rect{5, 6, 5, 5}, rova_pim_rect{6, 5, 5, 5},
                                      rova_pim_rect{INT_MAX, 0, INT_MIN, 0}}) {
        const rova_pim_sum sum = GetAreaSum(image(CS422_Y_CbCr), rect);
        EXPECT_EQ(sum.sum, 0u);
        EXPECT_EQ(sum.count, 0u);
        EXPECT_TRUE(copied_luma(image(CS422_Y_CbCr), rect).empty());
    }
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Picture, NothingIsReadOutsideOfIt)
{
    const rova_pim_rect outside[] = {
        {-1, 0, 3, 3},                        // before its first byte
        {0, -1, 3, 3},                        //
        {0, 0, PITCH, 2 * HEIGHT},            // one byte too far
        {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, //
        {0, 0, INT_MAX, INT_MAX},             //
        {INT_MAX, INT_MAX, INT_MAX, INT_MAX}, //
        {0, INT_MIN, 0, INT_MIN},             //
    };
    for (const rova_pim_rect &rect : outside) {
        EXPECT_EQ(GetAreaSum(image(CS422_Y_CbCr), rect).count, 0u) << rect.x1 << ", " << rect.y1;
        EXPECT_TRUE(copied_luma(image(CS422_CbYCrY), rect).empty());
    }
    EXPECT_TRUE(camera.logged("outside of the picture's 4704 bytes"));
}

TEST_F(Picture, ItsVeryLastByteIsRead)
{
    const rova_pim_rect last = {PITCH - 1, 2 * HEIGHT, PITCH - 1, 2 * HEIGHT};
    EXPECT_EQ(GetAreaSum(image(CS422_Y_CbCr), last).sum, planes.bytes().back());
}

TEST_F(Picture, ARectangleThatLeavesItReadsMemoryAsItLies)
{
    const rova_pim_image still = image(CS422_Y_CbCr);
    EXPECT_THAT(copied_luma(still, {-2, 1, 1, 1}), // from the row before
                ElementsAre(at(PITCH - 2), at(PITCH - 1), at(PITCH), at(PITCH + 1)));
    EXPECT_THAT(copied_luma(still, {PITCH - 1, 0, PITCH, 1}), // into the next row
                ElementsAre(at(PITCH - 1), at(PITCH), at(2 * PITCH - 1), at(2 * PITCH)));
    EXPECT_THAT(copied_luma(still, {0, HEIGHT - 1, 0, HEIGHT}), // into the chroma
                ElementsAre(at(OFFSET - PITCH), at(OFFSET)));
    EXPECT_EQ(GetAreaSum(still, {0, HEIGHT, 1, HEIGHT}).sum,
              static_cast<uint64_t>(at(OFFSET) + at(OFFSET + 1)));
    EXPECT_THAT(copied_chroma(still, PIM_COLOUR_CB, -1, 0, 2, 1), // from the luma
                ElementsAre(at(OFFSET - 2), at(OFFSET)));
    EXPECT_THAT(copied_chroma(still, PIM_COLOUR_CR, PITCH / 2 - 1, 0, 2, 1),
                ElementsAre(at(OFFSET + PITCH - 1), at(OFFSET + PITCH + 1)));
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Picture, WithoutAPitchIsNotRead)
{
    rova_pim_image flat = image(CS422_Y_CbCr);
    for (int32_t pitch : {0, -96, INT_MIN}) {
        flat.pitch = pitch;
        EXPECT_EQ(GetAreaSum(flat, {0, 0, 1, 1}).count, 0u);
    }
}

TEST_F(Picture, ACopyThatDoesNotFitIsNotBegun)
{
    std::vector<uint8_t> out(19, 0xee);
    EXPECT_EQ(GetArea(image(CS422_Y_CbCr), {0, 0, 4, 3}, out), 0u);
    EXPECT_THAT(out, Each(0xee));
    EXPECT_TRUE(camera.logged("no room for 5 x 4 pixels in 19 bytes"));
    out.resize(20);
    EXPECT_EQ(GetArea(image(CS422_Y_CbCr), {0, 0, 4, 3}, out), 20u);
    EXPECT_EQ(GetChromaArea(image(CS422_Y_CbCr), 1, 0, 0, 7, 3, OFFSET, out), 0u);
}

TEST_F(Picture, MarkingCopiesSumsAndWritesTheValueAtEachColumnRead)
{
    for (int32_t iCS = FIRST_CODE; iCS <= LAST_CODE; iCS++) {
        const rova_pim_rect rect = {3, 5, 17, 9};
        const std::vector<uint8_t> bytes = luma_of(*this, iCS, rect);
        std::vector<int32_t> line(WIDTH, -1);
        std::vector<uint8_t> out(15 * 5, 0xee);
        const rova_pim_sum sum = GetAreaSumMark(image(iCS), rect, 12345, line, out);
        EXPECT_EQ(sum.sum, sum_of(bytes));
        EXPECT_EQ(sum.count, bytes.size());
        for (int x = 0; x < WIDTH; x++)
            EXPECT_EQ(line[static_cast<std::size_t>(x)],
                      !bytes.empty() && x >= 3 && x <= 17 ? 12345 : -1)
                << "colour space " << iCS << " column " << x;
        if (!bytes.empty())
            EXPECT_EQ(out, bytes);
        else
            EXPECT_THAT(out, Each(0xee));
    }
}

TEST_F(Picture, MarkingNeedsNoCopyAndNoLine)
{
    std::vector<int32_t> line(4, 0);
    const rova_pim_image still = image(CS422_Y_CbCr);
    EXPECT_EQ(GetAreaSumMark(still, {1, 0, 2, 0}, 9, line, {}).count, 2u);
    EXPECT_THAT(line, ElementsAre(0, 9, 9, 0));
    EXPECT_EQ(GetAreaSumMark(still, {1, 0, 2, 0}, 9, {}, {}).count, 2u);
}

TEST_F(Picture, ColumnsBeyondTheMarkedLineCountAsItsEnds)
{
    const rova_pim_image still = image(CS422_Y_CbCr);
    std::vector<int32_t> line(5, 0);
    GetAreaSumMark(still, {3, 0, 20, 0}, 7, line, {});
    EXPECT_THAT(line, ElementsAre(0, 0, 0, 7, 7));
    GetAreaSumMark(still, {30, 0, 31, 0}, 8, line, {});
    EXPECT_THAT(line, ElementsAre(0, 0, 0, 7, 8));
    GetAreaSumMark(still, {-9, 1, -8, 1}, 6, line, {});
    EXPECT_THAT(line, ElementsAre(6, 0, 0, 7, 8));
}

TEST_F(Picture, NothingIsMarkedForARefusedRectangleOrCopy)
{
    std::vector<int32_t> line(4, 0);
    std::vector<uint8_t> small(1);
    const rova_pim_image still = image(CS422_Y_CbCr);
    EXPECT_EQ(GetAreaSumMark(still, {0, -1, 3, 0}, 9, line, {}).count, 0u);
    EXPECT_EQ(GetAreaSumMark(still, {0, 0, 3, 0}, 9, line, small).count, 0u);
    EXPECT_EQ(GetAreaSumMark(still, {3, 0, 0, 0}, 9, line, {}).count, 0u);
    EXPECT_THAT(line, Each(0));
}

TEST_F(Picture, ChromaIsCopiedAsEachColourSpaceHasIt)
{
    for (int32_t iCS = FIRST_CODE; iCS <= LAST_CODE; iCS++)
        for (int32_t colour : {1, 2})
            for (auto [x, y, w, h] : {std::array{0, 0, 20, 12}, std::array{3, 2, 5, 4},
                                      std::array{1, 7, 1, 1}, std::array{2, 0, 4, 12}})
                EXPECT_EQ(copied_chroma(image(iCS), colour, x, y, w, h),
                          chroma_of(*this, iCS, colour, x, y, w, h))
                    << "colour space " << iCS << " colour " << colour << " from " << x << ", " << y;
}

TEST_F(Picture, ChromaOfAStillIsEverySecondByteBehindItsOffset)
{
    EXPECT_THAT(copied_chroma(image(CS422_Y_CbCr), PIM_COLOUR_CB, 1, 1, 2, 1),
                ElementsAre(at(OFFSET + PITCH + 2), at(OFFSET + PITCH + 4)));
    EXPECT_THAT(copied_chroma(image(CS422_Y_CbCr), PIM_COLOUR_CR, 1, 1, 2, 1),
                ElementsAre(at(OFFSET + PITCH + 3), at(OFFSET + PITCH + 5)));
}

TEST_F(Picture, ChromaOf420InThreePlanesHasHalfThePitch)
{
    EXPECT_THAT(copied_chroma(image(CS420_Y_Cb_Cr), PIM_COLOUR_CR, 0, 1, 2, 1),
                ElementsAre(at(OFFSET + PITCH / 2), at(OFFSET + PITCH / 2 + 1)));
}

TEST_F(Picture, NoOtherColourIsChroma)
{
    for (int32_t colour : {0, 3, -1, INT_MAX})
        EXPECT_TRUE(copied_chroma(image(CS422_Y_CbCr), colour, 0, 0, 2, 2).empty());
}

TEST_F(Picture, NoChromaIsReadOutsideOfIt)
{
    std::vector<uint8_t> out(100000);
    const rova_pim_image still = image(CS422_Y_CbCr);
    EXPECT_EQ(GetChromaArea(still, 1, 0, 0, 4, 4, -1, out), 0u);
    EXPECT_EQ(GetChromaArea(still, 1, 0, 0, 4, 4, INT_MAX, out), 0u);
    EXPECT_EQ(GetChromaArea(still, 2, 0, HEIGHT, PITCH / 2, 1, OFFSET, out),
              static_cast<std::size_t>(PITCH / 2));
    EXPECT_EQ(GetChromaArea(still, 2, 0, HEIGHT, PITCH / 2 + 1, 1, OFFSET, out), 0u);
    EXPECT_EQ(GetChromaArea(still, 1, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, out), 0u);
    EXPECT_EQ(GetChromaArea(still, 1, 0, INT_MAX, 1, INT_MAX, 0, out), 0u);
    EXPECT_EQ(GetChromaArea(still, 1, 0, 0, -4, 4, OFFSET, out), 0u);
    EXPECT_EQ(GetChromaArea(still, 1, 0, 0, 4, 0, OFFSET, out), 0u);
}

TEST_F(Picture, ARectangleWhoseEndNoNumberHoldsIsRefused)
{
    std::vector<uint8_t> out(1);
    rova_pim_image wide = image(CS422_YCbYCr);
    wide.pitch = INT_MAX;
    EXPECT_EQ(GetChromaArea(wide, 1, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, out), 0u);
    EXPECT_TRUE(camera.logged("no pixels at (2147483647, 2147483647) 2147483647 x 2147483647: "));
}

TEST_F(Picture, TheMeanOfAPlaneIsItsSumByItsCount)
{
    const rova_pim_rect rect = {2, 1, 8, 6};
    for (int32_t iCS = 0; iCS < CS_MAX; iCS++)
        for (int32_t colour : {0, 1, 2}) {
            const std::vector<uint8_t> bytes =
                colour == 0 ? luma_of(*this, iCS, rect) : chroma_of(*this, iCS, colour, 2, 1, 7, 6);
            rova_pim_mean mean = {1, 1, 1};
            testing::internal::CaptureStdout();
            const int result = GetAreaMean(image(iCS), colour, rect, OFFSET, &mean);
            const std::string printed = testing::internal::GetCapturedStdout();
            EXPECT_EQ(result, bytes.empty() ? -1 : 0) << iCS << " colour " << colour;
            EXPECT_EQ(printed, bytes.empty() ? " NOT Supported Color Format \n" : "");
            EXPECT_EQ(mean.sum, sum_of(bytes));
            EXPECT_EQ(mean.count, bytes.size());
            if (!bytes.empty())
                EXPECT_FLOAT_EQ(mean.mean, static_cast<float>(static_cast<double>(sum_of(bytes)) /
                                                              static_cast<double>(bytes.size())));
            else
                EXPECT_EQ(mean.mean, 0.0f);
        }
}

TEST_F(Picture, AMeanIsAQuotientOfFloats)
{
    std::vector<uint8_t> grey(6000, 254); // rows that overlap, as above
    rova_pim_mean mean = {};
    EXPECT_EQ(GetAreaMean({grey, 3000, 3000, 1, CS422_Y_CbCr}, 0, {0, 0, 2999, 2999}, 0, &mean), 0);
    EXPECT_EQ(mean.mean, 254.00001525878906f); // 2286000000 is no float
}

TEST_F(Picture, AMeanOfNoColourOrOutsideIsZero)
{
    rova_pim_mean mean = {1, 1, 1};
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetAreaMean(image(CS422_Y_CbCr), 3, {0, 0, 1, 1}, OFFSET, &mean), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " NOT Supported Color Format \n");
    EXPECT_EQ(mean.count, 0u);
    mean = {1, 1, 1};
    EXPECT_EQ(GetAreaMean(image(CS422_Y_CbCr), 1, {0, 0, 1, INT_MAX}, OFFSET, &mean), -1);
    EXPECT_EQ(mean.count, 0u);
    mean = {1, 1, 1};
    EXPECT_EQ(GetAreaMean(image(CS422_Y_CbCr), 0, {1, 1, 0, 0}, OFFSET, &mean), 0);
    EXPECT_EQ(mean.count, 0u);
    EXPECT_EQ(mean.mean, 0.0f);
}
