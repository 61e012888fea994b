#include "platform/sys.h"
#include "platform/virtual/values.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace
{

std::set<std::string> listed()
{
    std::set<std::string> names;
    DIR *folder = sys_opendir("/proc");
    while (dirent *entry = folder ? readdir(folder) : nullptr)
        if (entry->d_name[0] != '.')
            names.insert(entry->d_name);
    if (folder)
        closedir(folder);
    return names;
}

std::string first_word(pid_t process)
{
    char text[4096] = {};
    int fd = sys_open(("/proc/" + std::to_string(process) + "/cmdline").c_str(), O_RDONLY, 0);
    ssize_t got = read(fd, text, sizeof(text) - 1);
    close(fd);
    return got > 0 ? text : "";
}

using Names = std::set<std::string>;

TEST(Processes, EachCameraSeesItsOwn)
{
    test::Camera first;
    test::Process mine({"/bin/sleep", "100"}, "/usr/bin/mtp-responder");
    ASSERT_TRUE(test::wait_for([&] { return listed() == Names{std::to_string(mine.pid())}; }));
    {
        test::Camera second;
        EXPECT_TRUE(listed().empty());
        test::Process other({"/bin/sleep", "100"});
        EXPECT_TRUE(test::wait_for([&] { return listed() == Names{std::to_string(other.pid())}; }));
    }
    EXPECT_EQ(first_word(mine.pid()), "/usr/bin/mtp-responder");
}

TEST(Processes, ThoseThatEndedAreGone)
{
    test::Camera camera;
    test::Process process({"/bin/sleep", "100"});
    ASSERT_TRUE(test::wait_for([&] { return !listed().empty(); }));
    process.signal(9);
    process.wait();
    EXPECT_TRUE(listed().empty());
    EXPECT_EQ(
        sys_open(("/proc/" + std::to_string(process.pid()) + "/cmdline").c_str(), O_RDONLY, 0), -1);
}

// A sleeper with a folder and a camera of its own, once it is one.
class Sleeper
{
public:
    Sleeper(const std::string &folder, const std::string &sysroot)
        : process_({"/usr/bin/env", "-C", folder, "ROVA_SYSROOT=" + sysroot, "sleep", "100"})
    {
        EXPECT_TRUE(test::wait_for(
            [this] { return virt::read_file("/proc/" + name() + "/comm") == "sleep\n"; }));
    }
    std::string name() const { return std::to_string(process_.pid()); }

private:
    test::Process process_;
};

TEST(Processes, ARelativeNameOfTheCameraCountsFromTheProcessesOwnFolder)
{
    test::Camera camera;
    std::string name = camera.root().filename();
    camera.write("/tmp/" + name + "/file", "another camera of the same name");
    Sleeper mine(camera.root().parent_path(), name), other(camera.path("/tmp"), name);
    EXPECT_EQ(listed(), Names{mine.name()});
}

TEST(Processes, ALinkToTheCameraIsTheCamera)
{
    test::Camera camera;
    std::filesystem::create_directory_symlink(camera.root(), camera.path("/tmp/link"));
    Sleeper mine("/", camera.path("/tmp/link/"));
    EXPECT_EQ(listed(), Names{mine.name()});
}

TEST(Processes, ACameraWhoseNameBeginsAlikeIsAnother)
{
    test::Camera camera;
    std::string place = camera.root().string() + "2";
    std::filesystem::create_directory(place);
    Sleeper mine("/", camera.root()), other("/", place);
    EXPECT_EQ(listed(), Names{mine.name()});
    std::filesystem::remove(place);
}

TEST(Processes, LookingInAMissingCameraMakesNone)
{
    test::Camera camera;
    setenv("ROVA_SYSROOT", camera.path("/tmp/none").c_str(), 1);
    EXPECT_TRUE(listed().empty());
    setenv("ROVA_SYSROOT", camera.root().c_str(), 1);
    EXPECT_FALSE(camera.exists("/tmp/none"));
}

} // namespace
