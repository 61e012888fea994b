#include "platform/virtual/keys.h"

#include "platform/virtual/root.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <sqlite3.h>

namespace
{

// The number of kept changes, by the database's own program interface.
int kept_changes()
{
    sqlite3 *database = nullptr;
    sqlite3_stmt *statement = nullptr;
    sqlite3_open(virt::file("keys.db").c_str(), &database);
    sqlite3_prepare_v2(database, "SELECT count(*) FROM changes", -1, &statement, nullptr);
    int count = sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int(statement, 0) : -1;
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return count;
}

bool readable(int fd)
{
    pollfd wanted = {fd, POLLIN, 0};
    return poll(&wanted, 1, 0) == 1;
}

TEST(Keys, ValuesKeepTheirTypesAndAreListedByName)
{
    test::Camera camera;
    EXPECT_TRUE(virt::set_string("b", "text \xff"));
    EXPECT_TRUE(virt::set_int("a", -5));
    EXPECT_TRUE(virt::set_bool("c", true));
    std::vector<virt::Key> keys = virt::list_keys();
    ASSERT_EQ(keys.size(), 3U);
    EXPECT_EQ(keys[0].name + "=" + keys[0].value(), "a=-5");
    EXPECT_EQ(keys[1].name + "=" + keys[1].value(), "b=text \xff");
    EXPECT_EQ(keys[2].name + "=" + keys[2].value(), "c=true");
    EXPECT_TRUE(virt::remove_key("b"));
    EXPECT_FALSE(virt::remove_key("b"));
    EXPECT_FALSE(virt::get_key("b"));
}

TEST(Keys, AWatchTellsAllWritesFromItsMakingOn)
{
    test::Camera camera;
    virt::set_int("a", 1);
    virt::KeyWatch watch;
    ASSERT_TRUE(watch.valid());
    EXPECT_FALSE(readable(watch.fd()));
    virt::set_int("a", 2);
    virt::set_string("b", "x");
    virt::set_string("b", "x");
    EXPECT_TRUE(readable(watch.fd()));
    std::vector<virt::KeyChange> changes = watch.read();
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_EQ(changes[0].key.number, 2);
    EXPECT_EQ(changes[2].key.text, "x");
    EXPECT_EQ(changes[2].sequence, virt::newest_change());
    EXPECT_FALSE(readable(watch.fd()));
    EXPECT_TRUE(watch.read().empty());
}

TEST(Keys, ChangesGoOnceAllWatchesHaveSeenThem)
{
    test::Camera camera;
    virt::KeyWatch watch;
    for (int value = 0; value < 600; value++)
        virt::set_int("a", value);
    EXPECT_EQ(kept_changes(), 600);
    EXPECT_EQ(watch.read().size(), 600U);
    for (int value = 0; value < 300; value++)
        virt::set_int("a", value);
    EXPECT_EQ(kept_changes(), 300); // those that the watch has not seen
    EXPECT_EQ(watch.read().size(), 300U);
}

TEST(Keys, WithoutAWatchChangesAreNotHoarded)
{
    test::Camera camera;
    for (int value = 0; value < 1000; value++)
        virt::set_int("a", value);
    EXPECT_LT(kept_changes(), 256);
    EXPECT_EQ(virt::newest_change(), 1000);
}

TEST(Keys, AKilledWatcherDoesNotKeepChangesForEver)
{
    test::Camera camera;
    test::Process watcher({PLATFORM_PROGRAM, "echo", "test/nothing"});
    ASSERT_TRUE(test::wait_for([&] { return camera.key_int("test/ready") == 1; }));
    watcher.signal(SIGSTOP);
    for (int value = 0; value < 600; value++)
        virt::set_int("a", value);
    EXPECT_GE(kept_changes(), 600);
    watcher.signal(SIGKILL);
    watcher.wait();
    for (int value = 0; value < 300; value++)
        virt::set_int("a", value);
    EXPECT_LT(kept_changes(), 256);
}

TEST(Keys, AKilledWriterLeavesTheOldValueOrTheNew)
{
    test::Camera camera;
    for (int round = 0; round < 10; round++) {
        std::int64_t before = virt::newest_change();
        test::Process writer({PLATFORM_PROGRAM, "flip", "a"});
        ASSERT_TRUE(test::wait_for([&] { return virt::newest_change() > before + round; }));
        writer.signal(SIGKILL);
        writer.wait();
        std::string value = camera.key_string("a").value_or("");
        EXPECT_TRUE(value == std::string(5000, 'a') || value == std::string(5000, 'b'));
        EXPECT_TRUE(virt::set_int("b", round)); // the store is not left locked
    }
}

TEST(Keys, ProcessesThatStartAtOnceMakeOneStore)
{
    test::Camera camera;
    std::vector<std::unique_ptr<test::Process>> writers;
    for (const char *key : {"a", "b", "c", "d"})
        writers.push_back(std::make_unique<test::Process>(
            std::vector<std::string>{PLATFORM_PROGRAM, "set", key, "1", "50"}));
    for (auto &writer : writers)
        EXPECT_EQ(writer->wait(), 0);
    EXPECT_EQ(virt::newest_change(), 200);
    for (const char *key : {"a", "b", "c", "d"})
        EXPECT_EQ(camera.key_int(key), 50);
}

TEST(Keys, ADamagedStoreIsToldAndFails)
{
    test::Camera camera;
    camera.write("/virtual/keys.db", std::string(5000, 'x'));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(virt::set_int("a", 1));
    EXPECT_FALSE(virt::KeyWatch().valid());
    EXPECT_NE(testing::internal::GetCapturedStderr().find("key store"), std::string::npos);
}

} // namespace
