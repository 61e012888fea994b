#include "platform/vconf.h"

#include "platform/virtual/keys.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace
{

struct Seen {
    std::vector<std::string> values;
    std::thread::id thread;
};

std::string text_of(keynode_t *node)
{
    std::string name = vconf_keynode_get_name(node);
    if (vconf_keynode_get_type(node) == VCONF_TYPE_STRING)
        return name + "=" + vconf_keynode_get_str(node);
    return name + "=" + std::to_string(vconf_keynode_get_int(node));
}

void note(keynode_t *node, void *user_data)
{
    auto seen = static_cast<Seen *>(user_data);
    seen->values.push_back(text_of(node));
    seen->thread = std::this_thread::get_id();
}

void note_too(keynode_t *node, void *user_data)
{
    note(node, user_data);
}

void note_and_ignore(keynode_t *node, void *user_data)
{
    note(node, user_data);
    vconf_ignore_key_changed("a", note_and_ignore);
}

void note_and_ignore_the_other(keynode_t *node, void *user_data)
{
    note(node, user_data);
    vconf_ignore_key_changed("a", note_too);
}

void count_down(keynode_t *node, void *user_data)
{
    note(node, user_data);
    int value = vconf_keynode_get_int(node);
    if (value > 0)
        vconf_set_int("a", value - 1);
}

void start_another(keynode_t *, void *user_data)
{
    vconf_notify_key_changed("a", note, user_data);
}

// Serves until a last write of a key of its own has been told, so that nothing can still come.
void serve_all()
{
    Seen last;
    vconf_notify_key_changed("test/last", note, &last);
    vconf_set_int("test/last", 1);
    EXPECT_TRUE(test::serve_until([&] { return !last.values.empty(); }));
    vconf_ignore_key_changed("test/last", note);
}

using Values = std::vector<std::string>;

TEST(Vconf, ValuesAreReadWithTheirTypeOnly)
{
    test::Camera camera;
    int value = 9;
    EXPECT_LT(vconf_get_int("a", &value), 0);
    EXPECT_EQ(vconf_set_int("a", 12), 0);
    EXPECT_LT(vconf_get_bool("a", &value), 0);
    EXPECT_EQ(value, 9);
    EXPECT_EQ(vconf_get_int("a", &value), 0);
    EXPECT_EQ(value, 12);
    virt::set_bool("b", true);
    EXPECT_LT(vconf_get_int("b", &value), 0);
    EXPECT_EQ(vconf_get_bool("b", &value), 0);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(vconf_set_str("a", "text"), 0); // the type changes with the value
    EXPECT_LT(vconf_get_int("a", &value), 0);
    EXPECT_EQ(camera.key_string("a"), "text");
}

TEST(Vconf, NullArgumentsFail)
{
    test::Camera camera;
    EXPECT_LT(vconf_set_int(nullptr, 1), 0);
    EXPECT_LT(vconf_set_str("a", nullptr), 0);
    EXPECT_LT(vconf_get_int("a", nullptr), 0);
    EXPECT_LT(vconf_notify_key_changed("a", nullptr, nullptr), 0);
    EXPECT_LT(vconf_notify_key_changed(nullptr, note, nullptr), 0);
    EXPECT_EQ(vconf_keynode_get_type(nullptr), VCONF_TYPE_NONE);
    EXPECT_EQ(vconf_keynode_get_str(nullptr), nullptr);
}

TEST(Vconf, AWatchIsToldEveryLaterWriteWithItsValueOnTheMainLoop)
{
    test::Camera camera;
    Seen seen;
    vconf_set_int("a", 1);
    EXPECT_EQ(vconf_notify_key_changed("a", note, &seen), 0);
    vconf_set_int("a", 2);
    vconf_set_int("a", 2);
    vconf_set_int("b", 3);
    std::thread([] { vconf_set_str("a", "x"); }).join();
    EXPECT_TRUE(seen.values.empty());
    serve_all();
    EXPECT_EQ(seen.values, (Values{"a=2", "a=2", "a=x"}));
    EXPECT_EQ(seen.thread, std::this_thread::get_id());
}

TEST(Vconf, AskingANodeForAnotherTypeGivesNothing)
{
    test::Camera camera;
    static int number, type;
    static char *text;
    vconf_notify_key_changed(
        "a",
        [](keynode_t *node, void *) {
            type = vconf_keynode_get_type(node);
            number = vconf_keynode_get_int(node);
            text = vconf_keynode_get_str(node);
        },
        nullptr);
    vconf_set_str("a", "12");
    serve_all();
    EXPECT_EQ(type, VCONF_TYPE_STRING);
    EXPECT_EQ(number, 0);
    vconf_set_int("a", 12);
    serve_all();
    EXPECT_EQ(type, VCONF_TYPE_INT);
    EXPECT_EQ(text, nullptr);
    virt::set_bool("a", true);
    serve_all();
    EXPECT_EQ(type, VCONF_TYPE_BOOL);
    EXPECT_EQ(number, 0);
}

TEST(Vconf, EachPairOfKeyAndCallbackIsOneWatch)
{
    test::Camera camera;
    Seen first, second, other;
    vconf_notify_key_changed("a", note, &first);
    vconf_notify_key_changed("a", note, &second);
    vconf_notify_key_changed("a", note_too, &other);
    vconf_set_int("a", 1);
    serve_all();
    EXPECT_TRUE(first.values.empty());
    EXPECT_EQ(second.values, Values{"a=1"});
    EXPECT_EQ(other.values, Values{"a=1"});
    EXPECT_EQ(vconf_ignore_key_changed("a", note), 0);
    EXPECT_LT(vconf_ignore_key_changed("a", note), 0);
    EXPECT_LT(vconf_ignore_key_changed("b", note_too), 0);
    vconf_set_int("a", 2);
    serve_all();
    EXPECT_EQ(second.values.size(), 1U);
    EXPECT_EQ(other.values, (Values{"a=1", "a=2"}));
}

TEST(Vconf, ACallbackMayEndItsOwnWatchOrAnother)
{
    test::Camera camera;
    Seen own, first, other;
    vconf_notify_key_changed("a", note_and_ignore, &own);
    vconf_notify_key_changed("a", note_and_ignore_the_other, &first);
    vconf_notify_key_changed("a", note_too, &other);
    vconf_set_int("a", 1);
    vconf_set_int("a", 2);
    serve_all();
    EXPECT_EQ(own.values, Values{"a=1"});
    EXPECT_EQ(first.values, (Values{"a=1", "a=2"}));
    EXPECT_TRUE(other.values.empty());
}

TEST(Vconf, ACallbackMayWriteItsOwnKey)
{
    test::Camera camera;
    Seen seen;
    vconf_notify_key_changed("a", count_down, &seen);
    vconf_set_int("a", 3);
    EXPECT_TRUE(test::serve_until([&] { return seen.values.size() == 4; }));
    EXPECT_EQ(seen.values, (Values{"a=3", "a=2", "a=1", "a=0"}));
}

TEST(Vconf, AWatchBegunInACallbackIsToldOnlyLaterWrites)
{
    test::Camera camera;
    Seen seen;
    vconf_notify_key_changed("start", start_another, &seen);
    vconf_set_int("start", 1);
    vconf_set_int("a", 1); // written before the callback runs
    serve_all();
    EXPECT_TRUE(seen.values.empty());
    vconf_set_int("a", 2);
    serve_all();
    EXPECT_EQ(seen.values, Values{"a=2"});
}

TEST(Vconf, TenThousandWritesOfAnotherProcessReachALoopThatWasBusy)
{
    test::Camera camera;
    Seen seen;
    vconf_notify_key_changed("a", note, &seen);
    EXPECT_EQ(test::run({PLATFORM_PROGRAM, "set", "a", "0", "10000"}).status, 0);
    EXPECT_TRUE(test::serve_until([&] { return seen.values.size() >= 10000; }, 60));
    ASSERT_EQ(seen.values.size(), 10000U);
    for (size_t value = 0; value < seen.values.size(); value++)
        ASSERT_EQ(seen.values[value], "a=" + std::to_string(value));
}

TEST(Vconf, TwoProcessesAnswerEachOther)
{
    test::Camera camera;
    Seen seen;
    test::Process echo({PLATFORM_PROGRAM, "echo", "a"});
    ASSERT_TRUE(test::wait_for([&] { return camera.key_int("test/ready") == 1; }));
    vconf_notify_key_changed("test/echo", note, &seen);
    for (int value = 1; value <= 20; value++) {
        vconf_set_int("a", value);
        ASSERT_TRUE(
            test::serve_until([&] { return seen.values.size() == static_cast<size_t>(value); }));
        EXPECT_EQ(seen.values.back(), "test/echo=" + std::to_string(value));
    }
}

TEST(Vconf, TheNextCameraStartsWithoutWatchesAndKeys)
{
    Seen seen;
    {
        test::Camera first;
        vconf_notify_key_changed("a", note, &seen);
        vconf_set_int("a", 1);
    }
    test::Camera second;
    int value = 0;
    EXPECT_LT(vconf_get_int("a", &value), 0);
    EXPECT_LT(vconf_ignore_key_changed("a", note), 0);
    vconf_set_int("a", 2);
    serve_all();
    EXPECT_TRUE(seen.values.empty());
}

TEST(Vconf, WritesAndWatchesAreRecorded)
{
    test::Camera camera;
    vconf_set_int("a", 1);
    vconf_set_str("b", "x");
    vconf_notify_key_changed("a", note, nullptr);
    vconf_ignore_key_changed("a", note);
    EXPECT_EQ(camera.call_texts(),
              (Values{"vconf_set_int(\"a\", 1)", "vconf_set_str(\"b\", \"x\")",
                      "vconf_notify_key_changed(\"a\")", "vconf_ignore_key_changed(\"a\")"}));
}

TEST(Vconf, EachReadingWritesTheNextScriptedNumber)
{
    test::Camera camera;
    Seen seen;
    camera.write("/virtual/key/m/level.play", "4\n0x3\n");
    camera.write("/virtual/key/m/flag.play", "1\n0\n");
    vconf_notify_key_changed("m/level", note, &seen);
    int value = 0;
    for (const int wanted : {4, 3, 3}) {
        EXPECT_EQ(vconf_get_int("m/level", &value), 0);
        EXPECT_EQ(value, wanted);
    }
    serve_all();
    EXPECT_EQ(seen.values, (Values{"m/level=4", "m/level=3"}));
    EXPECT_FALSE(camera.exists("/virtual/key/m/level.play"));
    for (const int wanted : {1, 0, 0}) {
        EXPECT_EQ(vconf_get_bool("m/flag", &value), 0);
        EXPECT_EQ(value, wanted);
    }
    EXPECT_EQ(
        camera.call_texts(),
        (Values{"vconf_notify_key_changed(\"m/level\")", "vconf_notify_key_changed(\"test/last\")",
                "vconf_set_int(\"test/last\", 1)", "vconf_ignore_key_changed(\"test/last\")"}))
        << "no call wrote the key";
    vconf_ignore_key_changed("m/level", note);
}

TEST(Vconf, AScriptChangesNoKeysType)
{
    test::Camera camera;
    vconf_set_str("a", "x");
    camera.write("/virtual/key/a.play", "1\n");
    int value = 7;
    EXPECT_EQ(vconf_get_int("a", &value), -1);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(camera.key_string("a"), "x");
}

TEST(Vconf, AReadingThatAFaultFailsTakesNoScriptedNumber)
{
    test::Camera camera;
    camera.write("/virtual/key/a.play", "1\n2\n");
    camera.fault("vconf_get_int", "-9 at 1");
    int value = 7;
    EXPECT_EQ(vconf_get_int("a", &value), -9);
    EXPECT_EQ(vconf_get_int("a", &value), 0);
    EXPECT_EQ(value, 1);
}

TEST(Vconf, EachCallCanFail)
{
    test::Camera camera;
    for (const char *call : {"vconf_set_int", "vconf_set_str", "vconf_get_int", "vconf_get_bool",
                             "vconf_notify_key_changed", "vconf_ignore_key_changed",
                             "vconf_keynode_get_int", "vconf_keynode_get_type"})
        camera.fault(call, "-9");
    int value = 0;
    EXPECT_EQ(vconf_set_int("a", 1), -9);
    EXPECT_EQ(vconf_set_str("a", "x"), -9);
    EXPECT_EQ(vconf_get_int("a", &value), -9);
    EXPECT_EQ(vconf_get_bool("a", &value), -9);
    EXPECT_EQ(vconf_notify_key_changed("a", note, nullptr), -9);
    EXPECT_EQ(vconf_ignore_key_changed("a", note), -9);
    EXPECT_EQ(vconf_keynode_get_int(nullptr), -9);
    EXPECT_EQ(vconf_keynode_get_type(nullptr), -9);
    EXPECT_EQ(virt::newest_change(), 0);
}

} // namespace
