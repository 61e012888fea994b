#include "tests/command/command_test.h"

#include <nlohmann/json.hpp>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

static const std::string pictures = "/usr/apps/com.halvex.lumen-app/res/edje/images/lcd/fix/";

struct Picture {
    const char *word;
    const char *file;
};

class LcdDraw : public CommandTest
{
protected:
    std::vector<std::string> drawn() const
    {
        return told({"factory_osd_image_draw", "factory_osd_image_clear"});
    }
};

class LcdDrawPicture : public LcdDraw, public testing::WithParamInterface<Picture>
{
};

TEST_P(LcdDrawPicture, ShowsItsFile)
{
    EXPECT_EQ(run(std::string("lcd draw ") + GetParam().word), OK);
    EXPECT_THAT(drawn(),
                ElementsAre("factory_osd_image_draw[\"" + pictures + GetParam().file + "\"]"));
}

INSTANTIATE_TEST_SUITE_P(Pictures, LcdDrawPicture,
                         testing::Values(Picture{"gradation", "product_sample_1.png"},
                                         Picture{"oil", "product_sample_2.png"},
                                         Picture{"xbar", "product_sample_3.png"},
                                         Picture{"resolution", "lcd_3.png"}),
                         [](const auto &row) { return std::string(row.param.word); });

TEST_F(LcdDraw, OffClearsThePicture)
{
    EXPECT_EQ(run("lcd draw off", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(drawn(), ElementsAre("factory_osd_image_clear[]"));
}

TEST_F(LcdDraw, AnUnknownPictureDrawsNothingAndIsOk)
{
    EXPECT_EQ(run("lcd draw no_such_picture"), OK);
    EXPECT_EQ(run("lcd draw"), OK);
    EXPECT_THAT(drawn(), IsEmpty());
}

TEST_F(LcdDraw, ARecordThatCountsNoParameterIsRefused)
{
    cmd_data record = record_of("lcd draw oil");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_PTP2), PTP_NG);
    EXPECT_THAT(drawn(), IsEmpty());
}

TEST_F(LcdDraw, AScreenThatFailsIsNoFailureOfTheCommand)
{
    camera.fault("factory_osd_image_draw", "-1");
    EXPECT_EQ(run("lcd draw oil"), OK);
}

// What differs between the two directions.
struct Direction {
    const char *word;
    const char *request;
};

class LcdSwap : public CommandTest, public testing::WithParamInterface<Direction>
{
protected:
    LcdSwap() { camera.write("/dev/fb0", ""); }

    std::string swap(const std::string &words, uint32_t cmd_type = ROVA_CMD_SCRIPT)
    {
        return run(std::string("lcd ") + GetParam().word + " " + words, cmd_type);
    }
};

// The request's two words: layer and state.
TEST_P(LcdSwap, SendsLayerAndState)
{
    EXPECT_EQ(swap("graphic off"), OK);
    EXPECT_EQ(swap("Graphic on"), OK);
    EXPECT_EQ(swap("video off"), OK);
    EXPECT_EQ(swap("VIDEO on", ROVA_CMD_PTP), PTP_OK);
    std::string call = std::string("sys_ioctl[\"/dev/fb0\",\"") + GetParam().request + "\",";
    EXPECT_THAT(told({"sys_ioctl"}),
                ElementsAre(call + "[0,0]]", call + "[0,1]]", call + "[1,0]]", call + "[1,1]]"));
}

TEST_P(LcdSwap, RefusesOtherLayers)
{
    for (const char *words : {"", "graphic", "video", "text on", "graphics on"})
        EXPECT_EQ(swap(words), NG) << words;
    EXPECT_EQ(times_logged(std::string("Not found on lcd ") + GetParam().word + " command table "),
              5U);
    EXPECT_THAT(camera.calls("sys_ioctl"), IsEmpty());
}

TEST_P(LcdSwap, RefusesOtherStatesWithoutAWord)
{
    EXPECT_EQ(swap("video x"), NG);
    EXPECT_EQ(swap("graphic ON"), NG);
    EXPECT_FALSE(camera.logged("Not found on lcd"));
    EXPECT_THAT(camera.calls("sys_ioctl"), IsEmpty());
}

TEST_P(LcdSwap, TellsOfAMissingDevice)
{
    camera.remove("/dev/fb0");
    EXPECT_EQ(swap("video on"), NG);
    EXPECT_TRUE(camera.logged("failed to open /dev/fb0 (No such file or directory) "));
}

TEST_P(LcdSwap, TellsOfARequestThatFails)
{
    camera.fault("sys_ioctl", "-1 errno EIO on fb0");
    EXPECT_EQ(swap("video on"), NG);
    EXPECT_TRUE(camera.logged("failed to ioctl /dev/fb0 (Input/output error) "));
}

TEST_P(LcdSwap, ClosesTheDeviceOnEveryPath)
{
    swap("video on"); // the first call opens what stays open in any case
    std::size_t before = open_descriptors();
    swap("video on");
    swap("video x");
    swap("x on");
    camera.fault("sys_ioctl", "-1 errno EIO on fb0");
    swap("video on");
    EXPECT_EQ(open_descriptors(), before);
}

INSTANTIATE_TEST_SUITE_P(Directions, LcdSwap,
                         testing::Values(Direction{"hswap", "0x40087410"},
                                         Direction{"vswap", "0x40087411"}),
                         [](const auto &row) { return std::string(row.param.word); });
