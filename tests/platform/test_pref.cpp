#include "platform/pref.h"

#include "platform/virtual/pref.h"
#include "platform/virtual/values.h"
#include "tests/support/camera.h"
#include "tests/support/cut.h"
#include "tests/support/process.h"
#include "tests/support/wrap.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int adj_sys = 4;
using Texts = std::vector<std::string>;

char *data_of(int partition)
{
    auto image = static_cast<char *>(pref_get_addr(partition, nullptr));
    return image ? image + PREF_HEADER_SIZE : nullptr;
}

// All that lies in the folder of the partitions but the images.
Texts files_of(const test::Camera &camera)
{
    Texts names;
    for (const auto &entry : std::filesystem::directory_iterator(camera.path("/virtual/pref")))
        if (entry.path().extension() != ".image")
            names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(Pref, ThereAreTenPartitionsWithNamesAndSizes)
{
    test::Camera camera;
    constexpr uint32_t sizes[] = {0x10000, 0x10000, 0x10000, 0x10000, 1169,
                                  84,      152,     22470,   56392,   4998916};
    constexpr const char *names[] = {"adj_sys",  "adj_cap", "adj_iq",
                                     "adj_vfpn", "adj_cs",  "adj_dpc"};
    for (int partition = 0; partition < 10; partition++) {
        uint32_t size = 0;
        void *image = pref_get_addr(partition, &size);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(size, sizes[partition]);
        EXPECT_EQ(pref_get_addr(partition, nullptr), image);
        EXPECT_EQ(virt::partition_number(pref_get_name(partition)), partition);
        if (partition >= 4) {
            EXPECT_STREQ(pref_get_name(partition), names[partition - 4]);
        }
    }
    for (int partition : {-1, 10}) {
        EXPECT_EQ(pref_get_addr(partition, nullptr), nullptr);
        EXPECT_EQ(pref_get_name(partition), nullptr);
        EXPECT_LT(pref_save(partition), 0);
        EXPECT_LT(pref_load(partition, 1), 0);
        EXPECT_LT(pref_set_long(partition, 0, 1), 0);
        EXPECT_EQ(pref_get_long(partition, 0), 0);
    }
}

TEST(Pref, AllProcessesShareOneImage)
{
    test::Camera camera;
    EXPECT_EQ(pref_set_long(0, 0x9d98, 77), 0);
    EXPECT_EQ(test::run({PLATFORM_PROGRAM, "number", "0", std::to_string(0x9d98)}).out, "77\n");
}

TEST(Pref, NumbersStandAtTheirByteOffset)
{
    test::Camera camera;
    EXPECT_EQ(pref_set_long(adj_sys, 3, -2), 0);
    EXPECT_EQ(std::string(data_of(adj_sys), 8), std::string("\0\0\0\xfe\xff\xff\xff\0", 8));
    EXPECT_EQ(pref_get_long(adj_sys, 3), -2);
    EXPECT_EQ(pref_set_long(adj_sys, 1165, 5), 0);
    for (int key : {1166, -1, 0x7fffffff}) {
        EXPECT_LT(pref_set_long(adj_sys, key, 1), 0);
        EXPECT_EQ(pref_get_long(adj_sys, key), 0);
    }
}

TEST(Pref, WhatIsSavedComesBackAndWhatIsNotIsLost)
{
    test::Camera camera;
    pref_set_long(adj_sys, 0, 1);
    EXPECT_EQ(pref_save(adj_sys), 0);
    pref_set_long(adj_sys, 0, 2);
    EXPECT_EQ(pref_load(adj_sys, 0), 0);
    EXPECT_EQ(pref_get_long(adj_sys, 0), 1);
    virt::release_partitions();
    camera.remove("/virtual/pref/adj_sys.image"); // the camera was off
    EXPECT_EQ(pref_get_long(adj_sys, 0), 1);
}

TEST(Pref, WithoutFlashLoadingItFailsAndTheImageStays)
{
    test::Camera camera;
    pref_set_long(adj_sys, 0, 2);
    EXPECT_LT(pref_load(adj_sys, 0), 0);
    EXPECT_EQ(pref_get_long(adj_sys, 0), 2);
}

TEST(Pref, DefaultsReplaceTheImageAndAreZerosUntilSet)
{
    test::Camera camera;
    pref_set_long(adj_sys, 8, 2);
    EXPECT_EQ(pref_load(adj_sys, 1), 0);
    EXPECT_EQ(pref_get_long(adj_sys, 8), 0);
    EXPECT_EQ(pref_save_default_to_file(adj_sys, "abcd", 4), 0);
    pref_set_long(adj_sys, 8, 3);
    EXPECT_EQ(pref_load(adj_sys, 1), 0);
    EXPECT_EQ(pref_get_long(adj_sys, 0), 0x64636261);
    EXPECT_EQ(pref_get_long(adj_sys, 8), 0);
    EXPECT_LT(pref_save_default_to_file(adj_sys, std::string(1170, 'x').data(), 1170), 0);
    EXPECT_LT(pref_save_default_to_file(adj_sys, nullptr, 4), 0);
}

TEST(Pref, ANewCameraStartsWithTheDefaults)
{
    test::Camera camera;
    EXPECT_EQ(pref_save_default_to_file(adj_sys, "abcd", 4), 0);
    EXPECT_EQ(pref_get_long(adj_sys, 0), 0x64636261);
}

// Of a partition's files of each kind, and of no other partition's.
TEST(Pref, WhatKilledSavesLeftGoesWhenTheImageIsMade)
{
    test::Camera camera;
    for (const char *kind : {"flash", "default", "image"})
        for (const char *name : {"adj_sys", "adj_cap"})
            camera.write(std::string("/virtual/pref/") + name + "." + kind + ".a1B2c3", "half");
    ASSERT_EQ(pref_save_default_to_file(adj_sys, "abcd", 4), 0);
    EXPECT_EQ(pref_get_long(adj_sys, 0), 0x64636261);
    EXPECT_EQ(files_of(camera), (Texts{"adj_cap.default.a1B2c3", "adj_cap.flash.a1B2c3",
                                       "adj_cap.image.a1B2c3", "adj_sys.default"}));
}

TEST(Pref, AFileOfThePartitionFillsTheImage)
{
    test::Camera camera;
    pref_set_long(adj_sys, 0, 5);
    EXPECT_EQ(pref_save_to_file(adj_sys, "/sdcard/adj_sys.bin"), 0);
    EXPECT_EQ(camera.read("/sdcard/adj_sys.bin").size(), 512U + 1169U);
    pref_set_long(adj_sys, 0, 6);
    EXPECT_EQ(pref_load_from_file(adj_sys, "/sdcard/adj_sys.bin"), 0);
    EXPECT_EQ(pref_get_long(adj_sys, 0), 5);
    EXPECT_LT(pref_save_to_file(adj_sys, nullptr), 0);
}

TEST(Pref, AFileIsNotWrittenWhereThereIsNoFolder)
{
    test::Camera camera;
    camera.remove("/sdcard");
    EXPECT_LT(pref_save_to_file(adj_sys, "/sdcard/adj_sys.bin"), 0);
    EXPECT_FALSE(camera.exists("/sdcard")) << "no card comes from nowhere";
    camera.write("/tmp/file", "");
    EXPECT_LT(pref_save_to_file(adj_sys, "/tmp/file/adj_sys.bin"), 0);
}

TEST(Pref, AFileThatIsNotThisPartitionsWholeLeavesTheImageAlone)
{
    test::Camera camera;
    pref_set_long(adj_sys, 0, 5);
    pref_save_to_file(adj_sys, "/sdcard/good");
    pref_save_to_file(5, "/sdcard/other");
    const std::string good = camera.read("/sdcard/good");
    const auto changed = [&](std::size_t at) {
        std::string file = good;
        file[at]++;
        return file;
    };
    camera.write("/sdcard/magic", changed(0));
    camera.write("/sdcard/version", changed(8));
    camera.write("/sdcard/number", changed(12));
    camera.write("/sdcard/size", changed(16));
    camera.write("/sdcard/name", changed(20));
    camera.write("/sdcard/unused", changed(511));
    camera.write("/sdcard/short", good.substr(0, good.size() - 1));
    camera.write("/sdcard/long", good + "x");
    camera.write("/sdcard/header", good.substr(0, 512));
    camera.write("/sdcard/half", good.substr(0, 100));
    camera.write("/sdcard/empty", "");
    std::filesystem::create_directory(camera.path("/sdcard/folder"));
    ASSERT_EQ(mkfifo(camera.path("/sdcard/pipe").c_str(), 0644), 0);
    pref_set_long(adj_sys, 0, 6);
    const std::string image = std::string(data_of(adj_sys) - PREF_HEADER_SIZE, good.size());
    for (const char *name :
         {"other", "magic", "version", "number", "size", "name", "unused", "short", "long",
          "header", "half", "empty", "folder", "pipe", "missing"}) {
        const std::string path = std::string("/sdcard/") + name;
        EXPECT_LT(pref_load_from_file(adj_sys, path.c_str()), 0) << name;
        EXPECT_EQ(std::string(data_of(adj_sys) - PREF_HEADER_SIZE, good.size()), image) << name;
    }
    EXPECT_LT(pref_load_from_file(adj_sys, nullptr), 0);
    EXPECT_EQ(pref_load_from_file(adj_sys, "/sdcard/good"), 0);
}

TEST(Pref, AFileFarTooLongIsRefusedWithoutReadingIt)
{
    test::Camera camera;
    camera.write("/sdcard/long", "");
    std::filesystem::resize_file(camera.path("/sdcard/long"), std::uintmax_t{1} << 40);
    EXPECT_LT(pref_load_from_file(adj_sys, "/sdcard/long"), 0);
}

TEST(Pref, DamagedFlashIsNotLoadedAndANewImageIsTheDefaultOne)
{
    test::Camera camera;
    pref_set_long(adj_sys, 0, 5);
    EXPECT_EQ(pref_save(adj_sys), 0);
    std::string flash = camera.read("/virtual/pref/adj_sys.flash");
    camera.write("/virtual/pref/adj_sys.flash", flash.substr(0, 1000));
    pref_set_long(adj_sys, 0, 6);
    EXPECT_LT(pref_load(adj_sys, 0), 0);
    EXPECT_EQ(pref_get_long(adj_sys, 0), 6);
    EXPECT_EQ(pref_save_default_to_file(adj_sys, "abcd", 4), 0);
    virt::release_partitions();
    camera.remove("/virtual/pref/adj_sys.image");
    EXPECT_EQ(pref_get_long(adj_sys, 0), 0x64636261);
}

TEST(Pref, TwoProcessesKeepEachOthersChangesAndSaves)
{
    test::Camera camera;
    constexpr const char *rounds = "100";
    test::Process one({PLATFORM_PROGRAM, "keep", "8", "0", rounds});
    test::Process two({PLATFORM_PROGRAM, "keep", "8", "56388", rounds});
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(two.wait(), 0);
    EXPECT_EQ(pref_get_long(8, 0), 100);
    EXPECT_EQ(pref_get_long(8, 56388), 100);
    EXPECT_EQ(pref_load(8, 0), 0);
    EXPECT_EQ(pref_get_long(8, 0), 100);
    EXPECT_EQ(pref_get_long(8, 56388), 100);
}

// Rounds are told apart by the one byte that fills the whole of the data.
TEST(Pref, AKilledSaveLeavesTheOldFlashOrTheNew)
{
    test::Camera camera;
    std::string flash = "/virtual/pref/adj_cs.flash";
    for (int round = 0; round < 5; round++) {
        camera.remove(flash);
        test::Process saver({PLATFORM_PROGRAM, "save", "8"});
        ASSERT_TRUE(test::wait_for([&] { return camera.exists(flash); }));
        saver.signal(SIGKILL);
        saver.wait();
        std::string contents = camera.read(flash);
        ASSERT_EQ(contents.size(), 512U + 56392U);
        EXPECT_EQ(std::count(contents.begin() + 512, contents.end(), contents[512]), 56392);
        EXPECT_EQ(pref_load(8, 0), 0);
    }
}

void fill(int partition, char byte)
{
    uint32_t size = 0;
    auto image = static_cast<char *>(pref_get_addr(partition, &size));
    std::memset(image + PREF_HEADER_SIZE, byte, size);
}

std::string image_text(int partition)
{
    uint32_t size = 0;
    auto image = static_cast<const char *>(pref_get_addr(partition, &size));
    return image ? std::string(image, PREF_HEADER_SIZE + size) : "";
}

// Newer machines have only the calls with a folder.
#ifdef SYS_rename
constexpr uint64_t plain_rename = SYS_rename;
#else
constexpr uint64_t plain_rename = SYS_renameat;
#endif

pid_t traced_save(int partition)
{
    return test::start_traced([=] { return pref_save(partition) == 0; });
}

// A partition whose flash holds `before` while its image holds `after`.
struct PrefSave : testing::TestWithParam<int> {
    PrefSave()
    {
        fill(GetParam(), 'n');
        after = image_text(GetParam());
        prepare();
        before = flash();
    }
    ~PrefSave() override { test::wrap_clear(); }

    void prepare() const
    {
        fill(GetParam(), 'o');
        EXPECT_EQ(pref_save(GetParam()), 0);
        fill(GetParam(), 'n');
    }
    std::string flash() const { return virt::read_file(virt::partition_file(GetParam(), "flash")); }

    test::Camera camera;
    const std::string name = virt::partition(GetParam())->name;
    std::string before, after;
};

// Lets the process run to where it is about to rename a file; false when it ended before.
bool stop_ahead_of_rename(pid_t pid)
{
    int status = 0;
    while (waitpid(pid, &status, 0) == pid && WIFSTOPPED(status)) {
        ptrace(PTRACE_SETOPTIONS, pid, nullptr, PTRACE_O_TRACESYSGOOD); // or nothing is told
        __ptrace_syscall_info info = {};
        ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof(info), &info);
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY &&
            (info.entry.nr == SYS_renameat2 || info.entry.nr == SYS_renameat ||
             info.entry.nr == plain_rename))
            return true;
        ptrace(PTRACE_SYSCALL, pid, nullptr, nullptr);
    }
    return false;
}

// The second save waits for the first; if it did not it would be over long before the limit.
TEST(Pref, ASaveThatWasOvertakenDoesNotBringTheOldImageBack)
{
    test::Camera camera;
    EXPECT_EQ(pref_set_long(8, 0, 5), 0);
    const pid_t slow = traced_save(8);
    if (!stop_ahead_of_rename(slow))
        GTEST_SKIP() << "no process may be traced here";
    test::Process quick({PLATFORM_PROGRAM, "keep", "8", "4", "1"});
    test::wait_for([&] { return !quick.running(); }, 0.2);
    ptrace(PTRACE_DETACH, slow, nullptr, nullptr);
    int status = -1;
    EXPECT_EQ(waitpid(slow, &status, 0), slow);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(quick.wait(), 0);
    EXPECT_EQ(pref_load(8, 0), 0);
    EXPECT_EQ(pref_get_long(8, 0), 5);
    EXPECT_EQ(pref_get_long(8, 4), 1);
}

struct PrefCut : PrefSave {
    // What the camera finds when it is on again: an image like the flash, and nothing left over.
    void check_next_start(const std::string &found) const
    {
        EXPECT_EQ(pref_load(GetParam(), 0), 0);
        EXPECT_TRUE(image_text(GetParam()) == found);
        virt::release_partitions();
        camera.remove("/virtual/pref/" + name + ".image");
        EXPECT_TRUE(image_text(GetParam()) == found);
        EXPECT_EQ(files_of(camera), Texts{name + ".flash"});
    }
};

// Counts up until a run gets to its end; each call is cut once ahead of its work and once behind.
TEST_P(PrefCut, AnywhereInASaveLeavesTheOldFlashOrTheNew)
{
    int old_ones = 0, new_ones = 0, status = -1;
    for (int count = 1; !WIFEXITED(status); count++) {
        prepare();
        status = test::cut(traced_save(GetParam()), count);
        if (WIFEXITED(status) && WEXITSTATUS(status) == test::NOT_TRACED)
            GTEST_SKIP() << "no process may be traced here";
        const std::string found = flash();
        ASSERT_TRUE(found == before || found == after) << "cut " << count;
        (found == after ? new_ones : old_ones)++;
        check_next_start(found);
    }
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_GT(old_ones, 10);
    EXPECT_GT(new_ones, 5);
}

INSTANTIATE_TEST_SUITE_P(EachPartition, PrefCut, testing::Range(4, 10), [](const auto &number) {
    return std::string(virt::partition(number.param)->name);
});

// Files of this process cannot grow beyond `bytes`: the flash is full there.
struct FullAt {
    explicit FullAt(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit now = {bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &now);
        handler = signal(SIGXFSZ, SIG_IGN);
    }
    ~FullAt()
    {
        setrlimit(RLIMIT_FSIZE, &before);
        signal(SIGXFSZ, handler);
    }
    rlimit before = {};
    void (*handler)(int) = nullptr;
};

struct PrefFull : PrefSave {
    void check_failed_save(int result) const
    {
        EXPECT_LT(result, 0);
        EXPECT_TRUE(flash() == before);
        EXPECT_TRUE(image_text(GetParam()) == after);
        EXPECT_EQ(files_of(camera), Texts{name + ".flash"});
        EXPECT_EQ(pref_save(GetParam()), 0); // there is room again
        EXPECT_TRUE(flash() == after);
    }
};

TEST_P(PrefFull, ASaveThatDoesNotFitLeavesTheOldFlash)
{
    int result = 0;
    {
        FullAt limit(PREF_HEADER_SIZE + virt::partition(GetParam())->size - 1);
        result = pref_save(GetParam());
    }
    check_failed_save(result);
}

TEST_P(PrefFull, ASaveThatFitsNothingLeavesTheOldFlash)
{
    int result = 0;
    {
        FullAt limit(0);
        result = pref_save(GetParam());
    }
    check_failed_save(result);
}

TEST_P(PrefFull, ASaveWithoutRoomOnTheDeviceLeavesTheOldFlash)
{
    test::wrap_fail("write", -1, ENOSPC);
    check_failed_save(pref_save(GetParam()));
}

TEST_P(PrefFull, ASaveThatIsFullOnlyWhenSyncedLeavesTheOldFlash)
{
    test::wrap_fail("fsync", -1, ENOSPC);
    check_failed_save(pref_save(GetParam()));
}

TEST_P(PrefFull, ASaveThatCannotTakeTheFlashsNameLeavesTheOldFlash)
{
    test::wrap_fail("rename", -1, ENOSPC);
    check_failed_save(pref_save(GetParam()));
}

TEST_P(PrefFull, ABackupThatDoesNotFitLeavesTheOldFile)
{
    camera.write("/sdcard/backup/a.bin", "before");
    int result = 0;
    {
        FullAt limit(PREF_HEADER_SIZE);
        result = pref_save_to_file(GetParam(), "/sdcard/backup/a.bin");
    }
    EXPECT_LT(result, 0);
    EXPECT_EQ(camera.read("/sdcard/backup/a.bin"), "before");
    const std::filesystem::directory_iterator files(camera.path("/sdcard/backup"));
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

INSTANTIATE_TEST_SUITE_P(EachPartition, PrefFull, testing::Range(4, 10), [](const auto &number) {
    return std::string(virt::partition(number.param)->name);
});

TEST(Pref, CallsAreRecordedAndCanFail)
{
    test::Camera camera;
    pref_set_long(0, 4, 1);
    for (const char *call : {"pref_load", "pref_save", "pref_save_to_file", "pref_load_from_file",
                             "pref_save_default_to_file", "pref_set_long", "pref_get_long"})
        camera.fault(call, "-2");
    camera.fault("pref_get_addr", "0 on adj_sys");
    camera.fault("pref_get_name", "0");
    EXPECT_EQ(pref_load(4, 1), -2);
    EXPECT_EQ(pref_save(4), -2);
    EXPECT_EQ(pref_save_to_file(4, "/a"), -2);
    EXPECT_EQ(pref_load_from_file(4, "/a"), -2);
    EXPECT_EQ(pref_save_default_to_file(4, "x", 1), -2);
    EXPECT_EQ(pref_set_long(0, 4, 2), -2);
    EXPECT_EQ(pref_get_long(0, 4), -2);
    EXPECT_EQ(pref_get_addr(4, nullptr), nullptr);
    EXPECT_NE(pref_get_addr(5, nullptr), nullptr);
    EXPECT_EQ(pref_get_name(4), nullptr);
    EXPECT_EQ(camera.call_texts(),
              (Texts{"pref_set_long(0, 4, 1)", "pref_load(4, 1)", "pref_save(4)",
                     "pref_save_to_file(4, \"/a\")", "pref_load_from_file(4, \"/a\")",
                     "pref_save_default_to_file(4, 1)", "pref_set_long(0, 4, 2)"}));
}

TEST(PrefForTools, AFileIsOfThePartitionWhoseHeaderAndLengthItHas)
{
    test::Camera camera;
    ASSERT_EQ(pref_save_to_file(adj_sys, "/tmp/a.bin"), 0);
    std::string contents = camera.read("/tmp/a.bin");
    EXPECT_EQ(virt::partition_of(contents), adj_sys);
    EXPECT_EQ(virt::partition_of(contents + "x"), -1);
    EXPECT_EQ(virt::partition_of(contents.substr(1)), -1);
    EXPECT_EQ(virt::partition_of(""), -1);
    contents[12] = 5; // another partition's number
    EXPECT_EQ(virt::partition_of(contents), -1);
}

TEST(PrefForTools, PowerOnContentsAreFlashElseDefaultsElseZeros)
{
    test::Camera camera;
    EXPECT_EQ(virt::power_on_contents(adj_sys).substr(PREF_HEADER_SIZE), std::string(1169, '\0'));
    ASSERT_EQ(pref_save_default_to_file(adj_sys, "default", 7), 0);
    EXPECT_EQ(virt::power_on_contents(adj_sys).substr(PREF_HEADER_SIZE, 7), "default");
    std::memcpy(data_of(adj_sys), "flashed", 7);
    EXPECT_EQ(virt::power_on_contents(adj_sys).substr(PREF_HEADER_SIZE, 7), "default");
    ASSERT_EQ(pref_save(adj_sys), 0);
    EXPECT_EQ(virt::power_on_contents(adj_sys).substr(PREF_HEADER_SIZE, 7), "flashed");
    EXPECT_EQ(virt::power_on_contents(10), "");
}

TEST(PrefForTools, TheImageIsSavedWithoutFaultAndRecord)
{
    test::Camera camera;
    camera.fault("pref_get_addr", "0");
    camera.fault("pref_save", "-1");
    char *image = virt::partition_image(adj_sys);
    ASSERT_NE(image, nullptr);
    image[PREF_HEADER_SIZE] = 'x';
    EXPECT_TRUE(virt::save_partition(adj_sys));
    EXPECT_EQ(virt::power_on_contents(adj_sys)[PREF_HEADER_SIZE], 'x');
    EXPECT_TRUE(camera.calls().empty());
    EXPECT_EQ(virt::partition_image(10), nullptr);
    EXPECT_FALSE(virt::save_partition(10));
}

} // namespace
