#include "tests/e2e/line.h"
#include "tests/support/text.h"

#include <csignal>
#include <gtest/gtest.h>
#include <regex>

using e2e::Line;

namespace
{

constexpr char LOG[] = "/opt/share/rova/rova.log";
constexpr char LOG_OLD[] = "/opt/share/rova/rova.log.old";
constexpr char PINS[] = "/sdcard/gpio_pindump.csv";
constexpr char ROWS[] = "/sdcard/rows.csv";

void kill_daemon(const Line &line)
{
    line.signal(SIGKILL);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));
}

// The first column of each row, in order, of rows that have one.
std::vector<int> indices(const std::string &csv)
{
    static const std::regex row("^([0-9]+),");
    std::vector<int> numbers;
    std::smatch match;
    for (const std::string &line : test::lines_of(csv))
        if (std::regex_search(line, match, row))
            numbers.push_back(std::stoi(match[1]));
    return numbers;
}

} // namespace

TEST(AfterAKill, TheDisplayQueueLeftBehindKeepsTheDisplayThreadFromStarting)
{
    Line line;
    line.start();
    kill_daemon(line);

    // Started by hand, so that nothing clears what the killed daemon left.
    setenv("HOME", line.path("/tmp").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", line.path("/tmp").c_str(), 1);
    line.write("/virtual/dlog", "");
    line.key("memory/rova/start_cmd", 1);
    test::Process daemon({ROVAD_PROGRAM, "--test"}, "/usr/bin/rovad");
    ASSERT_TRUE(test::wait_for([&] { return line.key_int("memory/rova/start_cmd") == 0; }));
    EXPECT_TRUE(line.tells("failed to msgget (File exists)"));
    EXPECT_LT(line.thread("ROVA OSD Thread"), 0);
    EXPECT_EQ(line.vcam({"pc", "osd string 1 direct"}).status, 0) << "commands still run";
    line.key("memory/rova/stop_cmd", 1);
    EXPECT_EQ(daemon.wait(), 0);

    // The stop has removed the display's queue; the killed daemon's command queue has no name.
    EXPECT_EQ(line.vcam({"start", "--", "--test"}).status, 0);
    EXPECT_GT(line.thread("ROVA OSD Thread"), 0);
}

TEST(AfterAKill, PowerOnClearsWhatTheKilledDaemonLeft)
{
    Line line;
    line.start();
    kill_daemon(line);
    EXPECT_FALSE(std::filesystem::is_empty(line.path("/virtual/ipc")));
    line.write("/virtual/dlog", "");
    line.start();
    EXPECT_FALSE(line.tells("failed to msgget"));
    EXPECT_GT(line.thread("ROVA OSD Thread"), 0);
    EXPECT_EQ(line.vcam({"pc", "delay 1"}).status, 0);
}

TEST(AfterAKill, ACsvFileGoesOnBehindItsLastRow)
{
    Line line;
    test::Process writer({CSV_WRITER_PROGRAM, "1000000"});
    ASSERT_TRUE(test::wait_for([&] { return indices(line.read(ROWS)).size() >= 5; }));
    writer.signal(SIGKILL);
    EXPECT_EQ(writer.wait(), 128 + SIGKILL);
    std::vector<int> numbers = indices(line.read(ROWS));
    const int last = numbers.back();

    EXPECT_EQ(test::run({CSV_WRITER_PROGRAM, "2"}).status, 0);
    numbers = indices(line.read(ROWS));
    EXPECT_EQ(numbers.back(), last + 2);
}

TEST(FileLog, RotatesAtItsExactByte)
{
    Line line;
    line.write(LOG, std::string(262143, 'x'));
    line.start();
    EXPECT_EQ(line.read(LOG_OLD), "") << "one byte below the limit takes one more line";
    line.stop();
    const std::string old = line.read(LOG_OLD);
    EXPECT_EQ(old.size(), 262143U + std::string("20260115 13:05:09 : ").size() +
                              std::string("----------------- rovad starts (test) "
                                          "----------------- \n")
                                  .size());
    EXPECT_NE(line.read(LOG).find("rovad end (test)"), std::string::npos);
}

TEST(FileLog, AtItsLimitIsRotatedByTheNextLine)
{
    Line line;
    line.write(LOG, std::string(262144, 'x'));
    line.start();
    EXPECT_EQ(line.read(LOG_OLD).size(), 262144U);
    EXPECT_NE(line.read(LOG).find("rovad starts (test)"), std::string::npos);
}

TEST(FullDisk, LeavesTheDaemonUpAndAnswering)
{
    Line line;
    line.start();
    line.fault("sys_write", "-1 errno ENOSPC");
    EXPECT_EQ(line.vcam({"pc", "delay 1"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "control count set 5"}).status, 1) << "the count is lost";
    line.clear_fault("sys_write");
    line.fault("sys_open", "-1 errno ENOSPC on /opt/share");
    EXPECT_EQ(line.vcam({"pc", "delay 1"}).status, 0);
    line.clear_fault("sys_open");
    EXPECT_EQ(line.vcam({"pc", "delay 1"}).status, 0);
    ASSERT_TRUE(line.hears("4th cmd done [OK]"));
    EXPECT_NE(line.file_log().find("cmd[0004]"), std::string::npos);
}

TEST(FullDisk, ACsvFileThatCannotBeMadeCostsItsRowsOnly)
{
    Line line;
    line.fault("sys_open", "-1 errno ENOSPC on gpio_pindump");
    line.start();
    line.key("memory/rova/script_cmd", "gpio pindump");
    EXPECT_TRUE(line.hears("1th cmd done [OK]"));
    EXPECT_FALSE(line.exists(PINS));
    EXPECT_EQ(line.vcam({"pc", "delay 1"}).status, 0);
}
