#include "platform/virtual/values.h"

#include "platform/virtual/root.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>
#include <set>
#include <sstream>

namespace
{

using testing::Test;

TEST(Values, AValueIsTheTextWithoutItsLineFeed)
{
    test::Camera camera;
    camera.write("/virtual/a", "abc\n");
    EXPECT_EQ(virt::read_value(virt::file("a")), "abc");
    EXPECT_EQ(virt::read_value(virt::file("b")), std::nullopt);
    EXPECT_TRUE(virt::write_value(virt::file("new/folder/c"), "x y"));
    EXPECT_EQ(camera.read("/virtual/new/folder/c"), "x y\n");
}

TEST(Values, NumbersAreDecimalOrHexadecimal)
{
    test::Camera camera;
    camera.write("/virtual/a", "0x1f\n");
    EXPECT_EQ(virt::read_number(virt::file("a")), 31);
    camera.write("/virtual/a", "-012\n");
    EXPECT_EQ(virt::read_number(virt::file("a")), -12);
    camera.write("/virtual/a", "none\n");
    EXPECT_EQ(virt::read_number(virt::file("a")), std::nullopt);
}

TEST(Values, EachReadingTakesTheNextScriptedValueAndTheLastOneStays)
{
    test::Camera camera;
    camera.write("/sys/key", "0\n");
    camera.write("/sys/key.play", "1\n2\n3");
    std::string place = virt::path("/sys/key");
    EXPECT_EQ(virt::read_value(place), "1");
    EXPECT_EQ(camera.read("/sys/key.play"), "2\n3");
    EXPECT_EQ(virt::read_value(place), "2");
    EXPECT_EQ(virt::read_value(place), "3");
    EXPECT_FALSE(camera.exists("/sys/key.play"));
    EXPECT_EQ(virt::read_value(place), "3");
}

TEST(Values, ScriptedValuesMayBeEmptyAndMakeTheFile)
{
    test::Camera camera;
    camera.write("/sys/key.play", "\n7\n");
    EXPECT_EQ(virt::read_value(virt::path("/sys/key")), "");
    EXPECT_EQ(virt::read_value(virt::path("/sys/key")), "7");
    camera.write("/sys/key.play", "");
    EXPECT_EQ(virt::read_value(virt::path("/sys/key")), "7");
    EXPECT_FALSE(camera.exists("/sys/key.play"));
}

TEST(Values, AScriptReplacesTheOneBeforeAndCanBeEnded)
{
    test::Camera camera;
    const std::string place = virt::file("a");
    EXPECT_TRUE(virt::write_play(place, {"1", "2"}));
    EXPECT_TRUE(virt::write_play(place, {"3", "4"}));
    EXPECT_EQ(virt::read_value(place), "3");
    virt::end_play(place);
    EXPECT_FALSE(camera.exists("/virtual/a.play"));
    EXPECT_EQ(virt::read_value(place), "3");
    virt::end_play(place); // where there is none
    camera.write("/virtual/folder", "in the way");
    EXPECT_FALSE(virt::write_play(virt::file("folder/b"), {"1"}));
}

TEST(Values, WhoTakesAScriptedValueNeedsNoFile)
{
    test::Camera camera;
    const std::string place = virt::file("a");
    std::string seen;
    const auto take = [&](std::string_view value) { seen += std::string(value) + ";"; };
    virt::write_play(place, {"1", "", "3"});
    for (int count = 0; count < 4; count++)
        virt::play(place, take);
    EXPECT_EQ(seen, "1;;3;");
    EXPECT_FALSE(camera.exists("/virtual/a"));
}

TEST(Values, ProcessesThatReadAtOnceShareTheScriptedValues)
{
    test::Camera camera;
    std::string script;
    for (int value = 0; value < 200; value++)
        script += std::to_string(value) + "\n";
    camera.write("/sys/key.play", script);
    std::string output = camera.path("/tmp/read").string();
    test::Process other({PLATFORM_PROGRAM, "read", "/sys/key", "100"}, "", output);
    for (int count = 0; count < 100; count++)
        virt::read_value(virt::path("/sys/key"));
    EXPECT_EQ(other.wait(), 0);
    EXPECT_FALSE(camera.exists("/sys/key.play")); // neither a value lost nor one read twice
    EXPECT_EQ(camera.read("/sys/key"), "199\n");
}

TEST(Values, AFileThatCannotBeReplacedIsLeftAloneWithNothingBesideIt)
{
    test::Camera camera;
    camera.write("/virtual/folder/inside", "kept");
    EXPECT_FALSE(virt::replace_file(virt::file("folder"), "text"));
    EXPECT_EQ(camera.read("/virtual/folder/inside"), "kept");
    for (auto &entry : std::filesystem::directory_iterator(camera.path("/virtual")))
        EXPECT_FALSE(entry.path().filename().string().starts_with("folder.")) << entry.path();
}

} // namespace
