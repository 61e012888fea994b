// A program of its own: the mark that was set last lives as long as the process.
#include "tests/command/command_test.h"

namespace
{

class ProcMarkStart : public test::CommandTest
{
protected:
    void expect_no_mark(std::size_t times)
    {
        EXPECT_EQ(run("proc_mark show"), test::NG);
        EXPECT_EQ(times_logged("\033[33minvalid mark! (id = 0) \033[m"), times);
    }
};

TEST_F(ProcMarkStart, ShowHasNothingUntilAMarkHasBeenSet)
{
    expect_no_mark(1);

    run("proc_mark check KEY N");
    run("proc_mark set KEY p");
    run("proc_mark set key P");
    camera.fault("pref_save", "-1");
    run("proc_mark set KEY P");
    camera.clear_fault("pref_save");
    expect_no_mark(2);

    run("proc_mark set KEY P");
    EXPECT_EQ(run("proc_mark show"), test::OK);
    EXPECT_EQ(times_logged("\033[33mid = KEY, val = P \033[m"), 1U);
    EXPECT_EQ(times_logged("invalid mark!"), 2U);
}

} // namespace
