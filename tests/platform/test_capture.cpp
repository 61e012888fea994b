#include "platform/capture.h"

#include "platform/virtual/capture.h"
#include "platform/virtual/picture.h"
#include "platform/virtual/scene.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <mutex>
#include <png.h>
#include <pthread.h>
#include <sys/mman.h>
#include <thread>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using Rgb = std::array<uint8_t, 3>;
using Colour = std::function<Rgb(int x, int y)>;

std::string pixels(int width, int height, const Colour &colour)
{
    std::string bytes;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            for (uint8_t part : colour(x, y))
                bytes += static_cast<char>(part);
    return bytes;
}

std::string size_text(int width, int height)
{
    return std::to_string(width) + " " + std::to_string(height);
}

std::string ppm(int width, int height, const Colour &colour)
{
    return "P6\n" + size_text(width, height) + "\n255\n" + pixels(width, height, colour);
}

std::string grey(int width, int height, uint8_t value)
{
    return ppm(width, height, [=](int, int) { return Rgb{value, value, value}; });
}

// Without order, so that a mean of other pixels gives other numbers.
uint8_t mixed(int x, int y)
{
    return static_cast<uint8_t>((x * 37 + y * 101 + x * y * 7) % 251);
}

uint8_t byte_at(uint32_t address, int offset = 0)
{
    return *(reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(address)) + offset);
}

struct SeenStill {
    char client;
    uint32_t id;
    bool has_set;
    capture_image_set set;
    capture_still data;
    pthread_t thread;
};

struct SeenFrame {
    uint32_t id;
    capture_live_view record;
    uint8_t first;
    pthread_t thread;
};

// What the clients were told.  Callbacks are plain functions, so this is one for the program.
struct Seen {
    std::mutex lock;
    std::vector<SeenStill> stills;
    std::vector<SeenFrame> frames;
    std::function<void()> in_still, in_frame; // set before a client registers
    std::atomic<int> inside{0}, most_inside{0};
};

Seen seen;

class Inside
{
public:
    Inside()
    {
        const int now = ++seen.inside;
        if (now > seen.most_inside)
            seen.most_inside = now;
    }
    ~Inside() { --seen.inside; }
};

void receive(char client, uint32_t id, const capture_still *still)
{
    Inside inside;
    {
        std::lock_guard guard(seen.lock);
        const bool has_set = still->image_set != nullptr;
        seen.stills.push_back({client, id, has_set,
                               has_set ? *still->image_set : capture_image_set(), *still,
                               pthread_self()});
    }
    if (seen.in_still)
        seen.in_still();
}

void still_a(uint32_t id, const capture_still *still)
{
    receive('a', id, still);
}

void still_b(uint32_t id, const capture_still *still)
{
    receive('b', id, still);
}

void receive_frame(uint32_t id, const capture_live_view *frame)
{
    Inside inside;
    {
        std::lock_guard guard(seen.lock);
        const uint8_t first = frame->y_address > 4096 ? byte_at(frame->y_address) : 0;
        seen.frames.push_back({id, *frame, first, pthread_self()});
    }
    if (seen.in_frame)
        seen.in_frame();
}

// A place where a callback stands until the test lets it go on.
class Gate
{
public:
    void pass()
    {
        std::unique_lock guard(lock_);
        waiting_++;
        changed_.notify_all();
        changed_.wait(guard, [&] { return open_; });
    }
    bool wait_until_reached()
    {
        return test::wait_for([&] {
            std::lock_guard guard(lock_);
            return waiting_ > 0;
        });
    }
    void open()
    {
        std::lock_guard guard(lock_);
        open_ = true;
        changed_.notify_all();
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    int waiting_ = 0;
    bool open_ = false;
};

class Capture : public testing::Test
{
protected:
    Capture() { clear(); }
    ~Capture() override
    {
        virt::stop_capture();
        test::wrap_clear();
        clear();
    }
    static void clear()
    {
        seen.stills.clear();
        seen.frames.clear();
        seen.in_still = seen.in_frame = nullptr;
        seen.most_inside = 0;
    }

    void picture(const std::string &name, const std::string &contents)
    {
        camera_.write("/virtual/scene/" + name, contents);
    }
    void set(const std::string &name, const std::string &value)
    {
        camera_.write("/virtual/capture/" + name, value + "\n");
    }

    static int client_for_stills(capture_still_callback callback = still_a)
    {
        const int handle = RegCallbackClient("pimode", 0, receive_frame, callback);
        EXPECT_GT(handle, 0);
        EXPECT_EQ(RegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
        return handle;
    }
    static int client_for_live_view()
    {
        const int handle = RegCallbackClient("pimode", 0, receive_frame, still_a);
        EXPECT_GT(handle, 0);
        EXPECT_EQ(RegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID), 0);
        return handle;
    }
    // One still of the scene, as the client got it.
    static SeenStill take()
    {
        EXPECT_TRUE(virt::take_still());
        virt::finish_stills();
        std::lock_guard guard(seen.lock);
        EXPECT_FALSE(seen.stills.empty());
        return seen.stills.empty() ? SeenStill() : seen.stills.back();
    }
    static int release_all(const capture_image_set &set)
    {
        return ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, set.mainYAddress) +
               ReleaseCaptureBuffer(CAPTURE_BUFFER_SCREEN, set.screenYAddress) +
               ReleaseCaptureBuffer(CAPTURE_BUFFER_THUMB, set.thumbYAddress);
    }
    static size_t stills_seen()
    {
        std::lock_guard guard(seen.lock);
        return seen.stills.size();
    }
    static size_t frames_seen()
    {
        std::lock_guard guard(seen.lock);
        return seen.frames.size();
    }
    static SeenFrame frame(size_t number)
    {
        EXPECT_TRUE(test::wait_for([=] { return frames_seen() > number; }));
        std::lock_guard guard(seen.lock);
        return seen.frames.size() > number ? seen.frames[number] : SeenFrame();
    }

    test::Camera camera_;
};

TEST_F(Capture, AStillBringsThreePicturesOneBelowTheOther)
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

TEST_F(Capture, ShootingDataHasUsualValues)
{
    picture("a.ppm", grey(8, 8, 0));
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(still.data.ExposureTimeNum, 1U);
    EXPECT_EQ(still.data.ExposureTimeDen, 125U);
    EXPECT_EQ(still.data.FNumberNum, 28U);
    EXPECT_EQ(still.data.FNumberDen, 10U);
    EXPECT_EQ(still.data.FocalLengthIn35mmFilm, 50);
    EXPECT_EQ(still.data.ISOValue, 100U);
    EXPECT_EQ(still.data.afStep, 0);
}

TEST_F(Capture, ShootingDataComesFromFilesThatCanBeScripted)
{
    picture("a.ppm", grey(8, 8, 0));
    set("exposure", "2");
    set("f_number", "56/10");
    set("focal_length", "200");
    set("iso", "3200");
    camera_.write("/virtual/capture/af_step.play", "11\n65535\n");
    client_for_stills();
    const SeenStill first = take();
    EXPECT_EQ(first.data.ExposureTimeNum, 2U);
    EXPECT_EQ(first.data.ExposureTimeDen, 1U);
    EXPECT_EQ(first.data.FNumberNum, 56U);
    EXPECT_EQ(first.data.FNumberDen, 10U);
    EXPECT_EQ(first.data.FocalLengthIn35mmFilm, 200);
    EXPECT_EQ(first.data.ISOValue, 3200U);
    EXPECT_EQ(first.data.afStep, 11);
    EXPECT_EQ(take().data.afStep, 65535);
}

TEST_F(Capture, APicturesOwnShootingDataGoesBeforeTheCameras)
{
    picture("a.ppm", grey(8, 8, 0));
    picture("a.ppm.txt", "# wide\niso 400\naf_step 7\nexposure 1/30\nnonsense\n\n");
    set("iso", "3200");
    set("focal_length", "24");
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(still.data.ISOValue, 400U);
    EXPECT_EQ(still.data.afStep, 7);
    EXPECT_EQ(still.data.ExposureTimeDen, 30U);
    EXPECT_EQ(still.data.FocalLengthIn35mmFilm, 24);
}

int rounded(double value)
{
    return static_cast<int>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
}

TEST_F(Capture, ColoursFollowTheFullRangeFormulas)
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

TEST_F(Capture, TwoPixelsOfARowShareTheirChroma)
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

TEST_F(Capture, TheScreenNailIsTheMeanOfEightByEightPixels)
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

TEST_F(Capture, TheScreenNailTakesAnySizeAskedFor)
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

TEST_F(Capture, ASmallerPictureKeepsItsColoursInPlace)
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

TEST_F(Capture, APictureOfOnePixelStillHasAScreenNail)
{
    picture("a.ppm", grey(1, 1, 33));
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(still.set.mainWidth, 1);
    EXPECT_EQ(still.set.screenWidth, 2);
    EXPECT_EQ(still.set.screenHeight, 2);
    EXPECT_EQ(byte_at(still.set.screenYAddress, still.set.screenGWidth + 1), 33);
}

TEST_F(Capture, RowsArePaddedAsTheFilesSay)
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

TEST_F(Capture, ARowIsNeverTooShortForItsChroma)
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

TEST_F(Capture, APngIsReadAsItIs)
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

TEST_F(Capture, APngOfGreysIsReadAndWhatIsClearInItIsBlack)
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

TEST_F(Capture, ANetpbmHeaderMayHoldCommentsAndGreysAreRead)
{
    picture("a.pgm", "P5 # made by hand\n2\n# two rows\n1 255\n\x05\x46");
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(byte_at(still.set.mainYAddress, 0), 5);
    EXPECT_EQ(byte_at(still.set.mainYAddress, 1), 70);
}

TEST_F(Capture, ARawPictureComesByteForByteWithItsOwnPitch)
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

TEST_F(Capture, ARawPictureWithoutAPitchHasRowsOfItsWidth)
{
    picture("a.yuv", std::string(size_t{2} * 6 * 3, '\x21'));
    picture("a.yuv.txt", "width 5\nheight 3\n");
    client_for_stills();
    EXPECT_EQ(take().set.mainGWidth, 6);
}

TEST_F(Capture, StillsAreTakenInTheOrderOfTheirNames)
{
    picture("b.ppm", grey(2, 2, 2));
    picture("c.ppm", grey(2, 2, 3));
    picture("a.ppm", grey(2, 2, 1));
    picture("a.ppm.txt", "iso 1\n");
    picture("notes.txt", "");
    picture("live/a0.ppm", grey(2, 2, 9));
    EXPECT_EQ(virt::take_still(), "a.ppm");
    EXPECT_EQ(virt::take_still(), "b.ppm");
    EXPECT_EQ(camera_.read("/virtual/capture/picture"), "b.ppm\n");
    EXPECT_EQ(virt::take_still(), "c.ppm");
    EXPECT_EQ(virt::take_still(), "a.ppm");
    set("picture", "b.ppm");
    EXPECT_EQ(virt::take_still(), "c.ppm");
    EXPECT_EQ(virt::take_still("b.ppm"), "b.ppm");
    EXPECT_EQ(virt::take_still(), "c.ppm");
}

TEST_F(Capture, StillsArriveInTheOrderInWhichTheyWereTaken)
{
    for (int number = 1; number <= 5; number++)
        picture("p" + std::to_string(number) + ".ppm", grey(2, 2, static_cast<uint8_t>(number)));
    client_for_stills();
    for (int round = 0; round < 5; round++)
        virt::take_still();
    virt::finish_stills();
    ASSERT_EQ(stills_seen(), 5U);
    for (size_t number = 0; number < 5; number++)
        EXPECT_EQ(byte_at(seen.stills[number].set.mainYAddress), number + 1);
}

TEST_F(Capture, ASceneWithoutPicturesGivesNoStill)
{
    client_for_stills();
    EXPECT_FALSE(virt::take_still());
    EXPECT_TRUE(camera_.logged("no still: virtual/scene holds no picture"));
    virt::finish_stills();
    EXPECT_EQ(stills_seen(), 0U);
}

TEST_F(Capture, WhatIsNoPictureIsRefusedWithItsReason)
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
    EXPECT_FALSE(virt::take_still("unknown.ppm"));
    EXPECT_TRUE(camera_.logged("no still: unknown.ppm: no such picture"));
    virt::finish_stills();
    EXPECT_EQ(stills_seen(), 0U);
    EXPECT_EQ(virt::capture_buffers_out(), 0U);
}

TEST_F(Capture, APngThatIsDamagedOrTooLargeIsRefused)
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

TEST_F(Capture, ABadPictureDoesNotStandInTheWayOfTheNext)
{
    picture("a.ppm", "nothing");
    picture("b.ppm", grey(2, 2, 2));
    EXPECT_FALSE(virt::take_still());
    EXPECT_EQ(virt::take_still(), "b.ppm");
}

TEST_F(Capture, AnyFieldOfTheRecordsCanBeSet)
{
    picture("a.ppm", grey(16, 16, 1));
    struct Row {
        const char *name;
        std::function<long long(const SeenStill &)> field;
    };
#define SET(NAME)                                                                                  \
    {                                                                                              \
#NAME, [](const SeenStill &still) { return still.set.NAME; }                               \
    }
#define DATA(NAME)                                                                                 \
    {                                                                                              \
#NAME, [](const SeenStill &still) { return still.data.NAME; }                              \
    }
    const std::vector<Row> rows = {SET(mainGWidth),
                                   SET(mainGHeight),
                                   SET(mainWidth),
                                   SET(mainHeight),
                                   SET(mainYAddress),
                                   SET(mainCAddress),
                                   SET(screenGWidth),
                                   SET(screenGHeight),
                                   SET(screenWidth),
                                   SET(screenHeight),
                                   SET(screenYAddress),
                                   SET(screenCAddress),
                                   SET(thumbYAddress),
                                   DATA(ISOValue),
                                   DATA(ExposureTimeNum),
                                   DATA(ExposureTimeDen),
                                   DATA(FNumberNum),
                                   DATA(FNumberDen),
                                   DATA(FocalLengthIn35mmFilm),
                                   DATA(afStep)};
#undef SET
#undef DATA
    client_for_stills();
    const SeenStill before = take();
    for (const Row &row : rows) {
        const std::string name = std::string("record/") + row.name;
        set(name, "54321");
        const SeenStill after = take();
        EXPECT_EQ(row.field(after), 54321) << row.name;
        camera_.remove("/virtual/capture/" + name);
        for (const Row &other : rows) {
            if (&other == &row || std::strstr(other.name, "Address"))
                continue;
            EXPECT_EQ(other.field(after), other.field(before)) << row.name << other.name;
        }
    }
}

TEST_F(Capture, FieldsMayBeAbsurdForOneStillOnly)
{
    picture("a.ppm", grey(16, 16, 1));
    camera_.write("/virtual/capture/record/mainWidth.play", "0\n-1\n");
    client_for_stills();
    EXPECT_EQ(take().set.mainWidth, 0);
    EXPECT_EQ(take().set.mainWidth, -1);
    camera_.remove("/virtual/capture/record/mainWidth");
    EXPECT_EQ(take().set.mainWidth, 16);
}

TEST_F(Capture, AnImageSetCanBeLeftOut)
{
    picture("a.ppm", grey(16, 16, 1));
    set("record/image_set", "0");
    client_for_stills();
    EXPECT_FALSE(take().has_set);
}

TEST_F(Capture, TheSecondStillWaitsForTheFirstCallback)
{
    picture("a.ppm", grey(2, 2, 1));
    Gate gate;
    seen.in_still = [&] { gate.pass(); };
    client_for_stills();
    virt::take_still();
    virt::take_still();
    EXPECT_TRUE(gate.wait_until_reached());
    EXPECT_EQ(stills_seen(), 1U);
    gate.open();
    virt::finish_stills();
    EXPECT_EQ(stills_seen(), 2U);
    EXPECT_EQ(seen.most_inside, 1);
}

TEST_F(Capture, CallbacksRunOnOneThreadOfTheService)
{
    picture("a.ppm", grey(2, 2, 1));
    const int handle = client_for_stills();
    RegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID);
    set("live_rate", "1000");
    virt::start_live_view();
    frame(0);
    std::thread([] { virt::take_still(); }).join();
    const pthread_t first = take().thread;
    for (const SeenStill &still : seen.stills)
        EXPECT_TRUE(pthread_equal(still.thread, first));
    EXPECT_FALSE(pthread_equal(first, pthread_self()));
    EXPECT_TRUE(pthread_equal(frame(0).thread, first));
    virt::stop_live_view();
    EXPECT_EQ(seen.most_inside, 1);
}

TEST_F(Capture, AStillThatNobodyWantsIsLost)
{
    picture("a.ppm", grey(2, 2, 1));
    RegCallbackClient("pimode", 0, receive_frame, still_a);
    EXPECT_TRUE(virt::take_still());
    virt::finish_stills();
    EXPECT_EQ(virt::capture_buffers_out(), 0U);
    EXPECT_TRUE(camera_.logged("a.ppm goes to 0 clients"));
    client_for_stills(still_b);
    virt::finish_stills();
    EXPECT_EQ(stills_seen(), 0U);
}

TEST_F(Capture, PicturesStayUntilTheyAreReleased)
{
    picture("a.ppm", grey(64, 64, 77));
    client_for_stills();
    const SeenStill first = take();
    EXPECT_EQ(virt::capture_buffers_out(), 3U);
    const SeenStill second = take();
    EXPECT_EQ(virt::capture_buffers_out(), 6U);
    EXPECT_EQ(byte_at(first.set.mainYAddress, 64 * 64 - 1), 77);
    EXPECT_EQ(release_all(first.set), 0);
    EXPECT_EQ(virt::capture_buffers_out(), 3U);
    EXPECT_EQ(byte_at(second.set.mainYAddress, 64 * 64 - 1), 77);
    EXPECT_EQ(release_all(second.set), 0);
    EXPECT_EQ(virt::capture_buffers_out(), 0U);
}

TEST_F(Capture, PicturesMayBeReleasedWithinTheCallback)
{
    picture("a.ppm", grey(2, 2, 1));
    int result = -1;
    seen.in_still = [&] { result = release_all(seen.stills.back().set); };
    client_for_stills();
    take();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(virt::capture_buffers_out(), 0U);
}

TEST_F(Capture, ReleasingTwiceOrSomethingElseIsRefusedAndTold)
{
    picture("a.ppm", grey(2, 2, 1));
    client_for_stills();
    const capture_image_set set = take().set;
    EXPECT_LT(ReleaseCaptureBuffer(CAPTURE_BUFFER_SCREEN, set.mainYAddress), 0);
    EXPECT_LT(ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, set.mainYAddress + 1), 0);
    EXPECT_LT(ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, set.mainCAddress), 0);
    EXPECT_LT(ReleaseCaptureBuffer(1, set.mainYAddress), 0);
    EXPECT_LT(ReleaseCaptureBuffer(CAPTURE_BUFFER_THUMB, 0), 0);
    EXPECT_TRUE(camera_.logged("released, but not given out: kind 4 at 0x00000000"));
    EXPECT_EQ(virt::capture_buffers_out(), 3U);
    EXPECT_EQ(release_all(set), 0);
    EXPECT_LT(ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, set.mainYAddress), 0);
    char text[80];
    std::snprintf(text, sizeof(text), "released, but not given out: kind 2 at 0x%08x",
                  set.mainYAddress);
    EXPECT_TRUE(camera_.logged(text));
}

TEST_F(Capture, PicturesThatAClientKeepsAreToldWhenItLeaves)
{
    picture("a.ppm", grey(2, 2, 50));
    const int handle = client_for_stills();
    const capture_image_set set = take().set;
    ReleaseCaptureBuffer(CAPTURE_BUFFER_SCREEN, set.screenYAddress);
    EXPECT_EQ(UnRegCallbackClient(handle), 0);
    EXPECT_TRUE(camera_.logged("pimode leaves, and kind 2 of a.ppm was not released"));
    EXPECT_FALSE(camera_.logged("kind 3 of a.ppm was not released"));
    EXPECT_TRUE(camera_.logged("pimode leaves, and kind 4 of a.ppm was not released"));
    EXPECT_EQ(byte_at(set.mainYAddress), 50);
    EXPECT_EQ(ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, set.mainYAddress), 0);
    EXPECT_EQ(ReleaseCaptureBuffer(CAPTURE_BUFFER_THUMB, set.thumbYAddress), 0);
}

TEST_F(Capture, EachOfTwoClientsGetsTheStillOnceAndReleasesIt)
{
    picture("a.ppm", grey(2, 2, 50));
    client_for_stills(still_a);
    client_for_stills(still_b);
    take();
    ASSERT_EQ(stills_seen(), 2U);
    EXPECT_EQ(seen.stills[0].client, 'a');
    EXPECT_EQ(seen.stills[1].client, 'b');
    const capture_image_set set = seen.stills[0].set;
    EXPECT_EQ(set.mainYAddress, seen.stills[1].set.mainYAddress);
    EXPECT_EQ(release_all(set), 0);
    EXPECT_EQ(byte_at(set.mainYAddress), 50);
    EXPECT_EQ(release_all(set), 0);
    EXPECT_EQ(virt::capture_buffers_out(), 0U);
    EXPECT_LT(ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, set.mainYAddress), 0);
}

TEST_F(Capture, AClientThatLeftBeforeItsTurnHasNothingToRelease)
{
    picture("a.ppm", grey(2, 2, 50));
    client_for_stills(still_a);
    const int second = client_for_stills(still_b);
    seen.in_still = [=] { EXPECT_EQ(UnRegCallbackClient(second), 0); };
    const capture_image_set set = take().set;
    EXPECT_EQ(stills_seen(), 1U);
    EXPECT_EQ(release_all(set), 0);
    EXPECT_EQ(virt::capture_buffers_out(), 0U);
}

TEST_F(Capture, AClientMayLeaveWithinItsOwnCallback)
{
    picture("a.ppm", grey(2, 2, 50));
    const int handle = client_for_stills();
    seen.in_still = [=] {
        EXPECT_EQ(UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
        EXPECT_EQ(UnRegCallbackClient(handle), 0);
        virt::finish_stills();
    };
    virt::take_still();
    virt::take_still();
    virt::finish_stills();
    EXPECT_EQ(stills_seen(), 1U);
}

// The call that ends the callbacks, on a thread of its own while a callback stands still.
void expect_to_wait_for_the_callback(Gate &gate, const std::function<int()> &leave)
{
    std::atomic<bool> ended = false, ended_first = false;
    seen.in_still = [&] {
        gate.pass();
        ended = true;
    };
    virt::take_still();
    ASSERT_TRUE(gate.wait_until_reached());
    std::thread leaver([&] {
        EXPECT_EQ(leave(), 0);
        ended_first = ended.load();
    });
    gate.open();
    leaver.join();
    EXPECT_TRUE(ended_first);
}

TEST_F(Capture, LeavingWaitsForTheCallbackUnderWay)
{
    picture("a.ppm", grey(2, 2, 50));
    for (int round = 0; round < 20; round++) {
        Gate gate;
        const int handle = client_for_stills();
        expect_to_wait_for_the_callback(gate, [=] { return UnRegCallbackClient(handle); });
        virt::finish_stills();
    }
}

TEST_F(Capture, EndingTheStillsWaitsForTheCallbackUnderWay)
{
    picture("a.ppm", grey(2, 2, 50));
    for (int round = 0; round < 20; round++) {
        Gate gate;
        const int handle = client_for_stills();
        expect_to_wait_for_the_callback(
            gate, [=] { return UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID); });
        virt::finish_stills();
    }
}

TEST_F(Capture, StoppingWaitsForTheCallbackAndForgetsTheRest)
{
    picture("a.ppm", grey(2, 2, 50));
    Gate gate;
    client_for_stills();
    seen.in_still = [&] { gate.pass(); };
    virt::take_still();
    virt::take_still();
    ASSERT_TRUE(gate.wait_until_reached());
    std::thread stopper([] { virt::stop_capture(); });
    gate.open();
    stopper.join();
    EXPECT_LE(stills_seen(), 2U);
    EXPECT_EQ(virt::capture_buffers_out(), 0U);
    const size_t before = stills_seen();
    virt::take_still();
    virt::finish_stills();
    EXPECT_EQ(stills_seen(), before);
}

TEST_F(Capture, WrongHandlesIdsAndOptionsAreRefusedAndTold)
{
    EXPECT_LT(RegCallbackClient(nullptr, 0, receive_frame, still_a), 0);
    EXPECT_LT(RegCallbackClient("pimode", 1, receive_frame, still_a), 0);
    EXPECT_TRUE(camera_.logged("RegCallbackClient[\"pimode\",1] refused"));
    const int handle = RegCallbackClient("pimode", 0, receive_frame, still_a);
    const int without = RegCallbackClient("pimode", 0, nullptr, nullptr);
    EXPECT_NE(handle, without);
    EXPECT_LT(RegImageSetCallbackId(handle, CAPTURE_LIVE_VIEW_ID), 0);
    EXPECT_LT(RegImageCallbackId(handle, CAPTURE_STILL_ID), 0);
    EXPECT_LT(RegImageSetCallbackId(without, CAPTURE_STILL_ID), 0);
    EXPECT_LT(RegImageCallbackId(without, CAPTURE_LIVE_VIEW_ID), 0);
    for (int wrong : {-1, 0, without + 1}) {
        EXPECT_LT(RegImageSetCallbackId(wrong, CAPTURE_STILL_ID), 0);
        EXPECT_LT(RegImageCallbackId(wrong, CAPTURE_LIVE_VIEW_ID), 0);
        EXPECT_LT(UnRegImageSetCallbackId(wrong, CAPTURE_STILL_ID), 0);
        EXPECT_LT(UnRegImageCallbackId(wrong, CAPTURE_LIVE_VIEW_ID), 0);
        EXPECT_LT(UnRegCallbackClient(wrong), 0);
    }
    EXPECT_LT(UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
    EXPECT_LT(UnRegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID), 0);
    EXPECT_EQ(UnRegCallbackClient(handle), 0);
    EXPECT_LT(UnRegCallbackClient(handle), 0);
}

TEST_F(Capture, RegisteringTwiceForTheSameGivesItOnce)
{
    picture("a.ppm", grey(2, 2, 50));
    const int handle = client_for_stills();
    EXPECT_EQ(RegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
    take();
    EXPECT_EQ(stills_seen(), 1U);
    EXPECT_EQ(UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
    EXPECT_LT(UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
}

TEST_F(Capture, LiveViewShowsThePictureInFrontInAnEighthOfItsSize)
{
    picture("a.ppm", grey(8, 8, 1));
    picture("b.ppm", ppm(160, 80, [](int x, int) {
                return x < 80 ? Rgb{255, 0, 0} : Rgb{0, 0, 255};
            }));
    set("picture", "a.ppm");
    client_for_live_view();
    bool right = false;
    seen.in_frame = [&] {
        const capture_live_view &record = seen.frames.front().record;
        const uint32_t c = record.y_address + static_cast<uint32_t>(record.pitch * record.height);
        right = byte_at(record.y_address, 9 * 64 + 9) == 76 &&
                byte_at(record.y_address, 9 * 64 + 10) == 29 && byte_at(c, 4 * 64 + 9) == 255 &&
                byte_at(c, 4 * 64 + 10) == 255 && byte_at(c, 4 * 64 + 11) == 107;
        virt::stop_live_view();
    };
    EXPECT_TRUE(virt::start_live_view());
    const SeenFrame got = frame(0);
    virt::stop_live_view();
    EXPECT_EQ(got.id, 0x3030001U);
    EXPECT_EQ(got.record.pitch, 64);
    EXPECT_EQ(got.record.width, 20);
    EXPECT_EQ(got.record.height, 10);
    EXPECT_TRUE(right);
}

TEST_F(Capture, ChromaOfLiveViewIsTheMeanOfTwoRows)
{
    picture("live/a.ppm", ppm(4, 4, [](int, int y) {
                return y % 2 ? Rgb{0, 0, 255} : Rgb{255, 0, 0};
            }));
    client_for_live_view();
    int cb = 0, cr = 0;
    seen.in_frame = [&] {
        const capture_live_view &record = seen.frames.front().record;
        const uint32_t c = record.y_address + static_cast<uint32_t>(record.pitch * record.height);
        cb = byte_at(c);
        cr = byte_at(c, 1);
        virt::stop_live_view();
    };
    virt::start_live_view();
    EXPECT_EQ(frame(0).record.width, 4);
    virt::stop_live_view();
    EXPECT_EQ(cb, (85 + 255 + 1) / 2);
    EXPECT_EQ(cr, (255 + 107 + 1) / 2);
}

TEST_F(Capture, PicturesForLiveViewAloneComeInTurnInTheirOwnSize)
{
    picture("a.ppm", grey(160, 80, 99));
    for (uint8_t number = 1; number <= 3; number++)
        picture("live/" + std::to_string(number) + ".ppm", grey(22, 13, number));
    set("live_rate", "1000");
    client_for_live_view();
    virt::start_live_view();
    for (size_t number = 0; number < 7; number++)
        EXPECT_EQ(frame(number).first, number % 3 + 1);
    EXPECT_EQ(frame(0).record.width, 22);
    EXPECT_EQ(frame(0).record.height, 12);
}

TEST_F(Capture, LiveViewTakesTheSizeAndTheFieldsAskedFor)
{
    picture("live/a.ppm", grey(64, 64, 5));
    set("live_width", "30");
    set("live_height", "14");
    set("pitch_padding", "10");
    set("live_rate", "1000");
    client_for_live_view();
    virt::start_live_view();
    SeenFrame got = frame(0);
    EXPECT_EQ(got.record.width, 30);
    EXPECT_EQ(got.record.height, 14);
    EXPECT_EQ(got.record.pitch, 74);
    set("record/pitch", "0");
    set("record/width", "-5");
    set("record/height", "100000");
    set("record/y_address", "16");
    got = frame(frames_seen() + 1);
    EXPECT_EQ(got.record.pitch, 0);
    EXPECT_EQ(got.record.width, -5);
    EXPECT_EQ(got.record.height, 100000);
    EXPECT_EQ(got.record.y_address, 16U);
}

TEST_F(Capture, AChangedPictureIsSeenInLiveView)
{
    picture("a.ppm", grey(16, 16, 10));
    set("live_rate", "1000");
    client_for_live_view();
    virt::start_live_view();
    EXPECT_EQ(frame(0).first, 10);
    picture("a.ppm", grey(16, 18, 20));
    EXPECT_TRUE(test::wait_for([] { return frame(frames_seen()).first == 20; }));
    set("live_width", "6");
    EXPECT_TRUE(test::wait_for([] { return frame(frames_seen()).record.width == 6; }));
    set("pitch_padding", "8");
    EXPECT_TRUE(test::wait_for([] { return frame(frames_seen()).record.pitch == 72; }));
}

TEST_F(Capture, TheSizeOfEachFrameCanBeScripted)
{
    picture("live/a.ppm", grey(16, 16, 10));
    camera_.write("/virtual/capture/live_width.play", "6\n8\n4\n");
    set("live_rate", "1000");
    client_for_live_view();
    virt::start_live_view();
    EXPECT_EQ(frame(0).record.width, 6);
    EXPECT_EQ(frame(1).record.width, 8);
    EXPECT_EQ(frame(2).record.width, 4);
}

TEST_F(Capture, TheRateIsSetByAFile)
{
    EXPECT_EQ(virt::live_view_period(), 33U);
    set("live_rate", "10");
    EXPECT_EQ(virt::live_view_period(), 100U);
    set("live_rate", "100000");
    EXPECT_EQ(virt::live_view_period(), 1U);
    for (const char *none : {"0", "-3"}) {
        set("live_rate", none);
        EXPECT_EQ(virt::live_view_period(), 0U);
    }
}

TEST_F(Capture, FramesComeInCameraTime)
{
    picture("a.ppm", grey(16, 16, 10));
    set("live_rate", "1");
    camera_.speed(10000);
    client_for_live_view();
    virt::start_live_view();
    frame(100); // at the speed of the PC longer than the wait
}

TEST_F(Capture, ARateOfZeroHoldsTheFramesBack)
{
    picture("a.ppm", grey(16, 16, 10));
    set("live_rate", "0");
    client_for_live_view();
    camera_.speed(1000);
    virt::start_live_view();
    virt::take_still();
    virt::finish_stills();
    EXPECT_EQ(frames_seen(), 0U);
    set("live_rate", "100");
    frame(3);
}

TEST_F(Capture, NoFrameComesAfterTheEndOfLiveView)
{
    picture("a.ppm", grey(16, 16, 10));
    set("live_rate", "1000");
    const int handle = client_for_live_view();
    for (int round = 0; round < 20; round++) {
        virt::start_live_view();
        frame(frames_seen());
        virt::stop_live_view();
        const size_t before = frames_seen();
        virt::take_still();
        virt::finish_stills();
        EXPECT_EQ(frames_seen(), before);
    }
    virt::start_live_view();
    frame(frames_seen());
    EXPECT_EQ(UnRegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID), 0);
    const size_t before = frames_seen();
    virt::take_still();
    virt::finish_stills();
    EXPECT_EQ(frames_seen(), before);
}

TEST_F(Capture, LiveViewMayBeEndedWithinItsCallback)
{
    picture("a.ppm", grey(16, 16, 10));
    set("live_rate", "1000");
    const int handle = client_for_live_view();
    seen.in_frame = [=] { UnRegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID); };
    virt::start_live_view();
    frame(0);
    virt::take_still();
    virt::finish_stills();
    EXPECT_EQ(frames_seen(), 1U);
}

TEST_F(Capture, StillsAreNotHeldUpByLiveView)
{
    picture("a.ppm", grey(16, 16, 10));
    set("live_rate", "1000");
    const int handle = client_for_stills();
    RegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID);
    virt::start_live_view();
    for (int round = 0; round < 10; round++)
        EXPECT_EQ(release_all(take().set), 0);
    frame(3);
    virt::stop_live_view();
    EXPECT_EQ(stills_seen(), 10U);
    EXPECT_EQ(seen.most_inside, 1);
}

TEST_F(Capture, AnErrorOfLiveViewIsToldOnceAndItGoesOn)
{
    set("live_rate", "1000");
    client_for_live_view();
    virt::start_live_view();
    EXPECT_TRUE(test::wait_for(
        [&] { return camera_.logged("live view: virtual/scene holds no picture"); }));
    picture("live/a.ppm", "nothing");
    const std::string error = "live view: /virtual/scene/live/a.ppm: no P5 or P6 file";
    EXPECT_TRUE(test::wait_for([&] { return camera_.logged(error); }));
    picture("live/a.ppm", grey(2, 2, 44));
    EXPECT_EQ(frame(5).first, 44);
    virt::stop_live_view();
    const std::string log = camera_.platform_log();
    EXPECT_EQ(log.find(error), log.rfind(error));
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

TEST_F(Capture, WithoutMemoryBelow4GiBThereIsNoPicture)
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

TEST_F(Capture, WithoutAThreadNothingBegins)
{
    picture("a.ppm", grey(2, 2, 1));
    test::wrap_fail("pthread_create", EAGAIN, 0, 1, true);
    EXPECT_LT(RegCallbackClient("pimode", 0, receive_frame, still_a), 0);
    EXPECT_FALSE(virt::take_still());
    EXPECT_FALSE(virt::start_live_view());
    EXPECT_TRUE(camera_.logged("thread not started: Resource temporarily unavailable"));
    test::wrap_clear();
    client_for_stills();
    take();
}

TEST_F(Capture, CallsAreRecorded)
{
    picture("a.ppm", grey(2, 2, 1));
    set("live_rate", "0");
    const int handle = client_for_stills();
    RegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID);
    ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, take().set.mainYAddress);
    UnRegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID);
    UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID);
    UnRegCallbackClient(handle);
    const std::string number = std::to_string(handle);
    EXPECT_THAT(camera_.call_texts(),
                ElementsAre("RegCallbackClient(\"pimode\", 0)",
                            "RegImageSetCallbackId(" + number + ", 67174401)",
                            "RegImageCallbackId(" + number + ", 50528257)",
                            "ReleaseCaptureBuffer(2)",
                            "UnRegImageCallbackId(" + number + ", 50528257)",
                            "UnRegImageSetCallbackId(" + number + ", 67174401)",
                            "UnRegCallbackClient(" + number + ")"));
}

TEST_F(Capture, EachCallCanBeMadeToFail)
{
    picture("a.ppm", grey(2, 2, 1));
    const int handle = client_for_stills();
    const capture_image_set set = take().set;
    for (const char *call : {"RegCallbackClient", "UnRegCallbackClient", "RegImageSetCallbackId",
                             "UnRegImageSetCallbackId", "RegImageCallbackId",
                             "UnRegImageCallbackId", "ReleaseCaptureBuffer"})
        camera_.fault(call, "-4");
    EXPECT_EQ(RegCallbackClient("pimode", 0, receive_frame, still_a), -4);
    EXPECT_EQ(RegImageSetCallbackId(handle, CAPTURE_STILL_ID), -4);
    EXPECT_EQ(RegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID), -4);
    EXPECT_EQ(UnRegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID), -4);
    EXPECT_EQ(UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID), -4);
    EXPECT_EQ(UnRegCallbackClient(handle), -4);
    EXPECT_EQ(ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, set.mainYAddress), -4);
    EXPECT_EQ(virt::capture_buffers_out(), 3U);
    take();
    EXPECT_EQ(stills_seen(), 2U);
}

TEST_F(Capture, WithoutACameraEveryCallFails)
{
    const int handle = client_for_stills();
    const std::string root = camera_.root().string();
    unsetenv("ROVA_SYSROOT");
    EXPECT_LT(RegCallbackClient("pimode", 0, receive_frame, still_a), 0);
    EXPECT_LT(RegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
    EXPECT_LT(UnRegCallbackClient(handle), 0);
    EXPECT_LT(ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, 0), 0);
    EXPECT_FALSE(virt::take_still());
    EXPECT_FALSE(virt::start_live_view());
    setenv("ROVA_SYSROOT", root.c_str(), 1);
    EXPECT_THAT(seen.stills, IsEmpty());
}

} // namespace
