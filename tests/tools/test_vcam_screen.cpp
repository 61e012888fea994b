#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "platform/factory_osd.h"

#include <png.h>

using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

constexpr int BLUE = 1;
constexpr int YELLOW = 6;

struct image {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> rgb;

    std::vector<int> at(int x, int y) const
    {
        const unsigned char *pixel = &rgb[static_cast<std::size_t>(3 * (y * width + x))];
        return {pixel[0], pixel[1], pixel[2]};
    }
    // How many pixels of the rows from `top` to below `bottom` are of this colour.
    int count(int top, int bottom, int r, int g, int b) const
    {
        int found = 0;
        for (int i = top * width; i < bottom * width; i++) {
            const unsigned char *pixel = &rgb[static_cast<std::size_t>(3 * i)];
            found += pixel[0] == r && pixel[1] == g && pixel[2] == b;
        }
        return found;
    }
    // The column of the first pixel of this colour in the row; -1 without one.
    int first(int y, const std::vector<int> &color) const
    {
        for (int x = 0; x < width; x++)
            if (at(x, y) == color)
                return x;
        return -1;
    }
};

image load(const std::string &path)
{
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    image loaded;
    if (png_image_begin_read_from_file(&png, path.c_str()) == 0)
        return loaded;
    png.format = PNG_FORMAT_RGB;
    loaded.width = static_cast<int>(png.width);
    loaded.height = static_cast<int>(png.height);
    loaded.rgb.resize(PNG_IMAGE_SIZE(png));
    png_image_finish_read(&png, nullptr, loaded.rgb.data(), 0, nullptr);
    return loaded;
}

image draw(const test::Camera &camera)
{
    EXPECT_TRUE(succeeded(vcam({"screen", "--png", camera.path("/tmp/s.png")})));
    return load(camera.path("/tmp/s.png"));
}

void set_up_screen()
{
    factory_osd_init();
    factory_osd_window_move_resize(720, 480, 0, 0);
    factory_osd_background_color_set(BLUE);
}

} // namespace

TEST(VcamScreen, TextPrintsRowsByNumberAndThePicture)
{
    const test::Camera camera;
    set_up_screen();
    camera.write("/usr/a.png", "");
    factory_osd_text_set(2, "second row");
    factory_osd_grid_text_set(19, "loop: 3");
    factory_osd_grid_text_set(2, "adc");
    factory_osd_image_draw("/usr/a.png");
    const std::string rows =
        "text 2: second row\ngrid 2: adc\ngrid 19: loop: 3\nimage: /usr/a.png\n";
    EXPECT_EQ(vcam({"screen", "--text"}).out, rows);
    EXPECT_EQ(vcam({"screen"}).out, rows);
}

TEST(VcamScreen, AScreenNobodyHasWrittenIsEmptyAndDark)
{
    const test::Camera camera;
    EXPECT_EQ(vcam({"screen", "--text"}).out, "");
    const image dark = draw(camera);
    ASSERT_GT(dark.width, 0);
    EXPECT_EQ(dark.count(0, dark.height, 0, 0, 0), dark.width * dark.height);
}

TEST(VcamScreen, PngShowsTextInItsRowAndColour)
{
    const test::Camera camera;
    set_up_screen();
    factory_osd_text_color_set(YELLOW);
    factory_osd_text_set(2, "FACTORY");
    factory_osd_grid_text_set(19, "loop: 3");
    const image shown = draw(camera);
    ASSERT_EQ(shown.width, 720);
    ASSERT_EQ(shown.height, 480);
    EXPECT_GT(shown.count(60, 120, 255, 255, 0), 200) << "text row 2";
    EXPECT_EQ(shown.count(0, 60, 0, 0, 255), 60 * 720) << "nothing above it";
    EXPECT_GT(shown.count(395, 425, 255, 255, 255), 10) << "grid row 19";
    EXPECT_EQ(shown.count(430, 480, 0, 0, 255), 50 * 720) << "nothing below it";
}

TEST(VcamScreen, PngShowsThePictureAsLargeAsItFits)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    set_up_screen();
    factory_osd_window_move_resize(800, 480, 0, 0);
    factory_osd_image_draw(
        "/usr/apps/com.halvex.lumen-app/res/edje/images/lcd/fix/product_sample_3.png");
    const image shown = draw(camera);
    ASSERT_EQ(shown.width, 800);
    EXPECT_GT(shown.count(0, 480, 255, 255, 0), 80 * 480) << "the yellow bar";
    EXPECT_GE(shown.count(0, 480, 0, 0, 255), 80 * 480) << "background left and right";
}

TEST(VcamScreen, TextPrintsDrawingsInTheirOrder)
{
    const test::Camera camera;
    set_up_screen();
    factory_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, "1,2,3,4,red");
    factory_osd_draw(FACTORY_OSD_DRAW_NG, "");
    EXPECT_EQ(vcam({"screen"}).out, "drawing 50: 1,2,3,4,red\ndrawing 20: \n");
}

TEST(VcamScreen, PngShowsRectanglesAsFramesAndLinesFilled)
{
    const test::Camera camera;
    set_up_screen();
    factory_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, "100,50,40,30,green");
    factory_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, "300, 50, 339, 79, red");
    factory_osd_draw(FACTORY_OSD_DRAW_LINE, "500, 0, 4, 480, red");
    const image shown = draw(camera);
    const std::vector<int> blue = {0, 0, 255}, red = {255, 0, 0}, green = {0, 128, 0};
    for (const auto &[x, color] : {std::pair(100, green), std::pair(300, red)}) {
        EXPECT_EQ(shown.at(x, 50), color) << "left top";
        EXPECT_EQ(shown.at(x + 39, 79), color) << "right bottom";
        EXPECT_EQ(shown.at(x + 20, 52), color) << "upper side";
        EXPECT_EQ(shown.at(x + 20, 65), blue) << "open";
        EXPECT_EQ(shown.at(x - 1, 50), blue) << "nothing outside";
        EXPECT_EQ(shown.at(x + 40, 79), blue);
    }
    EXPECT_EQ(shown.count(0, 480, 0, 128, 0), 40 * 30 - 34 * 24);
    EXPECT_EQ(shown.count(100, 480, 255, 0, 0), 4 * 380) << "the line";
    EXPECT_EQ(shown.at(500, 0), red);
    EXPECT_EQ(shown.at(503, 479), red);
}

TEST(VcamScreen, PngShowsTheMarks)
{
    const test::Camera camera;
    set_up_screen();
    factory_osd_draw(FACTORY_OSD_DRAW_OK, "");
    const image ok = draw(camera);
    EXPECT_GT(ok.count(100, 280, 0, 255, 0), 2000);
    EXPECT_EQ(ok.count(0, 480, 255, 0, 0), 0);
    factory_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0");
    factory_osd_draw(FACTORY_OSD_DRAW_NG, "");
    const image ng = draw(camera);
    EXPECT_GT(ng.count(100, 280, 255, 0, 0), 2000);
    EXPECT_EQ(ng.count(0, 480, 0, 255, 0), 0);
    EXPECT_EQ(ng.count(285, 480, 255, 0, 0), 0) << "no text";
    factory_osd_draw(FACTORY_OSD_DRAW_NG, "Picture Count Wrong!!!");
    EXPECT_GT(draw(camera).count(285, 345, 255, 0, 0), 500) << "its text";
    factory_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0");
    EXPECT_EQ(draw(camera).count(0, 480, 0, 0, 255), 720 * 480);
}

TEST(VcamScreen, PngShowsADrawnTextInColourAndSize)
{
    const test::Camera camera;
    set_up_screen();
    factory_osd_text_color_set(YELLOW);
    factory_osd_text_size_set(20);
    factory_osd_draw(FACTORY_OSD_DRAW_TEXT, "Capture was not conducted!");
    const int small = draw(camera).count(220, 260, 255, 255, 0);
    EXPECT_GT(small, 200);
    factory_osd_text_size_set(40);
    EXPECT_GT(draw(camera).count(200, 280, 255, 255, 0), 2 * small);
}

TEST(VcamScreen, PngShowsTheTableOfResults)
{
    const test::Camera camera;
    set_up_screen();
    factory_osd_draw(FACTORY_OSD_DRAW_TABLE, "-1,0,-,OK,NG,-");
    const image shown = draw(camera);
    EXPECT_GT(shown.count(115, 175, 255, 255, 255), 500) << "names of the charts";
    EXPECT_GT(shown.count(205, 260, 255, 255, 255), 100) << "best levels";
    EXPECT_GT(shown.count(290, 345, 0, 255, 0), 100) << "OK";
    EXPECT_GT(shown.count(290, 345, 255, 0, 0), 100) << "NG";
    EXPECT_GT(shown.count(290, 345, 255, 255, 255), 10) << "none";
    const int ok = shown.first(316, {0, 255, 0}), ng = shown.first(316, {255, 0, 0});
    EXPECT_TRUE(ok > 60 && ok < 300) << "WIDE at " << ok;
    EXPECT_TRUE(ng > 300 && ng < 480) << "TELE at " << ng;
}

TEST(VcamScreen, PngShowsTheGaugeWithItsValueBesideTheTarget)
{
    const test::Camera camera;
    set_up_screen();
    // The bar goes from 72 to 647, the stroke's middle from 112 to 608.
    const struct {
        const char *text;
        int x;
        std::vector<int> color;
    } rows[] = {{"1000,1000,green", 350, {0, 128, 0}},
                {"750,1000,red", 236, {255, 0, 0}},
                {"1250,1000,red", 484, {255, 0, 0}},
                {"0,1000,red", 112, {255, 0, 0}},
                {"65535,-2147483648,red", 608, {255, 0, 0}}};
    for (const auto &row : rows) {
        factory_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0");
        factory_osd_draw(FACTORY_OSD_DRAW_GAUGE, row.text);
        const image shown = draw(camera);
        EXPECT_EQ(shown.at(row.x, 380), row.color) << row.text;
        EXPECT_EQ(shown.at(360, 345), (std::vector<int>{255, 255, 255})) << "the target";
        EXPECT_GT(shown.count(260, 315, row.color[0], row.color[1], 0), 100) << "the numbers";
    }
}

TEST(VcamScreen, PngShowsDrawingsOverThePictureThatTheCameraSees)
{
    const test::Camera camera;
    set_up_screen();
    const std::string green("\0\xff\0", 3), yellow("\xff\xff\0", 3);
    camera.write("/virtual/scene/a.ppm", "P6 4 1 255\n" + green + green + yellow + yellow);
    EXPECT_EQ(draw(camera).count(0, 480, 0, 0, 255), 720 * 480) << "without drawings";
    factory_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, "10,10,50,50,red");
    const image shown = draw(camera);
    EXPECT_EQ(shown.at(2, 300), (std::vector<int>{0, 255, 0}));
    EXPECT_EQ(shown.at(719, 2), (std::vector<int>{255, 255, 0})) << "as wide as the screen";
    EXPECT_EQ(shown.at(10, 10), (std::vector<int>{255, 0, 0}));
    camera.write("/virtual/scene/live/b.ppm", "P6 1 1 255\n" + std::string("\xff\0\xff", 3));
    EXPECT_EQ(draw(camera).at(2, 300), (std::vector<int>{255, 0, 255})) << "live view's own";
    camera.write("/virtual/scene/live/b.ppm", "no picture");
    EXPECT_EQ(draw(camera).at(2, 300), (std::vector<int>{0, 0, 255}));
}

TEST(VcamScreen, OddDrawingsAreDrawnAsFarAsTheyGo)
{
    const test::Camera camera;
    set_up_screen();
    for (const int kind : std::vector<int>{FACTORY_OSD_DRAW_RECTANGLE, FACTORY_OSD_DRAW_LINE,
                                           FACTORY_OSD_DRAW_GAUGE, 99, -1})
        for (const char *text :
             {"", "x", "1,2,3", "1,2,3,4", "0,0,0,0,red", "9,9,-5,-5,red", "800,500,10,10,red"})
            factory_osd_draw(kind, text);
    EXPECT_EQ(draw(camera).count(0, 480, 0, 0, 255), 720 * 480);
    const char *far = "-2147483648,-2147483648,2147483647,2147483647,red";
    factory_osd_draw(FACTORY_OSD_DRAW_LINE, far);
    factory_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, far);
    for (const char *text : {"2147483647, 0, -2147483648, 9, red",
                             "-2147483648, -9, 2147483647, -1, red", "9, 9, 8, 8, red"})
        factory_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, text);
    EXPECT_EQ(draw(camera).count(0, 480, 0, 0, 255), 720 * 480);
    factory_osd_draw(FACTORY_OSD_DRAW_LINE, "700,470,2147483647,2147483647,red");
    EXPECT_EQ(draw(camera).count(0, 480, 255, 0, 0), 20 * 10);
    factory_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, "700,470,2,2,lime");
    EXPECT_GT(draw(camera).count(0, 480, 0, 255, 0), 0);
    camera.write("/virtual/screen.json", R"({"on":true,"drawings":[5,{"kind":50},{"text":"a"},
        {"kind":"x","text":"b"},{"kind":50,"text":7}]})");
    EXPECT_GT(draw(camera).width, 0);
    EXPECT_TRUE(succeeded(vcam({"screen"})));
    camera.write("/virtual/screen.json", R"({"on":true,"drawings":{"a":1}})");
    EXPECT_GT(draw(camera).width, 0);
}

TEST(VcamScreen, DamagedAndOddFilesAreDrawnAsFarAsTheyGo)
{
    const test::Camera camera;
    for (const char *text :
         {"", "{", "[1,2]", R"({"on":true,"text":{"1":5,"x":{"text":7},"99":{"text":"far"}}})",
          R"({"on":true,"window":{"width":-5,"height":"x"},"image":"/none.png"})"}) {
        camera.write("/virtual/screen.json", text);
        EXPECT_GT(draw(camera).width, 0) << text;
        EXPECT_TRUE(succeeded(vcam({"screen"}))) << text;
    }
    camera.write("/virtual/screen.json", R"({"on":true})");
    EXPECT_EQ(draw(camera).width, 800) << "as wide as the panel";
    EXPECT_EQ(draw(camera).height, 480);
}

TEST(VcamScreen, MissingFontsAreTold)
{
    const test::Camera camera;
    set_up_screen();
    factory_osd_text_set(1, "x");
    camera.write("/tmp/fonts.conf", "<fontconfig></fontconfig>");
    EXPECT_TRUE(
        failed(test::run({"env", "FONTCONFIG_FILE=" + camera.path("/tmp/fonts.conf").string(),
                          VCAM_PROGRAM, "screen", "--png", camera.path("/tmp/s.png")}),
               "fonts are missing (fonts-dejavu-core)"));
}

TEST(VcamScreen, BadWaysAreRefused)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"screen", "--png"}), "--png"));
    EXPECT_TRUE(failed(vcam({"screen", "--text", "--window"}), "vcam screen --help"));
    EXPECT_TRUE(failed(vcam({"screen", "--png", camera.path("/none/s.png")}), "cannot be written"));
    EXPECT_TRUE(failed(test::run({"env", "-u", "DISPLAY", VCAM_PROGRAM, "screen", "--window"}),
                       "no display"));
    EXPECT_TRUE(failed(test::run({"env", "DISPLAY=:4711", VCAM_PROGRAM, "screen", "--window"}),
                       "no display"));
}

TEST(VcamScreen, DrawsWithAProgramOfItsOwn)
{
    const test::Camera camera;
    const std::filesystem::path alone = camera.path("/tmp/alone/vcam");
    std::filesystem::create_directories(alone.parent_path());
    std::filesystem::copy(VCAM_PROGRAM, alone);
    const auto run_alone = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"/usr/bin/env", "PATH=/none", alone});
        return test::run(words);
    };
    EXPECT_TRUE(succeeded(run_alone({"screen"})));
    for (const std::string how : {"--window", "--png=s.png"})
        EXPECT_TRUE(failed(run_alone({"screen", how}),
                           "vcam-screen is neither beside vcam nor in $PATH\n"));
    const std::filesystem::path program =
        std::filesystem::path(VCAM_PROGRAM).replace_filename("vcam-screen");
    using Words = std::vector<std::string>;
    for (const Words &words : {Words{}, Words{"--png"}, Words{"--window", "x"}}) {
        std::vector<std::string> command = {program};
        command.insert(command.end(), words.begin(), words.end());
        EXPECT_TRUE(failed(test::run(command), "is started by 'vcam screen'"));
    }
}
