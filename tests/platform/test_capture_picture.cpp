#include "platform/capture.h"

#include "platform/virtual/capture.h"
#include "platform/virtual/picture.h"
#include "tests/platform/capture_test.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <png.h>
#include <sys/mman.h>
#include <sys/stat.h>

using test::byte_at;
using test::CaptureTest;
using test::grey;
using test::mixed;
using test::pixels;
using test::ppm;
using test::Rgb;
using test::SeenStill;

namespace
{

class CapturePicture : public CaptureTest
{
};

TEST_F(CapturePicture, AStillBringsThreePicturesOneBelowTheOther)
{
    picture("a.ppm", grey(640, 320, 90));
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(still.id, 0x4010001U);
    EXPECT_EQ(still.set.mainGWidth, 640);
    EXPECT_EQ(still.set.mainGHeight, 320);
    EXPECT_EQ(still.set.mainWidth, 640);
    EXPECT_EQ(still.set.mainHeight, 320);
    EXPECT_EQ(still.set.mainCAddress, still.set.mainYAddress + 640 * 320);
    EXPECT_EQ(still.set.screenGWidth, 128);
    EXPECT_EQ(still.set.screenGHeight, 40);
    EXPECT_EQ(still.set.screenWidth, 80);
    EXPECT_EQ(still.set.screenHeight, 40);
    EXPECT_EQ(still.set.screenCAddress, still.set.screenYAddress + 128 * 40);
    for (uint32_t y : {still.set.mainYAddress, still.set.screenYAddress, still.set.thumbYAddress}) {
        ASSERT_NE(y, 0U);
        EXPECT_EQ(byte_at(y), 90);
    }
    EXPECT_EQ(byte_at(still.set.mainYAddress, 2 * 640 * 320 - 1), 128);
    EXPECT_EQ(byte_at(still.set.screenCAddress, 39 * 128 + 79), 128);
}

int rounded(double value)
{
    return static_cast<int>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
}

TEST_F(CapturePicture, ColoursFollowTheFullRangeFormulas)
{
    const std::vector<Rgb> colours = {{255, 0, 0},     {0, 255, 0},    {0, 0, 255}, {255, 255, 255},
                                      {0, 0, 0},       {200, 100, 50}, {1, 2, 3},   {17, 250, 99},
                                      {128, 128, 128}, {255, 255, 0}};
    const int width = 2 * static_cast<int>(colours.size());
    picture("a.ppm",
            ppm(width, 2, [&](int x, int) { return colours[static_cast<size_t>(x) / 2]; }));
    client_for_stills();
    const SeenStill still = take();
    for (int at = 0; at < width; at += 2) {
        const auto [r, g, b] = colours[static_cast<size_t>(at) / 2];
        EXPECT_EQ(byte_at(still.set.mainYAddress, at), rounded(0.299 * r + 0.587 * g + 0.114 * b));
        EXPECT_EQ(byte_at(still.set.mainCAddress, at),
                  rounded(128 - 0.168736 * r - 0.331264 * g + 0.5 * b));
        EXPECT_EQ(byte_at(still.set.mainCAddress, at + 1),
                  rounded(128 + 0.5 * r - 0.418688 * g - 0.081312 * b));
    }
}

TEST_F(CapturePicture, TwoPixelsOfARowShareTheirChroma)
{
    picture("a.ppm", ppm(3, 1, [](int x, int) {
                return x == 1 ? Rgb{0, 0, 255} : Rgb{255, 0, 0};
            }));
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(byte_at(still.set.mainYAddress, 0), 76);
    EXPECT_EQ(byte_at(still.set.mainYAddress, 1), 29);
    // The mean of red and blue, and behind it the last pixel of an odd row by itself.
    EXPECT_EQ(byte_at(still.set.mainCAddress, 0), rounded(128 - 0.168736 * 127.5 + 0.5 * 127.5));
    EXPECT_EQ(byte_at(still.set.mainCAddress, 1), rounded(128 + 0.5 * 127.5 - 0.081312 * 127.5));
    EXPECT_EQ(byte_at(still.set.mainCAddress, 2), rounded(128 - 0.168736 * 255));
    EXPECT_EQ(byte_at(still.set.mainCAddress, 3), 255);
}

// A plain second way: the sum over the rectangle that a pixel covers.
int mean_of(int x0, int y0, int x1, int y1)
{
    int sum = 0;
    for (int y = y0; y < y1; y++)
        for (int x = x0; x < x1; x++)
            sum += mixed(x, y);
    return static_cast<int>(std::lround(static_cast<double>(sum) / ((x1 - x0) * (y1 - y0))));
}

TEST_F(CapturePicture, TheScreenNailIsTheMeanOfEightByEightPixels)
{
    picture("a.ppm", ppm(64, 32, [](int x, int y) {
                return Rgb{mixed(x, y), mixed(x, y), mixed(x, y)};
            }));
    client_for_stills();
    const SeenStill still = take();
    ASSERT_EQ(still.set.screenWidth, 8);
    ASSERT_EQ(still.set.screenHeight, 4);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 8; x++)
            EXPECT_EQ(byte_at(still.set.screenYAddress, y * still.set.screenGWidth + x),
                      mean_of(8 * x, 8 * y, 8 * x + 8, 8 * y + 8));
}

TEST_F(CapturePicture, TheScreenNailTakesAnySizeAskedFor)
{
    picture("a.ppm", ppm(38, 25, [](int x, int y) {
                return Rgb{mixed(x, y), mixed(x, y), mixed(x, y)};
            }));
    set("screen_width", "5");
    set("screen_height", "3");
    client_for_stills();
    const SeenStill still = take();
    ASSERT_EQ(still.set.screenWidth, 5);
    ASSERT_EQ(still.set.screenHeight, 3);
    for (int y = 0; y < 3; y++)
        for (int x = 0; x < 5; x++)
            EXPECT_EQ(byte_at(still.set.screenYAddress, y * still.set.screenGWidth + x),
                      mean_of(x * 38 / 5, y * 25 / 3, (x + 1) * 38 / 5, (y + 1) * 25 / 3));
}

TEST_F(CapturePicture, ASmallerPictureKeepsItsColoursInPlace)
{
    picture("a.ppm", ppm(32, 16, [](int x, int) {
                return x < 16 ? Rgb{255, 0, 0} : Rgb{0, 0, 255};
            }));
    client_for_stills();
    const SeenStill still = take();
    ASSERT_EQ(still.set.screenWidth, 4);
    EXPECT_EQ(byte_at(still.set.screenCAddress, 0), 85);
    EXPECT_EQ(byte_at(still.set.screenCAddress, 1), 255);
    EXPECT_EQ(byte_at(still.set.screenCAddress, 2), 255);
    EXPECT_EQ(byte_at(still.set.screenCAddress, 3), 107);
}

TEST_F(CapturePicture, APictureOfOnePixelStillHasAScreenNail)
{
    picture("a.ppm", grey(1, 1, 33));
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(still.set.mainWidth, 1);
    EXPECT_EQ(still.set.screenWidth, 2);
    EXPECT_EQ(still.set.screenHeight, 2);
    EXPECT_EQ(byte_at(still.set.screenYAddress, still.set.screenGWidth + 1), 33);
}

TEST_F(CapturePicture, RowsArePaddedAsTheFilesSay)
{
    picture("a.ppm", grey(20, 10, 200));
    set("pitch_align", "16");
    set("pitch_padding", "6");
    set("row_padding", "3");
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(still.set.mainGWidth, 38);
    EXPECT_EQ(still.set.mainGHeight, 13);
    EXPECT_EQ(still.set.mainCAddress, still.set.mainYAddress + 38 * 10);
    EXPECT_EQ(still.set.screenGWidth, 22);
    EXPECT_EQ(byte_at(still.set.mainYAddress, 9 * 38 + 19), 200);
    EXPECT_EQ(byte_at(still.set.mainYAddress, 9 * 38 + 20), 0);
    EXPECT_EQ(byte_at(still.set.mainCAddress, 9 * 38 + 19), 128);
    EXPECT_EQ(byte_at(still.set.mainYAddress, (13 + 10) * 38 - 1), 0);
}

TEST_F(CapturePicture, ARowIsNeverTooShortForItsChroma)
{
    picture("a.ppm", grey(3, 2, 50));
    set("pitch_align", "0");
    client_for_stills();
    EXPECT_EQ(take().set.mainGWidth, 4);
}

void write_png(const std::filesystem::path &place, int width, int height, png_uint_32 format,
               const void *bytes)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = format;
    ASSERT_TRUE(png_image_write_to_file(&image, place.c_str(), 0, bytes, 0, nullptr));
}

TEST_F(CapturePicture, APngIsReadAsItIs)
{
    camera_.write("/virtual/scene/.keep", "");
    const std::string bytes = pixels(16, 4, [](int x, int y) {
        return Rgb{mixed(x, y), mixed(y, x), mixed(x, x)};
    });
    write_png(camera_.path("/virtual/scene/b.png"), 16, 4, PNG_FORMAT_RGB, bytes.data());
    picture("a.ppm", "P6 16 4 255\n" + bytes);
    client_for_stills();
    const SeenStill plain = take(), packed = take();
    EXPECT_EQ(std::memcmp(reinterpret_cast<void *>(uintptr_t{plain.set.mainYAddress}),
                          reinterpret_cast<void *>(uintptr_t{packed.set.mainYAddress}), 2 * 64 * 4),
              0);
}

TEST_F(CapturePicture, APngOfGreysIsReadAndWhatIsClearInItIsBlack)
{
    camera_.write("/virtual/scene/.keep", "");
    const uint8_t greys[] = {10, 250};
    const uint8_t clear[] = {250, 250, 250, 0, 250, 250, 250, 255};
    write_png(camera_.path("/virtual/scene/a.png"), 2, 1, PNG_FORMAT_GRAY, greys);
    write_png(camera_.path("/virtual/scene/b.png"), 2, 1, PNG_FORMAT_RGBA, clear);
    client_for_stills();
    const SeenStill first = take(), second = take();
    EXPECT_EQ(byte_at(first.set.mainYAddress, 0), 10);
    EXPECT_EQ(byte_at(first.set.mainYAddress, 1), 250);
    EXPECT_EQ(byte_at(second.set.mainYAddress, 0), 0);
    EXPECT_EQ(byte_at(second.set.mainYAddress, 1), 250);
}

TEST_F(CapturePicture, TheFormOfANameMayBeInCapitals)
{
    picture("A.PGM", "P5 8 8 255\n" + std::string(64, '\x30'));
    client_for_stills();
    EXPECT_EQ(byte_at(take().set.mainYAddress), 0x30);
}

TEST_F(CapturePicture, ANetpbmHeaderMayHoldCommentsAndGreysAreRead)
{
    picture("a.pgm", "P5 # made by hand\n2\n# two rows\n1 255\n\x05\x46");
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(byte_at(still.set.mainYAddress, 0), 5);
    EXPECT_EQ(byte_at(still.set.mainYAddress, 1), 70);
}

TEST_F(CapturePicture, ARawPictureComesByteForByteWithItsOwnPitch)
{
    std::string bytes;
    for (int at = 0; at < 2 * 22 * 4; at++)
        bytes += static_cast<char>(mixed(at, 3));
    for (const char *name : {"a.yuv", "b.raw"}) {
        picture(name, bytes);
        picture(std::string(name) + ".txt", "width 16\nheight 4\npitch 22\n");
    }
    set("pitch_padding", "100");
    client_for_stills();
    for (int round = 0; round < 2; round++) {
        const SeenStill still = take();
        EXPECT_EQ(still.set.mainGWidth, 22);
        EXPECT_EQ(still.set.mainWidth, 16);
        EXPECT_EQ(still.set.mainHeight, 4);
        EXPECT_EQ(still.set.mainCAddress, still.set.mainYAddress + 22 * 4);
        EXPECT_EQ(std::memcmp(reinterpret_cast<void *>(uintptr_t{still.set.mainYAddress}),
                              bytes.data(), bytes.size()),
                  0);
    }
}

TEST_F(CapturePicture, ARawPictureWithoutAPitchHasRowsOfItsWidth)
{
    picture("a.yuv", std::string(size_t{2} * 6 * 3, '\x21'));
    picture("a.yuv.txt", "width 5\nheight 3\n");
    client_for_stills();
    EXPECT_EQ(take().set.mainGWidth, 6);
}

TEST_F(CapturePicture, WhatIsNoPictureIsRefusedWithItsReason)
{
    struct Bad {
        const char *name;
        std::string contents, notes;
        const char *reason;
    };
    const std::string good = grey(4, 4, 1);
    const std::vector<Bad> rows = {
        {"missing.ppm", "", "", "no P5 or P6 file"},
        {"text.ppm", "hello", "", "no P5 or P6 file"},
        {"ascii.ppm", "P3 1 1 255 1 1 1", "", "no P5 or P6 file"},
        {"wide.ppm", "P6 1 1 65535\n......", "", "its header is not understood"},
        {"none.ppm", "P6 0 1 255\n......", "", "its header is not understood"},
        {"minus.ppm", "P6 -1 1 255\n......", "", "its header is not understood"},
        {"huge.ppm", "P6 16385 1 255\n......", "", "its header is not understood"},
        {"head.ppm", "P6 4 # and then", "", "its header is not understood"},
        {"bare.ppm", "P6 4 4 255", "", "it ends early"},
        {"cut.ppm", good.substr(0, good.size() - 1), "", "it ends early"},
        {"empty.png", "", "", ""},
        {"text.png", "no picture at all", "", "Not a PNG file"},
        {"alone.yuv", "0123", "", "width, height or pitch is missing or out of range"},
        {"narrow.yuv", "0123", "width 4\nheight 1\npitch 3\n",
         "width, height or pitch is missing or out of range"},
        {"odd.yuv", "012345", "width 3\nheight 1\npitch 3\n",
         "width, height or pitch is missing or out of range"},
        {"large.yuv", "0123", "width 20000\nheight 1\n",
         "width, height or pitch is missing or out of range"},
        {"short.yuv", "0123456", "width 2\nheight 2\n", "it has 7 bytes, not 8"},
        {"notes.txt", "hello", "", "no such picture"},
    };
    client_for_stills();
    for (const Bad &row : rows) {
        picture(row.name, row.contents);
        if (!row.notes.empty())
            picture(std::string(row.name) + ".txt", row.notes);
        EXPECT_FALSE(virt::take_still(row.name)) << row.name;
        EXPECT_TRUE(camera_.logged("no still: " + std::string(row.name) + ": " + row.reason))
            << camera_.platform_log();
    }
    picture("folder.png/a.png", "");
    ASSERT_EQ(mkfifo(camera_.path("/virtual/scene/pipe.ppm").c_str(), 0600), 0);
    for (const std::string name : {"unknown.ppm", "folder.png", "pipe.ppm"}) {
        EXPECT_FALSE(virt::take_still(name));
        EXPECT_TRUE(camera_.logged("no still: " + name + ": no such picture"));
    }
    virt::finish_stills();
    EXPECT_EQ(stills_seen(), 0U);
    EXPECT_EQ(virt::capture_buffers_out(), 0U);
}

TEST_F(CapturePicture, APngThatIsDamagedOrTooLargeIsRefused)
{
    camera_.write("/virtual/scene/.keep", "");
    const std::vector<uint8_t> row(16385, 7);
    write_png(camera_.path("/virtual/scene/wide.png"), 16385, 1, PNG_FORMAT_GRAY, row.data());
    std::string good = camera_.read("/virtual/scene/wide.png");
    EXPECT_FALSE(virt::take_still("wide.png"));
    EXPECT_TRUE(camera_.logged("no still: wide.png: too large"));

    const std::vector<uint8_t> noise(size_t{64} * 64, 3);
    write_png(camera_.path("/virtual/scene/cut.png"), 64, 64, PNG_FORMAT_GRAY, noise.data());
    good = camera_.read("/virtual/scene/cut.png");
    picture("cut.png", good.substr(0, good.size() - 30));
    EXPECT_FALSE(virt::take_still("cut.png"));
    EXPECT_TRUE(camera_.logged("no still: cut.png: "));
}

#ifdef MAP_32BIT
// All that is free where the kernel looks for low memory.  It begins each look at a random place of
// the first 32 MB, so asking for memory until there is none would leave some.
class NoLowMemory
{
public:
    NoLowMemory() { hold(0x40000000, 0x40000000); }
    ~NoLowMemory()
    {
        for (const Piece &piece : held_)
            munmap(piece.data, piece.size);
    }
    void free_last_page()
    {
        Piece &last = held_.back();
        last.size -= PAGE;
        munmap(last.data + last.size, PAGE);
    }

private:
    static constexpr size_t PAGE = 4096;
    struct Piece {
        uint8_t *data;
        size_t size;
    };

    void hold(uintptr_t at, size_t size)
    {
        void *data = mmap(reinterpret_cast<void *>(at), size, PROT_NONE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE, -1, 0);
        if (data != MAP_FAILED)
            return held_.push_back({static_cast<uint8_t *>(data), size});
        if (size == PAGE)
            return;
        hold(at, size / 2);
        hold(at + size / 2, size / 2);
    }

    std::vector<Piece> held_;
};

TEST_F(CapturePicture, WithoutMemoryBelow4GiBThereIsNoPicture)
{
    EXPECT_EQ(virt::LowMemory(size_t{1} << 32).data(), nullptr);
    picture("a.ppm", grey(16, 16, 10));
    picture("a.yuv", std::string(64, '\0'));
    picture("a.yuv.txt", "width 4\nheight 4\n");
    set("live_rate", "1000");
    client_for_live_view();
    std::optional<NoLowMemory> nothing_free(std::in_place);
    EXPECT_FALSE(virt::take_still("a.ppm"));
    EXPECT_FALSE(virt::take_still("a.yuv"));
    EXPECT_TRUE(camera_.logged("no still: a.ppm: no memory below 4 GiB"));
    EXPECT_TRUE(camera_.logged("no still: a.yuv: no memory below 4 GiB"));
    nothing_free->free_last_page(); // room for the full image alone
    EXPECT_FALSE(virt::take_still("a.ppm"));
    virt::start_live_view();
    EXPECT_TRUE(test::wait_for(
        [&] { return camera_.logged("live view: /virtual/scene/a.yuv: no memory"); }));
    nothing_free.reset();
    EXPECT_TRUE(virt::take_still("a.ppm"));
    frame(0);
}
#endif

} // namespace
