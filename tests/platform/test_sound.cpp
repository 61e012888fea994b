#include "platform/sound.h"

#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <numeric>

namespace
{

std::string little_endian(uint32_t number, int bytes)
{
    std::string text;
    for (int at = 0; at < bytes; at++)
        text += static_cast<char>(number >> (8 * at));
    return text;
}

// 8000 bytes a second, with a chunk of odd size that players skip.
std::string wav(uint32_t data_bytes)
{
    std::string format = little_endian(1, 2) + little_endian(1, 2) + little_endian(8000, 4) +
                         little_endian(8000, 4) + little_endian(1, 2) + little_endian(8, 2);
    return "RIFF" + little_endian(data_bytes + 48, 4) + "WAVE" + "LIST" + little_endian(3, 4) +
           std::string(4, '\0') + "fmt " + little_endian(16, 4) + format + "data" +
           little_endian(data_bytes, 4) + std::string(data_bytes, '\0');
}

class Sound : public testing::Test
{
protected:
    Sound() { test::wrap_record_sleeps(true); }
    ~Sound() override { test::wrap_clear(); }
    unsigned int slept()
    {
        auto sleeps = test::wrap_sleeps();
        return std::accumulate(sleeps.begin(), sleeps.end(), 0U);
    }
    int play(const char *path)
    {
        return mm_sound_qz_play_sound_sync(path, 0, nullptr, nullptr, &handle_);
    }

    test::Camera camera_;
    int handle_ = 0;
};

TEST_F(Sound, PlayingToTheEndTakesTheFilesLength)
{
    camera_.write("/a.wav", wav(12000));
    EXPECT_EQ(play("/a.wav"), 0);
    EXPECT_EQ(slept(), 1500000U);
    EXPECT_GT(handle_, 0);
}

TEST_F(Sound, TheLengthIsOneOfCameraTime)
{
    camera_.speed(10);
    camera_.write("/a.wav", wav(12000));
    EXPECT_EQ(play("/a.wav"), 0);
    EXPECT_EQ(slept(), 150000U);
}

TEST_F(Sound, StartingOneReturnsAtOnceWithAHandleOfItsOwn)
{
    camera_.write("/a.wav", wav(12000));
    int first = 0, second = 0;
    EXPECT_EQ(mm_sound_qz_play_sound("/a.wav", 0, nullptr, nullptr, &first), 0);
    EXPECT_EQ(mm_sound_qz_play_sound("/a.wav", 0, nullptr, nullptr, &second), 0);
    EXPECT_NE(first, second);
    EXPECT_EQ(slept(), 0U);
    EXPECT_EQ(mm_sound_qz_stop_sound(-1), 0);
}

TEST_F(Sound, TheCallbackComesAtTheEnd)
{
    camera_.write("/a.wav", wav(800));
    bool ended = false;
    mm_sound_qz_play_sound_sync(
        "/a.wav", 0, [](void *data) { *static_cast<bool *>(data) = true; }, &ended, nullptr);
    EXPECT_TRUE(ended);
}

TEST_F(Sound, WhatIsNoSoundFails)
{
    std::string good = wav(8000), slow = good, other = good;
    slow.replace(slow.find("fmt ") + 16, 4, std::string(4, '\0'));
    other.replace(8, 4, "AVI ");
    camera_.write("/empty.wav", "");
    camera_.write("/slow.wav", slow);
    camera_.write("/other.wav", other);
    camera_.write("/head.wav", good.substr(0, 30));
    for (const char *path : {"/missing.wav", "/empty.wav", "/slow.wav", "/other.wav", "/head.wav"})
        EXPECT_LT(play(path), 0) << path;
    EXPECT_LT(play(nullptr), 0);
    EXPECT_EQ(slept(), 0U);
}

TEST_F(Sound, AFileThatEndsEarlyIsPlayedAsFarAsItGoes)
{
    std::string cut = wav(8000);
    cut.resize(cut.size() - 4000);
    camera_.write("/a.wav", cut);
    EXPECT_EQ(play("/a.wav"), 0);
    EXPECT_EQ(slept(), 500000U);
}

TEST_F(Sound, TheVolumeHasSixteenLevelsUnlessTheFileSaysOtherwise)
{
    unsigned int max = 0;
    EXPECT_EQ(mm_sound_qz_volume_get_max(0, &max), 0);
    EXPECT_EQ(max, 16U);
    EXPECT_EQ(mm_sound_qz_volume_set_value(0, 15), 0);
    EXPECT_EQ(camera_.read("/virtual/sound/volume"), "15\n");
    EXPECT_LT(mm_sound_qz_volume_set_value(0, 16), 0);
    camera_.write("/virtual/sound/volume_max", "31\n");
    EXPECT_EQ(mm_sound_qz_volume_get_max(0, &max), 0);
    EXPECT_EQ(max, 31U);
    EXPECT_EQ(mm_sound_qz_volume_set_value(0, 30), 0);
    EXPECT_LT(mm_sound_qz_volume_get_max(0, nullptr), 0);
}

TEST_F(Sound, CallsAreRecordedAndCanFail)
{
    for (const char *call :
         {"mm_sound_qz_volume_get_max", "mm_sound_qz_volume_set_value",
          "mm_sound_qz_play_sound_sync", "mm_sound_qz_play_sound", "mm_sound_qz_stop_sound"})
        camera_.fault(call, "-4");
    unsigned int max = 0;
    EXPECT_EQ(mm_sound_qz_volume_get_max(0, &max), -4);
    EXPECT_EQ(mm_sound_qz_volume_set_value(0, 1), -4);
    EXPECT_EQ(play("/a.wav"), -4);
    EXPECT_EQ(mm_sound_qz_play_sound("/a.wav", 0, nullptr, nullptr, nullptr), -4);
    EXPECT_EQ(mm_sound_qz_stop_sound(-1), -4);
    EXPECT_EQ(camera_.call_texts(),
              (std::vector<std::string>{"mm_sound_qz_volume_set_value(0, 1)",
                                        "mm_sound_qz_play_sound_sync(\"/a.wav\", 0)",
                                        "mm_sound_qz_play_sound(\"/a.wav\", 0)",
                                        "mm_sound_qz_stop_sound(-1)"}));
}

} // namespace
