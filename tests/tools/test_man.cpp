// The manual pages: well formed, and complete where the program can tell.
#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include <fstream>
#include <iterator>
#include <sstream>

namespace
{

std::string page(const std::string &name)
{
    std::ifstream in(std::string(MAN_PAGES) + "/" + name);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

TEST(Man, PagesAreWellFormed)
{
    if (test::run({"mandoc", "-T", "lint", "/dev/null"}).status == 127)
        GTEST_SKIP() << "mandoc is not installed";
    for (const char *name : {"rovad.8", "rova.1", "vcam.1", "rova-script.5"}) {
        const test::Outcome lint = test::run(
            {"mandoc", "-T", "lint", "-W", "warning", std::string(MAN_PAGES) + "/" + name});
        EXPECT_EQ(lint.status, 0) << lint.out << lint.err;
    }
}

TEST(Man, EveryVerbIsDescribed)
{
    const std::string text = page("vcam.1");
    std::istringstream list(tool::vcam({"--list-verbs"}).out);
    int count = 0;
    for (std::string verb; list >> verb; count++)
        EXPECT_NE(text.find("\n.It Cm " + verb), std::string::npos) << verb;
    EXPECT_GT(count, 0);
}

TEST(Man, EveryPageTellsTheEnvironmentAndTheExitStatus)
{
    for (const char *name : {"rovad.8", "rova.1", "vcam.1"}) {
        EXPECT_NE(page(name).find("\n.It Ev ROVA_SYSROOT"), std::string::npos) << name;
        EXPECT_NE(page(name).find("\n.Sh EXIT STATUS"), std::string::npos) << name;
    }
}
