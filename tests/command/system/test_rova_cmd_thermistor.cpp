#include "command/rova_cmd_handler.h"
#include "common/rova_adjdata_handler.h"
#include "tests/command/system/readout_test.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>

using namespace test;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

constexpr char CIS[] = "/sys/devices/platform/movra7-thermister/cmos_thermister";
constexpr char ISP[] = "/sys/devices/platform/m7_tsu/isp";
constexpr char CPU[] = "/sys/devices/platform/m7_tsu/cpu";
constexpr char CARD_CSV[] = "/sdcard/thermistor.csv";

int32_t stored(uint64_t id)
{
    return rova_adjdata_number(rova_get_adjdata(id), 4);
}

} // namespace

class Thermistor : public ReadoutTest
{
protected:
    // The image sensor's value stands for 20 degrees.
    Thermistor()
    {
        camera.write(CIS, "896\n");
        camera.write(ISP, "45\n");
        camera.write(CPU, "51\n");
    }
};

TEST_F(Thermistor, AnUnknownWordIsNotHandled)
{
    EXPECT_EQ(run("thermistor limit"), NO_ANSWER);
    EXPECT_TRUE(camera.logged("Not found on thermistor command table "));
}

// ------------------------------------------------------------------------- show

TEST_F(Thermistor, ShowsThreeTemperatures)
{
    EXPECT_EQ(run("THERMISTOR Show"), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"Temperature ISP: 45 "])",
                                     R"(factory_osd_text_set[3,"Temperature CPU: 51 "])",
                                     R"(factory_osd_text_set[4,"Temperature CIS: 20 "])"));
}

TEST_F(Thermistor, ShowsNoneWhenOneIsMissing)
{
    for (const char *path : {CIS, ISP, CPU}) {
        const std::string text = camera.read(path);
        camera.remove(path);
        EXPECT_EQ(run("thermistor show"), NG) << path;
        camera.write(path, text);
    }
    EXPECT_EQ(times_logged("failed to read the temperatures "), 3U);
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(run("thermistor show"), OK);
}

TEST_F(Thermistor, ShowTakesNoParameter)
{
    EXPECT_EQ(run("thermistor show cis"), NG);
    EXPECT_THAT(shown(), IsEmpty());
}

// ------------------------------------------------------------------------- limits

TEST_F(Thermistor, LimitOnStoresTheTargetsNumber)
{
    const std::pair<const char *, int> targets[] = {
        {"cis", 1}, {"cpu", 2}, {"isp", 3}, {"isp_cpu", 4}};
    for (const auto &[word, number] : targets) {
        EXPECT_THAT(run(std::string("thermistor limit_on ") + word), EndsWith(OK));
        EXPECT_EQ(stored(ADJ_ID_TEMP_SENSOR_SELECT), number);
        EXPECT_TRUE(camera.logged(std::string("temp-sensor limit-on ") + word + " "));
        EXPECT_EQ(shown().back(), std::string(R"(factory_osd_text_set[3,"temp-sensor limit-on )") +
                                      word + R"( "])");
    }
    EXPECT_THAT(camera.calls("pref_save"), SizeIs(4));
}

TEST_F(Thermistor, LimitOnRefusesOtherTargets)
{
    EXPECT_EQ(run("thermistor limit_on"), NG);
    EXPECT_EQ(run("thermistor limit_on CIS"), NG);
    EXPECT_EQ(run("thermistor limit_on gyro"), NG);
    EXPECT_THAT(told({"pref_save", "factory_osd_text_set"}), IsEmpty());
}

TEST_F(Thermistor, LimitOffStoresZero)
{
    EXPECT_TRUE(passes("thermistor limit_on cpu"));
    EXPECT_TRUE(passes("thermistor limit_off"));
    EXPECT_EQ(stored(ADJ_ID_TEMP_SENSOR_SELECT), 0);
    EXPECT_TRUE(camera.logged("temp-sensor limit-off "));
    EXPECT_EQ(shown().back(), R"(factory_osd_text_set[3,"temp-sensor limit-off "])");
    EXPECT_THAT(camera.calls("pref_save"), SizeIs(2));
}

TEST_F(Thermistor, LimitOffTakesNoParameter)
{
    EXPECT_TRUE(passes("thermistor limit_on cpu"));
    EXPECT_FALSE(passes("thermistor limit_off cpu"));
    EXPECT_EQ(stored(ADJ_ID_TEMP_SENSOR_SELECT), 2);
}

TEST_F(Thermistor, ALimitThatCannotBeSavedFails)
{
    camera.fault("pref_save", "-1");
    EXPECT_THAT(run("thermistor limit_on cis"), EndsWith(NG));
    EXPECT_THAT(run("thermistor limit_off"), EndsWith(NG));
    EXPECT_FALSE(camera.logged("temp-sensor limit"));
    EXPECT_THAT(shown(), IsEmpty());
}

// ------------------------------------------------------------------------- thresh

TEST_F(Thermistor, ThresholdsAreSetAndGot)
{
    struct {
        const char *words;
        uint64_t item;
    } const rows[] = {
        {"cis warning", ADJ_ID_TEMP_SENSOR_CIS_TH_WARNING},
        {"cis critical", ADJ_ID_TEMP_SENSOR_CIS_TH_CRITICAL},
        {"cpu warning", ADJ_ID_TEMP_SENSOR_CPU_TH_WARNING},
        {"cpu critical", ADJ_ID_TEMP_SENSOR_CPU_TH_CRITICAL},
        {"isp warning", ADJ_ID_TEMP_SENSOR_ISP_TH_WARNING},
        {"isp critical", ADJ_ID_TEMP_SENSOR_ISP_TH_CRITICAL},
    };
    int value = 60;
    for (const auto &row : rows) {
        const std::string target(row.words, 3), level(row.words + 4),
            number = std::to_string(++value);
        EXPECT_THAT(run("thermistor thresh set " + std::string(row.words) + " " + number),
                    EndsWith(OK));
        EXPECT_EQ(stored(row.item), value);
        EXPECT_EQ(run("thermistor thresh get " + std::string(row.words)), OK);
        const std::string text =
            "temp-sensor threshold " + target + " = " + number + " [" + level + "] ";
        EXPECT_EQ(times_logged(text), 2U);
        EXPECT_EQ(std::ranges::count(shown(), "factory_osd_text_set[3,\"" + text + "\"]"), 2);
    }
    value = 60;
    for (const auto &row : rows)
        EXPECT_EQ(stored(row.item), ++value) << row.words;
    EXPECT_THAT(camera.calls("pref_save"), SizeIs(6));
}

TEST_F(Thermistor, ThresholdsHaveASign)
{
    EXPECT_TRUE(passes("thermistor thresh set isp warning -7x extra"));
    EXPECT_EQ(stored(ADJ_ID_TEMP_SENSOR_ISP_TH_WARNING), -7);
    EXPECT_TRUE(passes("thermistor thresh get isp warning extra"));
    EXPECT_EQ(times_logged("temp-sensor threshold isp = -7 [warning] "), 2U);
}

TEST_F(Thermistor, AThresholdWithoutAValueIsNotSet)
{
    EXPECT_TRUE(passes("thermistor thresh set cis warning 5"));
    EXPECT_FALSE(passes("thermistor thresh set cis warning"));
    EXPECT_EQ(stored(ADJ_ID_TEMP_SENSOR_CIS_TH_WARNING), 5);
    EXPECT_THAT(shown(), SizeIs(1));
}

TEST_F(Thermistor, OtherThresholdsAreRefused)
{
    for (const char *words : {"", "get", "get cis", "get isp_cpu warning", "set isp_cpu critical 5",
                              "get CIS warning", "get cis fatal", "get cis WARNING",
                              "put cis warning 5", "GET cis warning", "get gyro warning"})
        EXPECT_EQ(run(std::string("thermistor thresh ") + words), NG) << words;
    EXPECT_THAT(told({"pref_save", "factory_osd_text_set"}), IsEmpty());
}

TEST_F(Thermistor, AThresholdThatCannotBeSavedOrReadFails)
{
    camera.fault("pref_save", "-1");
    EXPECT_FALSE(passes("thermistor thresh set cis warning 5"));
    camera.fault("pref_get_addr", "0");
    EXPECT_FALSE(passes("thermistor thresh get cis warning"));
    EXPECT_THAT(shown(), IsEmpty());
}

// ------------------------------------------------------------------------- osd

class ThermistorOsd : public Thermistor
{
protected:
    static constexpr char ON[] = "thermistor osd on";
    static constexpr char OFF[] = "thermistor osd off";

    std::vector<std::string> rows() const { return lines_of(camera.read(CARD_CSV)); }
};

TEST_F(ThermistorOsd, ShowsAndWritesDownUntilItIsSwitchedOff)
{
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return rows().size() >= 2; }));
    EXPECT_EQ(thread_name(), std::string("ROVA osd thermistor").substr(0, 15));
    EXPECT_TRUE(passes(OFF));
    EXPECT_EQ(camera.read(CARD_CSV), "Index,CIS S/N,ISP, CPU, CIS\r\n1,0,045, 051, 020\r\n");
    EXPECT_THAT(told({"factory_osd_text_set", "factory_osd_text_clear"}),
                ElementsAre(R"(factory_osd_text_set[5,"Temperature ISP: 45 "])",
                            R"(factory_osd_text_set[6,"Temperature CPU: 51 "])",
                            R"(factory_osd_text_set[7,"Temperature CIS: 20 "])",
                            "factory_osd_text_clear[]"));
    expect_nothing_left();
}

TEST_F(ThermistorOsd, ReadsAgainEveryHalfSecond)
{
    wrap_record_sleeps(true);
    camera.write(std::string(ISP) + ".play", "9\n101\n");
    camera.write(std::string(CIS) + ".play", "896\n1056\n"); // 1056: -5 degrees
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return rows().size() >= 4; }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_EQ(rows().at(1), "1,0,009, 051, 020\r");
    EXPECT_EQ(rows().at(2), "2,0,101, 051, -05\r");
    EXPECT_THAT(wrap_sleeps(), AllOf(Contains(500000), Each(500000)));
}

TEST_F(ThermistorOsd, AReadingThatFailsIsLeftOut)
{
    camera.speed(1000);
    camera.remove(CPU);
    EXPECT_TRUE(passes(ON));
    camera.write(std::string(ISP) + ".play", "1\n2\n3\n");
    EXPECT_TRUE(wait_for([&] { return camera.read(ISP) == "3\n"; }));
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_THAT(rows(), SizeIs(1));
    camera.write(CPU, "60\n");
    EXPECT_TRUE(wait_for([&] { return rows().size() >= 2; }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_EQ(rows().at(1), "1,0,003, 060, 020\r");
}

TEST_F(ThermistorOsd, OffWithoutAThreadFails)
{
    EXPECT_EQ(run(OFF), NG);
    EXPECT_TRUE(camera.logged("thread is not created yet "));
    EXPECT_THAT(told({"factory_osd_text_clear"}), IsEmpty());
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(passes(OFF));
    EXPECT_FALSE(passes(OFF));
    EXPECT_EQ(times_logged("thread is not created yet "), 2U);
}

TEST_F(ThermistorOsd, OnTwiceLeavesOneThreadAndOneFile)
{
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return rows().size() >= 2; }));
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return rows().size() >= 3; }));
    EXPECT_TRUE(passes(OFF));
    expect_nothing_left();
    EXPECT_EQ(rows().at(2), "2,0,045, 051, 020\r");
}

TEST_F(ThermistorOsd, AThreadThatCannotBeCancelledIsForgottenAndWritesNoMore)
{
    camera.speed(1000);
    EXPECT_TRUE(passes(ON));
    const pthread_t thread = wrap_last_thread();
    EXPECT_TRUE(wait_for([&] { return rows().size() >= 2; }));
    wrap_fail("pthread_cancel", ESRCH, EPERM);
    EXPECT_FALSE(passes(OFF));
    EXPECT_TRUE(camera.logged("Thread cancel failed for thread [" +
                              std::to_string(static_cast<unsigned int>(thread)) +
                              "] (errno=" + std::to_string(EPERM) + ") "));
    EXPECT_THAT(told({"factory_osd_text_clear"}), IsEmpty());
    const std::size_t written = rows().size(), before = shown().size();
    EXPECT_TRUE(wait_for([&] { return shown().size() > before + 3; }));
    EXPECT_THAT(rows(), SizeIs(written));
    EXPECT_FALSE(passes(OFF));
    EXPECT_TRUE(camera.logged("thread is not created yet "));
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
    expect_nothing_left();
}

TEST_F(ThermistorOsd, AThreadThatCannotBeMadeIsTold)
{
    wrap_fail("pthread_create", EAGAIN);
    EXPECT_FALSE(passes(ON));
    EXPECT_TRUE(camera.logged("rova_thread_create() failed "));
    EXPECT_FALSE(passes(OFF));
    EXPECT_TRUE(camera.logged("thread is not created yet "));
    expect_nothing_left();
}

TEST_F(ThermistorOsd, WithoutAFileItShowsAllTheSame)
{
    camera.fault("sys_open", "-1 on thermistor.csv");
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(camera.logged("csv create fail"));
    EXPECT_TRUE(wait_for([&] { return shown().size() >= 3; }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_FALSE(camera.exists(CARD_CSV));
}

TEST_F(ThermistorOsd, ARowThatCannotBeWrittenIsTold)
{
    camera.fault("sys_write", "-1 at 4 on thermistor.csv");
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return camera.logged("csv write fail"); }));
    EXPECT_TRUE(passes(OFF));
}

TEST_F(ThermistorOsd, OtherWordsAreRefused)
{
    for (const char *line : {"thermistor osd", "thermistor osd ON", "thermistor osd 1"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_FALSE(camera.exists(CARD_CSV));
    expect_nothing_left();
}

TEST_F(ThermistorOsd, CanBeCancelledAtAnyInstant)
{
    camera.fault("sys_fdatasync", "0"); // each row would wait for the PC's disk
    switch_at_any_instant(ON, OFF, 300);
    const auto written = rows();
    EXPECT_GT(written.size(), std::size_t{CANCELLATIONS}); // none ends ahead of its first sleep
    ASSERT_EQ(written.size() - 1, shown().size() / 3);
    for (std::size_t i = 1; i < written.size(); i++)
        EXPECT_EQ(written[i], std::to_string(i) + ",0,045, 051, 020\r");
}
