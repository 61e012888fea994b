#include "platform/capture.h"

#include "platform/virtual/capture.h"
#include "tests/platform/capture_test.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <pthread.h>
#include <thread>

using test::byte_at;
using test::CaptureTest;
using test::Gate;
using test::grey;
using test::receive_frame;
using test::seen;
using test::SeenStill;
using test::still_a;
using test::still_b;

namespace
{

class CaptureStill : public CaptureTest
{
};

TEST_F(CaptureStill, StillsAreTakenInTheOrderOfTheirNames)
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

TEST_F(CaptureStill, StillsArriveInTheOrderInWhichTheyWereTaken)
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

TEST_F(CaptureStill, ASceneWithoutPicturesGivesNoStill)
{
    client_for_stills();
    EXPECT_FALSE(virt::take_still());
    EXPECT_TRUE(camera_.logged("no still: virtual/scene holds no picture"));
    virt::finish_stills();
    EXPECT_EQ(stills_seen(), 0U);
}

TEST_F(CaptureStill, ABadPictureDoesNotStandInTheWayOfTheNext)
{
    picture("a.ppm", "nothing");
    picture("b.ppm", grey(2, 2, 2));
    EXPECT_FALSE(virt::take_still());
    EXPECT_EQ(virt::take_still(), "b.ppm");
}

TEST_F(CaptureStill, TheSecondStillWaitsForTheFirstCallback)
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

TEST_F(CaptureStill, CallbacksRunOnOneThreadOfTheService)
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

TEST_F(CaptureStill, AStillThatNobodyWantsIsLost)
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

TEST_F(CaptureStill, PicturesStayUntilTheyAreReleased)
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

TEST_F(CaptureStill, PicturesMayBeReleasedWithinTheCallback)
{
    picture("a.ppm", grey(2, 2, 1));
    int result = -1;
    seen.in_still = [&] { result = release_all(seen.stills.back().set); };
    client_for_stills();
    take();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(virt::capture_buffers_out(), 0U);
}

TEST_F(CaptureStill, ReleasingTwiceOrSomethingElseIsRefusedAndTold)
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

TEST_F(CaptureStill, StillsAreNotHeldUpByLiveView)
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

} // namespace
