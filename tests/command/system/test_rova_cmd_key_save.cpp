#include "common/rova_ptp_keys.h"
#include "tests/command/system/key_test.h"
#include "tests/support/wrap.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>

using namespace test;
using testing::Contains;
using testing::ElementsAre;

namespace
{

constexpr char CARD_CSV[] = "/sdcard/key_extract.csv";
constexpr char HEADER[] = "Index,CIS S/N,ch,level,name,result\r\n";
constexpr char UPDATE[] = "/sys/devices/platform/movra7-adc/update_sysfs";
constexpr char UPDATE_FAILED[] = "failed to write ROVA_SYSFS_UPDATE_SYSFS_PATH sysfs";

// An answer to the PC that carries a file's path.
constexpr char PTP_OK_FILE[] = "resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n";
constexpr char PTP_NG_FILE[] = "resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n";

class KeySave : public KeyTest
{
protected:
    KeySave()
    {
        for (int channel = 0; channel < 10; channel++)
            camera.write(adc(channel), std::to_string(100 + channel) + "\n");
        camera.write(UPDATE, "5");
    }
    ~KeySave() override { run("key save off"); }

    static std::string adc(int channel)
    {
        return "/sys/devices/platform/movra7-adc/adc" + std::to_string(channel);
    }

    // The row of a key that needs no waiting, with what the driver tells about it.
    std::string row_of(const std::string &keydesc)
    {
        camera.write("/sys/devices/platform/m7-keys/keydesc", keydesc);
        std::size_t before = camera.read(CARD_CSV).size();
        EXPECT_TRUE(run("key wait_push all").ends_with(OK)) << keydesc;
        return camera.read(CARD_CSV).substr(before);
    }
};

} // namespace

TEST_F(KeySave, OnBeginsTheFile)
{
    EXPECT_TRUE(run("key save on").ends_with(OK));
    EXPECT_EQ(camera.read(CARD_CSV), HEADER);
}

TEST_F(KeySave, EachKeyBecomesARow)
{
    run("key save on");
    for (int channel = 0; channel < 9; channel++) {
        std::string number = std::to_string(channel);
        EXPECT_EQ(row_of(number + " menu\n"),
                  std::to_string(channel + 1) + ",0," + number + ",10" + number + ",menu,OK\r\n");
        EXPECT_THAT(new_messages(),
                    Contains("[csv_write] ch:" + number + ", level:10" + number + ", name:menu"));
    }
    EXPECT_EQ(camera.read(UPDATE), "0");
}

// A pipe shows when the description is read, and the level is read behind it.
TEST_F(KeySave, LevelsAreReadOnceTheyAreFresh)
{
    run("key save on");
    wrap_clear();
    wrap_record_sleeps(true);
    const std::string pipe = camera.path("/sys/devices/platform/m7-keys/keydesc");
    remove("keydesc");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::vector<unsigned int> slept;
    std::thread driver([&] {
        std::ofstream text(pipe);
        slept = wrap_sleeps();
        text << "3 menu\n";
    });
    EXPECT_TRUE(run("key wait_push all").ends_with(OK));
    driver.join();
    EXPECT_THAT(slept, ElementsAre(12000));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(12000));
    EXPECT_TRUE(camera.read(CARD_CSV).ends_with("\r\n1,0,3,103,menu,OK\r\n"));
}

TEST_F(KeySave, LevelsAreRefreshedWhileTheyAreRead)
{
    run("key save on");
    camera.fault("sys_open", "-1 at 2 on update_sysfs"); // as it was switched on it stays
    EXPECT_EQ(row_of("3 menu\n"), "1,0,3,103,menu,OK\r\n");
    EXPECT_EQ(camera.read(UPDATE), "1");
    EXPECT_EQ(messages().back(), UPDATE_FAILED);
}

TEST_F(KeySave, RefreshThatCannotBeSwitchedCostsNothing)
{
    run("key save on");
    new_messages();
    camera.remove(UPDATE);
    EXPECT_EQ(row_of("3 menu\n"), "1,0,3,103,menu,OK\r\n");
    EXPECT_THAT(new_messages(),
                ElementsAre("keycode : 0", UPDATE_FAILED, "[csv_write] ch:3, level:103, name:menu",
                            "id=CIS_SN ", UPDATE_FAILED));
}

TEST_F(KeySave, DescriptionIsTakenAsFarAsItGoes)
{
    struct {
        const char *keydesc;
        const char *row;
    } const rows[] = {
        {"", "1,0,0,100,,OK\r\n"},
        {"  \n", "2,0,0,100,,OK\r\n"},
        {"4", "3,0,4,104,,OK\r\n"},
        {"4 \n", "4,0,4,104,,OK\r\n"},
        {"4 x\n", "5,0,4,104,x,OK\r\n"},
        {"4  up down\n", "6,0,4,104,u,OK\r\n"},
        {"four up\n", "7,0,0,100,up,OK\r\n"},
        {"8 0123456789abcdef\n", "8,0,8,108,0123456789abcdef,OK\r\n"},
        {"8 0123456789abcdefghijkl\n", "9,0,8,108,0123456789abcdef,OK\r\n"},
    };
    run("key save on");
    for (const auto &[keydesc, row] : rows)
        EXPECT_EQ(row_of(keydesc), row) << keydesc;
    std::string longest(256, '7');
    EXPECT_EQ(row_of(longest), "10,0,2147483647,-1,,OK\r\n");
    remove("keydesc");
    EXPECT_TRUE(run("key wait_push all").ends_with(OK));
    EXPECT_TRUE(camera.read(CARD_CSV).ends_with("\r\n11,0,0,100,,OK\r\n"));
}

TEST_F(KeySave, ChannelWithoutAFileHasTheLevelMinusOne)
{
    run("key save on");
    EXPECT_EQ(row_of("9 up\n"), "1,0,9,-1,up,OK\r\n");
    EXPECT_TRUE(camera.logged("keydesc\" names channel 9, not 0 to 8"));
    EXPECT_EQ(row_of("-1 up\n"), "2,0,-1,-1,up,OK\r\n");
    EXPECT_TRUE(camera.logged("keydesc\" names channel -1, not 0 to 8"));
    camera.remove(adc(8));
    EXPECT_EQ(row_of("8 up\n"), "3,0,8,-1,up,OK\r\n");
}

TEST_F(KeySave, WaitThatFailsWritesNoRow)
{
    run("key save on");
    EXPECT_EQ(run("key wait_push"), NG);
    EXPECT_EQ(run("key wait_push s3"), NG);
    set("check_push_key", "1");
    EXPECT_EQ(run("key wait_push nobutton"), NG);
    set("check_push_key", "0");
    EXPECT_EQ(run("key wait_push nobutton"), OK);
    play("keycode", {"-1"});
    EXPECT_EQ(run("key wait_push s1"), NG);
    EXPECT_EQ(camera.read(CARD_CSV), HEADER);
}

TEST_F(KeySave, StreamOfTheLastFileStaysAndGoesWithEveryWait)
{
    run("key save on");
    EXPECT_TRUE(run("key save off", ROVA_CMD_PTP).ends_with(PTP_OK_FILE));
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), CARD_CSV);
    EXPECT_EQ(run("key wait_push all", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "");

    EXPECT_TRUE(run("key save on", ROVA_CMD_PTP).ends_with(PTP_OK_FILE));
    EXPECT_TRUE(run("key wait_push all", ROVA_CMD_PTP).ends_with(PTP_OK_FILE));
    EXPECT_EQ(run("key wait_push s3", ROVA_CMD_PTP), PTP_NG_FILE);
    EXPECT_EQ(run("key wait_push", ROVA_CMD_PTP), PTP_NG_FILE);
    EXPECT_EQ(run("key wait_push nobutton", ROVA_CMD_PTP), PTP_OK_FILE);
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), CARD_CSV);
    EXPECT_EQ(run("key mask s1", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(run("key save", ROVA_CMD_PTP), PTP_NG);
}

TEST_F(KeySave, OffEndsTheRows)
{
    run("key save on");
    EXPECT_TRUE(run("key save off").ends_with(OK));
    EXPECT_EQ(row_of("3 menu\n"), "");
}

TEST_F(KeySave, OffWithoutOnIsOk)
{
    EXPECT_EQ(run("key save off"), std::string("csv_close: handle is NULL, NG \n") + OK);
}

TEST_F(KeySave, NextOnGoesOnInTheSameFile)
{
    run("key save on");
    row_of("1 up\n");
    run("key save off");
    run("KEY SAVE on");
    EXPECT_EQ(row_of("2 down\n"), "2,0,2,102,down,OK\r\n");
}

TEST_F(KeySave, SecondOnLeavesNothingOpen)
{
    run("key save on");
    std::size_t before = open_descriptors();
    EXPECT_TRUE(run("key save on").ends_with(OK));
    EXPECT_EQ(open_descriptors(), before);
    run("key save off");
    EXPECT_EQ(open_descriptors(), before - 1);
}

TEST_F(KeySave, OtherWordsAreNgAndChangeNothing)
{
    for (const char *word : {"ON", "yes", "Off"}) {
        EXPECT_EQ(run(std::string("key save ") + word), NG) << word;
        EXPECT_THAT(new_messages(), ElementsAre(std::string("Wrong cmd_data->p[1] = ") + word));
    }
    EXPECT_FALSE(camera.exists(CARD_CSV));

    run("key save on");
    EXPECT_EQ(run("key save Off"), NG);
    EXPECT_EQ(row_of("1 up\n"), "1,0,1,101,up,OK\r\n");
    run("key save off");
    EXPECT_EQ(run("key save no", ROVA_CMD_PTP), PTP_NG_FILE);
}

TEST_F(KeySave, WithoutACardWaitsAreStillOk)
{
    std::filesystem::remove_all(camera.path("/sdcard"));
    EXPECT_TRUE(run("key save on").ends_with(OK));
    EXPECT_EQ(messages().back(), "csv create fail");
    new_messages();
    EXPECT_TRUE(run("key wait_push all").ends_with(OK));
    EXPECT_EQ(messages().back(), "csv write fail");
    EXPECT_EQ(camera.read(UPDATE), "0");
}

TEST_F(KeySave, FullCardClosesTheFile)
{
    run("key save on");
    run("key mask s1", ROVA_CMD_PTP); // the PC's keys are open from now on
    std::size_t before = open_descriptors();
    camera.fault("sys_write", "-1 errno ENOSPC on key_extract.csv");
    EXPECT_TRUE(run("key wait_push all", ROVA_CMD_PTP).ends_with(PTP_OK_FILE));
    EXPECT_TRUE(camera.logged("csv write fail"));
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), CARD_CSV);
    EXPECT_EQ(open_descriptors(), before - 1);

    camera.clear_fault("sys_write");
    EXPECT_TRUE(run("key wait_push all").ends_with(OK));
    EXPECT_EQ(times_logged("csv write fail"), 2U);
    EXPECT_EQ(camera.read(CARD_CSV), HEADER);
}
