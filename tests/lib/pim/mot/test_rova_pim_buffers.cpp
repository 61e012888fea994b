#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/rova_pim_debug.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>

namespace
{

class Buffers : public testing::Test
{
protected:
    test::Camera camera;

    Buffers()
    {
        rova_pim_buffers_free();
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    }
    ~Buffers() override
    {
        test::wrap_clear();
        rova_pim_buffers_free();
        gDbgPrintOnOff = 0;
    }
    static void expect_none()
    {
        EXPECT_EQ(gMallocFlag, 0);
        EXPECT_EQ(gPimaImg, nullptr);
        EXPECT_EQ(gLineImg, nullptr);
        EXPECT_TRUE(rova_pim_picture_buffer().empty());
        EXPECT_TRUE(rova_pim_line_buffer().empty());
    }
};

} // namespace

TEST_F(Buffers, TheSizesFollowThePictureAndArePrinted)
{
    int result = -1;
    EXPECT_EQ(test::captured_output([&] { result = rova_pim_buffers_allocate(5472, 3648); }),
              " MEMORY ALLOCATION (IMAGE) : 623808 \n MEMORY ALLOCATION (LINE)  :  3648 \n");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(gMallocFlag, 1);
    EXPECT_EQ(rova_pim_picture_buffer().size(), 623808u);
    EXPECT_EQ(rova_pim_picture_buffer().data(), gPimaImg);
    EXPECT_EQ(rova_pim_line_buffer().size(), 3648u);
    EXPECT_EQ(rova_pim_line_buffer().data(), gLineImg);
    rova_pim_picture_buffer().back() = 1;
    rova_pim_line_buffer().back() = 1;
}

TEST_F(Buffers, BothDivisionsAreTruncated)
{
    ASSERT_EQ(rova_pim_buffers_allocate(103, 79), 0);
    EXPECT_EQ(rova_pim_picture_buffer().size(), 9u * 25u);
    EXPECT_EQ(rova_pim_line_buffer().size(), 79u);
}

TEST_F(Buffers, AreKeptWhenTheyAreThere)
{
    ASSERT_EQ(rova_pim_buffers_allocate(640, 480), 0);
    const uint8_t *before = gPimaImg;
    EXPECT_EQ(test::captured_output([] { rova_pim_buffers_allocate(5472, 3648); }), "");
    EXPECT_EQ(gPimaImg, before);
    EXPECT_EQ(rova_pim_picture_buffer().size(), 60u * 160u);
    EXPECT_EQ(rova_pim_buffers_allocate(0, 0), 0);
}

TEST_F(Buffers, AreMadeAnewBehindAFree)
{
    ASSERT_EQ(rova_pim_buffers_allocate(640, 480), 0);
    rova_pim_buffers_free();
    expect_none();
    rova_pim_buffers_free();
    ASSERT_EQ(rova_pim_buffers_allocate(320, 240), 0);
    EXPECT_EQ(rova_pim_line_buffer().size(), 240u);
}

TEST_F(Buffers, ASizeThatNoCameraHasIsRefused)
{
    const int32_t sizes[][2] = {{0, 480},     {640, 0},           {-1, 480},     {640, INT_MIN},
                                {65536, 480}, {INT_MAX, INT_MAX}, {640, INT_MAX}};
    for (const auto &[width, height] : sizes) {
        EXPECT_EQ(rova_pim_buffers_allocate(width, height), -1) << width << " x " << height;
        expect_none();
        EXPECT_TRUE(camera.logged("no buffers for pictures of " + std::to_string(width) + " x " +
                                  std::to_string(height)));
    }
    EXPECT_EQ(rova_pim_buffers_allocate(65535, 65535), 0);
}

TEST_F(Buffers, WithoutMemoryNothingIsHeld)
{
    for (int nth : {1, 2}) {
        test::wrap_fail("malloc", 0, ENOMEM, nth);
        EXPECT_EQ(rova_pim_buffers_allocate(640, 480), -1) << nth;
        test::wrap_clear();
        expect_none();
    }
    EXPECT_TRUE(camera.logged("no memory for pictures of 640 x 480"));
}
