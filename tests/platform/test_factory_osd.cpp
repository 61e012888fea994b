#include "platform/factory_osd.h"

#include "platform/virtual/screen.h"
#include "tests/support/camera.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <thread>

namespace
{

using nlohmann::json;

TEST(FactoryOsd, TheScreenStandsInOneFile)
{
    test::Camera camera;
    camera.write("/sdcard/a.png", "x");
    EXPECT_EQ(factory_osd_init(), 0);
    EXPECT_EQ(factory_osd_text_color_set(4), 0);
    EXPECT_EQ(factory_osd_text_size_set(20), 0);
    EXPECT_EQ(factory_osd_text_set(1, "OK"), 0);
    EXPECT_EQ(factory_osd_text_color_set(2), 0);
    EXPECT_EQ(factory_osd_grid_text_set(0, "grid"), 0);
    EXPECT_EQ(factory_osd_background_color_set(1), 0);
    EXPECT_EQ(factory_osd_window_move_resize(320, 240, 10, 20), 0);
    EXPECT_EQ(factory_osd_image_draw("/sdcard/a.png"), 0);
    EXPECT_EQ(factory_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, "1,2,3,4,red"), 0);
    json wanted = json::parse(R"({"on": true,
        "text": {"1": {"text": "OK", "color": 4, "size": 20}}, "grid": {"0": "grid"},
        "text_color": 2, "text_size": 20, "background": 1,
        "window": {"width": 320, "height": 240, "x": 10, "y": 20}, "image": "/sdcard/a.png",
        "drawings": [{"kind": 50, "text": "1,2,3,4,red"}]})");
    EXPECT_EQ(json::parse(camera.read("/virtual/screen.json")), wanted);
}

TEST(FactoryOsd, SettingARowReplacesItAndClearingTakesItsKind)
{
    test::Camera camera;
    factory_osd_text_set(1, "a");
    factory_osd_text_set(1, "b");
    factory_osd_text_set(2, "c");
    factory_osd_grid_text_set(1, "g");
    EXPECT_EQ(virt::read_screen()["text"].size(), 2U);
    EXPECT_EQ(virt::read_screen()["text"]["1"]["text"], "b");
    EXPECT_EQ(factory_osd_text_clear(), 0);
    EXPECT_TRUE(virt::read_screen()["text"].empty());
    EXPECT_EQ(virt::read_screen()["grid"]["1"], "g");
    EXPECT_EQ(factory_osd_grid_text_clear(), 0);
    EXPECT_TRUE(virt::read_screen()["grid"].empty());
}

TEST(FactoryOsd, ClearTakesTheWholeWindowAndDeinitTheLayer)
{
    test::Camera camera;
    camera.write("/tmp/a.png", "x");
    factory_osd_init();
    factory_osd_text_set(1, "a");
    factory_osd_grid_text_set(1, "a");
    factory_osd_image_draw("/tmp/a.png");
    factory_osd_draw(FACTORY_OSD_DRAW_OK, "");
    factory_osd_background_color_set(3);
    EXPECT_EQ(factory_osd_clear(), 0);
    json screen = virt::read_screen();
    EXPECT_TRUE(screen["on"]);
    EXPECT_TRUE(screen["text"].empty() && screen["grid"].empty() && screen["image"].is_null());
    EXPECT_TRUE(screen["drawings"].empty());
    EXPECT_EQ(screen["background"], 0);
    factory_osd_text_set(1, "a");
    EXPECT_EQ(factory_osd_deinit(), 0);
    EXPECT_FALSE(virt::read_screen()["on"]);
    EXPECT_TRUE(virt::read_screen()["text"].empty());
}

TEST(FactoryOsd, APictureMustExist)
{
    test::Camera camera;
    EXPECT_LT(factory_osd_image_draw("/sdcard/none.png"), 0);
    EXPECT_LT(factory_osd_image_draw(nullptr), 0);
    camera.write("/sdcard/a.png", "x");
    EXPECT_EQ(factory_osd_image_draw("/sdcard/a.png"), 0);
    EXPECT_EQ(factory_osd_image_clear(), 0);
    EXPECT_TRUE(virt::read_screen()["image"].is_null());
}

TEST(FactoryOsd, DrawingsStandInTheirOrderUntilTheyAreCleared)
{
    test::Camera camera;
    factory_osd_draw(FACTORY_OSD_DRAW_NG, "a");
    factory_osd_draw(FACTORY_OSD_DRAW_TEXT, "b");
    factory_osd_draw(FACTORY_OSD_DRAW_TEXT, "b");
    EXPECT_LT(factory_osd_draw(FACTORY_OSD_DRAW_TEXT, nullptr), 0);
    EXPECT_EQ(virt::read_screen()["drawings"], json::parse(R"([{"kind": 20, "text": "a"},
        {"kind": 2, "text": "b"}, {"kind": 2, "text": "b"}])"));
    EXPECT_EQ(factory_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0"), 0);
    EXPECT_EQ(virt::read_screen()["drawings"], json::array());
}

TEST(FactoryOsd, AnyBytesMayBeShownAndNullMayNot)
{
    test::Camera camera;
    EXPECT_EQ(factory_osd_text_set(1, "a\xff\n"), 0);
    EXPECT_EQ(virt::read_screen()["text"]["1"]["text"], "a\xef\xbf\xbd\n");
    EXPECT_LT(factory_osd_text_set(1, nullptr), 0);
}

TEST(FactoryOsd, ADamagedFileIsAnEmptyScreen)
{
    test::Camera camera;
    for (const char *text : {"", "{", "[]", "7", R"({"text": 3, "window": [], "on": "yes"})"}) {
        camera.write("/virtual/screen.json", text);
        EXPECT_FALSE(virt::read_screen()["on"]);
        EXPECT_EQ(factory_osd_text_set(1, "a"), 0) << text;
        EXPECT_EQ(virt::read_screen()["text"]["1"]["text"], "a") << text;
        EXPECT_EQ(virt::read_screen()["window"]["width"], 800) << text;
    }
}

TEST(FactoryOsd, ChangesOfManyThreadsAreAllKept)
{
    test::Camera camera;
    std::vector<std::thread> threads;
    for (uint16_t thread = 0; thread < 4; thread++)
        threads.emplace_back([=] {
            for (uint16_t row = 0; row < 10; row++)
                factory_osd_grid_text_set(static_cast<uint16_t>(10 * thread + row), "x");
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(virt::read_screen()["grid"].size(), 40U);
}

TEST(FactoryOsd, CallsAreRecordedAndCanFail)
{
    test::Camera camera;
    factory_osd_window_move_resize(1, 2, 3, 4);
    camera.fault("factory_osd_text_set", "-1 on secret");
    EXPECT_EQ(factory_osd_text_set(1, "a secret"), -1);
    EXPECT_EQ(factory_osd_text_set(2, "open"), 0);
    camera.fault("factory_osd_init", "-3");
    EXPECT_EQ(factory_osd_init(), -3);
    EXPECT_EQ(camera.call_texts(), (std::vector<std::string>{
                                       "factory_osd_window_move_resize(1, 2, 3, 4)",
                                       "factory_osd_text_set(1, \"a secret\")",
                                       "factory_osd_text_set(2, \"open\")", "factory_osd_init()"}));
    EXPECT_FALSE(virt::read_screen()["text"].contains("1"));
}

} // namespace
