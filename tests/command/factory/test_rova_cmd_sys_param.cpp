#include "tests/command/command_test.h"

#include <nlohmann/json.hpp>
#include <platform/pref.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr int COUNT_PARTITION = 3;

struct Counter {
    const char *word;
    int key;
    const char *label;
};

} // namespace

class SysParamCounter : public CommandTest, public testing::WithParamInterface<Counter>
{
protected:
    std::string line(const std::string &rest) const
    {
        return std::string("sys_param ") + GetParam().word + rest;
    }
    static int stored() { return pref_get_long(COUNT_PARTITION, GetParam().key); }
    std::string stores(const std::string &number) const
    {
        return "pref_set_long[3," + std::to_string(GetParam().key) + "," + number + "]";
    }
    std::string shows(const std::string &number) const
    {
        return std::string("factory_osd_text_set[2,\"") + GetParam().label + number + " \"]";
    }
    std::vector<std::string> done() const
    {
        return told({"pref_set_long", "pref_save", "factory_osd_text_set"});
    }
};

TEST_P(SysParamCounter, SetStoresTheNumberAndShowsIt)
{
    EXPECT_EQ(run(line(" set 4711")), OK);
    EXPECT_EQ(stored(), 4711);
    EXPECT_THAT(done(), ElementsAre(stores("4711"), shows("4711")));
}

TEST_P(SysParamCounter, SetMayBeInCapitals)
{
    EXPECT_EQ(run(line(" SeT -3"), ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(done(), ElementsAre(stores("-3"), shows("-3")));
}

TEST_P(SysParamCounter, SetWithoutANumberStoresZero)
{
    ASSERT_EQ(pref_set_long(COUNT_PARTITION, GetParam().key, 9), 0);
    EXPECT_EQ(run(line(" set")), OK);
    EXPECT_EQ(stored(), 0);
    EXPECT_THAT(done(), ElementsAre(stores("9"), stores("0"), shows("0")));
}

TEST_P(SysParamCounter, WhatIsNoNumberStoresZero)
{
    EXPECT_EQ(run(line(" set many")), OK);
    EXPECT_THAT(done(), ElementsAre(stores("0"), shows("0")));
}

TEST_P(SysParamCounter, AnotherWordOrNoneIsNg)
{
    for (const char *rest : {"", " get", " setx 1", " 5"})
        EXPECT_EQ(run(line(rest)), NG) << rest;
    EXPECT_EQ(run(line(" reset 1"), ROVA_CMD_PTP), PTP_NG);
    EXPECT_THAT(done(), IsEmpty());
}

// What stands behind the parameters of a record is no parameter.
TEST_P(SysParamCounter, AWordBeyondTheCountIsNotSeen)
{
    cmd_data record = record_of(line(" set 5"));
    record.p_count = 1;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
    EXPECT_THAT(done(), IsEmpty());
}

TEST_P(SysParamCounter, ANumberThatIsRefusedIsNgAndTheOldOneIsShown)
{
    ASSERT_EQ(pref_set_long(COUNT_PARTITION, GetParam().key, 9), 0);
    camera.fault("pref_set_long", "-5");
    EXPECT_EQ(run(line(" set 10")), NG);
    EXPECT_TRUE(camera.logged("pref_set_long(3, " + std::to_string(GetParam().key) +
                              ") failed (ret = -5) "));
    EXPECT_THAT(told({"factory_osd_text_set"}), ElementsAre(shows("9")));
}

TEST_P(SysParamCounter, NeedsNoCameraApplication)
{
    EXPECT_EQ(run(line(" set 1")), OK);
    EXPECT_FALSE(camera.logged("failed"));
}

INSTANTIATE_TEST_SUITE_P(SysParam, SysParamCounter,
                         testing::Values(Counter{"pwron_count", 580, "power on count  = "},
                                         Counter{"intflash_count", 584,
                                                 "int_flash_count  count  = "},
                                         Counter{"extflash_count", 588, "ext_flash_count  = "}),
                         [](const auto &row) { return std::string(row.param.word); });
