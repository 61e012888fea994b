#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "common/rova_proc_mark_handler.h"
#include "platform/pref.h"
#include "tests/command/command_test.h"

#include <algorithm>
#include <fstream>
#include <sstream>

using test::NG;
using test::OK;

namespace
{

constexpr char SET_KEY_P[] = "set_proc_mark: 0x8550000000000002, value=2, KEY, OK \nresp : OK \n";

class ProcMarkCommand : public test::CommandTest
{
protected:
    uint8_t *data() const
    {
        return static_cast<uint8_t *>(pref_get_addr(2, nullptr)) + PREF_HEADER_SIZE;
    }

    bool has_errors() const { return times_logged("\033[31m") != 0; }
    bool has_error(const std::string &text) const
    {
        return times_logged("\033[31m" + text + "\033[m") == 1;
    }
    bool has_notice(const std::string &text) const
    {
        return times_logged("\033[33m" + text + "\033[m") == 1;
    }
};

class ProcMarkSet : public ProcMarkCommand
{
};

class ProcMarkCheck : public ProcMarkCommand
{
};

class ProcMarkShow : public ProcMarkCommand
{
};

// The marks of the table in the manual page's entry; the rows of its other table begin with a
// single letter.
std::vector<std::string> marks_of_the_manual()
{
    std::ifstream page(ROVA_SOURCE_DIR "/man/rova-script.5");
    std::vector<std::string> marks;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with(".Ss "))
            inside = line == ".Ss proc_mark";
        std::istringstream words(line);
        std::string item, macro, word;
        words >> item >> macro >> word;
        if (!inside || item != ".It" || macro != "Cm" || word.size() < 2)
            continue;
        do
            marks.push_back(word);
        while (words >> item >> macro >> word);
    }
    return marks;
}

TEST_F(ProcMarkSet, StoresTheMarkAndSavesThePartition)
{
    EXPECT_EQ(run("proc_mark set KEY P"), SET_KEY_P);
    EXPECT_EQ(data()[2], 2);
    EXPECT_EQ(told({"pref_save"}), std::vector<std::string>{"pref_save[2]"});
    EXPECT_FALSE(has_errors());
}

TEST_F(ProcMarkSet, EachLetterHasItsValue)
{
    data()[2] = 9;
    run("proc_mark set KEY N");
    EXPECT_EQ(data()[2], 0);
    run("proc_mark set KEY E");
    EXPECT_EQ(data()[2], 1);
    run("proc_mark set KEY P");
    EXPECT_EQ(data()[2], 2);
}

TEST_F(ProcMarkSet, TakesEveryMarkOfTheTable)
{
    camera.fault("pref_save", "0");
    for (std::size_t i = 0; i < 68; i++) {
        std::string name = rova_proc_mark_info[i].name;
        EXPECT_THAT(run("proc_mark set " + name + " E"), testing::EndsWith(OK)) << name;
        EXPECT_EQ(data()[i], 1) << name;
    }
    EXPECT_EQ(data()[68], 0);
}

TEST_F(ProcMarkSet, AnswersThePc)
{
    EXPECT_THAT(run("proc_mark set KEY P", ROVA_CMD_PTP), testing::EndsWith(test::PTP_OK));
    EXPECT_EQ(run("proc_mark set KEY p", ROVA_CMD_PTP), test::PTP_NG);
}

TEST_F(ProcMarkSet, WordsBehindTheLetterCountForNothing)
{
    EXPECT_EQ(run("proc_mark set KEY P x y z"), SET_KEY_P);
}

TEST_F(ProcMarkSet, TooFewParametersAreNgWithoutAMessage)
{
    for (const char *line : {"proc_mark set", "proc_mark set KEY"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_FALSE(has_errors());
    EXPECT_TRUE(told({"pref_save"}).empty());
}

TEST_F(ProcMarkSet, LettersAreCaseSensitive)
{
    EXPECT_EQ(run("proc_mark set KEY p"), NG);
    EXPECT_TRUE(has_error("Unknown proc_mark value (p) "));
    EXPECT_EQ(run("PROC_MARK SET KEY P"), SET_KEY_P);
}

TEST_F(ProcMarkSet, TheLetterOfOtherValuesIsNotTaken)
{
    EXPECT_EQ(run("proc_mark set KEY U"), NG);
    EXPECT_TRUE(has_error("Unknown proc_mark value (U) "));
    EXPECT_EQ(run("proc_mark set KEY 2"), NG);
    EXPECT_TRUE(has_error("Unknown proc_mark value (2) "));
}

TEST_F(ProcMarkSet, NamesAreExact)
{
    EXPECT_EQ(run("proc_mark set key P"), NG);
    EXPECT_TRUE(has_error("Not found `key' on proc_mark list "));
    EXPECT_TRUE(told({"pref_save"}).empty());
}

TEST_F(ProcMarkSet, TheEndOfTheTableIsNoMark)
{
    EXPECT_EQ(run("proc_mark set end P"), NG);
    EXPECT_TRUE(has_error("Not found `end' on proc_mark list "));
}

TEST_F(ProcMarkSet, TheLetterIsTestedBeforeTheName)
{
    EXPECT_EQ(run("proc_mark set key p"), NG);
    EXPECT_TRUE(has_error("Unknown proc_mark value (p) "));
    EXPECT_EQ(times_logged("Not found"), 0U);
}

TEST_F(ProcMarkSet, FailsWhenSavingDoes)
{
    camera.fault("pref_save", "-1");
    EXPECT_EQ(run("proc_mark set KEY P"),
              "set_proc_mark: 0x8550000000000002, value=2, pref_save(PREF_ID_LINE) failed, NG \n"
              "resp : NG \n");
    EXPECT_TRUE(has_error("rova_set_proc_mark_value() failed (KEY, P) "));
}

TEST_F(ProcMarkSet, FailsWithoutThePartition)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(run("proc_mark set KEY P"),
              "set_proc_mark: 0x8550000000000002, value=2, pref_addr is NULL, NG \n"
              "resp : NG \n");
    EXPECT_TRUE(has_error("pref_addr is NULL (id=0x8550000000000002) "));
    EXPECT_TRUE(has_error("rova_set_proc_mark_value() failed (KEY, P) "));
}

TEST_F(ProcMarkCheck, PassesWithTheStoredValueOnly)
{
    const std::string letters[] = {"N", "E", "P"};
    for (uint8_t stored = 0; stored < 3; stored++)
        for (uint8_t given = 0; given < 3; given++) {
            data()[2] = stored;
            EXPECT_EQ(run("proc_mark check KEY " + letters[given]), stored == given ? OK : NG);
        }
    EXPECT_TRUE(told({"pref_save"}).empty());
}

TEST_F(ProcMarkCheck, TellsTheStoredLetterAndTheGivenOne)
{
    data()[67] = 1;
    EXPECT_EQ(run("proc_mark check MR P"), NG);
    EXPECT_TRUE(has_error("value (E) != check_value (P) "));
}

TEST_F(ProcMarkCheck, AValueWithoutALetterOfItsOwnIsToldAsU)
{
    data()[2] = 3;
    EXPECT_EQ(run("proc_mark check KEY P"), NG);
    EXPECT_TRUE(has_error("value (U) != check_value (P) "));
    EXPECT_EQ(run("proc_mark check KEY U"), NG);
    EXPECT_TRUE(has_error("Unknown proc_mark value (U) "));
}

TEST_F(ProcMarkCheck, TooFewParametersAreNgWithoutAMessage)
{
    for (const char *line : {"proc_mark check", "proc_mark check KEY"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_FALSE(has_errors());
}

TEST_F(ProcMarkCheck, NamesAreExact)
{
    EXPECT_EQ(run("proc_mark check key N"), NG);
    EXPECT_TRUE(has_error("Not found 'key' on proc_mark list "));
    EXPECT_EQ(run("proc_mark check end N"), NG);
    EXPECT_TRUE(has_error("Not found 'end' on proc_mark list "));
}

TEST_F(ProcMarkCheck, TheLetterIsTestedBeforeTheName)
{
    EXPECT_EQ(run("proc_mark check key n"), NG);
    EXPECT_TRUE(has_error("Unknown proc_mark value (n) "));
    EXPECT_EQ(times_logged("Not found"), 0U);
}

// A mark that cannot be read is not told apart from one that was never set.
TEST_F(ProcMarkCheck, ReadsNWithoutThePartition)
{
    data()[2] = 2;
    camera.fault("pref_get_addr", "0");
    const std::string line = "get_proc_mark: pref_addr is NULL (id=0x8550000000000002) \n";
    EXPECT_EQ(run("proc_mark check KEY N"), line + OK);
    EXPECT_EQ(run("proc_mark check KEY P"), line + NG);
    EXPECT_TRUE(has_error("value (N) != check_value (P) "));
}

TEST_F(ProcMarkCheck, SeesTheStepLabelAsAMark)
{
    run("step_label set 2");
    EXPECT_EQ(run("proc_mark check STEP_LABEL P"), OK);
    run("proc_mark set STEP_LABEL E");
    EXPECT_EQ(run("step_label check 1"), OK);
}

TEST_F(ProcMarkShow, NamesTheMarkSetLast)
{
    run("proc_mark set KEY P");
    run("proc_mark set TOUCH E");
    EXPECT_EQ(run("proc_mark show"), OK);
    EXPECT_TRUE(has_notice("id = TOUCH, val = E "));
    EXPECT_FALSE(has_errors());
}

TEST_F(ProcMarkShow, TakesAnyNumberOfParameters)
{
    run("proc_mark set KEY N");
    EXPECT_EQ(run("proc_mark show TOUCH P"), OK);
    cmd_data record = test::record_of("proc_mark show");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), OK);
    EXPECT_EQ(times_logged("\033[33mid = KEY, val = N \033[m"), 2U);
}

TEST_F(ProcMarkShow, KeepsTheMarkOfTheLastSetThatSucceeded)
{
    run("proc_mark set KEY P");
    run("proc_mark set TOUCH e");
    run("proc_mark set touch E");
    run("proc_mark set TOUCH");
    run("proc_mark check TOUCH N");
    camera.fault("pref_save", "-1");
    run("proc_mark set TOUCH E");
    EXPECT_EQ(run("proc_mark show"), OK);
    EXPECT_TRUE(has_notice("id = KEY, val = P "));
}

// What was set, not what is stored now.
TEST_F(ProcMarkShow, DoesNotReadThePartition)
{
    run("proc_mark set KEY P");
    data()[2] = 1;
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(run("proc_mark show"), OK);
    EXPECT_TRUE(has_notice("id = KEY, val = P "));
}

TEST_F(ProcMarkCommand, AnUnknownSubcommandIsNotTaken)
{
    cmd_data record = test::record_of("proc_mark get KEY P");
    EXPECT_EQ(rova_cmd_proc_mark(ROVA_CMD_SCRIPT, &record), 0);
    EXPECT_TRUE(has_error("Not found on proc_mark command table "));
    record = {};
    EXPECT_EQ(rova_cmd_proc_mark(ROVA_CMD_SCRIPT, &record), 0);
    EXPECT_EQ(run("proc_mark sets KEY P"), test::NO_ANSWER);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
}

TEST_F(ProcMarkCommand, EachHandlerReturnsOneWhateverItAnswers)
{
    for (const char *line :
         {"proc_mark set KEY P", "proc_mark set KEY", "proc_mark set KEY p", "proc_mark set key P",
          "proc_mark check KEY P", "proc_mark check KEY N", "proc_mark check", "proc_mark show"}) {
        cmd_data record = test::record_of(line);
        EXPECT_EQ(rova_cmd_proc_mark(ROVA_CMD_SCRIPT, &record), 1) << line;
    }
}

TEST_F(ProcMarkCommand, TheManualListsAllMarks)
{
    std::vector<std::string> told = marks_of_the_manual();
    std::vector<std::string> marks;
    for (std::size_t i = 0; i < 68; i++)
        marks.push_back(rova_proc_mark_info[i].name);
    EXPECT_THAT(told, testing::UnorderedElementsAreArray(marks));
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
}

} // namespace
