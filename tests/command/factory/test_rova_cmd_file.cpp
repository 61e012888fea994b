#include "command/rova_cmd_result.h"
#include "common/rova_util.h"
#include "tests/command/command_test.h"
#include "tests/support/serving_end.h"
#include "tests/support/wrap.h"

#include <atomic>
#include <functional>
#include <platform/vconf.h>
#include <thread>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class FileDelete : public CommandTest
{
};

TEST_F(FileDelete, RemovesTheFileFromTheCard)
{
    camera.write("/sdcard/a.csv", "x");
    camera.write("/sdcard/b.csv", "x");
    EXPECT_EQ(run("file delete a.csv"), OK);
    EXPECT_FALSE(camera.exists("/sdcard/a.csv"));
    EXPECT_TRUE(camera.exists("/sdcard/b.csv"));
    EXPECT_THAT(told({"sys_sync"}), ElementsAre("sys_sync[]"));
}

TEST_F(FileDelete, TakesTheLongestName)
{
    std::string name(31, 'n');
    camera.write("/sdcard/" + name, "x");
    EXPECT_EQ(run("file delete " + name), OK);
    EXPECT_FALSE(camera.exists("/sdcard/" + name));
}

TEST_F(FileDelete, AnswersThePc)
{
    camera.write("/sdcard/a.csv", "x");
    EXPECT_EQ(run("file delete a.csv", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(run("file delete a.csv", ROVA_CMD_PTP), PTP_NG);
}

TEST_F(FileDelete, RefusesALineWithoutAName)
{
    EXPECT_EQ(run("file delete"), NG);
    EXPECT_FALSE(camera.logged("/sdcard/"));
    EXPECT_TRUE(camera.exists("/sdcard"));
}

TEST_F(FileDelete, TellsOfAFileThatDoesNotExist)
{
    EXPECT_EQ(run("file delete %n.csv"), NG);
    EXPECT_TRUE(camera.logged("/sdcard/%n.csv doesn't exist. "));
}

TEST_F(FileDelete, TellsOfAFileThatCannotBeOpened)
{
    camera.write("/sdcard/a.csv", "x");
    camera.fault("sys_open", "-1 errno EIO on a.csv");
    EXPECT_EQ(run("file delete a.csv"), NG);
    EXPECT_TRUE(camera.logged("/sdcard/a.csv doesn't exist. "));
    EXPECT_TRUE(camera.exists("/sdcard/a.csv"));
}

TEST_F(FileDelete, TellsOfAFileThatCannotBeRemoved)
{
    camera.write("/sdcard/a.csv", "x");
    camera.fault("sys_unlink", "-1 errno EROFS on a.csv");
    EXPECT_EQ(run("file delete a.csv"), NG);
    EXPECT_TRUE(camera.logged("failed to delete /sdcard/a.csv. "));
    EXPECT_TRUE(camera.exists("/sdcard/a.csv"));
    EXPECT_THAT(told({"sys_sync"}), IsEmpty());
}

// The command runs on a thread of its own, as on the server; this one is the main loop.
class FileFormat : public CommandTest
{
protected:
    FileFormat()
    {
        // There before the application's process is made.
        vconf_set_int(KEY, -1);
        camera.write("/tmp/rova.tg", "marker");
        camera.write("/tmp/line.adj", "script");
        camera.write("/tmp/other.txt", "x");
        wrap_record_sleeps(true);
    }

    // Runs the command while the main loop turns; `meanwhile` is called in each turn.
    std::string format(const std::function<void()> &meanwhile, uint32_t cmd_type = ROVA_CMD_CARD)
    {
        std::atomic<bool> ended = false;
        std::string log;
        std::thread server([&] {
            log = run("file format", cmd_type);
            ended = true;
        });
        EXPECT_TRUE(serve_until([&] {
            meanwhile();
            return ended.load();
        }));
        server.join();
        return log;
    }

    // The same with a card that ends with this result once the application has the command, which
    // is its nth.
    std::string formatted(const ServingEnd &app, int nth, int result,
                          uint32_t cmd_type = ROVA_CMD_CARD)
    {
        bool told_result = false;
        return format(
            [&] {
                if (!told_result && app.answered(nth))
                    told_result = vconf_set_int(KEY, result) == 0;
            },
            cmd_type);
    }

    std::string formatted(int result)
    {
        wrap_record_sleeps(false);
        camera.speed(10);
        const ServingEnd app(camera, plain_ok, APP_CHANNEL);
        return formatted(app, 1, result);
    }

    // The key's watch and the program of the end, in order.
    std::vector<std::string> steps() const
    {
        return told({"vconf_notify_key_changed", "vconf_ignore_key_changed", "sys_system"});
    }

    static constexpr char KEY[] = "memory/sysman/mmc_format";
    static constexpr char WATCH[] = R"(vconf_notify_key_changed["memory/sysman/mmc_format"])";
    static constexpr char IGNORE[] = R"(vconf_ignore_key_changed["memory/sysman/mmc_format"])";
    static constexpr char COPY[] = R"(sys_system["cp -f /tmp/*.tg /tmp/*.adj /sdcard/; sync"])";
};

TEST_F(FileFormat, BringsTheMarkerFilesBackWhenTheCardIsFormatted)
{
    EXPECT_EQ(formatted(0), OK);
    EXPECT_EQ(camera.read("/sdcard/rova.tg"), "marker");
    EXPECT_EQ(camera.read("/sdcard/line.adj"), "script");
    EXPECT_FALSE(camera.exists("/sdcard/other.txt"));
    EXPECT_THAT(steps(), ElementsAre(WATCH, COPY, IGNORE));
}

// It has taken the command; how the format ends is told by the key.
TEST_F(FileFormat, TheApplicationsOwnAnswerIsNotPassedOn)
{
    wrap_record_sleeps(false);
    camera.speed(10);
    const ServingEnd app(
        camera,
        [](int nth, const std::string &) {
            return answer_bytes(nth == 1 ? 0 : 1, 1, 11, 22, 33, 2, "not for the PC");
        },
        APP_CHANNEL);
    for (int nth : {1, 2})
        EXPECT_EQ(formatted(app, nth, 0, ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(rova_cmd_get_result(), 0U);
}

TEST_F(FileFormat, SendsTheCommandAsItStandsAndAnswersThePcOnce)
{
    const ServingEnd app(camera, plain_ok, APP_CHANNEL);
    EXPECT_EQ(format([] {}, ROVA_CMD_PTP2), PTP_NG);
    EXPECT_EQ(app.command(1).command_area.substr(0, 500), bytes_of(record_of("file format")));
    EXPECT_EQ(app.command(1).type, ROVA_CMD_PTP2);
}

TEST_F(FileFormat, AnyOtherResultIsNgAndCopiesNothing)
{
    EXPECT_EQ(formatted(3), NG);
    EXPECT_TRUE(camera.logged("failed to format mmc (vconf=3, retry="));
    EXPECT_THAT(steps(), ElementsAre(WATCH, IGNORE));
    EXPECT_FALSE(camera.exists("/sdcard/rova.tg"));
}

TEST_F(FileFormat, WaitsTwentySecondsForAResult)
{
    const ServingEnd app(camera, plain_ok, APP_CHANNEL);
    EXPECT_EQ(format([] {}, ROVA_CMD_PTP), PTP_NG);
    EXPECT_TRUE(camera.logged("failed to format mmc (vconf=-1, retry=20) "));
    EXPECT_EQ(wrap_sleeps(), std::vector<unsigned int>(20, 1000000));
    EXPECT_THAT(steps(), ElementsAre(WATCH, IGNORE));
}

TEST_F(FileFormat, ATextInPlaceOfAResultDoesNotCount)
{
    wrap_record_sleeps(false);
    camera.speed(100);
    const ServingEnd app(camera, plain_ok, APP_CHANNEL);
    bool told_text = false;
    EXPECT_EQ(format([&] {
                  if (!told_text && app.answered(1))
                      told_text = vconf_set_str(KEY, "0") == 0;
              }),
              NG);
    EXPECT_TRUE(told_text);
    EXPECT_TRUE(camera.logged("failed to format mmc (vconf=-1, retry=20) "));
}

TEST_F(FileFormat, AResultOfAnEarlierFormatDoesNotCount)
{
    wrap_record_sleeps(false);
    camera.speed(10);
    const ServingEnd app(camera, plain_ok, APP_CHANNEL);
    EXPECT_EQ(formatted(app, 1, 0), OK);
    vconf_set_int(KEY, 0); // nobody watches
    wrap_record_sleeps(true);
    EXPECT_EQ(format([] {}), NG);
    EXPECT_TRUE(camera.logged("failed to format mmc (vconf=-1, retry=20) "));
}

TEST_F(FileFormat, StopEndsTheWait)
{
    const ServingEnd app(camera, plain_ok, APP_CHANNEL);
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(format([] {}), NG);
    EXPECT_TRUE(camera.logged("failed to format mmc (vconf=-1, retry=0) "));
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
    EXPECT_THAT(steps(), ElementsAre(WATCH, IGNORE));
}

TEST_F(FileFormat, WithoutACameraApplicationItIsNg)
{
    EXPECT_EQ(run("file format", ROVA_CMD_PTP), PTP_NG);
    EXPECT_TRUE(camera.logged("rova_send_to_app() failed (file) "));
    EXPECT_TRUE(camera.logged("failed to format mmc "));
    EXPECT_FALSE(camera.logged("vconf=-1"));
    EXPECT_THAT(steps(), ElementsAre(WATCH, IGNORE));
}

TEST_F(FileFormat, AWatchThatFailsStartsNothing)
{
    const ServingEnd app(camera, plain_ok, APP_CHANNEL);
    camera.fault("vconf_notify_key_changed", "-1");
    EXPECT_EQ(run("file format"), NG);
    EXPECT_TRUE(
        camera.logged("failed to vconf_notify_key_changed(memory/sysman/mmc_format) (ret = -1) "));
    EXPECT_FALSE(app.received(1));
}

TEST_F(FileFormat, MarkerFilesThatCannotBeCopiedAreNg)
{
    camera.fault("sys_system", "256");
    EXPECT_EQ(formatted(0), NG);
    EXPECT_TRUE(camera.logged("failed to copy the marker files (status=256) "));
    EXPECT_THAT(steps(), ElementsAre(WATCH, COPY, IGNORE));
}

TEST_F(FileFormat, ARecordWithoutParametersIsNg)
{
    cmd_data record = record_of("file format");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_PTP), PTP_NG);
    EXPECT_THAT(steps(), IsEmpty());
}
