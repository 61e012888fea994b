#include "lib/pim/movie/rova_pim_movie.h"

#include "lib/rova_app_thread.h"
#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using testing::ElementsAre;

namespace
{

std::vector<std::string> &called()
{
    static std::vector<std::string> texts;
    return texts;
}

int note(const char *text, int result)
{
    called().push_back(text);
    return result;
}

int set_pos(int ms)
{
    called().push_back("set_pos " + std::to_string(ms));
    return 10;
}
int resume()
{
    return note("resume", 11);
}
int pause_movie()
{
    return note("pause", 12);
}
int stop()
{
    return note("stop", 13);
}
int video()
{
    rova_pim_frame_info info = {0x10000000, 0x10010000, 640, 480};
    rova_pim_movie_set_frame_info(&info);
    return note("video", 14);
}
int audio()
{
    return note("audio", 15);
}
const char *still_name()
{
    return "IMG_0012.JPG";
}

template <typename Function> void lend(int id, Function function)
{
    ASSERT_EQ(rova_register_app_func(id, reinterpret_cast<rova_app_func>(function)), 1);
}

struct Movie : testing::Test {
    test::Camera camera;
    Movie() { called().clear(); }
    ~Movie() override
    {
        for (int id = 0; id < ROVA_APP_FUNC_COUNT; id++)
            rova_register_app_func(id, nullptr);
    }
};

} // namespace

TEST_F(Movie, EachCallGoesToTheFunctionThatTheApplicationLent)
{
    lend(0, set_pos);
    lend(1, resume);
    lend(2, pause_movie);
    lend(3, stop);
    lend(4, video);
    lend(5, audio);
    lend(6, still_name);
    EXPECT_EQ(rova_pim_movie_set_pos(1234), 10);
    EXPECT_EQ(rova_pim_movie_resume(), 11);
    EXPECT_EQ(rova_pim_movie_pause(), 12);
    EXPECT_EQ(rova_pim_movie_stop(), 13);
    EXPECT_EQ(rova_pim_do_video_capture(), 14);
    EXPECT_EQ(rova_pim_do_aframe_capture(), 15);
    EXPECT_STREQ(rova_pim_still_name(), "IMG_0012.JPG");
    EXPECT_THAT(called(), ElementsAre("set_pos 1234", "resume", "pause", "stop", "video", "audio"));
}

TEST_F(Movie, WithoutAFunctionACallDoesNothing)
{
    EXPECT_EQ(rova_pim_movie_set_pos(1), 0);
    EXPECT_EQ(rova_pim_movie_resume(), 0);
    EXPECT_EQ(rova_pim_movie_pause(), 0);
    EXPECT_EQ(rova_pim_movie_stop(), 0);
    EXPECT_EQ(rova_pim_do_video_capture(), 0);
    EXPECT_EQ(rova_pim_do_aframe_capture(), 0);
    EXPECT_EQ(rova_pim_still_name(), nullptr);
}

TEST_F(Movie, AFrameThatTheApplicationDeliversIsFetched)
{
    lend(4, video);
    rova_pim_do_video_capture();
    rova_pim_frame_info info = {};
    EXPECT_EQ(rova_pim_movie_get_frame_info(&info), 1);
    EXPECT_EQ(info.y_address, 0x10000000u);
    EXPECT_EQ(info.chroma_address, 0x10010000u);
    EXPECT_EQ(info.width, 640);
    EXPECT_EQ(info.height, 480);
}

TEST_F(Movie, AnAudioAnalysisIsFetchedAsItWasLastDelivered)
{
    const rova_pim_aframe_info first = {440, 441, 1, 2, 3, 4, 5, 6};
    const rova_pim_aframe_info last = {1000, 1001, -1.5f, -2.5f, -3.5f, -4.5f, -5.5f, -6.5f};
    EXPECT_EQ(rova_pim_aframe_set_frame_info(&first), 1);
    EXPECT_EQ(rova_pim_aframe_set_frame_info(&last), 1);
    rova_pim_aframe_info info = {};
    EXPECT_EQ(rova_pim_movie_get_aframe_info(&info), 1);
    EXPECT_EQ(info.left_frequency, 1000);
    EXPECT_EQ(info.right_frequency, 1001);
    EXPECT_EQ(info.left_peak, -1.5f);
    EXPECT_EQ(info.right_peak, -2.5f);
    EXPECT_EQ(info.left_rms, -3.5f);
    EXPECT_EQ(info.right_rms, -4.5f);
    EXPECT_EQ(info.left_loudness, -5.5f);
    EXPECT_EQ(info.right_loudness, -6.5f);
}

TEST_F(Movie, NoInfoIsRefusedAndChangesNothing)
{
    const rova_pim_frame_info frame = {1, 2, 3, 4};
    rova_pim_movie_set_frame_info(&frame);
    EXPECT_EQ(rova_pim_movie_set_frame_info(nullptr), 0);
    EXPECT_EQ(rova_pim_movie_get_frame_info(nullptr), 0);
    EXPECT_EQ(rova_pim_aframe_set_frame_info(nullptr), 0);
    EXPECT_EQ(rova_pim_movie_get_aframe_info(nullptr), 0);
    const std::string log = camera.platform_log();
    std::size_t told = 0;
    for (auto at = log.find("info is NULL "); at != log.npos;
         at = log.find("info is NULL ", at + 1))
        told++;
    EXPECT_EQ(told, 4u);
    rova_pim_frame_info info = {};
    EXPECT_EQ(rova_pim_movie_get_frame_info(&info), 1);
    EXPECT_EQ(info.height, 4);
}

TEST_F(Movie, TheRunningFlagIsWhatWasSetLast)
{
    for (int32_t value : {1, 7, 0}) {
        rova_pim_set_mode(value);
        EXPECT_EQ(rova_pim_check_mode(), value);
    }
}
