// battery and warm: values at once, and along curves.
#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "common/rova_sensor.h"
#include "platform/device.h"
#include "platform/vconf.h"
#include "platform/virtual/motion.h"

#include <utility>

using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

constexpr char LEVELS[] = "/sys/devices/platform/m7-adc-battery/adc_spec";
constexpr char ISP[] = "/sys/devices/platform/m7_tsu/isp";

using reading = std::pair<int, int>; // millivolts, level

// As the camera reads them.
reading battery()
{
    reading found(-1, -1);
    EXPECT_EQ(device_get_property(4, 0, &found.first), 0);
    EXPECT_EQ(vconf_get_int("memory/sysman/battery_status_low", &found.second), 0);
    return found;
}

class Battery : public testing::Test
{
protected:
    Battery()
    {
        camera.write(LEVELS, "1 6500 empty\n2 6800 low\nno level\n3 7200 half\n5 8400 full\n");
    }
    const test::Camera camera;
};

struct degrees {
    int32_t cis = -1, isp = -1, cpu = -1;
    bool operator==(const degrees &) const = default;
};

// As the camera reads them; the sensor's in both ways.
degrees as_text()
{
    degrees found;
    EXPECT_EQ(rova_read_cis_temperature(&found.cis), 1);
    EXPECT_EQ(rova_read_isp_temperature(&found.isp), 1);
    EXPECT_EQ(rova_read_cpu_temperature(&found.cpu), 1);
    return found;
}

float as_samples()
{
    float found = -1;
    EXPECT_EQ(rova_read_cis_temperature_avg(&found, 0), 1);
    return found;
}

} // namespace

TEST_F(Battery, TheLevelIsTheHighestThatHasBegun)
{
    const reading expected[] = {{0, 1},    {6499, 1}, {6500, 1}, {6799, 1}, {6800, 2},
                                {7199, 2}, {7200, 3}, {8399, 3}, {8400, 5}, {20000, 5}};
    for (const reading &row : expected) {
        ASSERT_TRUE(succeeded(vcam({"battery", std::to_string(row.first)})));
        EXPECT_EQ(battery(), row);
    }
}

TEST_F(Battery, ShowsWhatTheCameraWouldRead)
{
    EXPECT_TRUE(vcam({"battery"}).out.starts_with("0 mV, level not known\n"));
    ASSERT_TRUE(succeeded(vcam({"battery", "7400"})));
    EXPECT_EQ(vcam({"battery"}).out, "7400 mV, level 3 half\n"
                                     "  level 1 empty from 6500 mV\n"
                                     "  level 2 low from 6800 mV\n"
                                     "  level 3 half from 7200 mV\n"
                                     "  level 5 full from 8400 mV\n");
    vconf_set_int("memory/sysman/battery_status_low", 4);
    EXPECT_TRUE(vcam({"battery"}).out.starts_with("7400 mV, level 4\n")) << "not described";
}

TEST_F(Battery, SuccessiveReadingsFallAlongACurve)
{
    ASSERT_TRUE(
        succeeded(vcam({"battery", "drain", "--from", "8200", "--to", "6500", "--steps", "4"})));
    EXPECT_TRUE(vcam({"battery"}).out.starts_with("8200 mV, level 3 half\n4 readings of a curve"))
        << "looking uses up none";
    for (const reading &row : {reading(8200, 3), {7633, 3}, {7067, 2}, {6500, 1}, {6500, 1}})
        EXPECT_EQ(battery(), row);
    EXPECT_TRUE(vcam({"battery"}).out.starts_with("6500 mV, level 1 empty\n  level"));
}

TEST_F(Battery, AVoltageEndsACurve)
{
    ASSERT_TRUE(
        succeeded(vcam({"battery", "drain", "--from", "8200", "--to", "6500", "--steps", "20"})));
    ASSERT_TRUE(succeeded(vcam({"battery", "7300"})));
    EXPECT_EQ(battery(), reading(7300, 3));
    EXPECT_EQ(battery(), reading(7300, 3));
}

TEST_F(Battery, WhatIsWrongIsRefusedAndChangesNothing)
{
    ASSERT_TRUE(succeeded(vcam({"battery", "7400"})));
    EXPECT_TRUE(failed(vcam({"battery", "20001"}), "'20001' is no number from 0 to 20000"));
    EXPECT_TRUE(failed(vcam({"battery", "full"}), "'full' is no number"));
    EXPECT_TRUE(failed(vcam({"battery", "drain"}), "go together"));
    EXPECT_TRUE(failed(vcam({"battery", "--from", "8", "--to", "7", "--steps", "2"}), "together"));
    EXPECT_TRUE(failed(vcam({"battery", "drain", "--from", "8200"}), "--from requires --"));
    EXPECT_TRUE(failed(vcam({"battery", "drain", "--from", "1", "--to", "2", "--steps", "1"}),
                       "'1' is no number from 2 to"));
    EXPECT_TRUE(failed(vcam({"battery", "drain", "--from", "-1", "--to", "2", "--steps", "2"}),
                       "'-1' is no number from 0"));
    EXPECT_EQ(battery(), reading(7400, 3));
    camera.remove(LEVELS);
    EXPECT_TRUE(failed(vcam({"battery", "7000"}), "describes no levels in /sys/devices"));
    EXPECT_EQ(battery(), reading(7400, 3));
}

TEST(VcamWarm, EveryDegreeIsReadInBothWays)
{
    const test::Camera camera;
    for (int wanted = 0; wanted <= 127; wanted++) {
        ASSERT_TRUE(succeeded(vcam({"warm", std::to_string(wanted)})));
        EXPECT_EQ(as_text(), (degrees{wanted, wanted, wanted}));
        EXPECT_EQ(as_samples(), static_cast<float>(wanted));
    }
}

TEST(VcamWarm, EachReadingTakesTheNextStep)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"warm", "--from", "20", "--to", "45", "--steps", "6"})));
    EXPECT_EQ(vcam({"warm"}).out, "sensor temperature: 20 degrees\nisp temperature: 20 degrees\n"
                                  "cpu temperature: 20 degrees\n");
    for (const int wanted : {20, 25, 30, 35, 40, 45, 45})
        EXPECT_EQ(as_text(), (degrees{wanted, wanted, wanted}));
    ASSERT_TRUE(succeeded(vcam({"warm", "--from", "127", "--to", "0", "--steps", "128"})));
    for (int wanted = 127; wanted >= 0; wanted--)
        EXPECT_EQ(as_samples(), static_cast<float>(wanted));
    EXPECT_EQ(as_text().isp, 127) << "has a curve of its own";
}

TEST(VcamWarm, DegreesEndACurve)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"warm", "--from", "20", "--to", "45", "--steps", "6"})));
    ASSERT_TRUE(succeeded(vcam({"warm", "30"})));
    EXPECT_EQ(as_text(), (degrees{30, 30, 30}));
    EXPECT_FALSE(camera.exists(std::string(ISP) + ".play"));
}

TEST(VcamWarm, ShowsWhatIsThereAndWhatIsNot)
{
    const test::Camera camera;
    camera.write(virt::THERMISTOR, "999999\n");
    camera.write(ISP, "33\n");
    EXPECT_EQ(vcam({"warm"}).out, "sensor temperature: -1482 degrees\nisp temperature: 33 degrees\n"
                                  "cpu temperature: not known\n");
}

TEST(VcamWarm, WhatIsWrongIsRefused)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"warm", "128"}), "'128' is no number from 0 to 127"));
    EXPECT_TRUE(failed(vcam({"warm", "--", "-1"}), "'-1' is no number from 0 to 127"));
    EXPECT_TRUE(failed(vcam({"warm", "--from", "20", "--to", "30"}), "--from requires --steps"));
    EXPECT_TRUE(failed(vcam({"warm", "--steps", "3"}), "--steps requires --from"));
    EXPECT_TRUE(failed(vcam({"warm", "30", "--from", "20", "--to", "30", "--steps", "3"}),
                       "DEGREES excludes --from"));
    EXPECT_FALSE(camera.exists(ISP));
    camera.write(std::string(ISP) + "/in the way", "");
    EXPECT_TRUE(failed(vcam({"warm", "30"}), "m7_tsu/isp' cannot be written"));
}
