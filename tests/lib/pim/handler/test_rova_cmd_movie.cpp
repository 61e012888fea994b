#include "common/rova_osd.h"
#include "common/rova_util.h"
#include "lib/pim/movie/rova_pim_movie.h"
#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_result.h"
#include "lib/rova_app_table.h"
#include "lib/rova_app_thread.h"
#include "platform/vconf.h"
#include "tests/lib/pim/handler/handler_test.h"
#include "tests/lib/pim/held_records.h"
#include "tests/lib/pim/planes.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <numeric>

using test::NG;
using test::OK;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace
{

using Steps = std::vector<std::string>;

constexpr char CSV[] = "/sdcard/movie.csv";

// 40 x 20 pixels, frames 10 and 13 red, 30 red for the second time, then blue 40, 42; 100 frames a
// second.
constexpr char CONFIG[] =
    "LUMEN1\n0\n2\n/mnt/mmc/debug.txt\n/mnt/mmc/result.csv\n1\n0\n0\n0 0 0 0 0 0 0 0\n"
    "0 0 0 0 0 0 0 100\n40 20\n40 20\n40 20\n800 480\n0\n800\n800\n800\n800\n0.5\n"
    "10\n2\n3\n200 255\n4 4\n9 9\n40\n2\n2\n200 255\n4 4\n9 9\n1\n1.0 0.9 1.1\n-20 -25 -15\n";

// The application's side: what it is asked for, with the milliseconds slept before, and what it
// delivers.
struct Player {
    Steps steps;
    std::size_t sleeps = 0;
    rova_pim_frame_info frame = {};
    rova_pim_aframe_info sound = {1000, 1000, 0, 0, 0, 0, -20, -20};
    int stop_at_frame = 0; // the daemon is asked to stop at this one
    int frames = 0;
    int sounds = 0;
    int bad_sound = 0; // this one is
};
Player player;

// The camera's clock runs a thousand times as fast.
int note(const std::string &step)
{
    const std::vector<unsigned int> all = test::wrap_sleeps();
    const auto slept =
        std::accumulate(all.begin() + static_cast<std::ptrdiff_t>(player.sleeps), all.end(), 0U);
    player.sleeps = all.size();
    if (slept != 0)
        player.steps.push_back(std::to_string(slept));
    player.steps.push_back(step);
    EXPECT_EQ(rova_pim_check_mode(), 1);
    return 1;
}

int set_pos(int ms)
{
    return note("at " + std::to_string(ms));
}
int resume()
{
    return note("play");
}
int pause_movie()
{
    return note("pause");
}
int stop()
{
    return note("stop");
}
int video()
{
    note("frame");
    if (++player.frames == player.stop_at_frame)
        vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    return rova_pim_movie_set_frame_info(&player.frame);
}
int audio()
{
    note("sound");
    player.sound.left_frequency = ++player.sounds == player.bad_sound ? 1 : 1000;
    return rova_pim_aframe_set_frame_info(&player.sound);
}

template <typename Function> void lend(rova_app_func_id id, Function function)
{
    rova_register_app_func(id, reinterpret_cast<rova_app_func>(function));
}

class Movie : public test::HandlerTest
{
protected:
    test::Planes frame{40 * 20 * 3 / 2};

    Movie()
    {
        run("movie display_result off"); // the sound is good
        SetPIMode(PI_MODE_MOVIE);
        run("movie read_config"); // there is none
        std::fill_n(frame.data(), frame.bytes().size(), uint8_t{220});
        std::ranges::fill(rova_pim_movie_done, 0);
        player = {};
        player.frame = {frame.address(), frame.address() + 800, 40, 20};
        lend(ROVA_APP_MOVIE_SET_POS, set_pos);
        lend(ROVA_APP_MOVIE_RESUME, resume);
        lend(ROVA_APP_MOVIE_PAUSE, pause_movie);
        lend(ROVA_APP_MOVIE_STOP, stop);
        lend(ROVA_APP_VIDEO_FRAME, video);
        lend(ROVA_APP_AUDIO_FRAME, audio);
        new_drawings();
    }
    ~Movie() override
    {
        vconf_set_int(ROVA_KEY_STOP_CMD, 0);
        for (int id = 0; id < ROVA_APP_FUNC_COUNT; id++)
            rova_register_app_func(id, nullptr);
        std::ranges::fill(rova_pim_movie_done, 0);
        rova_pim_result_clear();
        gRstPrintOpt = 0;
        cfgMovie = {};
        SetPIMode(PI_MODE_NONE);
    }

    void load(const std::string &text = CONFIG)
    {
        camera.write("/mnt/mmc/movie_lumen1.cfg", text);
        ASSERT_EQ(run("movie set pimode"), OK);
        ASSERT_EQ(run("movie read_config"), OK);
    }
    // With the milliseconds between the steps in their places.
    Steps start(const std::string &line, int result)
    {
        player.steps.clear();
        player.sleeps = 0;
        test::wrap_record_sleeps(true);
        EXPECT_EQ(run(line), result) << line;
        EXPECT_EQ(rova_pim_check_mode(), 0);
        test::wrap_clear();
        return player.steps;
    }
    static rova_pim_frame_record &record(int32_t i) { return cfgMovie.frame[i]; }
    // A run in which these frames were bad.
    void judge(std::initializer_list<int32_t> colours)
    {
        load();
        cfgMovie.movieResult = colours.size() == 0 ? 1 : 0;
        for (const int32_t colour : colours) {
            record(cfgMovie.frameCount).colour = colour;
            record(cfgMovie.frameCount++).result = 0;
        }
    }
    void spoil_sound()
    {
        player.sound.left_loudness = 0;
        start("movie movie_start 0", OK);
        cfgMovie.frameCount = 0;
        cfgMovie.movieResult = 0;
    }
};

// Whether, in a process of its own, nothing can be started and no sound has failed.
[[noreturn]] void look_at_start()
{
    bool good = false;
    {
        test::Camera camera;
        camera.speed(1000);
        rova_cmd_response answer = {};
        const cmd_data start = test::line_record("movie movie_start 0");
        const cmd_data display = test::line_record("movie display_result off");
        rova_app_cmd_exec(rova_app_cmds(), &start, &answer);
        good = answer.result == NG;
        good = test::captured_output([&] {
                   rova_app_cmd_exec(rova_app_cmds(), &display, &answer);
               }).starts_with("Audio result: OK") &&
               good;
    }
    std::exit(good ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace

// ------------------------------------------------------------------------- set, read_config

TEST_F(Movie, SetMakesTheMovieTestTheActiveOne)
{
    SetPIMode(PI_MODE_NONE);
    EXPECT_EQ(run("movie set pimode"), OK);
    EXPECT_EQ(GetPIMode(), PI_MODE_MOVIE);
    SetPIMode(PI_MODE_NONE);
    for (const char *line : {"movie set", "movie set PIMODE", "movie set pimode2"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_EQ(GetPIMode(), PI_MODE_NONE);
}

TEST_F(Movie, AnUnknownWordIsNotAnswered)
{
    cmd_data record = test::line_record("movie avcs on");
    answer.result = 77;
    rova_app_cmd_exec(rova_app_cmds(), &record, &answer);
    EXPECT_EQ(answer.result, 77);
    EXPECT_TRUE(camera.logged("Not found on mot command table"));
}

TEST_F(Movie, ReadConfigRegistersNothing)
{
    new_calls();
    load();
    for (const std::string &call : new_calls())
        EXPECT_THAT(call, Not(HasSubstr("Reg")));
    EXPECT_EQ(callbackFlag, 0);
    EXPECT_EQ(cfgMovie.redStart, 10);
}

TEST_F(Movie, ReadConfigOfNoFileIsNg)
{
    EXPECT_EQ(run("movie read_config"), NG);
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_movie_read_config, [0-9]+, ROVA_RESULT_NG\n"));
}

// ------------------------------------------------------------------------- movie_start

TEST_F(Movie, StartWithoutAConfigurationIsNg)
{
    rova_pim_set_mode(1);
    EXPECT_THAT(start("movie movie_start 100", NG), IsEmpty()) << "and the mode is 0 again";
}

TEST(MovieAtStart, NothingIsLoadedAndNoSoundHasFailed)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(look_at_start(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST_F(Movie, StartWithoutATimeIsNg)
{
    load();
    rova_pim_set_mode(1);
    EXPECT_THAT(start("movie movie_start", NG), IsEmpty());
}

TEST_F(Movie, StartGoesThroughTheMovieStepByStep)
{
    load();
    const Steps steps = start("movie movie_start 250", OK);
    EXPECT_THAT(steps, ElementsAre("play", "250", "pause", "at 100", // red
                                   "200", "frame", "200", "sound", "100", "play", "30", "pause",
                                   "200", "frame", "200", "sound", "100", "play", "30", "pause",
                                   "100", "at 400",                              // blue
                                   "200", "frame", "300", "play", "20", "pause", //
                                   "200", "frame", "300", "play", "20", "pause", //
                                   "100", "frame", "100", "play", "100", "stop"));
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_movie_start [0-9]+ : framePerMilisecond = 10msec, "
                                       "GetMovieDebugValue7\\(\\) = 100\n"));
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_movie_start [0-9]+ : movie start\n"));
}

TEST_F(Movie, StartJudgesFramesAndSound)
{
    load();
    start("movie movie_start 0", OK);
    EXPECT_EQ(cfgMovie.frameCount, 4);
    EXPECT_EQ(cfgMovie.frameOk, 4);
    EXPECT_EQ(cfgMovie.movieResult, 1);
    EXPECT_EQ(record(0).frame, 10);
    EXPECT_EQ(record(1).frame, 13);
    EXPECT_EQ(record(2).frame, 40);
    EXPECT_EQ(record(3).frame, 42);
    EXPECT_THAT(pRstData, StartsWith("OK,10,OK,RED,"));
    EXPECT_THAT(pPtpTile, StartsWith("Tot. Result, Frame #"));
}

TEST_F(Movie, TheBlueFramesCheckTheLastSoundAgain)
{
    load();
    player.sound.right_loudness = -60;
    start("movie movie_start 0", OK);
    EXPECT_EQ(cfgMovie.audioCount, 4);
    EXPECT_EQ(cfgMovie.audioOk, 0) << "each failure counts";
    EXPECT_EQ(std::ranges::count(player.steps, "sound"), 2);
    EXPECT_EQ(cfgMovie.movieResult, 0);
}

TEST_F(Movie, OneBadSoundIsEnough)
{
    load();
    player.bad_sound = 1;
    start("movie movie_start 0", OK);
    EXPECT_EQ(cfgMovie.audioOk, 3);
    EXPECT_EQ(run("movie display_result on movie.csv"), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("20 Audio"));
}

TEST_F(Movie, TheSoundIsCheckedBeforeTheFrame)
{
    load();
    cfgMovie.redNum = 1;
    cfgMovie.blueNum = 0;
    player.bad_sound = 1;
    start("movie movie_start 0", OK);
    EXPECT_THAT(printed, ContainsRegex("checkAudio [0-9]+: actual freqL(.|\n)*CheckMovie [0-9]+ : "
                                       "frame  10 returnValue"));
}

TEST_F(Movie, APlaceThatIsNoNumberOfMillisecondsIsTheNextThatIs)
{
    load();
    cfgMovie.redNum = cfgMovie.blueNum = 0;
    cfgMovie.redStart = INT_MAX / 10;
    cfgMovie.blueStart = -5;
    const Steps inside = start("movie movie_start 0", OK);
    EXPECT_THAT(inside, testing::IsSupersetOf({"at 2147483640", "at -50"}));
    cfgMovie.redStart = INT_MAX / 10 + 1;
    cfgMovie.blueStart = INT_MIN;
    const Steps outside = start("movie movie_start 0", OK);
    EXPECT_THAT(outside, testing::IsSupersetOf({"at 2147483647", "at -2147483648"}));
}

TEST_F(Movie, WithoutAFrameRateAFrameTakes16Milliseconds)
{
    load();
    for (const int32_t rate : {0, -1}) {
        cfgMovie.dbgOption[7] = rate;
        const Steps steps = start("movie movie_start 0", OK);
        EXPECT_THAT(steps, testing::Contains("at 160"));
        EXPECT_THAT(steps, testing::Contains("48"));
        EXPECT_THAT(printed, HasSubstr("framePerMilisecond = 16msec, GetMovieDebugValue7() = " +
                                       std::to_string(rate)));
    }
}

TEST_F(Movie, TheTimeOfAFrameIsCut)
{
    load();
    cfgMovie.dbgOption[7] = 30;
    EXPECT_THAT(start("movie movie_start 0", OK), testing::Contains("at 330"));
    cfgMovie.dbgOption[7] = 1;
    EXPECT_THAT(start("movie movie_start 0", OK), testing::Contains("at 10000"));
    cfgMovie.dbgOption[7] = 1001;
    EXPECT_THAT(start("movie movie_start 0", OK), testing::Contains("at 0"));
}

TEST_F(Movie, StartTakesATimeOfAnyForm)
{
    load();
    for (const char *time : {"0x10", "16"})
        EXPECT_EQ(start(std::string("movie movie_start ") + time, OK)[1], "16") << time;
    for (const char *time : {"abc", "-5", "0"})
        EXPECT_EQ(start(std::string("movie movie_start ") + time, OK)[1], "pause") << time;
}

TEST_F(Movie, StartEndsWhenTheDaemonIsAskedToStop)
{
    load();
    player.stop_at_frame = 2;
    const Steps steps = start("movie movie_start 0", NG);
    EXPECT_EQ(steps.back(), "stop");
    EXPECT_EQ(player.frames, 2);
    EXPECT_EQ(cfgMovie.frameCount, 1);
    EXPECT_TRUE(camera.logged("the movie test was stopped"));
}

TEST_F(Movie, AVeryLongPlayEndsAtAStopToo)
{
    load();
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_THAT(start("movie movie_start 2147483647", NG), ElementsAre("play", "pause", "stop"));
}

TEST_F(Movie, ABadFrameIsNoFailureOfTheStart)
{
    load();
    std::fill_n(frame.data() + 800, 400, uint8_t{0});
    start("movie movie_start 0", OK);
    EXPECT_EQ(cfgMovie.frameOk, 0);
    EXPECT_EQ(cfgMovie.frameCount, 4);
}

TEST_F(Movie, AFrameThatCannotBeJudgedIsNgAndTheRunGoesOn)
{
    load();
    player.frame.y_address = 0;
    EXPECT_EQ(start("movie movie_start 0", NG).back(), "stop");
    EXPECT_EQ(player.frames, 5);
    EXPECT_EQ(cfgMovie.frameCount, 0);
    EXPECT_TRUE(camera.logged("no frame 42 of 40 x 20 at 0x00000000"));
    player.frame = {frame.address(), 0, INT32_MAX, INT32_MAX};
    start("movie movie_start 0", NG);
    player.frame = {frame.address(), 0, 40, 20};
    start("movie movie_start 0", OK);
}

TEST_F(Movie, WithoutTheApplicationsFunctionsTheCallsDoNothing)
{
    load();
    cfgMovie.enableTest = 0;
    for (int id = 0; id < ROVA_APP_FUNC_COUNT; id++)
        rova_register_app_func(id, nullptr);
    EXPECT_THAT(start("movie movie_start 10", OK), IsEmpty());
    EXPECT_EQ(cfgMovie.audioCount, 4) << "what is heard is checked all the same";
}

TEST_F(Movie, ASecondRunFindsItsFramesOutOfStep)
{
    load();
    start("movie movie_start 0", OK);
    load();
    start("movie movie_start 0", OK);
    EXPECT_EQ(cfgMovie.frameCount, 0);
    EXPECT_EQ(cfgMovie.movieResult, 0);
    EXPECT_EQ(run("movie display_result on movie.csv"), OK)
        << "no colour and no sound has failed: the total is in the table";
    EXPECT_TRUE(camera.logged("but the movie's total did: 0 of 4 frames were checked"));
}

// ------------------------------------------------------------------------- display_result

TEST_F(Movie, DisplayResultWritesTheFileAndShowsThatAllIsGood)
{
    load();
    start("movie movie_start 0", OK);
    std::string data = pRstData;
    data.pop_back();
    std::string title = pPtpTile;
    title.pop_back();
    EXPECT_EQ(run("movie display_result on movie.csv"), OK);
    EXPECT_THAT(printed, StartsWith("Audio result: OK"));
    EXPECT_THAT(printed,
                ContainsRegex("rova_cmd_movie_display_result [0-9]+ : display result on\n"));
    EXPECT_TRUE(camera.logged(" : display result on"));
    EXPECT_THAT(printed, HasSubstr("pimCsvTitle " + title + ", pimCsvData " + data + " \n"));
    EXPECT_EQ(camera.read(CSV), "Index,CIS S/N," + title + "\r\n1,0," + data + "\r\n");
    EXPECT_STREQ(answer.stream.text, CSV);
    EXPECT_THAT(new_drawings(), ElementsAre("10 "));
    EXPECT_FALSE(camera.logged("no frame and no sound failed"));
}

TEST_F(Movie, DisplayResultWaitsForWhoHasTheRecords)
{
    load();
    EXPECT_FALSE(test::changes_held_records([&] { run("movie display_result on movie.csv"); },
                                            [&] { return camera.exists(CSV); }));
    EXPECT_TRUE(camera.exists(CSV));
}

TEST_F(Movie, DisplayResultTellsEachFailureAndTheirOrder)
{
    const struct {
        std::initializer_list<int32_t> colours;
        bool sound;
        const char *text;
    } cases[] = {{{PIM_COLOUR_CR}, true, "Red"},
                 {{PIM_COLOUR_CB}, true, "Blue"},
                 {{}, false, "Audio"},
                 {{PIM_COLOUR_CB, PIM_COLOUR_CR}, true, "Red,Blue"},
                 {{PIM_COLOUR_CR}, false, "Red,Audio"},
                 {{PIM_COLOUR_CB}, false, "BlueAudio"},
                 {{PIM_COLOUR_CR, PIM_COLOUR_CB}, false, "Red,BlueAudio"}};
    for (const auto &[colours, sound, text] : cases) {
        load();
        if (!sound)
            spoil_sound();
        judge(colours);
        EXPECT_EQ(run("movie display_result on movie.csv"), NG) << text;
        EXPECT_THAT(printed, StartsWith(sound ? "Audio result: OK" : "Audio result: NG"));
        EXPECT_THAT(new_drawings(), ElementsAre("20 " + std::string(text)));
    }
}

TEST_F(Movie, BehindDisplayResultTheSoundIsGoodAgain)
{
    for (const char *line : {"movie display_result on movie.csv", "movie display_result off",
                             "movie display_result", "movie display_result up movie.csv"}) {
        load();
        spoil_sound();
        run(line);
        EXPECT_THAT(printed, StartsWith("Audio result: NG")) << line;
        run("movie display_result off");
        EXPECT_THAT(printed, StartsWith("Audio result: OK")) << line;
    }
}

TEST_F(Movie, DisplayResultOffClearsTheScreen)
{
    EXPECT_EQ(run("movie display_result off"), OK) << "also without a configuration";
    EXPECT_THAT(printed,
                ContainsRegex("rova_cmd_movie_display_result [0-9]+ : display result off\n"));
    EXPECT_THAT(new_drawings(), ElementsAre("60 0"));
}

TEST_F(Movie, DisplayResultWithoutAConfigurationTellsIt)
{
    EXPECT_EQ(run("movie display_result on movie.csv"), NG);
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_movie_display_result [0-9]+ : display result: "
                                       "read config error\n"));
    EXPECT_THAT(new_drawings(), ElementsAre("20 read config"));
    EXPECT_FALSE(camera.exists(CSV));
}

TEST_F(Movie, DisplayResultOfAnotherWordIsNg)
{
    load();
    for (const char *line :
         {"movie display_result", "movie display_result up movie.csv", "movie display_result ON x"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_THAT(new_drawings(), IsEmpty());
}

TEST_F(Movie, DisplayResultWithoutAWordShowsNothing)
{
    EXPECT_EQ(run("movie display_result"), NG);
    EXPECT_THAT(new_drawings(), IsEmpty());
}

TEST_F(Movie, DisplayResultBeforeAnyFrameIsOkAndLogged)
{
    load();
    EXPECT_EQ(run("movie display_result on movie.csv"), OK);
    EXPECT_THAT(new_drawings(), ElementsAre("10 "));
    EXPECT_TRUE(camera.logged("but the movie's total is missing: 0 of 4 frames were checked"));
}

TEST_F(Movie, DisplayResultWithoutAFileIsNgBehindTheScreen)
{
    load();
    EXPECT_EQ(run("movie display_result on"), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("10 ")) << "nor a name";
    EXPECT_EQ(run("movie display_result on none/movie.csv"), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("10 "));
}

TEST_F(Movie, DisplayResultLeavesTheCaptureServiceAlone)
{
    load();
    gCaptureDone = 1;
    callbackFlag = 1;
    new_calls();
    EXPECT_EQ(run("movie display_result on movie.csv"), OK);
    for (const std::string &call : new_calls())
        EXPECT_THAT(call, Not(HasSubstr("UnReg")));
    EXPECT_EQ(gCaptureDone, 1);
    EXPECT_EQ(callbackFlag, 1);
}

TEST_F(Movie, DisplayResultOfATableInAFileWritesAnEmptyRow)
{
    std::string text = CONFIG;
    text.replace(text.find("\n2\n"), 3, "\n1\n");
    load(text);
    start("movie movie_start 0", OK);
    EXPECT_EQ(run("movie display_result on movie.csv"), OK);
    EXPECT_EQ(camera.read(CSV), "Index,CIS S/N,\r\n1,0,\r\n");
    EXPECT_THAT(camera.read("/mnt/mmc/result.csv"), HasSubstr("\nOK,10,OK,RED,"));
}
