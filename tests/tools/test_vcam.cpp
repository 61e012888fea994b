// vcam's own words: verbs, help, mistakes.
#include <gtest/gtest.h>

#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include <filesystem>

using tool::failed;
using tool::vcam;

namespace
{

std::vector<std::string> verbs()
{
    return test::lines_of(vcam({"--list-verbs"}).out);
}

} // namespace

TEST(Vcam, HelpTellsEveryVerb)
{
    const test::Outcome help = vcam({"--help"});
    EXPECT_EQ(help.status, 0);
    ASSERT_GE(verbs().size(), 14U);
    for (const std::string &verb : verbs())
        EXPECT_NE(help.out.find("\n  " + verb + " "), std::string::npos) << verb;
}

TEST(Vcam, EveryVerbHasHelpWithAnExample)
{
    for (const std::string &verb : verbs()) {
        const test::Outcome help = vcam({verb, "--help"});
        EXPECT_EQ(help.status, 0) << verb;
        EXPECT_NE(help.out.find("\n  vcam " + verb), std::string::npos) << help.out;
    }
}

TEST(Vcam, NoVerbAndUnknownVerbsAndOptionsAreErrors)
{
    EXPECT_TRUE(failed(vcam({}), "no verb given"));
    EXPECT_TRUE(failed(vcam({"fly"}), "unknown verb 'fly'"));
    EXPECT_TRUE(failed(vcam({"--fly"}), "unknown verb '--fly'"));
    for (const std::string &verb : verbs())
        EXPECT_TRUE(failed(vcam({verb, "--fly"}), "vcam " + verb + " --help")) << verb;
}

TEST(Vcam, WhatIsNoCameraIsRefusedByEveryVerbThatNeedsOne)
{
    const test::Camera camera;
    camera.write("/virtual-not/here", "");
    const std::string dir = camera.path("/virtual-not");
    EXPECT_TRUE(failed(vcam({"-C", dir, "status"}), "no camera in '" + dir + "'"));
    EXPECT_TRUE(failed(vcam({"-C", dir + "/missing", "stop"}), "vcam create makes one"));
}

TEST(Vcam, TheCameraIsThatOfTheOptionThenOfTheEnvironmentThenOfTheFolder)
{
    const test::Camera camera;
    camera.write("/virtual/property/1.1", "11\n");
    camera.write("/tmp/camera/virtual/property/1.1", "22\n");
    const std::string inner = camera.path("/tmp/camera");
    EXPECT_EQ(vcam({"property", "get", "1", "1"}).out, "11\n");
    EXPECT_EQ(vcam({"-C", inner, "property", "get", "1", "1"}).out, "22\n");
    EXPECT_EQ(test::run({"env", "-u", "ROVA_SYSROOT", "-C", camera.path("/tmp"), VCAM_PROGRAM,
                         "property", "get", "1", "1"})
                  .out,
              "22\n");
}
