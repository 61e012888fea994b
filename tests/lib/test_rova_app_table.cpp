#include "lib/rova_app_table.h"

#include "tests/lib/channel_test.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using test::answer_bytes;
using test::bytes_of;
using test::record_of;

namespace
{

std::vector<std::string> called;

int write_result(const cmd_data *record, rova_cmd_response *answer)
{
    called.push_back(record->p[0]);
    answer->result = 9;
    return 0;
}

int write_nothing(const cmd_data *, rova_cmd_response *)
{
    called.emplace_back("nothing");
    return 1;
}

constexpr rova_app_cmd TABLE[] = {
    {"first", write_result}, {"second", write_nothing}, {"first", write_nothing}};

class AppTable : public testing::Test
{
protected:
    AppTable() { called.clear(); }
    bool exec(const cmd_data &record) { return rova_app_cmd_exec(TABLE, &record, &answer); }

    rova_cmd_response answer = {};
};

} // namespace

TEST_F(AppTable, TheFirstRowOfAWordInAnyCaseRunsAndItsResultIsNotLookedAt)
{
    EXPECT_TRUE(exec(record_of("FiRST", "set")));
    EXPECT_EQ(called, std::vector<std::string>{"set"});
    EXPECT_EQ(answer.result, 9);
    EXPECT_TRUE(exec(record_of("second")));
    EXPECT_EQ(called.back(), "nothing");
    EXPECT_EQ(called.size(), 2U);
}

TEST_F(AppTable, AnUnknownWordLeavesTheAnswerAlone)
{
    for (const char *word : {"", "firs", "first ", "third"})
        EXPECT_FALSE(exec(record_of(word))) << word;
    EXPECT_TRUE(called.empty());
    EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0));
}

TEST_F(AppTable, AWordWithoutAnEndIsUnknown)
{
    cmd_data record;
    std::memset(&record, 'f', sizeof(record));
    EXPECT_FALSE(exec(record));
    EXPECT_FALSE(rova_app_cmd_exec({}, &record, &answer));
}
