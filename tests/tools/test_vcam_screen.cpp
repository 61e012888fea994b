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
