#include "tests/command/command_test.h"

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class FileDelete : public CommandTest
{
};

TEST_F(FileDelete, RemovesTheFileFromTheCard)
{
    camera.write("/sdcard/a.csv", "x");
    camera.write("/sdcard/b.csv", "x");
    EXPECT_EQ(run("file delete a.csv"), OK);
    EXPECT_FALSE(camera.exists("/sdcard/a.csv"));
    EXPECT_TRUE(camera.exists("/sdcard/b.csv"));
    EXPECT_THAT(told({"sys_sync"}), ElementsAre("sys_sync[]"));
}

TEST_F(FileDelete, TakesTheLongestName)
{
    std::string name(31, 'n');
    camera.write("/sdcard/" + name, "x");
    EXPECT_EQ(run("file delete " + name), OK);
    EXPECT_FALSE(camera.exists("/sdcard/" + name));
}

TEST_F(FileDelete, AnswersThePc)
{
    camera.write("/sdcard/a.csv", "x");
    EXPECT_EQ(run("file delete a.csv", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(run("file delete a.csv", ROVA_CMD_PTP), PTP_NG);
}

TEST_F(FileDelete, RefusesALineWithoutAName)
{
    EXPECT_EQ(run("file delete"), NG);
    EXPECT_TRUE(camera.exists("/sdcard"));
}

TEST_F(FileDelete, TellsOfAFileThatDoesNotExist)
{
    EXPECT_EQ(run("file delete %n.csv"), NG);
    EXPECT_TRUE(camera.logged("/sdcard/%n.csv doesn't exist. "));
}

TEST_F(FileDelete, TellsOfAFileThatCannotBeOpened)
{
    camera.write("/sdcard/a.csv", "x");
    camera.fault("sys_open", "-1 errno EIO on a.csv");
    EXPECT_EQ(run("file delete a.csv"), NG);
    EXPECT_TRUE(camera.logged("/sdcard/a.csv doesn't exist. "));
    EXPECT_TRUE(camera.exists("/sdcard/a.csv"));
}

TEST_F(FileDelete, TellsOfAFileThatCannotBeRemoved)
{
    camera.write("/sdcard/a.csv", "x");
    camera.fault("sys_unlink", "-1 errno EROFS on a.csv");
    EXPECT_EQ(run("file delete a.csv"), NG);
    EXPECT_TRUE(camera.logged("failed to delete /sdcard/a.csv. "));
    EXPECT_TRUE(camera.exists("/sdcard/a.csv"));
    EXPECT_THAT(told({"sys_sync"}), IsEmpty());
}
