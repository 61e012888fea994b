#include "platform/sys.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <fcntl.h>
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

} // namespace
