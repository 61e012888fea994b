#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "platform/pref.h"
#include "tests/command/command_test.h"

using test::NG;
using test::OK;

namespace
{

class StepLabelCommand : public test::CommandTest
{
protected:
    uint8_t &label() const
    {
        return static_cast<uint8_t *>(pref_get_addr(2, nullptr))[PREF_HEADER_SIZE];
    }

    bool has_errors() const { return times_logged("\033[31m") != 0; }
    bool has_error(const std::string &text) const
    {
        return times_logged("\033[31m" + text + "\033[m") == 1;
    }

    void expect_refused(const std::string &number, const std::string &shown)
    {
        for (const std::string word : {"set ", "check "}) {
            std::string text = "Invalid step_label value=" + shown + ",(0<value<=99)\033[m";
            std::size_t before = times_logged(text);
            EXPECT_EQ(run("step_label " + word + number), NG) << word << number;
            EXPECT_EQ(times_logged(text), before + 1) << word << number;
        }
        EXPECT_TRUE(told({"pref_save"}).empty());
    }
};

class StepLabelSet : public StepLabelCommand
{
};

class StepLabelCheck : public StepLabelCommand
{
};

TEST_F(StepLabelSet, StoresTheLabelAndSavesThePartition)
{
    EXPECT_EQ(run("step_label set 12"), OK);
    EXPECT_EQ(label(), 12);
    EXPECT_EQ(told({"pref_save"}), std::vector<std::string>{"pref_save[2]"});
    EXPECT_FALSE(has_errors());
}

TEST_F(StepLabelSet, TakesOneToNinetyNine)
{
    camera.fault("pref_save", "0");
    for (int number = 1; number <= 99; number++) {
        EXPECT_EQ(run("step_label set " + std::to_string(number)), OK) << number;
        EXPECT_EQ(label(), number);
        EXPECT_EQ(run("step_label check " + std::to_string(number)), OK) << number;
    }
}

TEST_F(StepLabelCommand, ZeroAndAHundredAreRefused)
{
    expect_refused("0", "0");
    expect_refused("100", "100");
    expect_refused("127", "127");
    EXPECT_EQ(label(), 0);
}

TEST_F(StepLabelCommand, ARefusedNumberIsToldAsASignedByte)
{
    expect_refused("128", "-128");
    expect_refused("200", "-56");
    expect_refused("255", "-1");
    expect_refused("-1", "-1");
}

TEST_F(StepLabelCommand, WhatIsNoNumberIsZero)
{
    expect_refused("x", "0");
    expect_refused("0x10", "0");
}

TEST_F(StepLabelCommand, OnlyTheLowByteOfANumberIsTested)
{
    expect_refused("256", "0");
    expect_refused("356", "100");
    expect_refused("99999999999999999999", "-1"); // the largest number there is
    for (const auto &[number, byte] :
         {std::pair{"257", 1}, {"355", 99}, {"-255", 1}, {"65541", 5}}) {
        EXPECT_EQ(run(std::string("step_label set ") + number), OK) << number;
        EXPECT_EQ(label(), byte) << number;
    }
}

TEST_F(StepLabelCommand, ANumberEndsWithItsLastDigit)
{
    EXPECT_EQ(run("step_label set 12ab"), OK);
    EXPECT_EQ(label(), 12);
    EXPECT_EQ(run("step_label check 12.9"), OK);
}

TEST_F(StepLabelCommand, TooFewParametersAreNgWithoutAMessage)
{
    EXPECT_EQ(run("step_label set"), NG);
    EXPECT_EQ(run("step_label check"), NG);
    EXPECT_FALSE(has_errors());
}

TEST_F(StepLabelCommand, WordsBehindTheNumberCountForNothing)
{
    EXPECT_EQ(run("step_label set 7 x y"), OK);
    EXPECT_EQ(run("STEP_LABEL CHECK 7 z"), OK);
}

TEST_F(StepLabelCommand, AnswersThePc)
{
    EXPECT_EQ(run("step_label set 7", ROVA_CMD_PTP), test::PTP_OK);
    EXPECT_EQ(run("step_label check 7", ROVA_CMD_PTP), test::PTP_OK);
    EXPECT_EQ(run("step_label check 8", ROVA_CMD_PTP), test::PTP_NG);
}

TEST_F(StepLabelSet, FailsWhenSavingDoes)
{
    camera.fault("pref_save", "-1");
    EXPECT_EQ(run("step_label set 257"), NG);
    EXPECT_TRUE(has_error("pref_save(PREF_ID_LINE) failed "));
    EXPECT_TRUE(has_error("failed rova_set_step_label_value(1)"));
}

TEST_F(StepLabelSet, FailsWithoutThePartition)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(run("step_label set 99"), NG);
    EXPECT_TRUE(has_error("pref_addr is NULL (id=0x8550000000000000) "));
    EXPECT_TRUE(has_error("failed rova_set_step_label_value(99)"));
}

TEST_F(StepLabelCheck, TellsBothValuesOfAMismatch)
{
    label() = 11;
    EXPECT_EQ(run("step_label check 268"), NG); // 12
    EXPECT_TRUE(has_error("mismatched check_val(12) != val(11) "));
    EXPECT_EQ(label(), 11);
    EXPECT_TRUE(told({"pref_save"}).empty());
}

TEST_F(StepLabelCheck, PassesForANumberWithTheLabelsLowByte)
{
    label() = 11;
    for (const char *number : {"11", "267", "-245", "+11", "011"})
        EXPECT_EQ(run(std::string("step_label check ") + number), OK) << number;
    EXPECT_FALSE(has_errors());
}

TEST_F(StepLabelCheck, AStoredByteIsToldSigned)
{
    label() = 0xff;
    EXPECT_EQ(run("step_label check 99"), NG);
    EXPECT_TRUE(has_error("mismatched check_val(99) != val(-1) "));
}

TEST_F(StepLabelCheck, ReadsZeroWithoutThePartition)
{
    label() = 5;
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(run("step_label check 5"), NG);
    EXPECT_TRUE(has_error("pref_addr is NULL (id=0x8550000000000000) "));
    EXPECT_TRUE(has_error("mismatched check_val(5) != val(0) "));
}

TEST_F(StepLabelCommand, AnUnknownSubcommandIsNotTaken)
{
    cmd_data record = test::record_of("step_label show 5");
    EXPECT_EQ(rova_cmd_step_label(ROVA_CMD_SCRIPT, &record), 0);
    EXPECT_TRUE(has_error("Not found on step_label command table "));
    EXPECT_EQ(run("step_label"), test::NO_ANSWER);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
}

TEST_F(StepLabelCommand, EachHandlerReturnsOneWhateverItAnswers)
{
    for (const char *line : {"step_label set 5", "step_label set 0", "step_label set",
                             "step_label check 5", "step_label check 6", "step_label check"}) {
        cmd_data record = test::record_of(line);
        EXPECT_EQ(rova_cmd_step_label(ROVA_CMD_SCRIPT, &record), 1) << line;
    }
}

} // namespace
