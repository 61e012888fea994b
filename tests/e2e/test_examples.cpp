// Each example script, as a newcomer would run it.
#include "tests/e2e/line.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using e2e::Line;

namespace
{

test::Outcome run_example(const Line &line, const std::string &name)
{
    return line.vcam({"run", std::string(EXAMPLES) + "/" + name});
}

} // namespace

TEST(Example, DemoShowsItselfAndLeavesAPinDump)
{
    Line line;
    const std::string picture = line.path("/demo.png");
    const auto run = line.vcam({"run", "--png", picture, std::string(EXAMPLES) + "/demo.adj"});
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_NE(run.out.find("gpio_pindump.csv"), std::string::npos);
    EXPECT_NE(run.out.find("rova.log"), std::string::npos);
    EXPECT_EQ(line.read("/demo.png").substr(1, 3), "PNG");
    EXPECT_EQ(line.read("/opt/share/rova/rova.cnt"), "1");
    EXPECT_NE(line.read("/sdcard/gpio_pindump.csv").find("\r\n219,"), std::string::npos);
}

TEST(Example, PanelDrawsFourPicturesAndMirrorsBothLayers)
{
    Line line;
    const auto run = run_example(line, "panel.adj");
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(line.calls("factory_osd_image_draw").size(), 4U);
    EXPECT_EQ(line.calls("sys_ioctl").size(), 8U);
    EXPECT_EQ(line.calls("factory_osd_background_color_set").size(), 13U);
    EXPECT_EQ(line.calls("factory_osd_window_move_resize").size(), 4U);
}

TEST(Example, AgeingCountsItsRoundsOnTopOfEachOther)
{
    Line line;
    line.speed(10000);
    const auto run = run_example(line, "ageing.adj");
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(line.read("/opt/share/rova/rova.cnt"), "2");
    EXPECT_TRUE(line.tells("407th cmd done [OK]"));
}

TEST(Example, CleanCardTakesTheFilesAwayAndFailsWhereOneIsMissing)
{
    Line line;
    line.write("/sdcard/gpio_pindump.csv", "x");
    EXPECT_EQ(run_example(line, "clean_card.adj").status, 1) << "station.txt is missing";
    EXPECT_FALSE(line.exists("/sdcard/gpio_pindump.csv"));

    line.write("/sdcard/gpio_pindump.csv", "x");
    line.write("/sdcard/station.txt", "x");
    EXPECT_EQ(run_example(line, "clean_card.adj").status, 0);
    EXPECT_FALSE(line.exists("/sdcard/station.txt"));
}

TEST(Example, FeedbackIsSeenHeardAndBlinked)
{
    Line line;
    const auto run = run_example(line, "feedback.adj");
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    const auto texts = line.call_texts();
    const auto count = [&](const std::string &text) {
        return std::count(texts.begin(), texts.end(), text);
    };
    EXPECT_EQ(count("factory_osd_grid_text_set(0, \"gpio: OK\")"), 1);
    EXPECT_EQ(count("factory_osd_grid_text_set(0, \"file: OK\")"), 1);
    EXPECT_GE(count("device_set_property(3, 4, 1)"), 3);
    EXPECT_EQ(count("device_set_property(3, 4, 1)"), count("device_set_property(3, 4, 0)"));
    EXPECT_GE(line.calls("mm_sound_qz_play_sound_sync").size(), 3U);
}

TEST(Example, StillsTakesThreePicturesAndEmptiesTheCard)
{
    Line line;
    line.write("/sdcard/DCIM/old.jpg", "x");
    line.write("/virtual/scene/a.ppm", "P6\n64 48\n255\n" + std::string(64 * 48 * 3, '\x80'));
    const auto run = run_example(line, "stills.adj");
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(line.read("/virtual/app/still_number"), "3\n");
    EXPECT_FALSE(line.exists("/sdcard/DCIM"));
    EXPECT_TRUE(line.exists("/sdcard/info.tg")) << "brought back";
    EXPECT_TRUE(line.exists("/sdcard/stills.adj"));
}
