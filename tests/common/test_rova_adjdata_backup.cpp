// Backup and restore with the real zip and unzip.
#include "common/rova_adjdata_backup.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_cmd_data.h"
#include "common/rova_log.h"
#include "platform/pref.h"
#include "platform/sys.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace
{

const std::string NAMES[] = {"adj_sys", "adj_cap", "adj_iq", "adj_vfpn", "adj_cs", "adj_dpc"};
constexpr int FIRST = 4, LAST = 9;

// All outcomes of a backup or restore of all, each in one text.
std::string outcomes(const std::string &folder, const std::string &word)
{
    std::string text;
    for (const std::string &name : NAMES)
        text += ", " + folder + "/" + name + ".bin " + word + ", OK \n";
    return text;
}

class WorkingDirectory
{
public:
    explicit WorkingDirectory(const fs::path &now) : before_(fs::current_path())
    {
        fs::current_path(now);
    }
    ~WorkingDirectory() { fs::current_path(before_); }
    WorkingDirectory(const WorkingDirectory &) = delete;
    WorkingDirectory &operator=(const WorkingDirectory &) = delete;

private:
    fs::path before_;
};

// No file of this process and its programs grows beyond `bytes`, as on a disk that is nearly full.
class FullDisk
{
public:
    explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit now = {bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &now);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

private:
    void (*handler_)(int);
    rlimit before_ = {};
};

struct Backup : testing::Test {
    Backup() { rova_log_set_enable(1); }
    ~Backup() override { rova_log_set_enable(0); }

    static char *data(int pref_id)
    {
        return static_cast<char *>(pref_get_addr(pref_id, nullptr)) + PREF_HEADER_SIZE;
    }
    // The first byte and the last of each partition.
    static void mark_all(char mark)
    {
        for (int pref_id = FIRST; pref_id <= LAST; pref_id++) {
            uint32_t size = 0;
            pref_get_addr(pref_id, &size);
            data(pref_id)[0] = data(pref_id)[size - 1] = mark;
        }
    }
    // One letter a partition; '!' where the two ends differ.
    static std::string marks()
    {
        std::string text;
        for (int pref_id = FIRST; pref_id <= LAST; pref_id++) {
            uint32_t size = 0;
            pref_get_addr(pref_id, &size);
            const char first = data(pref_id)[0];
            text += first == data(pref_id)[size - 1] ? first : '!';
        }
        return text;
    }
    // The names of an archive's members, sorted.
    std::vector<std::string> members(const std::string &archive)
    {
        sys_system(("unzip -Z1 " + archive + " > /tmp/members").c_str());
        std::vector<std::string> names;
        std::string text = camera.read("/tmp/members"), name;
        for (char letter : text) {
            if (letter != '\n')
                name += letter;
            else
                names.push_back(std::exchange(name, ""));
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    // A good archive on the card with `mark` in it, and no files besides.
    void archive(char mark)
    {
        mark_all(mark);
        ASSERT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1);
        camera.remove("/tmp/backup");
        camera.remove("/opt/share/rova/rova.log");
    }
    // An archive that is whole but for the first byte of one partition's data.
    void archive_damaged_inside(const std::string &name, char mark)
    {
        archive(mark);
        ASSERT_EQ(sys_system("cd /; unzip -q /sdcard/pref.zip; zip -q -0 -r /sdcard/a.zip "
                             "/tmp/backup; mv /sdcard/a.zip /sdcard/pref.zip"),
                  0);
        camera.remove("/tmp/backup");
        std::string contents = camera.read("/sdcard/pref.zip");
        const size_t member = contents.find("tmp/backup/" + name + ".bin");
        contents.at(contents.find("ROVAPREF", member) + PREF_HEADER_SIZE)++;
        camera.write("/sdcard/pref.zip", contents);
    }
    // The process stands where the camera's boot puts the daemon.
    int restore_on_card() const
    {
        const WorkingDirectory card(camera.path("/sdcard"));
        return rova_restore_adjdata_part_all();
    }
    // Whole and yellow, in the platform log and on standard output.
    void check_announced(const std::string &text, const std::string &out) const
    {
        const std::string line = "\033[33m" + text + "\033[m\n";
        EXPECT_THAT(camera.platform_log(), HasSubstr(") > " + line));
        EXPECT_THAT(out, HasSubstr("[SYS_ROVA  ] " + line));
    }
    std::string bin(int pref_id) const { return "/sdcard/" + NAMES[pref_id - FIRST] + ".bin"; }
    // The contents of a restored file are refused, and the image is as it was.
    void refuses(const std::string &contents)
    {
        camera.write("/sdcard/adj_cap.bin", contents);
        data(5)[0] = 'K';
        EXPECT_EQ(rova_restore_adjdata_part("adj_cap"), 0);
        EXPECT_EQ(data(5)[0], 'K');
        EXPECT_THAT(camera.file_log(),
                    EndsWith(" : restore_adjdata: adj_cap, pref_load_from_file(5, "
                             "/sdcard/adj_cap.bin) failed, NG \n"));
    }

    test::Camera camera;
};

using BackupPart = Backup;
using RestorePart = Backup;
struct BackupAll : Backup {
    void SetUp() override
    {
        if (access("/usr/bin/zip", X_OK) != 0 || access("/usr/bin/unzip", X_OK) != 0)
            GTEST_SKIP() << "zip is not installed";
    }
};
using RestoreAll = BackupAll;

} // namespace

TEST_F(BackupPart, EachPartitionGoesToItsFileOnTheCard)
{
    mark_all('A');
    for (int pref_id = FIRST; pref_id <= LAST; pref_id++) {
        const std::string &name = NAMES[pref_id - FIRST];
        EXPECT_EQ(rova_backup_adjdata_part(name.c_str()), 1);
        uint32_t size = 0;
        pref_get_addr(pref_id, &size);
        EXPECT_EQ(camera.read(bin(pref_id)).size(), size + 512);
        EXPECT_THAT(camera.file_log(),
                    EndsWith(" : backup_adjdata: " + name + ", " + bin(pref_id) + " saved, OK \n"));
    }
    EXPECT_EQ(camera.call_texts().front(), "pref_save_to_file(4, \"/sdcard/adj_sys.bin\")");
    EXPECT_EQ(camera.calls().size(), 6u);
}

TEST_F(BackupPart, NamesAreComparedExactly)
{
    for (const char *name : {"ADJ_SYS", "adj_sy", "adj_sys2", "line", ""}) {
        EXPECT_EQ(rova_backup_adjdata_part(name), 0);
        EXPECT_THAT(camera.file_log(), EndsWith(std::string(" : backup_adjdata: ") + name +
                                                ", not found partition, NG \n"));
    }
    EXPECT_TRUE(fs::is_empty(camera.path("/sdcard")));
}

TEST_F(BackupPart, APartitionWithoutANameEndsTheSearch)
{
    camera.fault("pref_get_name", "0 on adj_iq");
    EXPECT_EQ(rova_backup_adjdata_part("adj_cap"), 1);
    EXPECT_EQ(rova_backup_adjdata_part("adj_cs"), 0);
    EXPECT_THAT(camera.file_log(),
                EndsWith(" : backup_adjdata: adj_cs, pid_get_name(6) failed, NG \n"));
    EXPECT_FALSE(camera.exists("/sdcard/adj_cs.bin"));
}

TEST_F(BackupPart, AFailedWriteIsTold)
{
    camera.fault("pref_save_to_file", "-1");
    EXPECT_EQ(rova_backup_adjdata_part("adj_cap"), 0);
    EXPECT_THAT(
        camera.file_log(),
        EndsWith(
            " : backup_adjdata: adj_cap, pref_save_to_file(5, /sdcard/adj_cap.bin) failed, NG \n"));
}

TEST_F(BackupPart, WithTheCardMissingItFailsAndMakesNoCard)
{
    camera.remove("/sdcard");
    EXPECT_EQ(rova_backup_adjdata_part("adj_cap"), 0);
    EXPECT_THAT(camera.file_log(),
                EndsWith(", pref_save_to_file(5, /sdcard/adj_cap.bin) failed, NG \n"));
    EXPECT_FALSE(camera.exists("/sdcard"));
}

TEST_F(BackupPart, OnAFullCardTheOldBackupStaysAndNoPieceOfTheNew)
{
    mark_all('A');
    ASSERT_EQ(rova_backup_adjdata_part("adj_dpc"), 1);
    mark_all('B');
    {
        const FullDisk full(1000000);
        EXPECT_EQ(rova_backup_adjdata_part("adj_dpc"), 0);
    }
    EXPECT_THAT(camera.file_log(),
                EndsWith(", pref_save_to_file(9, /sdcard/adj_dpc.bin) failed, NG \n"));
    const std::string kept = camera.read("/sdcard/adj_dpc.bin");
    ASSERT_EQ(kept.size(), 512u + 4998916);
    EXPECT_EQ(kept[512], 'A');
    const fs::directory_iterator card(camera.path("/sdcard"));
    EXPECT_EQ(std::distance(fs::begin(card), fs::end(card)), 1);
}

TEST_F(RestorePart, TheImageIsFilledAndTheFlashStays)
{
    mark_all('A');
    ASSERT_EQ(pref_save(5), 0);
    mark_all('B');
    ASSERT_EQ(rova_backup_adjdata_part("adj_cap"), 1);
    mark_all('C');
    const std::string flash = camera.read("/virtual/pref/adj_cap.flash");
    EXPECT_EQ(rova_restore_adjdata_part("adj_cap"), 1);
    EXPECT_EQ(marks(), "CBCCCC");
    EXPECT_THAT(camera.file_log(),
                EndsWith(" : restore_adjdata: adj_cap, /sdcard/adj_cap.bin restored, OK \n"));
    EXPECT_EQ(camera.read("/virtual/pref/adj_cap.flash"), flash);
    EXPECT_EQ(camera.calls("pref_save").size(), 1u) << "only the test's own";
}

TEST_F(RestorePart, NamesAreComparedExactly)
{
    camera.write("/sdcard/ADJ_SYS.bin", "");
    EXPECT_EQ(rova_restore_adjdata_part("ADJ_SYS"), 0);
    EXPECT_THAT(camera.file_log(),
                EndsWith(" : restore_adjdata: ADJ_SYS, not found partition, NG \n"));
    EXPECT_EQ(camera.calls().size(), 0u);
}

TEST_F(RestorePart, APartitionWithoutANameEndsTheSearch)
{
    camera.fault("pref_get_name", "0 at 1");
    EXPECT_EQ(rova_restore_adjdata_part("adj_cap"), 0);
    EXPECT_THAT(camera.file_log(),
                EndsWith(" : restore_adjdata: adj_cap, pid_get_name(4) failed, NG \n"));
}

TEST_F(RestorePart, AMissingFileIsTold)
{
    EXPECT_EQ(rova_restore_adjdata_part("adj_cap"), 0);
    EXPECT_THAT(camera.file_log(),
                EndsWith(" : restore_adjdata: adj_cap, /sdcard/adj_cap.bin not exist, NG \n"));
    EXPECT_EQ(camera.calls().size(), 0u);
}

TEST_F(RestorePart, AnUnreadableFileCountsAsMissing)
{
    ASSERT_EQ(rova_backup_adjdata_part("adj_cap"), 1);
    camera.fault("sys_access", "-1 errno EACCES on adj_cap.bin");
    EXPECT_EQ(rova_restore_adjdata_part("adj_cap"), 0);
    EXPECT_THAT(camera.file_log(), EndsWith(", /sdcard/adj_cap.bin not exist, NG \n"));
}

TEST_F(RestorePart, AFileThatIsNotThePartitionsIsRefusedAndTheImageStays)
{
    ASSERT_EQ(rova_backup_adjdata_part("adj_cap"), 1);
    ASSERT_EQ(rova_backup_adjdata_part("adj_iq"), 1);
    const std::string good = camera.read("/sdcard/adj_cap.bin");
    std::string wrong_header = good;
    wrong_header[0] ^= 1;
    refuses("");
    refuses(good.substr(0, 512));
    refuses(good.substr(0, good.size() - 1));
    refuses(good + '\0');
    refuses(good.substr(512));
    refuses(wrong_header);
    refuses(camera.read("/sdcard/adj_iq.bin"));
}

TEST_F(BackupAll, StepsComeInTheirOrder)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1);
    std::fflush(stdout);
    check_announced("backup_adjdata all", testing::internal::GetCapturedStdout());
    EXPECT_EQ(camera.file_log(), outcomes("/tmp/backup", "saved")) << "no line is begun";
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("sys_system(\"mkdir -p /tmp/backup --mode=0755\")",
                            "pref_save_to_file(4, \"/tmp/backup/adj_sys.bin\")",
                            "pref_save_to_file(5, \"/tmp/backup/adj_cap.bin\")",
                            "pref_save_to_file(6, \"/tmp/backup/adj_iq.bin\")",
                            "pref_save_to_file(7, \"/tmp/backup/adj_vfpn.bin\")",
                            "pref_save_to_file(8, \"/tmp/backup/adj_cs.bin\")",
                            "pref_save_to_file(9, \"/tmp/backup/adj_dpc.bin\")",
                            "sys_system(\"zip -r /sdcard/pref.zip /tmp/backup\")"));
    EXPECT_EQ(fs::status(camera.path("/tmp/backup")).permissions(), fs::perms(0755));
    EXPECT_TRUE(camera.exists("/tmp/backup/adj_dpc.bin")) << "stays";
}

TEST_F(BackupAll, TheArchiveHoldsTheNamesThatTheRestoreLooksFor)
{
    ASSERT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1);
    EXPECT_THAT(members("/sdcard/pref.zip"),
                ElementsAre("tmp/backup/", "tmp/backup/adj_cap.bin", "tmp/backup/adj_cs.bin",
                            "tmp/backup/adj_dpc.bin", "tmp/backup/adj_iq.bin",
                            "tmp/backup/adj_sys.bin", "tmp/backup/adj_vfpn.bin"));
}

TEST_F(BackupAll, OnlyForThePcTheArchiveStaysOffTheCard)
{
    for (const uint32_t type : {ROVA_CMD_PTP, ROVA_CMD_PTP2}) {
        EXPECT_EQ(rova_backup_adjdata_part_all(type), 1);
        EXPECT_EQ(camera.call_texts().back(), "sys_system(\"zip -r /tmp/pref.zip /tmp/backup\")");
        EXPECT_TRUE(camera.exists("/tmp/pref.zip"));
        EXPECT_FALSE(camera.exists("/sdcard/pref.zip"));
    }
    camera.fault("sys_system", "0"); // the archive is of no interest here
    camera.write("/tmp/backup/there", "");
    for (const uint32_t type : {0u, 1u, 2u, 3u, 6u}) {
        EXPECT_EQ(rova_backup_adjdata_part_all(type), 1);
        EXPECT_EQ(camera.call_texts().back(),
                  "sys_system(\"zip -r /sdcard/pref.zip /tmp/backup\")");
    }
}

TEST_F(BackupAll, ASecondBackupReplacesTheFirstInTheArchive)
{
    archive('A');
    camera.write("/tmp/backup/adj_cap.bin", "stale");
    mark_all('B');
    ASSERT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1);
    EXPECT_EQ(members("/sdcard/pref.zip").size(), 7u);
    mark_all('C');
    EXPECT_EQ(restore_on_card(), 1);
    EXPECT_EQ(marks(), "BBBBBB");
}

TEST_F(BackupAll, APartitionWithoutANameEndsIt)
{
    camera.fault("pref_get_name", "0 on adj_iq");
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 0);
    EXPECT_EQ(camera.file_log(), ", /tmp/backup/adj_sys.bin saved, OK \n"
                                 ", /tmp/backup/adj_cap.bin saved, OK \n"
                                 ", pid_get_name(6) failed, NG \n");
    EXPECT_FALSE(camera.exists("/sdcard/pref.zip"));
}

TEST_F(BackupAll, AFailedWriteEndsIt)
{
    camera.fault("pref_save_to_file", "-1 at 2");
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 0);
    EXPECT_EQ(camera.file_log(), ", /tmp/backup/adj_sys.bin saved, OK \n"
                                 ", pref_save_to_file(5, /tmp/backup/adj_cap.bin) failed, NG \n");
    EXPECT_FALSE(camera.exists("/sdcard/pref.zip"));
}

TEST_F(BackupAll, WithoutItsFolderItFails)
{
    camera.write("/tmp/backup", "a file in the way");
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 0);
    EXPECT_EQ(camera.file_log(), ", pref_save_to_file(4, /tmp/backup/adj_sys.bin) failed, NG \n");
    EXPECT_EQ(camera.read("/tmp/backup"), "a file in the way");
    camera.remove("/tmp/backup");
    camera.fault("sys_system", "256 on mkdir");
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 0);
    EXPECT_FALSE(camera.exists("/tmp/backup"));
}

TEST_F(BackupAll, OnAFullDiskNoHalfFileAndNoArchiveIsLeft)
{
    mark_all('A');
    {
        const FullDisk full(1000000);
        EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 0);
    }
    EXPECT_THAT(camera.file_log(),
                EndsWith(", pref_save_to_file(9, /tmp/backup/adj_dpc.bin) failed, NG \n"));
    const fs::directory_iterator staging(camera.path("/tmp/backup"));
    EXPECT_EQ(std::distance(fs::begin(staging), fs::end(staging)), 5);
    EXPECT_FALSE(camera.exists("/sdcard/pref.zip"));
}

TEST_F(BackupAll, WhenTheArchiveDoesNotFitTheOldOneStaysWhole)
{
    archive('A');
    ASSERT_EQ(sys_system("mkdir /tmp/backup"), 0);
    // The card takes 512 bytes more.
    camera.write("/usr/bin/zip", "#!/bin/sh\nulimit -f 1\ntrap '' XFSZ\ncd \"$ROVA_SYSROOT\"\n"
                                 "exec /usr/bin/zip -r sdcard/pref.zip tmp/backup\n");
    fs::permissions(camera.path("/usr/bin/zip"), fs::perms::owner_all);
    mark_all('B');
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1) << "zip is not asked how it went";
    EXPECT_NE(camera.calls("sys_system").back()["result"], 0);
    const fs::directory_iterator card(camera.path("/sdcard"));
    EXPECT_EQ(std::distance(fs::begin(card), fs::end(card)), 1) << "no piece of the new one";
    EXPECT_EQ(restore_on_card(), 1);
    EXPECT_EQ(marks(), "AAAAAA");
}

// Whether zip can read what lies there or not, what the camera holds is not touched.
TEST_F(BackupAll, AnArchiveThatZipCannotReadStaysAndTheResultIsGood)
{
    archive('A');
    const std::string good = camera.read("/sdcard/pref.zip");
    mark_all('B');
    for (const std::string &damaged :
         {std::string(), std::string("no archive"), good.substr(0, good.size() / 2),
          good.substr(good.size() / 2)}) {
        camera.write("/sdcard/pref.zip", damaged);
        EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1) << "zip is not asked how it went";
        EXPECT_EQ(camera.calls("sys_system").back()["result"], 3 << 8);
        EXPECT_TRUE(camera.read("/sdcard/pref.zip") == damaged);
        EXPECT_EQ(camera.read("/tmp/backup/adj_dpc.bin")[PREF_HEADER_SIZE], 'B');
        EXPECT_EQ(restore_on_card(), 0);
        EXPECT_EQ(marks(), "BBBBBB");
    }
    camera.remove("/sdcard/pref.zip");
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1);
    mark_all('C');
    EXPECT_EQ(restore_on_card(), 1);
    EXPECT_EQ(marks(), "BBBBBB");
}

TEST_F(BackupAll, AMemberThatIsDamagedInsideIsReplaced)
{
    archive_damaged_inside("adj_cap", 'A');
    mark_all('B');
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1);
    mark_all('C');
    EXPECT_EQ(restore_on_card(), 1);
    EXPECT_EQ(marks(), "BBBBBB");
}

TEST_F(BackupAll, WithoutACardOrZipThereIsNoArchiveAndTheResultIsGood)
{
    camera.remove("/sdcard");
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1);
    EXPECT_FALSE(camera.exists("/sdcard"));
    camera.write("/usr/bin/zip", "#!/bin/sh\nexit 127\n");
    fs::permissions(camera.path("/usr/bin/zip"), fs::perms::owner_all);
    EXPECT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_PTP), 1);
    EXPECT_EQ(camera.calls("sys_system").back()["result"], 127 << 8);
    EXPECT_FALSE(camera.exists("/tmp/pref.zip"));
    EXPECT_THAT(camera.file_log(), Not(HasSubstr("NG")));
}

TEST_F(RestoreAll, StepsComeInTheirOrder)
{
    archive('A');
    const size_t before = camera.calls().size();
    testing::internal::CaptureStdout();
    EXPECT_EQ(restore_on_card(), 1);
    std::fflush(stdout);
    check_announced("restore_adjdata all", testing::internal::GetCapturedStdout());
    EXPECT_EQ(camera.file_log(), outcomes("/sdcard/tmp/backup", "restored"));
    std::vector<std::string> expected = {"sys_system(\"unzip /sdcard/pref.zip\")"};
    for (int pref_id = FIRST; pref_id <= LAST; pref_id++) {
        const std::string number = std::to_string(pref_id);
        expected.push_back("pref_load_from_file(" + number + ", \"/sdcard/tmp/backup/" +
                           NAMES[pref_id - FIRST] + ".bin\")");
        expected.push_back("pref_save(" + number + ")");
    }
    expected.push_back("sys_system(\"sync\")");
    std::vector<std::string> calls = camera.call_texts();
    calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_EQ(calls, expected);
}

TEST_F(RestoreAll, BringsBackAllSixAndSavesThem)
{
    archive('A');
    mark_all('B');
    EXPECT_EQ(restore_on_card(), 1);
    EXPECT_EQ(marks(), "AAAAAA");
    mark_all('C');
    for (int pref_id = FIRST; pref_id <= LAST; pref_id++)
        EXPECT_EQ(pref_load(pref_id, 0), 0) << "from flash";
    EXPECT_EQ(marks(), "AAAAAA");
}

TEST_F(RestoreAll, AFailedSaveIsNotLookedAt)
{
    archive('A');
    mark_all('B');
    camera.fault("pref_save", "-1");
    EXPECT_EQ(restore_on_card(), 1);
    EXPECT_EQ(camera.file_log(), outcomes("/sdcard/tmp/backup", "restored"));
}

TEST_F(RestoreAll, ElsewhereThanOnTheCardItFails)
{
    archive('A');
    mark_all('B');
    for (const char *folder : {"/", "/tmp"}) {
        const WorkingDirectory elsewhere(camera.path(folder));
        EXPECT_EQ(rova_restore_adjdata_part_all(), 0);
        EXPECT_THAT(camera.file_log(),
                    EndsWith(", /sdcard/tmp/backup/adj_sys.bin not exist, NG \n"));
    }
    EXPECT_TRUE(camera.exists("/tmp/tmp/backup/adj_sys.bin")) << "that is where unzip was";
    EXPECT_EQ(marks(), "BBBBBB");
}

TEST_F(RestoreAll, ElsewhereItDoesNotTakeTheFilesOfAnEarlierOneForItsOwn)
{
    archive('A');
    ASSERT_EQ(restore_on_card(), 1);
    mark_all('B');
    const WorkingDirectory elsewhere(camera.path("/tmp"));
    EXPECT_EQ(rova_restore_adjdata_part_all(), 0);
    EXPECT_EQ(marks(), "BBBBBB");
}

TEST_F(RestoreAll, WithTheCardMissingItFailsAtOnceAndChangesNothing)
{
    archive('A');
    mark_all('B');
    camera.remove("/sdcard");
    const size_t before = camera.calls().size();
    EXPECT_EQ(rova_restore_adjdata_part_all(), 0);
    EXPECT_EQ(camera.file_log(), ", /sdcard/pref.zip not exist, NG \n");
    EXPECT_FALSE(camera.logged("restore_adjdata all"));
    EXPECT_EQ(camera.calls().size(), before);
    EXPECT_EQ(marks(), "BBBBBB");
    EXPECT_FALSE(camera.exists("/sdcard"));
}

TEST_F(RestoreAll, WithoutAnArchiveTheFilesOfAnEarlierOneStay)
{
    archive('A');
    ASSERT_EQ(restore_on_card(), 1);
    camera.remove("/sdcard/pref.zip");
    EXPECT_EQ(restore_on_card(), 0);
    EXPECT_THAT(camera.file_log(), EndsWith(", /sdcard/pref.zip not exist, NG \n"));
    EXPECT_TRUE(camera.exists("/sdcard/tmp/backup/adj_sys.bin"));
}

TEST_F(RestoreAll, ASecondOneBringsTheNewContents)
{
    archive('A');
    ASSERT_EQ(restore_on_card(), 1);
    archive('B');
    mark_all('C');
    EXPECT_EQ(restore_on_card(), 1);
    EXPECT_EQ(marks(), "BBBBBB");
}

// Each one finds the files that the one before unpacked, also that which its archive lacks.
TEST_F(RestoreAll, AMemberThatIsMissingIsNotTakenFromAnEarlierOne)
{
    archive('A');
    ASSERT_EQ(restore_on_card(), 1);
    const std::string whole = camera.read("/sdcard/pref.zip");
    std::string expected = "BBBBBB";
    for (const std::string &name : NAMES) {
        const std::string file = "tmp/backup/" + name + ".bin";
        camera.write("/sdcard/pref.zip", whole);
        ASSERT_EQ(sys_system(("zip -q -d /sdcard/pref.zip " + file).c_str()), 0);
        ASSERT_TRUE(camera.exists("/sdcard/" + file));
        mark_all('B');
        EXPECT_EQ(restore_on_card(), 0);
        EXPECT_THAT(camera.file_log(), EndsWith(", /sdcard/" + file + " not exist, NG \n"));
        EXPECT_EQ(marks(), expected);
        *std::find(expected.begin(), expected.end(), 'B') = 'A';
    }
}

TEST_F(RestoreAll, LeftoversThatCannotBeRemovedEndItBeforeAnythingIsChanged)
{
    archive('A');
    ASSERT_EQ(restore_on_card(), 1);
    archive('B');
    mark_all('C');
    camera.fault("sys_unlink", "-1 errno EROFS on adj_iq.bin");
    EXPECT_EQ(restore_on_card(), 0);
    EXPECT_TRUE(
        camera.logged("> \033[31m/sdcard/tmp/backup/adj_iq.bin cannot be removed: Read-only file"));
    EXPECT_EQ(camera.file_log(), ", /sdcard/tmp/backup/adj_iq.bin not removed, NG \n");
    EXPECT_EQ(marks(), "CCCCCC");
}

TEST_F(RestoreAll, PartitionsRestoredBeforeAFailureStayRestoredAndSaved)
{
    archive('A');
    mark_all('B');
    camera.fault("pref_load_from_file", "-1 on adj_iq.bin");
    EXPECT_EQ(restore_on_card(), 0);
    EXPECT_EQ(camera.file_log(),
              ", /sdcard/tmp/backup/adj_sys.bin restored, OK \n"
              ", /sdcard/tmp/backup/adj_cap.bin restored, OK \n"
              ", pref_load_from_file(6, /sdcard/tmp/backup/adj_iq.bin) failed, NG \n");
    EXPECT_EQ(marks(), "AABBBB");
    EXPECT_EQ(camera.calls("pref_save").size(), 2u);
    EXPECT_EQ(camera.calls("sys_system").back()["args"][0], "unzip /sdcard/pref.zip") << "no sync";
}

TEST_F(RestoreAll, APartitionWithoutANameEndsIt)
{
    archive('A');
    mark_all('B');
    camera.fault("pref_get_name", "0 at 2");
    EXPECT_EQ(restore_on_card(), 0);
    EXPECT_EQ(camera.file_log(), ", /sdcard/tmp/backup/adj_sys.bin restored, OK \n"
                                 ", pid_get_name(5) failed, NG \n");
    EXPECT_EQ(marks(), "ABBBBB");
}

// Each replaces one member of a good archive by a file that looks nearly right.
TEST_F(RestoreAll, AMemberThatIsNotThePartitionsIsRefused)
{
    archive('A');
    mark_all('A');
    ASSERT_EQ(rova_backup_adjdata_part("adj_iq"), 1);
    ASSERT_EQ(rova_backup_adjdata_part("adj_cap"), 1);
    const std::string good = camera.read("/sdcard/adj_iq.bin");
    std::string wrong_header = good;
    wrong_header[16]++;
    for (const std::string &contents : {std::string(), good.substr(0, 600), good + "more",
                                        wrong_header, camera.read("/sdcard/adj_cap.bin")}) {
        camera.write("/tmp/backup/adj_iq.bin", contents);
        ASSERT_EQ(sys_system("zip -q /sdcard/pref.zip /tmp/backup/adj_iq.bin"), 0);
        mark_all('B');
        EXPECT_EQ(restore_on_card(), 0);
        EXPECT_THAT(
            camera.file_log(),
            EndsWith(", pref_load_from_file(6, /sdcard/tmp/backup/adj_iq.bin) failed, NG \n"));
        EXPECT_EQ(marks(), "AABBBB");
    }
}

TEST_F(RestoreAll, AnExtraMemberIsUnpackedAndOtherwiseIgnored)
{
    archive('A');
    camera.write("/tmp/backup/note.txt", "extra");
    ASSERT_EQ(sys_system("zip -q /sdcard/pref.zip /tmp/backup/note.txt"), 0);
    mark_all('B');
    EXPECT_EQ(restore_on_card(), 1);
    EXPECT_EQ(marks(), "AAAAAA");
    EXPECT_EQ(camera.read("/sdcard/tmp/backup/note.txt"), "extra");
    EXPECT_EQ(restore_on_card(), 1) << "though unzip would ask about the note";
}

TEST_F(RestoreAll, ADamagedArchiveChangesNothing)
{
    archive('A');
    const std::string good = camera.read("/sdcard/pref.zip");
    mark_all('B');
    for (const std::string &contents :
         {std::string(), std::string("no archive"), good.substr(0, good.size() / 2)}) {
        camera.write("/sdcard/pref.zip", contents);
        EXPECT_EQ(restore_on_card(), 0);
        EXPECT_THAT(camera.file_log(), EndsWith(", NG \n"));
        EXPECT_EQ(marks(), "BBBBBB");
    }
}

// Its header and its length are as they should be.
TEST_F(RestoreAll, AMemberThatIsDamagedInsideIsNotTakenForGoodAndNothingIsChanged)
{
    for (const char *name : {"adj_sys", "adj_cap", "adj_dpc"}) {
        archive_damaged_inside(name, 'A');
        mark_all('B');
        EXPECT_EQ(restore_on_card(), 0);
        EXPECT_EQ(camera.file_log(), ", /sdcard/tmp/backup/adj_sys.bin not exist, NG \n");
        EXPECT_TRUE(
            camera.logged("> \033[31munzip of /sdcard/pref.zip failed (status=0x200) \033[m"));
        EXPECT_EQ(marks(), "BBBBBB");
        EXPECT_EQ(camera.calls("pref_save").size(), 0u);
    }
}

TEST_F(RestoreAll, AWarningOfUnzipIsNoDamage)
{
    archive('A');
    camera.write("/sdcard/pref.zip", "in front" + camera.read("/sdcard/pref.zip"));
    mark_all('B');
    EXPECT_EQ(restore_on_card(), 1);
    EXPECT_EQ(camera.calls("sys_system")[2]["result"], 1 << 8);
    EXPECT_EQ(marks(), "AAAAAA");
}

TEST_F(RestoreAll, WithoutUnzipItFails)
{
    archive('A');
    ASSERT_EQ(restore_on_card(), 1);
    camera.write("/usr/bin/unzip", "#!/bin/sh\nexit 127\n");
    fs::permissions(camera.path("/usr/bin/unzip"), fs::perms::owner_all);
    mark_all('B');
    EXPECT_EQ(restore_on_card(), 0);
    EXPECT_THAT(camera.file_log(), EndsWith(", /sdcard/tmp/backup/adj_sys.bin not exist, NG \n"));
    EXPECT_EQ(marks(), "BBBBBB");
}

TEST_F(RestoreAll, MembersThatLeadOutOfTheCardStayOnIt)
{
    const fs::path outside = camera.root() / "outside", deeper = camera.path("/sdcard/a/b");
    fs::create_directories(deeper);
    camera.write("/outside", "mine");
    {
        const WorkingDirectory there(deeper); // zip keeps "../" as it is given
        ASSERT_EQ(test::run({"zip", "-q", "../../pref.zip", "../../../outside"}).status, 0);
    }
    EXPECT_THAT(members("/sdcard/pref.zip"), ElementsAre("../../../outside"));
    camera.write("/outside", "still mine");
    EXPECT_EQ(restore_on_card(), 0);
    EXPECT_EQ(camera.read("/outside"), "still mine");
    EXPECT_EQ(camera.read("/sdcard/outside"), "mine");
}
