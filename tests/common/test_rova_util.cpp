#include "common/rova_util.h"

#include "common/rova_log.h"
#include "platform/vconf.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

using test::captured_output;
using testing::EndsWith;

namespace
{

constexpr char VALUE[] = "/sys/devices/value";

struct Util : testing::Test {
    ~Util() override
    {
        test::wrap_clear();
        rova_log_set_enable(0);
        rova_set_alt_mode("");
    }
    test::Camera camera;
};

std::string trimmed(std::string text)
{
    return rova_str_trim(text.data());
}

cmd_data make_record(const char *cmd, std::initializer_list<const char *> words)
{
    cmd_data record = {};
    std::strcpy(record.cmd, cmd);
    for (const char *word : words)
        std::strcpy(record.p[record.p_count++], word);
    return record;
}

} // namespace

TEST_F(Util, ReadIntTellsAMissingFileFromAnEmptyOne)
{
    EXPECT_EQ(rova_sysfs_read_int(VALUE), -1);
    camera.write(VALUE, "");
    EXPECT_EQ(rova_sysfs_read_int(VALUE), 0);
    camera.write(VALUE, "-37\n");
    EXPECT_EQ(rova_sysfs_read_int(VALUE), -37);
    camera.write(VALUE, "012 and more");
    EXPECT_EQ(rova_sysfs_read_int(VALUE), 12);
    camera.write(VALUE, "0x10");
    EXPECT_EQ(rova_sysfs_read_int(VALUE), 0);
}

TEST_F(Util, ReadIntEndsAt256Bytes)
{
    camera.write(VALUE, std::string(255, ' ') + "12");
    EXPECT_EQ(rova_sysfs_read_int(VALUE), 1);
    camera.write(VALUE, std::string(256, ' ') + "12");
    EXPECT_EQ(rova_sysfs_read_int(VALUE), 0);
}

TEST_F(Util, AValueThatCannotBeReadIsEmpty)
{
    char text[4] = {'#', '#', '#', '#'};
    camera.write(VALUE, "12");
    test::wrap_fail("read", -1, EIO, 1, true);
    EXPECT_EQ(rova_sysfs_read_int(VALUE), 0);
    EXPECT_EQ(rova_sysfs_read_string(VALUE, text), 0);
    EXPECT_EQ(std::string(text, sizeof(text)), "####");
    EXPECT_EQ(rova_sysfs_read_ulong(VALUE), 0u);
    EXPECT_EQ(rova_file_read_ulong(VALUE), 0u);
    test::wrap_clear();
    EXPECT_TRUE(camera.logged("> \033[31msimple_strtoul failed \033[m"));
    EXPECT_TRUE(camera.logged("> \033[31mstrtoul failed \033[m"));
}

TEST_F(Util, WriteIntWritesTheDigitsAlone)
{
    camera.write(VALUE, "1000000\n");
    EXPECT_EQ(rova_sysfs_write_int(VALUE, -5), 0);
    EXPECT_EQ(camera.read(VALUE), "-5");
}

TEST_F(Util, WritersDoNotCreateAttributeFiles)
{
    EXPECT_EQ(rova_sysfs_write_int(VALUE, 5), -1);
    EXPECT_EQ(rova_sysfs_write_ulong(VALUE, 5), -1);
    EXPECT_EQ(rova_sysfs_write_string(VALUE, "on"), -1);
    EXPECT_FALSE(camera.exists(VALUE));
}

TEST_F(Util, AFailedWriteIsTold)
{
    camera.write(VALUE, "");
    camera.fault("sys_write", "-1 errno EIO");
    EXPECT_EQ(rova_sysfs_write_int(VALUE, 5), -1);
    EXPECT_EQ(rova_sysfs_write_ulong(VALUE, 5), -1);
    EXPECT_EQ(rova_sysfs_write_string(VALUE, "on"), -1);
    EXPECT_EQ(rova_file_write_ulong("/tmp/file", 5), -1);
}

TEST_F(Util, ReadUlongTakesAnyBase)
{
    camera.write(VALUE, "0x1f\n");
    EXPECT_EQ(rova_sysfs_read_ulong(VALUE), 31u);
    camera.write(VALUE, "017\n");
    EXPECT_EQ(rova_sysfs_read_ulong(VALUE), 15u);
    camera.write(VALUE, "4294967295\n");
    EXPECT_EQ(rova_sysfs_read_ulong(VALUE), 4294967295u);
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Util, ReadUlongGivesZeroForEveryFailure)
{
    EXPECT_EQ(rova_sysfs_read_ulong(VALUE), 0u);
    EXPECT_EQ(camera.platform_log(), "");
    camera.write(VALUE, "none\n");
    EXPECT_EQ(rova_sysfs_read_ulong(VALUE), 0u);
    EXPECT_TRUE(camera.logged("> \033[31msimple_strtoul failed \033[m"));
}

TEST_F(Util, WriteUlongWritesTheDigitsAlone)
{
    camera.write(VALUE, "");
    EXPECT_EQ(rova_sysfs_write_ulong(VALUE, 4294967295u), 0);
    EXPECT_EQ(camera.read(VALUE), "4294967295");
}

TEST_F(Util, ReadStringCopiesWithoutATerminator)
{
    char text[8];
    std::memset(text, '#', sizeof(text));
    camera.write(VALUE, "12ab");
    EXPECT_EQ(rova_sysfs_read_string(VALUE, text), 12);
    EXPECT_EQ(std::string(text, sizeof(text)), "12ab####");
}

TEST_F(Util, ReadStringCopiesNothingFromAnEmptyOrMissingFile)
{
    char text[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(rova_sysfs_read_string(VALUE, text), -1);
    camera.write(VALUE, "");
    EXPECT_EQ(rova_sysfs_read_string(VALUE, text), 0);
    EXPECT_EQ(std::string(text, sizeof(text)), "####");
}

TEST_F(Util, ReadStringCopies256BytesAtMost)
{
    char text[300];
    std::memset(text, '#', sizeof(text));
    camera.write(VALUE, std::string(280, 'x'));
    EXPECT_EQ(rova_sysfs_read_string(VALUE, text), 0);
    EXPECT_EQ(std::string(text, sizeof(text)), std::string(256, 'x') + std::string(44, '#'));
}

TEST_F(Util, WriteStringWritesTheText)
{
    camera.write(VALUE, "longer than that");
    EXPECT_EQ(rova_sysfs_write_string(VALUE, "on"), 0);
    EXPECT_EQ(camera.read(VALUE), "on");
}

TEST_F(Util, AFileValueIsCreatedAndReplaced)
{
    EXPECT_EQ(rova_file_read_ulong("/tmp/count"), 0u);
    EXPECT_EQ(rova_file_write_ulong("/tmp/count", 123456), 0);
    EXPECT_EQ(rova_file_write_ulong("/tmp/count", 7), 0);
    EXPECT_EQ(camera.read("/tmp/count"), "7");
    EXPECT_EQ(rova_file_read_ulong("/tmp/count"), 7u);
}

TEST_F(Util, AFileValueIsForAllToRead)
{
    mode_t before = umask(0);
    rova_file_write_ulong("/tmp/count", 1);
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat(camera.path("/tmp/count").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
}

TEST_F(Util, AFileValueThatCannotBeStoredIsTold)
{
    EXPECT_EQ(rova_file_write_ulong("/no/such/folder", 1), -1);
    camera.fault("sys_fdatasync", "-1 errno EIO");
    EXPECT_EQ(rova_file_write_ulong("/tmp/count", 1), -1);
}

TEST_F(Util, AFileWithoutANumberIsTold)
{
    camera.write("/tmp/count", "x");
    EXPECT_EQ(rova_file_read_ulong("/tmp/count"), 0u);
    EXPECT_TRUE(camera.logged("> \033[31mstrtoul failed \033[m"));
    EXPECT_FALSE(camera.logged("simple_"));
}

TEST(Str2Int, HexadecimalStopsAtTheFirstOtherCharacter)
{
    EXPECT_EQ(rova_str2int("0x1G"), 1);
    EXPECT_EQ(rova_str2int("0X"), 0);
    EXPECT_EQ(rova_str2int("0x"), 0);
    EXPECT_EQ(rova_str2int("0xaBcD"), 0xabcd);
    EXPECT_EQ(rova_str2int("0xffffffff"), -1);
    EXPECT_EQ(rova_str2int("0x-1"), 0);
}

TEST(Str2Int, AnythingElseIsDecimal)
{
    EXPECT_EQ(rova_str2int("-5"), -5);
    EXPECT_EQ(rova_str2int("012"), 12);
    EXPECT_EQ(rova_str2int(" 8z"), 8);
    EXPECT_EQ(rova_str2int("word"), 0);
    EXPECT_EQ(rova_str2int(""), 0);
    EXPECT_EQ(rova_str2int(nullptr), 0);
}

TEST(StrTrim, WhiteSpaceAtBothEndsIsCut)
{
    EXPECT_EQ(trimmed(" \t a b \r\n"), "a b");
    EXPECT_EQ(trimmed("ab"), "ab");
    EXPECT_EQ(trimmed(""), "");
}

TEST(StrTrim, ABlankTextGivesItsTerminator)
{
    char text[] = " \t ";
    EXPECT_EQ(rova_str_trim(text), text + 3);
}

TEST(StrTrim, BytesAbove127AreNoWhiteSpace)
{
    EXPECT_EQ(trimmed("\xe9 "), "\xe9");
}

TEST(DumpStdout, LinesHaveNoBlankFromTheFlush)
{
    unsigned char data[17] = {1};
    EXPECT_EQ(captured_output([&] { rova_dump_stdout(data, 0x10, 17, 0); }),
              "[00000010]  01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 \n"
              "[00000020]  00 \n");
}

TEST(DumpStdout, TheAddressCanBeLeftOut)
{
    unsigned char data[17] = {1};
    EXPECT_EQ(captured_output([&] { rova_dump_stdout(data, 0x10, 17, 1); }),
              "01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 \n00 \n");
}

TEST(DumpStdout, NothingIsAnEmptyLine)
{
    EXPECT_EQ(captured_output([&] { rova_dump_stdout(nullptr, 0, 0, 0); }), "\n");
}

TEST(CmdTypeName, EverySourceHasAName)
{
    EXPECT_STREQ(rova_cmd_type_name(0), "unknown");
    EXPECT_STREQ(rova_cmd_type_name(1), "stop");
    EXPECT_STREQ(rova_cmd_type_name(2), "card");
    EXPECT_STREQ(rova_cmd_type_name(3), "script");
    EXPECT_STREQ(rova_cmd_type_name(4), "ptp");
    EXPECT_STREQ(rova_cmd_type_name(5), "ptp2");
    EXPECT_STREQ(rova_cmd_type_name(6), "unknown");
}

TEST_F(Util, ACommandIsShownInBothLogs)
{
    rova_log_set_enable(1);
    cmd_data record = make_record("key", {"push", "s1"});
    rova_show_cmd_data(&record, ROVA_CMD_CARD);
    EXPECT_EQ(camera.file_log(), "key push s1\n");
    EXPECT_TRUE(camera.logged("> cmd: key (card) "));
    EXPECT_TRUE(camera.logged(">> p0: push "));
    EXPECT_TRUE(camera.logged(">> p1: s1 "));
}

TEST_F(Util, APredefinedCommandIsShownWithItsNumbersAndFile)
{
    rova_log_set_enable(1);
    cmd_data record = make_record("key", {"push"});
    record.e[0] = 1;
    record.e[3] = -4;
    rova_show_cmd_data(&record, ROVA_CMD_PTP2);
    EXPECT_EQ(camera.file_log(), "key push | 1 0 0 -4\n");
    EXPECT_TRUE(camera.logged(">> e3: -4 "));
    EXPECT_FALSE(camera.logged(">> data"));
    std::strcpy(record.data_path, "/tmp/d");
    rova_show_cmd_data(&record, ROVA_CMD_PTP2);
    EXPECT_THAT(camera.file_log(), EndsWith("\nkey push | 1 0 0 -4 | /tmp/d\n"));
    EXPECT_TRUE(camera.logged(">> data: /tmp/d "));
}

TEST_F(Util, ARecordWithoutTerminatorsIsShownWithinItsFields)
{
    rova_log_set_enable(1);
    cmd_data record;
    std::memset(&record, 'A', sizeof(record));
    std::string word(32, 'A');
    std::string line = word;
    for (int i = 0; i < 10; i++)
        line += " " + word;
    rova_show_cmd_data(&record, ROVA_CMD_CARD);
    EXPECT_EQ(camera.file_log(), line + "\n");
    rova_show_cmd_data(&record, ROVA_CMD_PTP2);
    line += " | 1094795585 1094795585 1094795585 1094795585 | " + std::string(128, 'A');
    EXPECT_THAT(camera.file_log(), EndsWith("\n" + line + "\n"));
}

TEST_F(Util, TheStopTestFollowsTheKey)
{
    EXPECT_EQ(rova_check_stop(), 0); // no such key
    vconf_set_int("memory/rova/stop_cmd", 2);
    EXPECT_EQ(rova_check_stop(), 1);
    vconf_set_int("memory/rova/stop_cmd", 0);
    EXPECT_EQ(rova_check_stop(), 0);
    vconf_set_int("memory/rova/stop_cmd", -1);
    EXPECT_EQ(rova_check_stop(), 0);
    vconf_set_int("memory/rova/stop_cmd", 1);
    camera.fault("vconf_get_int", "-1");
    EXPECT_EQ(rova_check_stop(), 0);
}

TEST_F(Util, AltModeFollowsTheExactPath)
{
    for (const char *path : {"/sdcard/alt.adj", "/sdcard/alt_stress.adj", "/sdcard/stress.adj",
                             "/tmp/alt.adj", "/tmp/alt_stress.adj", "/tmp/stress.adj"}) {
        EXPECT_EQ(rova_set_alt_mode(path), 1) << path;
        EXPECT_EQ(rova_get_alt_mode(), 1);
    }
    for (const char *path :
         {"/mnt/mmc/alt.adj", "alt.adj", "/sdcard/ALT.adj", "/sdcard/alt.adj ", ""}) {
        rova_set_alt_mode("/sdcard/alt.adj");
        EXPECT_EQ(rova_set_alt_mode(path), 0) << path;
        EXPECT_EQ(rova_get_alt_mode(), 0);
    }
    EXPECT_EQ(rova_set_alt_mode(nullptr), 0);
}

TEST_F(Util, TheServiceScriptsNumberIsReadFromItsFile)
{
    EXPECT_EQ(rova_get_cs_mode_type(), 0u);
    camera.write("/opt/share/rova/cs_mode.type", "0x0a\n");
    EXPECT_EQ(rova_get_cs_mode_type(), 10u);
}

TEST(AdjScriptPath, EachNumberHasItsScript)
{
    const char *stems[] = {"cis_dot_data", "simple_shutter", "iso",  "awb",          "efs",
                           "vfpn_defect",  "color_shading",  "gyro", "country_code", "sn_mac",
                           "paf"};
    for (unsigned long i = 0; i < 11; i++) {
        char path[64];
        EXPECT_EQ(rova_get_adj_script_path(i, path), 1);
        EXPECT_EQ(path, "/sdcard/adjustment/qz700/" + std::to_string(i) + "." + stems[i] + ".adj");
    }
}

TEST(AdjScriptPath, ANumberAboveTenLeavesTheBufferAlone)
{
    char path[64] = "before";
    EXPECT_EQ(rova_get_adj_script_path(11, path), 0);
    EXPECT_EQ(rova_get_adj_script_path(~0ul, path), 0);
    EXPECT_STREQ(path, "before");
}

TEST(AdjScriptPath, All64BytesAreCopied)
{
    char path[64];
    std::memset(path, '#', sizeof(path));
    rova_get_adj_script_path(8, path);
    EXPECT_STREQ(path, "/sdcard/adjustment/qz700/8.country_code.adj");
    EXPECT_EQ(path[63], '\0');
}

TEST_F(Util, TheWatchdogTakesBothValues)
{
    camera.write("/sys/devices/platform/movra7_wdt/boot_shutdown", "9");
    camera.write("/sys/devices/platform/movra7_wdt/timer", "9");
    EXPECT_EQ(rova_wdt_set(60, 0), 1);
    EXPECT_EQ(camera.read("/sys/devices/platform/movra7_wdt/boot_shutdown"), "0");
    EXPECT_EQ(camera.read("/sys/devices/platform/movra7_wdt/timer"), "60");
}

TEST_F(Util, SwitchingTheWatchdogOffWritesOnlyTheTimer)
{
    camera.write("/sys/devices/platform/movra7_wdt/boot_shutdown", "9");
    camera.write("/sys/devices/platform/movra7_wdt/timer", "60");
    EXPECT_EQ(rova_wdt_set(0, 0), 1);
    EXPECT_EQ(camera.read("/sys/devices/platform/movra7_wdt/boot_shutdown"), "9");
    EXPECT_EQ(camera.read("/sys/devices/platform/movra7_wdt/timer"), "0");
}

TEST_F(Util, OnlyTheTimerDecidesAboutTheWatchdogsResult)
{
    camera.write("/sys/devices/platform/movra7_wdt/timer", "");
    EXPECT_EQ(rova_wdt_set(60, 1), 1);
    camera.remove("/sys/devices/platform/movra7_wdt/timer");
    camera.write("/sys/devices/platform/movra7_wdt/boot_shutdown", "");
    EXPECT_EQ(rova_wdt_set(60, 1), 0);
}

TEST_F(Util, TheWatchdogsTimerIsWrittenLast)
{
    camera.write("/sys/devices/platform/movra7_wdt/boot_shutdown", "9");
    camera.write("/sys/devices/platform/movra7_wdt/timer", "9");
    camera.fault("sys_write", "-1 at 1 errno EIO");
    EXPECT_EQ(rova_wdt_set(60, 1), 1);
    EXPECT_EQ(camera.read("/sys/devices/platform/movra7_wdt/timer"), "60");
}

TEST_F(Util, IoctlOpensAsksAndCloses)
{
    const unsigned long request = _IOW('r', 1, int);
    int value = 17;
    EXPECT_EQ(rova_ioctl("/dev/lsm", request, &value), -1); // no such node
    camera.write("/dev/lsm", "");
    EXPECT_EQ(rova_ioctl("/dev/lsm", request, &value), 0);
    ASSERT_EQ(camera.calls("sys_ioctl").size(), 1u);
    EXPECT_EQ(camera.calls("sys_ioctl")[0]["args"][0], "/dev/lsm");
    EXPECT_EQ(rova_ioctl("/dev/lsm", _IO('r', 2), nullptr), 0);
    camera.fault("sys_ioctl", "-5 errno EIO");
    EXPECT_EQ(rova_ioctl("/dev/lsm", request, &value), -1);
}

TEST_F(Util, ARegionIsMappedFromThePageBelowIt)
{
    camera.write("/tmp/memory", std::string(3 * 4096, 'm'));
    int fd = open(camera.path("/tmp/memory").c_str(), O_RDWR);
    ASSERT_GE(fd, 0);
    void *mapped = nullptr;
    void *base = nullptr;
    ASSERT_EQ(rova_mmap_region(fd, 4096 + 100, 4096, &mapped, &base), 0);
    EXPECT_EQ(static_cast<char *>(mapped), static_cast<char *>(base) + 100);
    std::memset(mapped, 'w', 4096); // reaches into the second page
    munmap(base, 4096 + 100);
    close(fd);
    EXPECT_EQ(camera.read("/tmp/memory"),
              std::string(4196, 'm') + std::string(4096, 'w') + std::string(4096 - 100, 'm'));
}

TEST_F(Util, ARegionThatReachesBehindTheEndOfTheFileIsRefused)
{
    camera.write("/tmp/memory", std::string(4096 + 100, 'm'));
    int fd = open(camera.path("/tmp/memory").c_str(), O_RDWR);
    ASSERT_GE(fd, 0);
    void *mapped = nullptr;
    void *base = nullptr;
    EXPECT_EQ(rova_mmap_region(fd, 4096, 101, &mapped, &base), -1);
    EXPECT_EQ(errno, ENXIO);
    EXPECT_EQ(mapped, nullptr);
    ASSERT_EQ(rova_mmap_region(fd, 4096, 100, &mapped, &base), 0);
    EXPECT_EQ(static_cast<char *>(mapped)[99], 'm');
    munmap(base, 100);
    close(fd);
}

TEST_F(Util, ARegionThatCannotBeMappedIsTold)
{
    void *mapped = &camera;
    void *base = nullptr;
    EXPECT_EQ(rova_mmap_region(-1, 0, 4096, &mapped, &base), -1);
    EXPECT_EQ(mapped, &camera);
}
