#include "platform/capture.h"

#include "platform/virtual/capture.h"
#include "platform/virtual/scene.h"
#include "tests/platform/capture_test.h"

#include <gmock/gmock.h>

using test::byte_at;
using test::CaptureTest;
using test::grey;
using test::ppm;
using test::Rgb;
using test::seen;
using test::SeenFrame;

namespace
{

class CaptureLiveView : public CaptureTest
{
};

TEST_F(CaptureLiveView, LiveViewShowsThePictureInFrontInAnEighthOfItsSize)
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

TEST_F(CaptureLiveView, ChromaOfLiveViewIsTheMeanOfTwoRows)
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

TEST_F(CaptureLiveView, PicturesForLiveViewAloneComeInTurnInTheirOwnSize)
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

TEST_F(CaptureLiveView, LiveViewTakesTheSizeAndTheFieldsAskedFor)
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

TEST_F(CaptureLiveView, AChangedPictureIsSeenInLiveView)
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

TEST_F(CaptureLiveView, AChangedTextOfARawPictureIsSeen)
{
    picture("live/a.yuv", std::string(size_t{2} * 16 * 16, '\x21'));
    picture("live/a.yuv.txt", "width 16\nheight 16\n");
    set("live_rate", "1000");
    client_for_live_view();
    virt::start_live_view();
    EXPECT_EQ(frame(0).record.height, 16);
    picture("live/a.yuv.txt", "width 16\nheight 8\n");
    EXPECT_TRUE(test::wait_for([] { return frame(frames_seen()).record.height == 8; }));
}

TEST_F(CaptureLiveView, TheSizeOfEachFrameCanBeScripted)
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

TEST_F(CaptureLiveView, TheRateIsSetByAFile)
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

TEST_F(CaptureLiveView, FramesComeInCameraTime)
{
    picture("a.ppm", grey(16, 16, 10));
    set("live_rate", "1");
    camera_.speed(10000);
    client_for_live_view();
    virt::start_live_view();
    frame(100); // at the speed of the PC longer than the wait
}

TEST_F(CaptureLiveView, ARateOfZeroHoldsTheFramesBack)
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

TEST_F(CaptureLiveView, NoFrameComesAfterTheEndOfLiveView)
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

TEST_F(CaptureLiveView, LiveViewMayBeEndedWithinItsCallback)
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

TEST_F(CaptureLiveView, AnErrorOfLiveViewIsToldOnceAndItGoesOn)
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

} // namespace
