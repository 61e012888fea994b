// Saving all six partitions when it is cut short and when there is no room.
#include "common/rova_adjdata_handler.h"

#include "platform/pref.h"
#include "platform/virtual/pref.h"
#include "platform/virtual/values.h"
#include "tests/support/camera.h"
#include "tests/support/cut.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace
{

constexpr int FIRST = 4, LAST = 9;

std::string image(int pref_id)
{
    uint32_t size = 0;
    const auto *at = static_cast<const char *>(pref_get_addr(pref_id, &size));
    return {at, PREF_HEADER_SIZE + size};
}

void fill_all(char byte)
{
    for (int pref_id = FIRST; pref_id <= LAST; pref_id++) {
        uint32_t size = 0;
        auto *at = static_cast<char *>(pref_get_addr(pref_id, &size));
        std::memset(at + PREF_HEADER_SIZE, byte, size);
    }
}

std::vector<std::string> images()
{
    std::vector<std::string> all;
    for (int pref_id = FIRST; pref_id <= LAST; pref_id++)
        all.push_back(image(pref_id));
    return all;
}

// Flash holds the old contents, the images hold the new ones.
struct AdjDataSaveAll : testing::Test {
    AdjDataSaveAll()
    {
        fill_all('o');
        old_ones = images();
        fill_all('n');
        new_ones = images();
        put_old_flash();
    }
    ~AdjDataSaveAll() override { test::wrap_clear(); }

    static std::string file(int pref_id, const char *kind)
    {
        return std::string("/virtual/pref/") + virt::partition(pref_id)->name + "." + kind;
    }
    void put_old_flash() const
    {
        for (int pref_id = FIRST; pref_id <= LAST; pref_id++)
            camera.write(file(pref_id, "flash"), old_ones[static_cast<size_t>(pref_id - FIRST)]);
    }
    // 'o' and 'n' for contents that are wholly the old or the new, '!' for all others.
    char state_of(int pref_id, const std::string &contents) const
    {
        const auto at = static_cast<size_t>(pref_id - FIRST);
        if (contents == old_ones[at])
            return 'o';
        return contents == new_ones[at] ? 'n' : '!';
    }
    std::string flash_states() const
    {
        std::string states;
        for (int pref_id = FIRST; pref_id <= LAST; pref_id++)
            states += state_of(pref_id, virt::read_file(virt::partition_file(pref_id, "flash")));
        return states;
    }
    std::string image_states() const
    {
        std::string states;
        for (int pref_id = FIRST; pref_id <= LAST; pref_id++)
            states += state_of(pref_id, image(pref_id));
        return states;
    }
    void switch_off() const
    {
        virt::release_partitions();
        for (int pref_id = FIRST; pref_id <= LAST; pref_id++)
            camera.remove(file(pref_id, "image"));
    }
    // Flash and image of each partition, and no more.
    bool nothing_is_left_over() const
    {
        const std::filesystem::directory_iterator files(camera.path("/virtual/pref"));
        return std::distance(begin(files), end(files)) == 2 * (LAST - FIRST + 1);
    }

    test::Camera camera;
    std::vector<std::string> old_ones, new_ones;
};

// Some in each partition's save, which is cut at its every call elsewhere.
constexpr int CALLS_BETWEEN_CUTS = 11;

} // namespace

TEST_F(AdjDataSaveAll, ACutLeavesEachPartitionOldOrNewInTheOrderOfTheSaves)
{
    std::set<std::string> seen;
    int status = -1;
    for (int count = 1; !WIFEXITED(status); count += CALLS_BETWEEN_CUTS) {
        put_old_flash();
        fill_all('n');
        status = test::cut(test::start_traced([] { return rova_save_adjdata_all() == 1; }), count);
        if (WIFEXITED(status) && WEXITSTATUS(status) == test::NOT_TRACED)
            GTEST_SKIP() << "no process may be traced here";
        const std::string found = flash_states();
        seen.insert(found);
        switch_off();
        ASSERT_EQ(image_states(), found) << "cut " << count;
        ASSERT_TRUE(nothing_is_left_over()) << "cut " << count;
    }
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(seen, (std::set<std::string>{"oooooo", "nooooo", "nnoooo", "nnnooo", "nnnnoo",
                                           "nnnnno", "nnnnnn"}));
}

TEST_F(AdjDataSaveAll, WithoutRoomOnTheDeviceAllStayOldAndTheResultIsGood)
{
    test::wrap_fail("write", -1, ENOSPC, 1, true);
    EXPECT_EQ(rova_save_adjdata_all(), 1);
    test::wrap_clear();
    EXPECT_EQ(flash_states(), "oooooo");
    EXPECT_EQ(image_states(), "nnnnnn");
    EXPECT_TRUE(nothing_is_left_over());
    EXPECT_EQ(rova_save_adjdata_all(), 1); // there is room again
    EXPECT_EQ(flash_states(), "nnnnnn");
}

TEST_F(AdjDataSaveAll, APartitionWithoutRoomDoesNotKeepTheOthersBack)
{
    test::wrap_fail("rename", -1, ENOSPC, 3);
    EXPECT_EQ(rova_save_adjdata_all(), 1);
    EXPECT_EQ(flash_states(), "nnonnn");
    EXPECT_TRUE(nothing_is_left_over());
}
