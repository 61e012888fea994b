#include "common/rova_csv.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_log.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;

namespace
{

constexpr char HEADER[] = "Index,CIS S/N,Value,Result\r\n";

struct Csv : testing::Test {
    Csv()
    {
        rova_log_set_enable(1);
        set_serial(4711);
    }
    ~Csv() override
    {
        test::wrap_clear();
        rova_log_set_enable(0);
    }
    static void set_serial(int32_t serial)
    {
        void *item = rova_get_adjdata(ADJ_ID_CIS_SN);
        ASSERT_NE(item, nullptr);
        std::memcpy(item, &serial, sizeof(serial));
    }
    mode_t mode_of(const char *path) const
    {
        struct stat status = {};
        EXPECT_EQ(stat(camera.path(path).c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }
    // The file once a run with one row has gone over it.
    std::string after_a_row(const std::string &before)
    {
        camera.write("/sdcard/a.csv", before);
        rova_csv_handle handle = rova_csv_create("a.csv", "Value,Result");
        EXPECT_NE(handle, nullptr);
        if (handle == nullptr)
            return "";
        EXPECT_EQ(rova_csv_write(handle, "%s", "x"), 1);
        rova_csv_close(handle, nullptr);
        std::string all = camera.read("/sdcard/a.csv");
        EXPECT_EQ(all.substr(0, before.size()), before);
        return all.substr(before.size());
    }
    test::Camera camera;
};

} // namespace

TEST_F(Csv, ANewCardFileHasItsHeaderAtOnceAndRowsFromOne)
{
    rova_csv_handle handle = rova_csv_create("a.csv", "Value,Result");
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(camera.read("/sdcard/a.csv"), HEADER);
    EXPECT_EQ(rova_csv_write(handle, "%d,%s", 5, "OK"), 1);
    EXPECT_EQ(rova_csv_write(handle, "%d,%s", 6, "NG"), 1);
    EXPECT_EQ(camera.read("/sdcard/a.csv"), std::string(HEADER) + "1,4711,5,OK\r\n2,4711,6,NG\r\n");
    EXPECT_EQ(rova_csv_close(handle, nullptr), 1);
}

TEST_F(Csv, EverythingIsMirroredToTheFileLog)
{
    rova_csv_handle handle = rova_csv_create("a.csv", "Value,Result");
    rova_csv_write(handle, "%d", 5);
    rova_csv_close(handle, nullptr);
    EXPECT_THAT(camera.file_log(),
                ContainsRegex(" : csv_create: a.csv, ptpmode=0, handle=0x[0-9a-f]+, data: \n"
                              "Index,CIS S/N,Value,Result\r\n"
                              "/sdcard/a.csv opened, handle=0x[0-9a-f]+, OK \n"
                              ".{20}csv_write: handle=0x[0-9a-f]+, data: \n"
                              "1,4711,5\r\n"
                              ".{20}csv_close: handle=0x[0-9a-f]+, OK \n"));
}

TEST_F(Csv, AFileWithFiveRowsGoesOnWithSixUnderAnyHeader)
{
    std::string rows = HEADER;
    for (int i = 1; i <= 5; i++)
        rows += std::to_string(i) + ",4711,v\r\n";
    camera.write("/sdcard/a.csv", rows);
    rova_csv_handle handle = rova_csv_create("a.csv", "Another");
    rova_csv_write(handle, "w");
    rova_csv_close(handle, nullptr);
    EXPECT_EQ(camera.read("/sdcard/a.csv"), rows + "6,4711,w\r\n");
    EXPECT_TRUE(camera.logged("Get Last line_index=6"));
}

TEST_F(Csv, AFileWithOnlyItsHeaderRestartsAtZero)
{
    EXPECT_EQ(after_a_row(HEADER), "0,4711,x\r\n");
    EXPECT_TRUE(camera.logged("failed to seek Index, line_index=0"));
}

TEST_F(Csv, AFileOfOneOrTwoBytesRestartsAtZero)
{
    EXPECT_EQ(after_a_row("7"), "0,4711,x\r\n");
    EXPECT_TRUE(camera.logged("file_size <=2, line_index=0"));
    EXPECT_EQ(after_a_row("7\n"), "0,4711,x\r\n");
}

TEST_F(Csv, AFileOfThreeBytesWithoutACommaRestartsAtOne)
{
    EXPECT_EQ(after_a_row("77\n"), "1,4711,x\r\n");
    EXPECT_EQ(after_a_row("7,\n"), "8,4711,x\r\n");
}

TEST_F(Csv, TheIndexIsA32BitNumber)
{
    EXPECT_EQ(after_a_row("2147483647,a\r\n"), "-2147483648,4711,x\r\n");
    EXPECT_EQ(after_a_row("4294967295,a\r\n"), "0,4711,x\r\n");
}

TEST_F(Csv, ALastLineThatBeginsWithACommaRestartsAtOne)
{
    EXPECT_EQ(after_a_row("3,a\r\n,b\r\n"), "1,4711,x\r\n");
    EXPECT_TRUE(camera.logged("Too many index was created"));
}

TEST_F(Csv, AFirstFieldOfElevenDigitsIsTakenAndOneOfTwelveIsNot)
{
    EXPECT_EQ(after_a_row("00000000041,a\r\n"), "42,4711,x\r\n");
    EXPECT_FALSE(camera.logged("Too many index was created"));
    EXPECT_EQ(after_a_row("000000000041,a\r\n"), "1,4711,x\r\n");
    EXPECT_TRUE(camera.logged("Too many index was created"));
}

TEST_F(Csv, AFileThatEndsInTwoLineFeedsRestartsAtOne)
{
    EXPECT_EQ(after_a_row("3,a\n\n"), "1,4711,x\r\n");
    EXPECT_FALSE(camera.logged("Too many index was created"));
}

TEST_F(Csv, AFirstColumnThatIsNoNumberRestartsAtOne)
{
    EXPECT_EQ(after_a_row("3,a\nNotes,a\n"), "1,4711,x\r\n");
}

TEST_F(Csv, TheLastByteIsTakenForTheLineFeed)
{
    EXPECT_EQ(after_a_row("3,a\n12,"), "1,4711,x\r\n"); // the comma is not looked at
    EXPECT_EQ(after_a_row("3,a\n12,b"), "13,4711,x\r\n");
}

TEST_F(Csv, TheSerialNumberIsReadAtEachRowAndSigned)
{
    rova_csv_handle handle = rova_csv_create("a.csv", "V");
    rova_csv_write(handle, "x");
    set_serial(-2);
    rova_csv_write(handle, "y");
    rova_csv_close(handle, nullptr);
    EXPECT_THAT(camera.read("/sdcard/a.csv"), EndsWith("1,4711,x\r\n2,-2,y\r\n"));
}

TEST_F(Csv, ACameraWithoutThePartitionHasSerialNumberZero)
{
    rova_csv_handle handle = rova_csv_create("a.csv", "V");
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(rova_csv_write(handle, "x"), 1);
    rova_csv_close(handle, nullptr);
    EXPECT_THAT(camera.read("/sdcard/a.csv"), EndsWith("\r\n1,0,x\r\n"));
}

TEST_F(Csv, ForThePcTheFileStartsEmptyInTmpWithItsName)
{
    camera.write("/sdcard/info.tgw", "");
    camera.write("/tmp/a.csv", "5,old,row\r\n6,old,row\r\n");
    rova_csv_handle handle = rova_csv_create("a.csv", "Value,Result");
    rova_csv_write(handle, "x");
    rova_resp_stream stream;
    std::memset(&stream, 0x55, sizeof(stream));
    EXPECT_EQ(rova_csv_close(handle, &stream), 1);
    EXPECT_EQ(camera.read("/tmp/a.csv"), std::string("a.csv\r\n") + HEADER + "1,4711,x\r\n");
    EXPECT_FALSE(camera.exists("/sdcard/a.csv"));
    EXPECT_EQ(stream.stream_type, 1);
    EXPECT_STREQ(stream.text, "/tmp/a.csv");
    for (std::size_t i = std::strlen("/tmp/a.csv"); i < sizeof(stream.text); i++)
        ASSERT_EQ(stream.text[i], 0) << i;
    EXPECT_TRUE(camera.logged("\033[33mtype=1, file=/tmp/a.csv "));
    EXPECT_THAT(camera.file_log(), HasSubstr("csv_create: a.csv, ptpmode=1, handle=0x"));
    EXPECT_THAT(camera.file_log(), HasSubstr(", data: \na.csv\r\nIndex,CIS S/N,Value,Result\r\n"));
}

TEST_F(Csv, OtherModesWriteToTheCard)
{
    camera.write("/sdcard/rova.tg", "factory-mode\n");
    rova_csv_close(rova_csv_create("a.csv", "V"), nullptr);
    EXPECT_TRUE(camera.exists("/sdcard/a.csv"));
}

TEST_F(Csv, FilesAreMadeForAllToReadInBothPlaces)
{
    mode_t before = umask(0);
    rova_csv_close(rova_csv_create("a.csv", "V"), nullptr);
    camera.write("/sdcard/info.tgw", "");
    rova_csv_close(rova_csv_create("a.csv", "V"), nullptr);
    umask(before);
    EXPECT_EQ(mode_of("/sdcard/a.csv"), 0644u);
    EXPECT_EQ(mode_of("/tmp/a.csv"), 0644u);
}

TEST_F(Csv, HeaderAndRowsReachTheDisk)
{
    // A fault far ahead does nothing but count.
    constexpr char COUNT[] = "/virtual/fail/.sys_fdatasync.count";
    camera.fault("sys_fdatasync", "-1 at 1000 on a.csv");
    rova_csv_handle handle = rova_csv_create("a.csv", "V");
    EXPECT_TRUE(camera.exists(COUNT));
    camera.remove(COUNT);
    rova_csv_write(handle, "x");
    EXPECT_TRUE(camera.exists(COUNT));
    rova_csv_close(handle, nullptr);
}

TEST_F(Csv, APerCentSignInANameIsData)
{
    rova_csv_handle handle = rova_csv_create("a%d%n.csv", "%s");
    rova_resp_stream stream = {};
    rova_csv_close(handle, &stream);
    EXPECT_STREQ(stream.text, "/sdcard/a%d%n.csv");
    EXPECT_EQ(camera.read("/sdcard/a%d%n.csv"), "Index,CIS S/N,%s\r\n");
}

TEST_F(Csv, ANameIsNeeded)
{
    EXPECT_EQ(rova_csv_create(nullptr, "V"), nullptr);
    EXPECT_EQ(rova_csv_create("", "V"), nullptr);
    EXPECT_TRUE(camera.logged("filename is invalid "));
    EXPECT_THAT(camera.file_log(), EndsWith(" : csv_create: filename is invalid, NG \n"));
}

TEST_F(Csv, WithoutMemoryThereIsNoHandle)
{
    test::wrap_fail("malloc", 0, ENOMEM);
    EXPECT_EQ(rova_csv_create("a.csv", "V"), nullptr);
    EXPECT_TRUE(camera.logged("Memory allocate failed!!"));
    EXPECT_THAT(camera.file_log(), EndsWith("ptpmode=0, memory is not enough, NG \n"));
    EXPECT_FALSE(camera.exists("/sdcard/a.csv"));
}

TEST_F(Csv, AFileThatCannotBeOpenedGivesNoHandle)
{
    camera.fault("sys_open", "-1 errno EROFS on /sdcard/a.csv");
    EXPECT_EQ(rova_csv_create("a.csv", "V"), nullptr);
    EXPECT_TRUE(camera.logged("failed to open(/sdcard/a.csv), Read-only file system "));
    EXPECT_THAT(camera.file_log(), EndsWith("ptpmode=0, fopen failed, NG \n"));
}

TEST_F(Csv, FailuresToReadTheLastIndexRestartAtZero)
{
    test::wrap_fail("calloc", 0, ENOMEM);
    EXPECT_EQ(after_a_row("8,a\r\n"), "0,4711,x\r\n");
    EXPECT_TRUE(camera.logged("Memory allocation failed"));

    test::wrap_fail("lseek64", -1, EIO, 1); // whether the file is new: then it is not
    EXPECT_EQ(after_a_row("8,a\r\n"), "9,4711,x\r\n");

    test::wrap_fail("lseek64", -1, EIO, 2);
    EXPECT_EQ(after_a_row("8,a\r\n"), "0,4711,x\r\n");
    EXPECT_TRUE(camera.logged("lseek error (Input/output error) "));

    test::wrap_fail("lseek64", -1, EIO, 3);
    EXPECT_EQ(after_a_row("8,a\r\n"), "0,4711,x\r\n");
    EXPECT_TRUE(camera.logged("File control error[get_last_line_index->seek]"));
}

TEST_F(Csv, AFailedReadOfTheLastIndexRestartsAtZero)
{
    camera.write("/sdcard/a.csv", "8,a\r\n");
    test::wrap_fail("read", -1, EIO);
    rova_csv_handle handle = rova_csv_create("a.csv", "V");
    ASSERT_NE(handle, nullptr);
    EXPECT_TRUE(camera.logged("File control error[get_last_line_index->read]"));
    test::wrap_clear();
    rova_csv_write(handle, "x");
    rova_csv_close(handle, nullptr);
    EXPECT_EQ(camera.read("/sdcard/a.csv"), "8,a\r\n0,4711,x\r\n");
}

TEST_F(Csv, AFailedTextLeavesTheRowOpenAndTheNextRowFollowsOnItsLine)
{
    rova_csv_handle handle = rova_csv_create("a.csv", "V");
    camera.fault("sys_write", "-1 at 2 errno ENOSPC on a.csv");
    testing::internal::CaptureStderr();
    EXPECT_EQ(rova_csv_write(handle, "lost"), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("write failed \n"));
    camera.clear_fault("sys_write");
    EXPECT_EQ(rova_csv_write(handle, "kept"), 1);
    rova_csv_close(handle, nullptr);
    EXPECT_THAT(camera.read("/sdcard/a.csv"), EndsWith("\r\n1,4711,2,4711,kept\r\n"));
    EXPECT_EQ(camera.file_log().find("lost"), std::string::npos);
}

TEST_F(Csv, ALongTextIsCutAt4095Bytes)
{
    rova_csv_handle handle = rova_csv_create("a.csv", "V");
    std::string text(5000, 't');
    EXPECT_EQ(rova_csv_write(handle, "%s", text.c_str()), 1);
    rova_csv_close(handle, nullptr);
    EXPECT_EQ(camera.read("/sdcard/a.csv"),
              "Index,CIS S/N,V\r\n1,4711," + text.substr(0, 4095) + "\r\n");
}

TEST_F(Csv, AnEmptyTextIsARow)
{
    rova_csv_handle handle = rova_csv_create("a.csv", "V");
    EXPECT_EQ(rova_csv_write(handle, "%s", ""), 1);
    rova_csv_close(handle, nullptr);
    EXPECT_THAT(camera.read("/sdcard/a.csv"), EndsWith("\r\n1,4711,\r\n"));
}

TEST_F(Csv, TheLengthOfATextIsThatOfItsFormatting)
{
    rova_csv_handle handle = rova_csv_create("a.csv", "V");
    EXPECT_EQ(rova_csv_write(handle, "a%cb", '\0'), 1);
    rova_csv_close(handle, nullptr);
    EXPECT_THAT(camera.read("/sdcard/a.csv"), EndsWith(std::string("\r\n1,4711,a\0b\r\n", 14)));
}

TEST_F(Csv, ClosingNothingIsRefused)
{
    rova_resp_stream stream = {};
    EXPECT_EQ(rova_csv_close(nullptr, &stream), 0);
    EXPECT_EQ(stream.stream_type, 0);
    EXPECT_THAT(camera.file_log(), EndsWith(" : csv_close: handle is NULL, NG \n"));
    EXPECT_EQ(rova_csv_write(nullptr, "x"), 0);
}

TEST_F(Csv, APathIsCutAt509Bytes)
{
    const std::string folder = std::string(200, 'd') + "/" + std::string(200, 'e') + "/";
    const std::string path = "/sdcard/" + folder + std::string(509 - 8 - folder.size(), 'f');
    camera.write("/sdcard/" + folder + "other", "");
    rova_csv_handle handle = rova_csv_create((path + "tail").c_str() + sizeof("/sdcard"), "V");
    ASSERT_NE(handle, nullptr);
    rova_resp_stream stream;
    std::memset(&stream, 0x55, sizeof(stream));
    rova_csv_close(handle, &stream);
    EXPECT_EQ(std::string(stream.text, sizeof(stream.text)), path + '\0');
    EXPECT_EQ(camera.read(path), "Index,CIS S/N,V\r\n");
}

TEST_F(Csv, ANameThatNoFileSystemTakesGivesNoHandle)
{
    EXPECT_EQ(rova_csv_create(std::string(2000, 'n').c_str(), "V"), nullptr);
    EXPECT_THAT(camera.file_log(), EndsWith(", fopen failed, NG \n"));
}

TEST_F(Csv, FdPrintfTellsTheFormattedLengthAlsoWhenItFails)
{
    camera.write("/tmp/f", "");
    int fd = open(camera.path("/tmp/f").c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(rova_fd_printf(fd, "%s-%d", "ab", 12), 5);
    EXPECT_EQ(camera.read("/tmp/f"), "ab-12");
    std::string text(5000, 't');
    EXPECT_EQ(rova_fd_printf(fd, "%s", text.c_str()), 5000);
    EXPECT_EQ(camera.read("/tmp/f").size(), 5u + 4095);
    camera.fault("sys_write", "-1 errno ENOSPC");
    testing::internal::CaptureStderr();
    EXPECT_EQ(rova_fd_printf(fd, "abc"), 3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "write failed \n");
    close(fd);
}
