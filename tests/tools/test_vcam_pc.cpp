// The PC's side, against answers that the test gives in the daemon's place.
#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "common/rova_ptp_keys.h"
#include "platform/virtual/keys.h"

#include <thread>

using tool::failed;
using tool::vcam;

namespace
{

struct answer {
    int word[3];
    int stream_type = 0;
    std::string stream = "";
};

// Answers the first request on `trigger`, once it has been written by someone else.
class fake_daemon
{
public:
    fake_daemon(const char *trigger, const answer &reply)
        : process_(tool::stand_in(tool::DAEMON)), thread_([this, trigger, reply] {
              if (test::wait_for([&] { return asked(trigger); }))
                  give(reply);
          })
    {
    }
    ~fake_daemon() { thread_.join(); }

private:
    bool asked(const std::string &trigger)
    {
        for (const virt::KeyChange &change : watch_.read()) {
            if (change.key.name == trigger)
                return true;
        }
        return false;
    }

    static void give(const answer &reply)
    {
        virt::set_int(ROVA_KEY_PMODE_STREAM_TYPE, reply.stream_type);
        virt::set_string(ROVA_KEY_PMODE_STREAM, reply.stream);
        virt::set_int(ROVA_KEY_PMODE_PARAM3, reply.word[2]);
        virt::set_int(ROVA_KEY_PMODE_PARAM2, reply.word[1]);
        virt::set_int(ROVA_KEY_PMODE_PARAM1, reply.word[0]);
    }

    virt::KeyWatch watch_;
    std::unique_ptr<test::Process> process_;
    std::thread thread_;
};

} // namespace

TEST(VcamPc, SendsTheLineAndPrintsTheThreeWords)
{
    const test::Camera camera;
    const fake_daemon daemon(ROVA_KEY_PMODE, {{0x10000002, 0, 0}});
    const test::Outcome pc = vcam({"pc", "osd", "string", "1", "x"});
    EXPECT_EQ(pc.status, 0) << pc.err;
    EXPECT_EQ(pc.out, "0x10000002 0x00000000 0x00000000 OK\n");
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE), "osd string 1 x");
}

TEST(VcamPc, AnAnswerEqualToTheOneBeforeCounts)
{
    const test::Camera camera;
    virt::set_int(ROVA_KEY_PMODE_PARAM1, 0x10000002);
    const fake_daemon daemon(ROVA_KEY_PMODE, {{0x10000002, 1, 0}});
    const test::Outcome pc = vcam({"pc", "delay 0"});
    EXPECT_EQ(pc.status, 1);
    EXPECT_EQ(pc.out, "0x10000002 0x00000001 0x00000000 NG\n");
}

TEST(VcamPc, TextAndFilesThatComeWithTheAnswerArePrinted)
{
    const test::Camera camera;
    camera.write("/tmp/adc.csv", "Index,CIS S/N\r\n");
    {
        const fake_daemon daemon(ROVA_KEY_PMODE, {{0x10000002, 0, 0x20000}, 2, "v1.2"});
        EXPECT_EQ(vcam({"pc", "a b"}).out, "0x10000002 0x00000000 0x00020000 OK\nv1.2\n");
    }
    {
        const fake_daemon daemon(ROVA_KEY_PMODE, {{0x10000002, 0, 0x10000}, 1, "/tmp/adc.csv"});
        EXPECT_EQ(vcam({"pc", "a b"}).out,
                  "0x10000002 0x00000000 0x00010000 OK\n/tmp/adc.csv\nIndex,CIS S/N\r\n");
    }
    const fake_daemon daemon(ROVA_KEY_PMODE, {{0x10000002, 0, 0x10000}, 1, "/tmp/none.csv"});
    EXPECT_EQ(vcam({"pc", "a b"}).err, "vcam: the camera has no file '/tmp/none.csv'\n");
}

TEST(VcamPc, ANumberIsSentBehindItsParameters)
{
    const test::Camera camera;
    virt::set_int(ROVA_KEY_PMODE_PROTOCOL5, 77);
    const virt::KeyWatch unread;
    virt::KeyWatch watch;
    const fake_daemon daemon(ROVA_KEY_PMODE_PROTOCOL1, {{0x10000002, 0, 0}});
    EXPECT_EQ(vcam({"pc", "--number", "0x10021000", "1", "-2", "0xffffffff"}).status, 0);
    std::vector<std::string> writes;
    for (const virt::KeyChange &change : watch.read())
        writes.push_back(change.key.name.substr(15) + "=" + change.key.value());
    ASSERT_GE(writes.size(), 5U);
    writes.resize(5);
    EXPECT_EQ(writes, (std::vector<std::string>{"pmode_protocol2=1", "pmode_protocol3=-2",
                                                "pmode_protocol4=-1", "pmode_protocol5=0",
                                                "pmode_protocol1=268570624"}));
}

TEST(VcamPc, AnAnswerWithANumberTakesItsVerdictFromTheFileLog)
{
    const test::Camera camera;
    const answer reply{{0x10030000, 5, 0}};
    camera.write("/opt/share/rova/rova.log",
                 "resp : OK <ptp> 0x1, 0x0, 0x0 \nresp : NG <ptp> 0x10030000, 0x5, 0x0 \n");
    {
        const fake_daemon daemon(ROVA_KEY_PMODE, reply);
        EXPECT_EQ(vcam({"pc", "rtc check"}).status, 1);
    }
    camera.write("/opt/share/rova/rova.log", "resp : OK <ptp> 0x10030000, 0x5, 0x0 \n");
    const fake_daemon daemon(ROVA_KEY_PMODE, reply);
    EXPECT_EQ(vcam({"pc", "rtc check"}).out, "0x10030000 0x00000005 0x00000000 OK\n");
}

TEST(VcamPc, DataGoesIntoTheFileOfTheDataKey)
{
    const test::Camera camera;
    camera.write("/tmp/data.bin", std::string("\0\x01\xff", 3));
    const fake_daemon daemon(ROVA_KEY_PMODE_PROTOCOL1, {{0x10000002, 0, 0}});
    EXPECT_EQ(vcam({"pc", "--number", "1", "--data", camera.path("/tmp/data.bin")}).status, 0);
    EXPECT_EQ(camera.read("/var/run/memory/private/pmode_shutter_data"),
              std::string("\0\x01\xff", 3));
}

TEST(VcamPc, NoAnswerNoDaemonAndBadArgumentsAreErrors)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"pc", "delay 1"}), "rovad is not running"));
    const auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_TRUE(failed(vcam({"pc", "--timeout", "0.05", "delay 1"}), "no answer in time"));
    EXPECT_TRUE(failed(vcam({"pc", "--timeout", "nan", "x"}), "'nan' is no number of seconds"));
    EXPECT_TRUE(failed(vcam({"pc"}), "neither a command line nor --number"));
    EXPECT_TRUE(failed(vcam({"pc", "--number", "one"}), "'one' is no 32-bit number"));
    EXPECT_TRUE(failed(vcam({"pc", "--number", "1", "x"}), "'x' is no 32-bit number"));
    EXPECT_TRUE(failed(vcam({"pc", "--number", "1", "1", "2", "3", "4", "5"}), "at most four"));
    EXPECT_TRUE(failed(vcam({"pc", "--data", "/none", "x"}), "/none"));
}

TEST(VcamPc, ADaemonThatEndsInsteadIsToldAtOnce)
{
    const test::Camera camera;
    const auto daemon = tool::stand_in(tool::DAEMON);
    test::Process pc({VCAM_PROGRAM, "pc", "--timeout", "1000", "delay 1"}, "",
                     camera.path("/tmp/out"));
    ASSERT_TRUE(test::wait_for([&] { return camera.key_string(ROVA_KEY_PMODE) == "delay 1"; }));
    daemon->signal(SIGKILL);
    daemon->wait();
    EXPECT_EQ(pc.wait(), 2);
    EXPECT_EQ(camera.read("/tmp/out"), "vcam: rovad ended before it answered\n");
}
