#include "common/rova_sound.h"

#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

constexpr char FOLDER[] = "/usr/apps/com.halvex.lumen-app/res/sounds/camera/";
constexpr const char *FILES[] = {"07_N_AF.wav", "06_N_SButton.wav", "10_N_Shutter_30f_1sec.wav",
                                 "13_N_NoBattery.wav", "1KHz_sound.wav"};

// One sample: mono, 8 bits, 8000 a second.
const std::string WAV("RIFF\x25\0\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x40\x1f\0\0\x40\x1f\0\0"
                      "\x01\0\x08\0data\x01\0\0\0\x80",
                      45);

struct Sound : testing::Test {
    Sound()
    {
        for (const char *file : FILES)
            camera.write(std::string(FOLDER) + file, WAV);
        rova_stop_sound();
        rova_set_volume(0);
        camera.write("/virtual/calls.jsonl", "");
    }
    ~Sound() override { rova_stop_sound(); }
    // The names of the calls and the file names played, in order.
    std::vector<std::string> played() const
    {
        std::vector<std::string> list;
        for (const nlohmann::json &call : camera.calls()) {
            std::string text = call["call"].get<std::string>().substr(sizeof("mm_sound_qz"));
            if (call["args"].size() > 0 && call["args"][0].is_string())
                text += " " + call["args"][0].get<std::string>();
            list.push_back(text);
        }
        return list;
    }
    test::Camera camera;
};

} // namespace

TEST_F(Sound, StepsShareTheLevelsOutEvenly)
{
    camera.write("/virtual/sound/volume_max", "16\n");
    EXPECT_EQ(rova_set_volume(1), 0);
    EXPECT_EQ(rova_set_volume(2), 1);
    EXPECT_EQ(rova_set_volume(3), 2);
    EXPECT_EQ(rova_set_volume(4), 3); // above the levels: refused by the service
    EXPECT_EQ(rova_set_volume(0), 3);
    EXPECT_TRUE(camera.logged("cannot set volume step "));
    EXPECT_THAT(camera.call_texts(), ElementsAre("mm_sound_qz_volume_set_value(0, 5)",
                                                 "mm_sound_qz_volume_set_value(0, 10)",
                                                 "mm_sound_qz_volume_set_value(0, 15)",
                                                 "mm_sound_qz_volume_set_value(0, 20)",
                                                 "mm_sound_qz_volume_set_value(0, 0)"));
}

TEST_F(Sound, AVolumeThatCannotBeSetLeavesTheStep)
{
    rova_set_volume(2);
    camera.fault("mm_sound_qz_volume_set_value", "-1");
    EXPECT_EQ(rova_set_volume(3), 2);
    EXPECT_TRUE(camera.logged("cannot set volume step "));
    EXPECT_EQ(rova_set_volume(1), 2);
}

TEST_F(Sound, WithoutALevelCountNothingIsSet)
{
    rova_set_volume(2);
    camera.write("/virtual/calls.jsonl", "");
    camera.fault("mm_sound_qz_volume_get_max", "-1");
    EXPECT_EQ(rova_set_volume(3), 2);
    EXPECT_TRUE(camera.calls().empty());
    camera.clear_fault("mm_sound_qz_volume_get_max");
    EXPECT_EQ(rova_set_volume(0), 2);
}

TEST_F(Sound, EachTypeHasItsFile)
{
    for (int type = 0; type < 5; type++) {
        EXPECT_EQ(rova_play_sound(type), 1);
        EXPECT_EQ(played().back(), std::string("play_sound_sync ") + FOLDER + FILES[type]);
    }
}

TEST_F(Sound, AnUnknownTypeIsRefused)
{
    EXPECT_EQ(rova_play_sound(5), 0);
    EXPECT_TRUE(camera.logged("Not permit sound (type=5) "));
    EXPECT_EQ(rova_play_sound_async(-1), 0);
    EXPECT_TRUE(camera.logged("Not permit sound (type=-1) "));
    EXPECT_TRUE(camera.calls().empty());
}

TEST_F(Sound, ASoundMarkedAsRunningIsLeftAlone)
{
    const std::string path = std::string(" ") + FOLDER + "1KHz_sound.wav";
    EXPECT_EQ(rova_play_sound_async(4), 1);
    EXPECT_EQ(rova_play_sound_async(4), 1);
    EXPECT_EQ(rova_play_sound(4), 1);
    EXPECT_EQ(rova_play_sound(4), 1);
    EXPECT_THAT(played(),
                ElementsAre("stop_sound", "play_sound" + path, "play_sound" + path,
                            "play_sound_sync" + path, "stop_sound", "play_sound_sync" + path));
}

TEST_F(Sound, StopEndsOnlyWhatRuns)
{
    EXPECT_EQ(rova_stop_sound(), 1);
    EXPECT_TRUE(camera.calls().empty());
    rova_play_sound_async(0);
    camera.write("/virtual/calls.jsonl", "");
    EXPECT_EQ(rova_stop_sound(), 1);
    EXPECT_EQ(rova_stop_sound(), 1);
    EXPECT_THAT(camera.call_texts(), ElementsAre("mm_sound_qz_stop_sound(-1)"));
}

TEST_F(Sound, AFailedPlayingIsToldAndLeavesTheMark)
{
    camera.fault("mm_sound_qz_play_sound", "-1");
    EXPECT_EQ(rova_play_sound_async(0), 0);
    EXPECT_TRUE(camera.logged(std::string("failed to play sound (") + FOLDER + "07_N_AF.wav) "));
    camera.clear_fault("mm_sound_qz_play_sound");
    EXPECT_EQ(rova_play_sound_async(0), 1);
    camera.fault("mm_sound_qz_play_sound_sync", "-1");
    EXPECT_EQ(rova_play_sound(0), 0);
    camera.write("/virtual/calls.jsonl", "");
    EXPECT_EQ(rova_stop_sound(), 1);
    EXPECT_EQ(camera.calls().size(), 1u); // still marked as running
}
