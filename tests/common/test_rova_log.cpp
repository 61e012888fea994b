#include "common/rova_log.h"

#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/stat.h>
#include <thread>

using test::captured_output;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Pair;

namespace
{

constexpr char LOG[] = "/opt/share/rova/rova.log";
constexpr char OLD[] = "/opt/share/rova/rova.log.old";

std::string captured_error(const std::function<void()> &action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

struct LogLine : testing::Test {
    test::Camera camera;
};

struct FileLog : testing::Test {
    FileLog() { rova_log_set_enable(1); }
    ~FileLog() override { rova_log_set_enable(0); }
    test::Camera camera;
};

} // namespace

TEST_F(LogLine, ErrorsStandRedOnTheErrorStream)
{
    std::string out = captured_error([] { ROVA_LOG_ERR("lens %d failed", 7); });
    EXPECT_EQ(out, "[SYS_ROVA  ] \033[31mlens 7 failed\033[m\n");
    EXPECT_TRUE(camera.logged("test_rova_log.cpp: operator()("));
    EXPECT_TRUE(camera.logged(") > \033[31mlens 7 failed\033[m"));
    EXPECT_FALSE(camera.logged("/test_rova_log.cpp"));
}

TEST_F(LogLine, EachKindHasItsPriorityAndTheTag)
{
    ROVA_LOG_ERR("e");
    EXPECT_TRUE(camera.logged(" 6 SYS_ROVA test_rova_log.cpp: TestBody("));
    camera.remove("/virtual/dlog");
    ROVA_LOG_INFO("i");
    ROVA_LOG_NOTICE("\033[33mn");
    ROVA_LOG_CONN(nullptr, "\033[32mc");
    const std::string log = camera.platform_log();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 3);
    EXPECT_THAT(log, MatchesRegex("(.* 4 SYS_ROVA test_rova_log.cpp: .*\n){3}"));
}

TEST_F(LogLine, TheCallSiteIsNamedWithItsLine)
{
    int line = __LINE__ + 1;
    ROVA_LOG_INFO("here");
    EXPECT_TRUE(camera.logged("test_rova_log.cpp: TestBody(" + std::to_string(line) +
                              ") > \033[mhere\033[m"));
}

TEST_F(LogLine, InformationHasNoEcho)
{
    std::string error;
    std::string out =
        captured_output([&] { error = captured_error([] { ROVA_LOG_INFO("quiet \n"); }); });
    EXPECT_EQ(out, "");
    EXPECT_EQ(error, "");
    EXPECT_TRUE(camera.logged("> \033[mquiet \033[m"));
}

TEST_F(LogLine, NoticesBringTheirOwnColourToStandardOutput)
{
    std::string out = captured_output([] { ROVA_LOG_NOTICE("\033[33mready %s \n", "now"); });
    EXPECT_EQ(out, "[SYS_ROVA  ] \033[33mready now \033[m\n");
    EXPECT_TRUE(camera.logged("> \033[33mready now \033[m"));
}

TEST_F(LogLine, ConnectivityEchoesWhereTheCallSiteSays)
{
    std::string out = captured_output([] {
        ROVA_LOG_CONN(stdout, "\033[32mup\n");
        ROVA_LOG_CONN(nullptr, "\033[32munheard\n");
    });
    EXPECT_EQ(out, "[SYS_ROVA  ] \033[32mup\033[m\n");
    EXPECT_TRUE(camera.logged("> \033[32munheard\033[m"));
}

TEST_F(LogLine, TheTagFillsTenColumns)
{
    const rova_log_site site = {ROVA_TAG_CONN, "/a/b/radio.cpp", "scan", 12};
    std::string out =
        captured_output([&] { rova_log_line(rova_log_kind::conn, site, stdout, "\033[32m%d", 5); });
    EXPECT_EQ(out, "[ROVACONN  ] \033[32m5\033[m\n");
    EXPECT_TRUE(camera.logged("radio.cpp: scan(12) > \033[32m5\033[m"));
}

TEST_F(LogLine, OneOfTwoLineFeedsStays)
{
    std::string out = captured_error([] { ROVA_LOG_ERR("twice\n\n"); });
    EXPECT_EQ(out, "[SYS_ROVA  ] \033[31mtwice\n\033[m\n");
}

TEST_F(LogLine, AnErrorOfTheRoomsLengthIsKeptAndAByteMoreIsCut)
{
    std::string room(246, 'e');
    std::string whole = captured_error([&] { ROVA_LOG_ERR("%s", room.c_str()); });
    EXPECT_EQ(whole, "[SYS_ROVA  ] \033[31m" + room + "\033[m\n");
    std::string cut = captured_error([&] { ROVA_LOG_ERR("%s!", room.c_str()); });
    EXPECT_EQ(cut, whole);
}

TEST_F(LogLine, InformationHasRoomFor248Bytes)
{
    std::string room(248, 'i');
    ROVA_LOG_INFO("%sX", room.c_str());
    EXPECT_TRUE(camera.logged("> \033[m" + room + "\033[m"));
}

TEST_F(LogLine, TheColourOfANoticeCountsAgainstItsRoom)
{
    std::string text(246 - 5, 'n');
    std::string whole = captured_output([&] { ROVA_LOG_NOTICE("\033[33m%s", text.c_str()); });
    EXPECT_EQ(whole, "[SYS_ROVA  ] \033[33m" + text + "\033[m\n");
    std::string cut = captured_output([&] { ROVA_LOG_NOTICE("\033[33m%s!", text.c_str()); });
    EXPECT_EQ(cut, whole);
    std::string conn = captured_output([&] { ROVA_LOG_CONN(stdout, "\033[32m%s!", text.c_str()); });
    EXPECT_EQ(conn, "[SYS_ROVA  ] \033[32m" + text + "\033[m\n");
}

TEST_F(LogLine, ALineFeedBehindTheRoomIsCutWithTheRest)
{
    std::string room(246, 'e');
    std::string out = captured_error([&] { ROVA_LOG_ERR("%s\n", room.c_str()); });
    EXPECT_EQ(out, "[SYS_ROVA  ] \033[31m" + room + "\033[m\n");
}

TEST_F(LogLine, TheReasonOfAFailureSurvivesItsReport)
{
    errno = ENOSPC;
    captured_error([] { ROVA_LOG_ERR("no room"); });
    EXPECT_EQ(errno, ENOSPC);
}

TEST_F(FileLog, AMacroLineNeverReachesTheFile)
{
    ROVA_LOG_INFO("console only");
    EXPECT_FALSE(camera.exists(LOG));
}

TEST_F(FileLog, AFileLineNeverReachesThePlatformLog)
{
    rova_log("file only\n");
    EXPECT_FALSE(camera.logged("file only"));
}

TEST_F(FileLog, SwitchedOffItCreatesNeitherFolderNorFile)
{
    rova_log_set_enable(0);
    camera.remove("/opt/share/rova");
    EXPECT_EQ(rova_log("unheard\n"), 0);
    EXPECT_EQ(rova_log_raw("unheard\n"), 0);
    EXPECT_FALSE(camera.exists("/opt/share/rova"));
    EXPECT_TRUE(camera.calls("sys_system").empty());
}

TEST_F(FileLog, AStampedLineGoesOnWithRawTexts)
{
    int stamped = rova_log("set: %d", 5);
    int raw = rova_log_raw(", OK \n");
    EXPECT_THAT(camera.file_log(),
                MatchesRegex("[0-9]{8} [0-9]{2}:[0-9]{2}:[0-9]{2} : set: 5, OK \n"));
    EXPECT_EQ(stamped, 20 + 6);
    EXPECT_EQ(raw, 6);
}

TEST_F(FileLog, TheStampIsTheCamerasLocalTime)
{
    camera.fault("sys_time", "1768482309");
    setenv("TZ", "UTC", 1);
    rova_log("now\n");
    setenv("TZ", "EAST-9", 1);
    rova_log("there\n");
    unsetenv("TZ");
    EXPECT_EQ(camera.file_log(), "20260115 13:05:09 : now\n20260115 22:05:09 : there\n");
}

TEST_F(FileLog, ATimeThatIsNoDateWritesNothing)
{
    camera.fault("sys_time", "9223372036854775807");
    EXPECT_EQ(rova_log("never\n"), 0);
    EXPECT_FALSE(camera.exists(LOG));
    EXPECT_GT(rova_log_raw("raw has no time\n"), 0);
}

TEST_F(FileLog, AMissingFolderIsMade)
{
    camera.remove("/opt");
    rova_log("first\n");
    ASSERT_EQ(camera.calls("sys_system").size(), 1u);
    EXPECT_EQ(camera.calls("sys_system")[0]["args"][0], "mkdir -p /opt/share/rova/ --mode=0755");
    EXPECT_THAT(camera.file_log(), EndsWith(" : first\n"));
}

TEST_F(FileLog, RawMakesTheFolderTooAndTheCommandIsNotInTheText)
{
    camera.remove("/opt");
    EXPECT_EQ(rova_log_raw("%s", ""), 0);
    EXPECT_EQ(camera.file_log(), "");
    EXPECT_TRUE(camera.exists(LOG));
}

TEST_F(FileLog, AFailedMkdirEndsARawTextButNotAStampedLine)
{
    camera.remove("/opt/share/rova");
    camera.fault("sys_system", "256");
    EXPECT_EQ(rova_log_raw("raw\n"), 256);
    EXPECT_EQ(rova_log("stamped\n"), -1); // the opening fails
    camera.write("/opt/share/rova/other", "");
    camera.fault("sys_access", "-1 errno EACCES on /opt/share/rova/");
    EXPECT_EQ(rova_log_raw("raw\n"), 256);
    EXPECT_GT(rova_log("stamped\n"), 0);
}

TEST_F(FileLog, AMessageIsCutAt2047Bytes)
{
    std::string text(3000, 'x');
    EXPECT_EQ(rova_log_raw("%s", text.c_str()), 2047);
    EXPECT_EQ(rova_log("%s", text.c_str()), 20 + 2047);
    EXPECT_EQ(camera.file_log().size(), 2047u + 20 + 2047);
}

TEST_F(FileLog, AFileBelowTheLimitTakesOneMoreLineAndTheNextOpensANewFile)
{
    std::string before(262143, 'x');
    camera.write(LOG, before);
    rova_log_raw("last\n");
    EXPECT_FALSE(camera.exists(OLD));
    EXPECT_EQ(camera.file_log(), before + "last\n");
    rova_log_raw("new\n");
    EXPECT_EQ(camera.file_log(), "new\n");
    EXPECT_EQ(camera.read(OLD), before + "last\n");
}

TEST_F(FileLog, AtTheLimitTheFileReplacesTheOlderOne)
{
    camera.write(OLD, "older");
    camera.write(LOG, std::string(262144, 'y'));
    rova_log("new\n");
    EXPECT_EQ(camera.read(OLD).size(), 262144u);
    EXPECT_THAT(camera.file_log(), EndsWith(" : new\n"));
}

TEST_F(FileLog, AFailedRotationIsReportedAndTheLineGoesOn)
{
    camera.write(LOG, std::string(262144, 'y'));
    camera.fault("sys_rename", "-1 errno EACCES");
    std::string error = captured_error([] { rova_log_raw("on\n"); });
    EXPECT_THAT(error, HasSubstr("rova_log: "));
    EXPECT_THAT(error, HasSubstr("Permission denied"));
    EXPECT_EQ(camera.file_log().size(), 262144u + 3);
}

TEST_F(FileLog, AFailedOpeningGivesItsResult)
{
    camera.fault("sys_open", "-1 errno ENOSPC on /opt/share");
    EXPECT_EQ(rova_log("lost\n"), -1);
    EXPECT_EQ(rova_log_raw("lost\n"), -1);
    EXPECT_FALSE(camera.exists(LOG));
}

TEST_F(FileLog, AFailedWriteIsNotLookedAt)
{
    camera.fault("sys_write", "-1 errno ENOSPC");
    EXPECT_EQ(rova_log("lost\n"), 0);
    camera.clear_fault("sys_write");
    EXPECT_EQ(rova_log_raw("kept\n"), 5);
    EXPECT_EQ(camera.file_log(), "kept\n");
}

TEST_F(FileLog, EachCallReachesTheDisk)
{
    // A fault far ahead does nothing but count.
    constexpr char COUNT[] = "/virtual/fail/.sys_fdatasync.count";
    camera.fault("sys_fdatasync", "-1 at 1000 on rova.log");
    rova_log("stamped");
    EXPECT_TRUE(camera.exists(COUNT));
    camera.remove(COUNT);
    rova_log_raw(", raw\n");
    EXPECT_TRUE(camera.exists(COUNT));
}

TEST_F(FileLog, TextsOfSeveralThreadsStayWhole)
{
    auto write = [](char letter) {
        for (int i = 0; i < 50; i++)
            rova_log_raw("%s\n", std::string(100, letter).c_str());
    };
    std::thread other(write, 'b');
    write('a');
    other.join();
    std::map<std::string, int> seen;
    for (const std::string &line : test::lines_of(camera.file_log()))
        seen[line]++;
    EXPECT_THAT(seen,
                ElementsAre(Pair(std::string(100, 'a'), 50), Pair(std::string(100, 'b'), 50)));
}

TEST_F(FileLog, ReasonsSurviveALine)
{
    camera.fault("sys_open", "-1 errno ENOSPC on /opt/share");
    errno = EINTR;
    rova_log("lost\n");
    EXPECT_EQ(errno, EINTR);
}

TEST_F(FileLog, TheFileIsOpenedWithMode0755)
{
    mode_t before = umask(0);
    rova_log_raw("x\n");
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat(camera.path(LOG).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0755u);
}

TEST_F(FileLog, ADumpOfAFullLineHasBlanksWhereTheyBelong)
{
    unsigned char data[16];
    for (unsigned char i = 0; i < 16; i++)
        data[i] = i;
    rova_log_dump(data, 0xa000, sizeof(data));
    EXPECT_EQ(camera.file_log(), "[0000a000]  00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f  \n");
}

TEST_F(FileLog, ADumpOf17BytesHasASecondLineOfOneByte)
{
    unsigned char data[17] = {};
    data[16] = 0xff;
    rova_log_dump(data, 0x10, sizeof(data));
    EXPECT_EQ(camera.file_log(), "[00000010]  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  \n"
                                 "[00000020]  ff  \n");
}

TEST_F(FileLog, ADumpOfNothingIsAnEmptyLine)
{
    rova_log_dump(nullptr, 0x10, 0);
    EXPECT_EQ(camera.file_log(), " \n");
}
