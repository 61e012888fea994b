#include "tests/command/command_test.h"

#include <filesystem>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr char FALLS[] = "/opt/share/rova/free_fall.txt";
constexpr char ON_CARD[] = "/sdcard/free_fall.txt";

} // namespace

class FreeFall : public CommandTest
{
protected:
    FreeFall()
    {
        camera.write("/virtual/property/11.0", "1\n");
        camera.write(FALLS, "2026-11-20 1.2 m\n");
    }
    void expect_open_error()
    {
        std::size_t descriptors = open_descriptors();
        EXPECT_EQ(run("free_fall get_log"), NG);
        EXPECT_THAT(new_messages(), ElementsAre("file open error"));
        EXPECT_TRUE(camera.logged("> \033[33mfile open error"));
        EXPECT_EQ(open_descriptors(), descriptors);
    }
};

TEST_F(FreeFall, GetLogCopiesTheFileToTheCard)
{
    std::size_t descriptors = open_descriptors();
    camera.write(ON_CARD, "an older and longer log of falls");
    EXPECT_EQ(run("free_fall get_log"), OK);
    EXPECT_EQ(camera.read(ON_CARD), "2026-11-20 1.2 m\n");
    EXPECT_TRUE(camera.exists(FALLS));
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(FreeFall, GetLogCopiesAFileOfAnyBytesAndLength)
{
    std::string bytes;
    for (int i = 0; i < 10000; i++)
        bytes += static_cast<char>(i * 7);
    for (std::size_t length : {0U, 4095U, 4096U, 4097U, 10000U}) {
        camera.write(FALLS, bytes.substr(0, length));
        EXPECT_EQ(run("FREE_FALL GET_LOG", ROVA_CMD_PTP), PTP_OK);
        EXPECT_EQ(camera.read(ON_CARD), bytes.substr(0, length)) << length;
    }
}

TEST_F(FreeFall, GetLogNeedsACard)
{
    camera.write("/virtual/property/11.0", "0\n");
    EXPECT_EQ(run("free_fall get_log"), NG);
    EXPECT_THAT(new_messages(), ElementsAre("please insert sdcard"));
    EXPECT_TRUE(camera.logged("> \033[33mplease insert sdcard"));
    camera.fault("device_get_property", "-4");
    EXPECT_EQ(run("free_fall get_log"), NG);
    EXPECT_THAT(new_messages(), ElementsAre("device_get_property(11, 0) failed (ret = -4) "));
    EXPECT_FALSE(camera.exists(ON_CARD));
}

TEST_F(FreeFall, GetLogTellsAFileThatCannotBeOpened)
{
    camera.fault("sys_fopen", "-1 errno EACCES on /sdcard/free_fall.txt");
    expect_open_error();
    camera.clear_fault("sys_fopen");
    camera.remove(FALLS);
    expect_open_error();
    EXPECT_FALSE(camera.exists(ON_CARD));
}

TEST_F(FreeFall, GetLogThatCannotBeWrittenIsNg)
{
    camera.fault("sys_fdatasync", "-1 errno ENOSPC on /sdcard/free_fall.txt");
    EXPECT_EQ(run("free_fall get_log"), NG);
    EXPECT_THAT(messages(), ElementsAre("failed to copy /opt/share/rova/free_fall.txt to "
                                        "/sdcard/free_fall.txt (No space left on device) "));
}

TEST_F(FreeFall, GetLogToAFullCardIsNg)
{
    std::filesystem::create_directories(camera.path("/sdcard"));
    std::filesystem::create_symlink("/dev/full", camera.path(ON_CARD));
    for (std::size_t length : {1U, 4096U, 10000U}) {
        camera.write(FALLS, std::string(length, 'f'));
        EXPECT_EQ(run("free_fall get_log"), NG) << length;
        EXPECT_THAT(new_messages(), ElementsAre(testing::EndsWith("(No space left on device) ")));
    }
}

TEST_F(FreeFall, GetLogOfAFileThatCannotBeReadIsNg)
{
    camera.remove(FALLS);
    std::filesystem::create_directories(camera.path(FALLS));
    EXPECT_EQ(run("free_fall get_log"), NG);
    EXPECT_THAT(messages(), ElementsAre(testing::EndsWith("(Is a directory) ")));
}

TEST_F(FreeFall, DeleteLogRemovesTheFile)
{
    EXPECT_EQ(run("free_fall delete_log"), OK);
    EXPECT_FALSE(camera.exists(FALLS));
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(FreeFall, DeleteLogWithoutAFileIsNg)
{
    camera.remove(FALLS);
    EXPECT_EQ(run("free_fall delete_log", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(messages().front(), "there is no free_fall data");
    EXPECT_TRUE(camera.logged("> \033[33mthere is no free_fall data"));
}

TEST_F(FreeFall, DeleteLogThatFailsIsNg)
{
    camera.fault("sys_unlink", "-1 errno EROFS on free_fall.txt");
    EXPECT_EQ(run("free_fall delete_log"), NG);
    EXPECT_THAT(messages(), ElementsAre("remove fail free_fall data"));
    EXPECT_TRUE(camera.logged("> \033[33mremove fail free_fall data"));
    EXPECT_TRUE(camera.exists(FALLS));
}

TEST_F(FreeFall, UnknownSubcommandIsToldUnderAnotherName)
{
    EXPECT_EQ(run("free_fall show"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on led command table ");
}
