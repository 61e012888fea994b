#include "platform/capture.h"

#include "platform/virtual/capture.h"
#include "tests/platform/capture_test.h"
#include "tests/support/wrap.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <thread>

using test::byte_at;
using test::CaptureTest;
using test::Gate;
using test::grey;
using test::receive_frame;
using test::seen;
using test::still_a;
using test::still_b;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class CaptureClient : public CaptureTest
{
};

TEST_F(CaptureClient, PicturesThatAClientKeepsAreToldWhenItLeaves)
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

TEST_F(CaptureClient, EachOfTwoClientsGetsTheStillOnceAndReleasesIt)
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

TEST_F(CaptureClient, AClientThatLeftBeforeItsTurnHasNothingToRelease)
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

TEST_F(CaptureClient, AClientMayLeaveWithinItsOwnCallback)
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

TEST_F(CaptureClient, LeavingWaitsForTheCallbackUnderWay)
{
    picture("a.ppm", grey(2, 2, 50));
    for (int round = 0; round < 20; round++) {
        Gate gate;
        const int handle = client_for_stills();
        expect_to_wait_for_the_callback(gate, [=] { return UnRegCallbackClient(handle); });
        virt::finish_stills();
    }
}

TEST_F(CaptureClient, EndingTheStillsWaitsForTheCallbackUnderWay)
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

TEST_F(CaptureClient, StoppingWaitsForTheCallbackAndForgetsTheRest)
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

TEST_F(CaptureClient, WrongHandlesIdsAndOptionsAreRefusedAndTold)
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

TEST_F(CaptureClient, RegisteringTwiceForTheSameGivesItOnce)
{
    picture("a.ppm", grey(2, 2, 50));
    const int handle = client_for_stills();
    EXPECT_EQ(RegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
    take();
    EXPECT_EQ(stills_seen(), 1U);
    EXPECT_EQ(UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
    EXPECT_LT(UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
}

TEST_F(CaptureClient, WithoutAThreadNothingBegins)
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

TEST_F(CaptureClient, CallsAreRecorded)
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

TEST_F(CaptureClient, EachCallCanBeMadeToFail)
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

TEST_F(CaptureClient, WithoutACameraEveryCallFails)
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
