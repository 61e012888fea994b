// What the camera application does at a command, and the movie player that it lends.
#include <gtest/gtest.h>

#include "lib/pim/movie/rova_pim_movie.h"
#include "lib/rova_app_thread.h"
#include "platform/capture.h"
#include "platform/virtual/capture.h"
#include "tests/tools/tool.h"
#include "tools/vcam_app/application.h"
#include "tools/vcam_app/movie.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

namespace
{

rova_cmd_response send(const std::vector<const char *> &words)
{
    cmd_data record = {};
    std::snprintf(record.cmd, sizeof(record.cmd), "%s", words[0]);
    for (; record.p_count < words.size() - 1; record.p_count++)
        std::snprintf(record.p[record.p_count], sizeof(record.p[0]), "%s",
                      words[record.p_count + 1]);
    rova_cmd_response answer = {};
    EXPECT_EQ(rova_send_to_app(ROVA_CMD_CARD, &record, &answer), 1);
    return answer;
}

rova_cmd_response send(const char *cmd, const char *subcommand)
{
    return send({cmd, subcommand});
}

class VcamAppFormat : public testing::Test
{
protected:
    VcamAppFormat() : app({VCAM_PROGRAM, "app"}, "", camera.path("/tmp/app"))
    {
        EXPECT_TRUE(test::wait_for(
            [&] { return camera.read("/tmp/app").find(": up\n") != std::string::npos; }));
        camera.write("/sdcard/DCIM/a.jpg", "x");
        camera.write("/sdcard/info.tg", "x");
    }

    test::Camera camera;
    test::Process app;
};

} // namespace

TEST_F(VcamAppFormat, EmptiesTheCardAndTellsTheEndByTheKey)
{
    EXPECT_EQ(send("file", "format").result, 0);
    EXPECT_TRUE(camera.exists("/sdcard"));
    EXPECT_FALSE(camera.exists("/sdcard/DCIM"));
    EXPECT_FALSE(camera.exists("/sdcard/info.tg"));
    EXPECT_EQ(camera.key_int("memory/sysman/mmc_format"), 0);
}

TEST_F(VcamAppFormat, TheWordsMayBeInCapitals)
{
    EXPECT_EQ(send("FILE", "Format").result, 0);
    EXPECT_FALSE(camera.exists("/sdcard/info.tg"));
    EXPECT_EQ(camera.key_int("memory/sysman/mmc_format"), 0);
}

TEST_F(VcamAppFormat, WithoutACardTheKeyTellsTheFailure)
{
    camera.remove("/sdcard");
    EXPECT_EQ(send("file", "format").result, 0);
    EXPECT_EQ(camera.key_int("memory/sysman/mmc_format"), 1);
}

TEST_F(VcamAppFormat, AnAnswerOfNgLeavesTheCardAlone)
{
    camera.write("/virtual/app/answer/file.format", "ng\n");
    EXPECT_EQ(send("file", "format").result, 1);
    EXPECT_TRUE(camera.exists("/sdcard/info.tg"));
    EXPECT_EQ(camera.key_int("memory/sysman/mmc_format"), std::nullopt);
}

class VcamAppInspection : public VcamAppFormat
{
};

TEST_F(VcamAppInspection, CommandsAreLeftToTheLibraryUnlessThereIsAnAnswer)
{
    EXPECT_EQ(send("afi_adj", "set").result, 1) << "too few words";
    camera.write("/virtual/app/answer/afi_adj", "ok\n");
    EXPECT_EQ(send("afi_adj", "set").result, 0);
    EXPECT_EQ(camera.calls("app_command").size(), 2U);
}

TEST_F(VcamAppInspection, TheScanGetsTheSamplesOfTheFileOneASecond)
{
    camera.speed(50);
    camera.write("/virtual/afi/sample.play", "0x6400\n0xc800\n0xe803\n"); // 100, 200, 1000
    ASSERT_EQ(send({"afi_adj", "set", "DesignedADC", "0", "1000", "x"}).result, 0);
    EXPECT_TRUE(camera.exists("/virtual/afi/sample.play")) << "nobody waits for a sample";
    EXPECT_EQ(send({"afi_adj", "set", "scan", "0", "x", "x"}).result, 0);
    std::vector<std::string> gauges;
    for (const nlohmann::json &call : camera.calls("factory_osd_draw"))
        if (call["args"][0] == 70)
            gauges.push_back(call["args"][1]);
    ASSERT_GE(gauges.size(), 2U);
    EXPECT_EQ(gauges.front(), "100,1000,red");
    EXPECT_EQ(gauges.back(), "1000,1000,green");
}

TEST_F(VcamAppInspection, AScanThatNoSampleEndsIsEndedWithTheApplication)
{
    std::thread sender([&] {
        EXPECT_EQ(send({"afi_adj", "set", "DesignedADC", "0", "1000", "x"}).result, 0);
        EXPECT_EQ(send({"afi_adj", "set", "scan", "0", "x", "x"}).result, 1);
    });
    EXPECT_TRUE(test::wait_for([&] {
        return camera.read("/virtual/screen.json").find("0,1000,red") != std::string::npos;
    }));
    app.signal(SIGTERM);
    EXPECT_EQ(app.wait(), 0);
    sender.join();
}

TEST(VcamMovie, IsDrivenThroughTheLentFunctions)
{
    const test::Camera camera;
    vcam_app::register_movie_functions();
    EXPECT_EQ(rova_pim_movie_set_pos(100), 1);
    EXPECT_EQ(rova_pim_movie_resume(), 1);
    EXPECT_EQ(rova_pim_movie_pause(), 1);
    EXPECT_EQ(rova_pim_movie_stop(), 1);
    const std::vector<std::string> wanted = {"app_movie_set_pos(100)", "app_movie_resume()",
                                             "app_movie_pause()", "app_movie_stop()"};
    EXPECT_EQ(camera.call_texts(), wanted);
}

TEST(VcamMovie, DeliversTheFrameThatItStandsAt)
{
    const test::Camera camera;
    camera.write("/virtual/movie/0.pgm", "P5 8 4 255\n" + std::string(32, '\x20'));
    camera.write("/virtual/movie/1.pgm", "P5 6 2 255\n" + std::string(12, '\x60'));
    camera.write("/virtual/movie/frame_ms", "100\n");
    vcam_app::register_movie_functions();
    rova_pim_frame_info info = {};
    rova_pim_movie_set_pos(99);
    EXPECT_EQ(rova_pim_do_video_capture(), 1);
    rova_pim_movie_get_frame_info(&info);
    EXPECT_EQ(info.width, 8);
    EXPECT_EQ(info.height, 4);
    EXPECT_EQ(info.chroma_address - info.y_address, 32U);
    for (const int behind : {100, 100000}) {
        rova_pim_movie_set_pos(behind);
        EXPECT_EQ(rova_pim_do_video_capture(), 1);
        rova_pim_movie_get_frame_info(&info);
        EXPECT_EQ(info.width, 6);
    }
}

TEST(VcamMovie, AFrameIsCutToEvenSides)
{
    const test::Camera camera;
    camera.write("/virtual/movie/0.pgm", "P5 5 3 255\n" + std::string(15, '\x20'));
    vcam_app::register_movie_functions();
    EXPECT_EQ(rova_pim_do_video_capture(), 1);
    rova_pim_frame_info info = {};
    rova_pim_movie_get_frame_info(&info);
    EXPECT_EQ(info.width, 4);
    EXPECT_EQ(info.height, 2);
    EXPECT_EQ(info.chroma_address - info.y_address, 8U);
}

TEST(VcamMovie, WithoutAMovieNoFrameIsDelivered)
{
    const test::Camera camera;
    vcam_app::register_movie_functions();
    EXPECT_EQ(rova_pim_do_video_capture(), 0);
    camera.write("/virtual/movie/0.pgm", "no picture");
    EXPECT_EQ(rova_pim_do_video_capture(), 0);
}

TEST(VcamMovie, DeliversWhatTheAudioFileSays)
{
    const test::Camera camera;
    camera.write("/virtual/movie/audio", "left_frequency 1000\nright_peak 0.5\n");
    vcam_app::register_movie_functions();
    EXPECT_EQ(rova_pim_do_aframe_capture(), 1);
    rova_pim_aframe_info info = {};
    rova_pim_movie_get_aframe_info(&info);
    EXPECT_EQ(info.left_frequency, 1000);
    EXPECT_EQ(info.right_peak, 0.5F);
    EXPECT_EQ(info.left_loudness, 0.0F);
}

TEST(VcamMovie, PlaysTheMovieThatVcamDraws)
{
    const test::Camera camera;
    ASSERT_TRUE(
        tool::succeeded(tool::vcam({"chart", "movie", "--size", "32x32", "--frames", "4", "--rate",
                                    "25", "--tone", "440", "--loudness", "-12"})));
    vcam_app::register_movie_functions();
    const auto chroma = [](int ms, int which) { // in the middle; 0 for Cb, 1 for Cr
        rova_pim_movie_set_pos(ms);
        EXPECT_EQ(rova_pim_do_video_capture(), 1);
        rova_pim_frame_info info = {};
        rova_pim_movie_get_frame_info(&info);
        const uintptr_t plane = info.chroma_address;
        return reinterpret_cast<const uint8_t *>(plane)[8 * 32 + 16 + which];
    };
    EXPECT_GT(chroma(0, 1), 200) << "red";
    EXPECT_EQ(chroma(40, 1), 128);
    EXPECT_GT(chroma(2 * 40, 0), 200) << "blue";
    EXPECT_EQ(chroma(3 * 40, 0), 128);

    EXPECT_EQ(rova_pim_do_aframe_capture(), 1);
    rova_pim_aframe_info info = {};
    rova_pim_movie_get_aframe_info(&info);
    EXPECT_EQ(info.left_frequency, 440);
    EXPECT_EQ(info.right_frequency, 440);
    EXPECT_EQ(info.left_peak, -8.99F);
    EXPECT_EQ(info.right_rms, -12.0F);
    EXPECT_EQ(info.right_loudness, -12.0F);
}

namespace
{

// A process of its own, since the end is for all of it.
[[noreturn]] void serve_live_view()
{
    static std::atomic<int> frames = 0;
    if (!vcam_app::start_application())
        std::exit(2);
    const int client = RegCallbackClient(
        "test", 0, [](uint32_t, const capture_live_view *) { frames++; }, nullptr);
    RegImageCallbackId(client, CAPTURE_LIVE_VIEW_ID);
    if (!test::wait_for([] { return frames > 2; }))
        std::exit(3);
    vcam_app::stop_application();
    const int seen = frames;
    for (int still = 0; still < 50; still++) { // on the same thread: frames would come between
        virt::take_still();
        virt::finish_stills();
    }
    std::exit(frames == seen ? 0 : 4);
}

[[noreturn]] void leave_a_still_with_its_client()
{
    if (!vcam_app::start_application())
        std::exit(2);
    const int client =
        RegCallbackClient("test", 0, nullptr, [](uint32_t, const capture_still *) {});
    RegImageSetCallbackId(client, CAPTURE_STILL_ID);
    if (send("capture", "still").result != 0)
        std::exit(3);
    vcam_app::stop_application();
    std::exit(0);
}

} // namespace

TEST(VcamAppApplication, DeliversLiveViewUntilItEnds)
{
    const test::Camera camera;
    camera.write("/virtual/scene/a.pgm", "P5 32 32 255\n" + std::string(1024, 'x'));
    camera.write("/virtual/capture/live_rate", "1000\n");
    EXPECT_EXIT(serve_live_view(), testing::ExitedWithCode(0), "^$");
}

TEST(VcamAppApplication, TellsOfPicturesThatWereNotReleased)
{
    const test::Camera camera;
    camera.write("/virtual/scene/a.pgm", "P5 32 32 255\n" + std::string(1024, 'x'));
    EXPECT_EXIT(leave_a_still_with_its_client(), testing::ExitedWithCode(0),
                "vcam-app: 3 pictures of stills were not released\n");
}
