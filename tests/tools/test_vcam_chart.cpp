#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include <cmath>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <png.h>

using nlohmann::json;
using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

using words = std::vector<std::string>;

constexpr int FLAT = 128;
constexpr int WHITE = 220;

struct image {
    int width = 0;
    int height = 0;
    bool coloured = false;
    std::vector<unsigned char> rgb;

    int at(int x, int y, int colour = 0) const
    {
        return rgb[static_cast<std::size_t>(3 * (y * width + x) + colour)];
    }
    double mean(int left, int top, int w, int h, int colour = 0) const
    {
        double sum = 0;
        for (int y = top; y < top + h; y++) {
            for (int x = left; x < left + w; x++)
                sum += at(x, y, colour);
        }
        return sum / w / h;
    }
    // How many pixels are not of this grey.
    int others(int level) const
    {
        int found = 0;
        for (int y = 0; y < height; y++) {
            for (int x = 0; x < width; x++)
                found += at(x, y) != level || at(x, y, 1) != level || at(x, y, 2) != level;
        }
        return found;
    }
};

image load(const std::string &path)
{
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    image loaded;
    if (png_image_begin_read_from_file(&png, path.c_str()) == 0) {
        ADD_FAILURE() << path << ": " << png.message;
        return loaded;
    }
    loaded.coloured = (png.format & PNG_FORMAT_FLAG_COLOR) != 0;
    png.format = PNG_FORMAT_RGB;
    loaded.width = static_cast<int>(png.width);
    loaded.height = static_cast<int>(png.height);
    loaded.rgb.resize(PNG_IMAGE_SIZE(png));
    png_image_finish_read(&png, nullptr, loaded.rgb.data(), 0, nullptr);
    return loaded;
}

std::string bytes_of(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

struct chart {
    json told;
    image drawn;
};

words chart_words(const words &arguments, const std::string &out)
{
    words all = {"chart"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    all.insert(all.end(), {"--out", out});
    return all;
}

// Draws to a file of the test's camera, which vcam does not need for that.
chart draw(const test::Camera &camera, const words &arguments)
{
    const std::string out = camera.path("/tmp/chart.png");
    const test::Outcome outcome = vcam(chart_words(arguments, out));
    EXPECT_TRUE(succeeded(outcome));
    chart c = {json::parse(outcome.out, nullptr, false), load(out)};
    EXPECT_EQ(c.told["file"], out);
    return c;
}

testing::AssertionResult refused(const test::Camera &camera, const words &arguments,
                                 const std::string &text)
{
    const std::string out = camera.path("/tmp/refused.png");
    const testing::AssertionResult result = failed(vcam(chart_words(arguments, out)), text);
    if (result && std::filesystem::exists(out))
        return testing::AssertionFailure() << "something was drawn";
    return result;
}

// The resolution chart in a size that tests can afford.
const words SMALL_MOT = {"mot", "--size", "960x640", "--lines", "3", "--range", "200,700"};

words with(words all, const words &more)
{
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

int longer_side(const json &box)
{
    return std::max(box["width"].get<int>(), box["height"].get<int>());
}

// Dark places along a line across a wedge, `behind` pixels from its coarse end.
int dark_lines(const image &drawn, const json &wedge, int behind)
{
    const int width = wedge["width"], height = wedge["height"], x0 = wedge["x"], y0 = wedge["y"];
    const bool standing = height > width, reversed = wedge["direction"] == 1;
    const int along = reversed ? std::max(width, height) - 1 - behind : behind;
    int count = 0;
    bool dark = false;
    for (int across = 0; across < std::min(width, height); across++) {
        const int level =
            standing ? drawn.at(x0 + across, y0 + along) : drawn.at(x0 + along, y0 + across);
        const bool now = level < WHITE - 60;
        count += now && !dark;
        dark = now;
    }
    return count;
}

// How much darker the means across a wedge's surroundings are, at most, than those in its middle.
double least_share(const image &drawn, const json &place, int first, int end)
{
    const int width = place["width"], height = place["height"], x = place["x"], y = place["y"];
    const bool standing = height > width;
    const auto mean = [&](int along) {
        return standing ? drawn.mean(x, y + along, width, 1) : drawn.mean(x + along, y, 1, height);
    };
    const double middle = mean(std::max(width, height) / 2);
    double least = 1;
    for (int along = first; along < end; along++)
        least = std::min(least, mean(along) / middle);
    return least;
}

} // namespace

TEST(VcamChart, FlatIsOneLevelInAGreyPicture)
{
    const test::Camera camera;
    const chart c = draw(camera, {"flat", "--size", "64x48", "--level", "90"});
    EXPECT_EQ(c.drawn.width, 64);
    EXPECT_EQ(c.drawn.height, 48);
    EXPECT_EQ(c.drawn.others(90), 0);
    EXPECT_FALSE(c.drawn.coloured);
    EXPECT_EQ(c.told["kind"], "flat");
    EXPECT_EQ(c.told["width"], 64);
    EXPECT_EQ(c.told["height"], 48);
    EXPECT_EQ(c.told["level"], 90);
    EXPECT_EQ(c.told["seed"], 1);
    EXPECT_EQ(c.told["noise"], 0.0);
}

TEST(VcamChart, FlatTakesATintThatIsCutToWhatLevelsCanBe)
{
    const test::Camera camera;
    const chart c =
        draw(camera, {"flat", "--size", "20x16", "--level", "200", "--tint", "-5,0,99"});
    EXPECT_TRUE(c.drawn.coloured);
    EXPECT_EQ(c.drawn.at(3, 3, 0), 195);
    EXPECT_EQ(c.drawn.at(3, 3, 1), 200);
    EXPECT_EQ(c.drawn.at(3, 3, 2), 255);
    EXPECT_EQ(c.told["tint"], (json{-5, 0, 99}));
}

TEST(VcamChart, FlatIsAsLargeAsAStillUnlessToldOtherwise)
{
    const test::Camera camera;
    const chart c = draw(camera, {"flat"});
    EXPECT_EQ(c.drawn.width, 5472);
    EXPECT_EQ(c.drawn.height, 3648);
    EXPECT_EQ(c.drawn.at(5471, 3647), FLAT);
}

TEST(VcamChart, WithoutAFileItGoesToTheSceneOfTheCamera)
{
    const test::Camera camera;
    for (const std::string kind : {"flat", "noise", "dust"}) {
        EXPECT_TRUE(succeeded(vcam({"chart", kind, "--size", "32x16"})));
        EXPECT_EQ(load(camera.path("/virtual/scene/" + kind + ".png")).width, 32) << kind;
    }
    EXPECT_TRUE(succeeded(
        vcam({"chart", "mot", "--size", "240x240", "--lines", "2", "--range", "90,200"})));
    EXPECT_EQ(load(camera.path("/virtual/scene/mot.png")).width, 240);
    EXPECT_TRUE(failed(vcam({"-C", camera.path("/none"), "chart", "flat"}), "no camera in"));
}

TEST(VcamChart, NoiseHasTheDeviationAndMeanThatWereAskedFor)
{
    const test::Camera camera;
    const image drawn = draw(camera, {"flat", "--size", "300x200", "--noise", "3.5"}).drawn;
    const double mean = drawn.mean(0, 0, 300, 200);
    double squares = 0;
    int beyond_three = 0;
    for (int y = 0; y < 200; y++) {
        for (int x = 0; x < 300; x++) {
            const double off = drawn.at(x, y) - mean;
            squares += off * off;
            beyond_three += std::abs(off) > 3 * 3.5;
        }
    }
    EXPECT_NEAR(mean, FLAT, 0.1);
    EXPECT_NEAR(std::sqrt(squares / 60000), 3.5, 0.1);
    EXPECT_GT(beyond_three, 20) << "a normal distribution has tails";
    EXPECT_LT(beyond_three, 400);
    EXPECT_FALSE(drawn.coloured) << "the same noise in all colours";
}

TEST(VcamChart, TheSameSeedGivesTheSameBytesAndAnotherSeedOthers)
{
    const test::Camera camera;
    const std::string file = camera.path("/tmp/chart.png");
    for (const words &kind : {words{"flat", "--size", "64x48"}, words{"noise", "--size", "64x48"},
                              words{"dust", "--size", "64x48"}, SMALL_MOT}) {
        draw(camera, with(kind, {"--noise", "2", "--seed", "7"}));
        const std::string first = bytes_of(file);
        draw(camera, with(kind, {"--noise", "2", "--seed", "7"}));
        EXPECT_TRUE(bytes_of(file) == first) << kind.front();
        draw(camera, with(kind, {"--noise", "2", "--seed", "8"}));
        EXPECT_FALSE(bytes_of(file) == first) << kind.front();
    }
}

TEST(VcamChart, TheNoiseOfASeedIsTheSameOnEveryMachine)
{
    const test::Camera camera;
    const image drawn =
        draw(camera, {"flat", "--size", "16x16", "--noise", "10", "--seed", "42"}).drawn;
    // Of the algorithm in docs/charts.md, worked out apart from the program.
    const std::vector<int> row0 = {126, 140, 119, 129}, row15 = {143, 130, 110, 118};
    for (int x = 0; x < 4; x++) {
        EXPECT_EQ(drawn.at(x, 0), row0[static_cast<std::size_t>(x)]) << x;
        EXPECT_EQ(drawn.at(x, 15), row15[static_cast<std::size_t>(x)]) << x;
    }
}

TEST(VcamChart, NoiseDrawsDotsColumnsRowsAndCastsWhereItIsTold)
{
    const test::Camera camera;
    const chart c =
        draw(camera, {"noise", "--size", "100x80", "--dot", "10,20,2,90", "--dot", "50,60,1,-90",
                      "--column", "70,-30", "--row", "5,25", "--cast", "80,40,10,8,12,0,-7"});
    EXPECT_EQ(c.drawn.at(10, 20), FLAT + 90);
    EXPECT_EQ(c.drawn.at(11, 21), FLAT + 90);
    EXPECT_EQ(c.drawn.at(12, 20), FLAT);
    EXPECT_EQ(c.drawn.at(50, 60), FLAT - 90);
    EXPECT_EQ(c.drawn.at(70, 0), FLAT - 30);
    EXPECT_EQ(c.drawn.at(70, 79), FLAT - 30);
    EXPECT_EQ(c.drawn.at(70, 5), FLAT - 5) << "where both cross";
    EXPECT_EQ(c.drawn.at(99, 5), FLAT + 25);
    EXPECT_EQ(c.drawn.at(80, 40, 0), FLAT + 12);
    EXPECT_EQ(c.drawn.at(89, 47, 1), FLAT);
    EXPECT_EQ(c.drawn.at(89, 47, 2), FLAT - 7);
    EXPECT_EQ(c.drawn.others(FLAT), 4 + 1 + 80 + 100 - 1 + 80) << "and nothing else";
    EXPECT_EQ(
        c.told["dots"][1],
        (json{{"x", 50}, {"y", 60}, {"width", 1}, {"height", 1}, {"added", {-90, -90, -90}}}));
    EXPECT_EQ(c.told["columns"][0]["x"], 70);
    EXPECT_EQ(c.told["columns"][0]["height"], 80);
    EXPECT_EQ(c.told["rows"][0]["y"], 5);
    EXPECT_EQ(c.told["casts"][0]["added"], (json{12, 0, -7}));
}

TEST(VcamChart, RandomDotsAreWhereItTells)
{
    const test::Camera camera;
    const chart c = draw(camera, {"noise", "--size", "200x100", "--random", "20", "--seed", "3"});
    ASSERT_EQ(c.told["dots"].size(), 20U);
    int bright = 0;
    for (const json &dot : c.told["dots"]) {
        EXPECT_EQ(c.drawn.at(dot["x"], dot["y"]), FLAT + dot["added"][0].get<int>()) << dot;
        bright += dot["added"][0] == 100;
    }
    EXPECT_EQ(c.drawn.others(FLAT), 20);
    EXPECT_GT(bright, 0);
    EXPECT_LT(bright, 20);
}

TEST(VcamChart, DustHasItsDepthInTheMiddleAndASoftEdge)
{
    const test::Camera camera;
    const chart c = draw(camera, {"dust", "--size", "120x100", "--spot", "40,50,20,60"});
    EXPECT_EQ(c.drawn.at(40, 50), WHITE - 60);
    EXPECT_EQ(c.drawn.at(45, 50), WHITE - 34) << "at half the way, 9/16";
    EXPECT_EQ(c.drawn.at(40, 55), WHITE - 34);
    EXPECT_EQ(c.drawn.at(50, 50), WHITE) << "nothing at the edge";
    EXPECT_EQ(c.drawn.at(30, 50), WHITE);
    for (int x = 40; x < 50; x++)
        EXPECT_LE(c.drawn.at(x, 50), c.drawn.at(x + 1, 50)) << x;
    EXPECT_LT(c.drawn.others(WHITE), 20 * 20);
    EXPECT_EQ(c.told["spots"], (json{{{"x", 40}, {"y", 50}, {"size", 20}, {"depth", 60}}}));
}

TEST(VcamChart, DustAtTheEdgeIsCutOff)
{
    const test::Camera camera;
    const image drawn =
        draw(camera, {"dust", "--size", "60x40", "--spot", "0,0,30,50", "--spot", "59,39,30,50"})
            .drawn;
    EXPECT_EQ(drawn.at(0, 0), WHITE - 50);
    EXPECT_EQ(drawn.at(59, 39), WHITE - 50);
    EXPECT_EQ(drawn.at(59, 0), WHITE);
    EXPECT_EQ(drawn.at(0, 39), WHITE);
}

TEST(VcamChart, RandomDustIsWhereItTells)
{
    const test::Camera camera;
    const chart c = draw(camera, {"dust", "--size", "600x400", "--random", "5", "--seed", "9"});
    ASSERT_EQ(c.told["spots"].size(), 5U);
    for (const json &spot : c.told["spots"]) {
        EXPECT_LE(c.drawn.at(spot["x"], spot["y"]), WHITE - spot["depth"].get<int>()) << spot;
        EXPECT_GE(spot["size"], 20);
        EXPECT_LE(spot["size"], 80);
        EXPECT_GE(spot["depth"], 10);
        EXPECT_LE(spot["depth"], 60);
    }
    EXPECT_GT(c.drawn.others(WHITE), 0);
    EXPECT_LT(c.drawn.others(WHITE), 5 * 81 * 81);
}

TEST(VcamChart, VignettingDarkensTheCornersByItsPercentage)
{
    const test::Camera camera;
    const chart c =
        draw(camera, {"dust", "--size", "101x81", "--level", "200", "--vignette", "40"});
    EXPECT_EQ(c.drawn.at(50, 40), 200);
    for (const int x : {0, 100}) {
        for (const int y : {0, 80})
            EXPECT_NEAR(c.drawn.at(x, y), 120, 1) << x << "," << y;
    }
    EXPECT_EQ(c.drawn.at(10, 40), c.drawn.at(90, 40));
    EXPECT_GT(c.drawn.at(25, 40), c.drawn.at(0, 40));
    EXPECT_EQ(c.told["vignette"], 40);
}

TEST(VcamChart, DustHasStepsAndCastsToo)
{
    const test::Camera camera;
    const chart c = draw(camera, {"dust", "--size", "100x50", "--step", "0,0,100,10,-40", "--cast",
                                  "90,20,10,30,0,5,9"});
    EXPECT_EQ(c.drawn.at(99, 9), WHITE - 40);
    EXPECT_EQ(c.drawn.at(99, 10), WHITE);
    EXPECT_EQ(c.drawn.at(99, 49, 2), WHITE + 9);
    EXPECT_EQ(c.told["steps"][0]["added"], (json{-40, -40, -40}));
    EXPECT_EQ(c.told["casts"][0]["y"], 20);
}

TEST(VcamChart, MotHasItsMarkersWhereItTells)
{
    const test::Camera camera;
    const chart c = draw(camera, SMALL_MOT);
    ASSERT_EQ(c.told["markers"].size(), 4U);
    const char *names[] = {"LT", "LB", "RT", "RB"};
    for (std::size_t i = 0; i < 4; i++) {
        const json &m = c.told["markers"][i];
        EXPECT_EQ(m["name"], names[i]);
        const int x = m["x"], y = m["y"], width = m["width"], height = m["height"];
        EXPECT_EQ(m["centre"], (json{x + width / 2, y + height / 2}));
        EXPECT_EQ(c.drawn.mean(x, y, width, height, 0), 220);
        EXPECT_EQ(c.drawn.mean(x, y, width, height, 1), 30);
        EXPECT_EQ(c.drawn.mean(x - 1, y, 1, height, 1), WHITE);
        EXPECT_EQ(c.drawn.mean(x + width, y, 1, height, 1), WHITE);
        EXPECT_EQ(c.drawn.mean(x, y - 1, width, 1, 1), WHITE);
        EXPECT_EQ(c.drawn.mean(x, y + height, width, 1, 1), WHITE);
    }
    EXPECT_LT(c.told["markers"][0]["x"], c.told["markers"][2]["x"]);
    EXPECT_LT(c.told["markers"][0]["y"], c.told["markers"][1]["y"]);
}

TEST(VcamChart, MotMarkersTakeAnotherColour)
{
    const test::Camera camera;
    const chart c = draw(camera, with(SMALL_MOT, {"--marker", "10,20,200"}));
    const json &centre = c.told["markers"][3]["centre"];
    EXPECT_EQ(c.drawn.at(centre[0], centre[1], 2), 200);
    EXPECT_EQ(c.drawn.at(centre[0], centre[1], 0), 10);
    EXPECT_EQ(c.told["colour"], (json{10, 20, 200}));
}

TEST(VcamChart, MotHasTenWedgesWhoseLinesAreApartAtTheCoarseEndOnly)
{
    const test::Camera camera;
    const chart c = draw(camera, with(SMALL_MOT, {"--blur", "2"}));
    ASSERT_EQ(c.told["wedges"].size(), 10U);
    for (const json &wedge : c.told["wedges"]) {
        const int length = longer_side(wedge);
        EXPECT_EQ(dark_lines(c.drawn, wedge, 2), 3) << wedge;
        EXPECT_LT(dark_lines(c.drawn, wedge, length - 3), 3) << wedge;
    }
}

TEST(VcamChart, MotWedgesLieAndStandInTurnsAndPointFromTheirMarker)
{
    const test::Camera camera;
    const json wedges = draw(camera, SMALL_MOT).told["wedges"];
    const char *names[] = {"CN_H", "CN_V", "LT_H", "LT_V", "LB_H",
                           "LB_V", "RT_H", "RT_V", "RB_H", "RB_V"};
    const int directions[] = {0, 0, 0, 0, 0, 1, 1, 0, 1, 1};
    for (std::size_t i = 0; i < 10; i++) {
        EXPECT_EQ(wedges[i]["window"], i);
        EXPECT_EQ(wedges[i]["name"], names[i]);
        EXPECT_EQ(wedges[i]["direction"], directions[i]) << names[i];
        EXPECT_EQ(wedges[i]["width"] > wedges[i]["height"], i % 2 == 0) << names[i];
    }
}

TEST(VcamChart, MotWedgesEndAtDarkBarsWithinTheirSurroundings)
{
    const test::Camera camera;
    const chart c = draw(camera, SMALL_MOT);
    const image &drawn = c.drawn;
    ASSERT_EQ(c.told["wedges"].size(), 10U);
    for (const json &wedge : c.told["wedges"]) {
        const json &around = wedge["around"];
        const bool standing = wedge["height"] > wedge["width"];
        const char *axis = standing ? "y" : "x", *side = standing ? "height" : "width";
        const int first = wedge[axis].get<int>() - around[axis].get<int>();
        const int end = first + wedge[side].get<int>(), whole = around[side];
        EXPECT_GT(least_share(drawn, around, first, end), 0.9) << wedge;
        EXPECT_LT(least_share(drawn, around, first - 1, first), 0.2) << wedge;
        EXPECT_LT(least_share(drawn, around, end, end + 1), 0.2) << wedge;
        EXPECT_GT(3 * (end - first), 2 * whole) << wedge;
        EXPECT_LT(100 * (end - first), 95 * whole) << wedge;
    }
}

TEST(VcamChart, MotTellsWhereWedgesAreRelativeToTheMarkers)
{
    const test::Camera camera;
    const json told = draw(camera, SMALL_MOT).told;
    const auto marker = [&](std::size_t i, std::size_t axis) {
        return told["markers"][i]["centre"][axis].get<int>();
    };
    for (std::size_t i = 2; i < 10; i++) {
        const json &wedge = told["wedges"][i];
        EXPECT_EQ(wedge["around"]["x"], marker(i / 2 - 1, 0) + wedge["offset"][0].get<int>());
        EXPECT_EQ(wedge["around"]["y"], marker(i / 2 - 1, 1) + wedge["offset"][1].get<int>());
    }
    const json &above = told["wedges"][0], &beside = told["wedges"][1];
    EXPECT_EQ(above["around"]["x"],
              (marker(0, 0) + marker(2, 0)) / 2 + above["offset"][0].get<int>());
    EXPECT_EQ(above["around"]["y"], marker(0, 1) + above["offset"][1].get<int>());
    EXPECT_EQ(beside["around"]["x"], marker(0, 0) + beside["offset"][0].get<int>());
    EXPECT_EQ(beside["around"]["y"],
              (marker(0, 1) + marker(1, 1)) / 2 + beside["offset"][1].get<int>());
}

TEST(VcamChart, BlurSoftensWithoutMovingAnything)
{
    const test::Camera camera;
    const chart sharp = draw(camera, SMALL_MOT),
                soft = draw(camera, with(SMALL_MOT, {"--blur", "8"}));
    EXPECT_EQ(sharp.told["markers"], soft.told["markers"]);
    EXPECT_EQ(soft.told["blur"], 8);
    const json &m = sharp.told["markers"][0];
    const int edge = m["x"], y = m["centre"][1];
    EXPECT_EQ(sharp.drawn.at(edge - 1, y, 1) - sharp.drawn.at(edge, y, 1), WHITE - 30);
    EXPECT_LT(soft.drawn.at(edge - 1, y, 1) - soft.drawn.at(edge, y, 1), 60);
    EXPECT_NEAR(soft.drawn.at(edge - 1, y, 1) + soft.drawn.at(edge, y, 1), WHITE + 30, 2);
    EXPECT_EQ(soft.drawn.at(0, 0), WHITE);
    const double all = sharp.drawn.mean(0, 0, 960, 640);
    EXPECT_NEAR(soft.drawn.mean(0, 0, 960, 640), all, 0.1);
}

TEST(VcamChart, MovieIsAFolderOfFramesThatItTells)
{
    const test::Camera camera;
    const test::Outcome outcome =
        vcam({"chart", "movie", "--size", "320x160", "--frames", "12", "--red", "2,3", "--blue",
              "7,4", "--rate", "25", "--tone", "440", "--loudness", "-12"});
    ASSERT_TRUE(succeeded(outcome));
    const json told = json::parse(outcome.out);
    ASSERT_EQ(told["frames"].size(), 12U);
    const std::string colours = "ggrrrggbbbbg";
    for (std::size_t i = 0; i < colours.size(); i++) {
        const json &frame = told["frames"][i];
        const image drawn = load(camera.path("/virtual/movie/" + frame["file"].get<std::string>()));
        EXPECT_EQ(frame["number"], i);
        EXPECT_EQ(frame["colour"].get<std::string>()[0], colours[i]);
        EXPECT_EQ(drawn.mean(80, 40, 160, 80, 0), colours[i] == 'r'   ? 210
                                                  : colours[i] == 'b' ? 30
                                                                      : 128);
        EXPECT_EQ(drawn.mean(80, 40, 160, 80, 2), colours[i] == 'b'   ? 210
                                                  : colours[i] == 'r' ? 30
                                                                      : 128);
    }
    EXPECT_EQ(told["rate"], 25);
    EXPECT_EQ(told["red"]["first"], 2);
    EXPECT_EQ(told["blue"]["count"], 4);
}

TEST(VcamChart, MovieTellsItsRateAndItsSoundInTheFolderToo)
{
    const test::Camera camera;
    const std::string out = camera.path("/tmp/movie");
    ASSERT_TRUE(
        succeeded(vcam(chart_words({"movie", "--size", "16x16", "--frames", "2", "--red", "0,1",
                                    "--blue", "1,1", "--tone", "440", "--loudness", "-12"},
                                   out))));
    EXPECT_EQ(bytes_of(out + "/frame_ms"), "33\n");
    EXPECT_EQ(bytes_of(out + "/audio"), "left_frequency 440\nleft_peak -8.99\nleft_rms -12.0\n"
                                        "left_loudness -12.0\nright_frequency 440\n"
                                        "right_peak -8.99\nright_rms -12.0\n"
                                        "right_loudness -12.0\n");
}

TEST(VcamChart, AMovieOfAnyLengthHasRedAndBlueFramesAndNoneOfALongerOneBefore)
{
    const test::Camera camera;
    const std::string out = camera.path("/tmp/movie");
    const struct {
        const char *frames;
        json red, blue;
    } movies[] = {{"60", {10, 15}, {35, 15}}, {"7", {1, 1}, {4, 1}}, {"2", {0, 1}, {1, 1}}};
    for (const auto &movie : movies) {
        const test::Outcome outcome =
            vcam(chart_words({"movie", "--size", "16x16", "--frames", movie.frames}, out));
        ASSERT_TRUE(succeeded(outcome));
        const json told = json::parse(outcome.out);
        EXPECT_EQ((json{told["red"]["first"], told["red"]["count"]}), movie.red);
        EXPECT_EQ((json{told["blue"]["first"], told["blue"]["count"]}), movie.blue);
        const std::filesystem::directory_iterator files(out);
        EXPECT_EQ(std::distance(begin(files), end(files)), told["frames"].size() + 2)
            << "its frames, and two texts";
    }
}

TEST(VcamChart, MovieFramesCarryTheirNumber)
{
    const test::Camera camera;
    const std::string out = camera.path("/tmp/movie");
    ASSERT_TRUE(succeeded(vcam(chart_words(
        {"movie", "--size", "160x80", "--frames", "12", "--red", "0,1", "--blue", "1,1"}, out))));
    // The last digit, a pixel to a segment's width: 1 has no top, 8 has all.
    const auto lit = [&](const char *frame, int x, int y) {
        return load(out + "/" + frame).at(13 + x, 1 + y) == 255;
    };
    EXPECT_TRUE(lit("0008.png", 1, 0) && lit("0008.png", 1, 2) && lit("0008.png", 1, 4));
    EXPECT_TRUE(lit("0008.png", 0, 1) && lit("0008.png", 2, 3));
    EXPECT_FALSE(lit("0001.png", 1, 0) || lit("0001.png", 0, 1) || lit("0001.png", 1, 4));
    EXPECT_TRUE(lit("0001.png", 2, 1) && lit("0001.png", 2, 3));
    EXPECT_FALSE(lit("0010.png", 1, 2)) << "0 has no middle";
    EXPECT_TRUE(bytes_of(out + "/0010.png") != bytes_of(out + "/0011.png"));
}

TEST(VcamChart, BadSizesSeedsAndNoiseAreRefused)
{
    const test::Camera camera;
    for (const char *size : {"", "640", "640x", "x480", "15x480", "640x15", "16385x480",
                             "640x480x2", "640,480,1", "axb", "-640x480"})
        EXPECT_TRUE(refused(camera, {"flat", "--size", size}, "--size")) << size;
    for (const char *seed : {"x", "-1", "1.5", "9223372036854775808", ""})
        EXPECT_TRUE(refused(camera, {"flat", "--seed", seed}, "--seed")) << seed;
    for (const char *noise : {"x", "-1", "100.1", "nan", "2x", ""})
        EXPECT_TRUE(refused(camera, {"flat", "--noise", noise}, "--noise")) << noise;
}

TEST(VcamChart, EveryKindTakesTheSharedOptions)
{
    const test::Camera camera;
    for (const char *kind : {"noise", "dust", "mot", "movie"}) {
        EXPECT_TRUE(refused(camera, {kind, "--size", "15x480"}, "--size")) << kind;
        EXPECT_TRUE(refused(camera, {kind, "--seed", "x"}, "--seed")) << kind;
        EXPECT_TRUE(refused(camera, {kind, "--noise", "-1"}, "--noise")) << kind;
    }
}

TEST(VcamChart, FieldsRefuseBadLevelsAndCounts)
{
    const test::Camera camera;
    for (const char *kind : {"flat", "noise", "dust"}) {
        for (const char *level : {"-1", "256", "x"})
            EXPECT_TRUE(refused(camera, {kind, "--level", level}, "--level")) << kind << level;
    }
    for (const char *kind : {"noise", "dust"}) {
        for (const char *count : {"-1", "1001", "x"})
            EXPECT_TRUE(refused(camera, {kind, "--random", count}, "--random")) << kind << count;
    }
    for (const char *tint : {"1,2", "1,2,3,4", "a,b,c", "0,0,256", "0,-256,0", "1,,2"})
        EXPECT_TRUE(refused(camera, {"flat", "--tint", tint}, "--tint")) << tint;
    for (const char *percent : {"-1", "101", "x"})
        EXPECT_TRUE(refused(camera, {"dust", "--vignette", percent}, "--vignette")) << percent;
}

TEST(VcamChart, PlacesOutsideThePictureAndBadPlacesAreRefused)
{
    const test::Camera camera;
    const struct {
        const char *kind, *option;
        words bad;
    } options[] = {
        {"noise",
         "--dot",
         {"100,0,1,9", "0,80,1,9", "99,0,2,9", "-1,0,1,9", "0,0,0,9", "0,0,1,256", "0,0,1", "x"}},
        {"noise", "--column", {"100,9", "-1,9", "5", "5,256", "5,9,9"}},
        {"noise", "--row", {"80,9", "-1,9", "5", "5,-256"}},
        {"noise",
         "--cast",
         {"91,0,10,10,1,1,1", "0,71,10,10,1,1,1", "0,0,0,1,1,1,1", "0,0,1,0,1,1,1", "0,0,1,1,1,1",
          "0,0,1,1,256,1,1"}},
        {"dust", "--cast", {"91,0,10,10,1,1,1"}},
        {"dust", "--step", {"91,0,10,10,1", "0,71,10,10,1", "0,0,1,1,300", "0,0,1,1"}},
        {"dust",
         "--spot",
         {"100,0,5,5", "0,80,5,5", "0,0,0,5", "0,0,5,0", "0,0,5,256", "0,0,5", "-1,0,5,5"}},
    };
    for (const auto &o : options) {
        for (const std::string &bad : o.bad)
            EXPECT_TRUE(refused(camera, {o.kind, "--size", "100x80", o.option, bad}, o.option))
                << o.option << " " << bad;
    }
}

TEST(VcamChart, MotRefusesWhatCannotBeDrawn)
{
    const test::Camera camera;
    EXPECT_TRUE(refused(camera, {"mot", "--size", "960x239"}, "--size"));
    EXPECT_TRUE(refused(camera, with(SMALL_MOT, {"--marker", "1,2"}), "--marker"));
    EXPECT_TRUE(refused(camera, with(SMALL_MOT, {"--marker", "1,2,256"}), "--marker"));
    for (const char *level : {"99", "256", "x"})
        EXPECT_TRUE(refused(camera, with(SMALL_MOT, {"--level", level}), "--level")) << level;
    for (const char *lines : {"1", "51", "x"})
        EXPECT_TRUE(refused(camera, {"mot", "--lines", lines}, "--lines")) << lines;
    for (const char *range : {"1000", "3000,1000", "1000,1000", "0,1000", "1000,20001", "10,3000"})
        EXPECT_TRUE(refused(camera, {"mot", "--range", range}, "--range")) << range;
    EXPECT_TRUE(refused(camera, {"mot", "--size", "960x640", "--range", "641,700"},
                        "narrower than a pixel"));
    for (const char *blur : {"-1", "201", "x"})
        EXPECT_TRUE(refused(camera, with(SMALL_MOT, {"--blur", blur}), "--blur")) << blur;
}

TEST(VcamChart, MovieRefusesWhatCannotBeDrawn)
{
    const test::Camera camera;
    const words movie = {"movie", "--size", "16x16"};
    for (const char *frames : {"0", "1", "10000", "x"})
        EXPECT_TRUE(refused(camera, with(movie, {"--frames", frames}), "--frames")) << frames;
    for (const char *option : {"--red", "--blue"}) {
        for (const char *stretch : {"5", "-1,5", "5,0", "60,1", "55,6", "x,1", ""})
            EXPECT_TRUE(refused(camera, with(movie, {option, stretch}), option)) << stretch;
    }
    EXPECT_TRUE(refused(camera, with(movie, {"--red", "30,6"}), "red and blue"));
    for (const char *rate : {"0", "1001", "x"})
        EXPECT_TRUE(refused(camera, with(movie, {"--rate", rate}), "--rate")) << rate;
    for (const char *tone : {"0", "24001", "x"})
        EXPECT_TRUE(refused(camera, with(movie, {"--tone", tone}), "--tone")) << tone;
    for (const char *loudness : {"-121", "1", "x"})
        EXPECT_TRUE(refused(camera, with(movie, {"--loudness", loudness}), "--loudness"))
            << loudness;
}

TEST(VcamChart, APictureIsReplacedByAWholeOneOrNotAtAll)
{
    const test::Camera camera;
    const words chart = {"flat", "--size", "16x16"};
    draw(camera, chart);
    EXPECT_FALSE(camera.exists("/tmp/chart.png.part"));
    camera.write("/tmp/chart.png.part/stands", "in the way");
    EXPECT_TRUE(
        failed(vcam(chart_words(with(chart, {"--level", "9"}), camera.path("/tmp/chart.png"))),
               "cannot be written"));
    EXPECT_EQ(load(camera.path("/tmp/chart.png")).at(0, 0), FLAT);
}

TEST(VcamChart, BadKindsAndFilesAreRefused)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"chart"}), "vcam chart --help"));
    EXPECT_TRUE(failed(vcam({"chart", "round"}), "unknown action 'round'"));
    EXPECT_TRUE(failed(vcam({"chart", "flat", "--spot", "1,1,1,1"}), "--spot"));
    camera.write("/tmp/file", "");
    EXPECT_TRUE(
        failed(vcam(chart_words({"flat", "--size", "16x16"}, camera.path("/tmp/file/a.png"))),
               "cannot be written"));
    EXPECT_TRUE(failed(vcam(chart_words({"flat", "--size", "64x64", "--noise", "9"}, "/dev/full")),
                       "cannot be written"));
}
