#include "command/rova_cmd_result.h"
#include "common/rova_adjdata_handler.h"
#include "tests/command/command_test.h"

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr char SAVED[] =
    "set_adjdata: 0x8560000000000004, size=4, save=1, ENGINEERING_SAMPLE, OK \nresp : OK \n";
constexpr char SAVED_FOR_PC[] =
    "set_adjdata: 0x8560000000000004, size=4, save=1, ENGINEERING_SAMPLE, OK \n"
    "resp : OK <ptp> 0x10000002, 0x00000000, 0x00000000 \n";

} // namespace

class Sample : public CommandTest
{
protected:
    static int32_t mark()
    {
        return rova_adjdata_number(rova_get_adjdata(ADJ_ID_ENGINEERING_SAMPLE), 4);
    }
    static void set_mark(int32_t number)
    {
        ASSERT_EQ(rova_set_adjdata(ADJ_ID_ENGINEERING_SAMPLE, &number, 4, 0), 1);
    }
};

TEST_F(Sample, OnStoresOneAndSavesIt)
{
    set_mark(-1);
    EXPECT_EQ(run("sample on"), SAVED);
    EXPECT_EQ(mark(), 1);
    EXPECT_THAT(told({"pref_save"}), ElementsAre("pref_save[4]"));
}

TEST_F(Sample, OffStoresZeroAndSavesIt)
{
    set_mark(0x01010101);
    EXPECT_EQ(run("SAMPLE Off", ROVA_CMD_PTP), SAVED_FOR_PC);
    EXPECT_EQ(mark(), 0);
    EXPECT_THAT(told({"pref_save"}), ElementsAre("pref_save[4]"));
}

TEST_F(Sample, MoreWordsDoNotCount)
{
    EXPECT_EQ(run("sample on off"), SAVED);
    EXPECT_EQ(mark(), 1);
}

TEST_F(Sample, ASaveThatFailsIsNg)
{
    camera.fault("pref_save", "-1");
    EXPECT_TRUE(run("sample on").ends_with(NG));
    EXPECT_TRUE(run("sample off", ROVA_CMD_PTP).ends_with(PTP_NG));
    EXPECT_EQ(times_logged("failed to rova_set_adjdata() ADJ_ID_ENGINEERING_SAMPLE"), 2U);
}

TEST_F(Sample, AnotherWordIsAnsweredWithNg)
{
    set_mark(1);
    for (const char *line : {"sample onn", "sample 0", "sample"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_EQ(rova_cmd_get_result(), 1U) << line;
        EXPECT_EQ(run(line, ROVA_CMD_PTP2), PTP_NG) << line;
    }
    EXPECT_EQ(times_logged("Not found on sample command table "), 6U);
    EXPECT_FALSE(camera.logged("so skip all next command"));
    EXPECT_EQ(mark(), 1);
    EXPECT_THAT(told({"pref_save"}), IsEmpty());
}
