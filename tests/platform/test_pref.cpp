#include "platform/pref.h"

#include "platform/virtual/pref.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>

namespace
{

constexpr int adj_sys = 4;
using Texts = std::vector<std::string>;

char *data_of(int partition)
{
    auto image = static_cast<char *>(pref_get_addr(partition, nullptr));
    return image ? image + PREF_HEADER_SIZE : nullptr;
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

TEST(Pref, AFileThatIsNotThisPartitionsWholeLeavesTheImageAlone)
{
    test::Camera camera;
    pref_set_long(adj_sys, 0, 5);
    pref_save_to_file(adj_sys, "/sdcard/good");
    pref_save_to_file(5, "/sdcard/other");
    std::string good = camera.read("/sdcard/good"), magic = good, size = good;
    magic[0] = 'x';
    size[16]++;
    camera.write("/sdcard/magic", magic);
    camera.write("/sdcard/size", size);
    camera.write("/sdcard/short", good.substr(0, good.size() - 1));
    camera.write("/sdcard/long", good + "x");
    camera.write("/sdcard/header", good.substr(0, 100));
    camera.write("/sdcard/empty", "");
    pref_set_long(adj_sys, 0, 6);
    for (const char *name :
         {"other", "magic", "size", "short", "long", "header", "empty", "missing"})
        EXPECT_LT(pref_load_from_file(adj_sys, (std::string("/sdcard/") + name).c_str()), 0)
            << name;
    EXPECT_EQ(pref_get_long(adj_sys, 0), 6);
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

} // namespace
