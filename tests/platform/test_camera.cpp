#include "platform/camera.h"

#include "platform/sys.h"
#include "platform/virtual/app.h"
#include "tests/support/camera.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <pthread.h>
#include <unistd.h>

namespace
{

constexpr uint32_t COMMAND_ADDRESS = 0x85c20000;
constexpr off_t ANSWER_ADDRESS = 0x85c21000;

using Answer = std::array<unsigned char, 526>;

std::atomic<int> done_calls = 0;
std::atomic<int> done_result = -1; // the answer's second byte
std::atomic<pthread_t> done_thread = 0;

int done(void *answer)
{
    done_result = static_cast<unsigned char *>(answer)[1];
    done_thread = pthread_self();
    done_calls++;
    return 0;
}

// The bytes of a command's record.
std::string command(const std::vector<std::string> &words)
{
    std::string bytes(500, '\0');
    bytes.replace(0, words[0].size(), words[0]);
    bytes[32] = static_cast<char>(words.size() - 1);
    for (size_t at = 1; at < words.size(); at++)
        bytes.replace(36 + (at - 1) * 32, words[at].size(), words[at]);
    return bytes;
}

class CameraStack : public testing::Test
{
protected:
    CameraStack() { done_calls = 0; }
    ~CameraStack() override { set_done(nullptr); }

    int request(int number, void *data, int size)
    {
        return mm_camera_ioctl(&handle, number, data, size, 0, 0);
    }
    // A null callback is none at all: what an earlier test left is called by nobody's command.
    int set_done(mm_camera_done_callback callback)
    {
        return request(MM_CAMERA_SET_DONE_CALLBACK, reinterpret_cast<void *>(callback),
                       sizeof(void *));
    }
    int run(uint32_t address = COMMAND_ADDRESS)
    {
        return request(MM_CAMERA_RUN_COMMAND, &address, sizeof(address));
    }
    void put(const std::string &bytes) const
    {
        const int memory = sys_open("/dev/mem", O_RDWR, 0);
        EXPECT_EQ(pwrite(memory, bytes.data(), bytes.size(), COMMAND_ADDRESS),
                  static_cast<ssize_t>(bytes.size()));
        close(memory);
    }
    Answer answer() const
    {
        Answer bytes = {};
        const int memory = sys_open("/dev/mem", O_RDWR, 0);
        EXPECT_EQ(pread(memory, bytes.data(), bytes.size(), ANSWER_ADDRESS),
                  static_cast<ssize_t>(bytes.size()));
        close(memory);
        return bytes;
    }
    bool answered() const
    {
        return test::wait_for([] { return done_calls == 1; });
    }

    test::Camera camera;
    char handle = 0;
};

class AppAnswer : public testing::Test
{
protected:
    void file(const std::string &name, const std::string &text) const
    {
        camera.write("/virtual/app/answer/" + name, text);
    }
    Answer ask(const std::vector<std::string> &words)
    {
        Answer bytes;
        bytes.fill('x');
        kind = virt::app_answer("app", command(words).data(), bytes.data());
        return bytes;
    }

    test::Camera camera;
    virt::AppAnswer kind = virt::AppAnswer::given;
};

} // namespace

TEST_F(CameraStack, RunsTheCommandAndTellsOfItsEndOnAThreadOfItsOwn)
{
    camera.write("/virtual/app/answer/lens.get", "result 3");
    ASSERT_EQ(set_done(done), 0);
    put(command({"lens", "get"}));
    EXPECT_EQ(run(), 0);
    ASSERT_TRUE(answered());
    EXPECT_EQ(done_result, 3);
    EXPECT_EQ(answer()[1], 3);
    EXPECT_FALSE(pthread_equal(done_thread, pthread_self()));
    // The request's own line is written when it has returned, by then at any time.
    EXPECT_TRUE(test::wait_for([&] { return camera.call_texts().size() == 3; }));
    EXPECT_THAT(camera.call_texts(),
                testing::UnorderedElementsAre("mm_camera_ioctl(117)", "mm_camera_ioctl(116)",
                                              "app_command(\"ipcc\", [\"lens\",\"get\"])"));
}

TEST_F(CameraStack, ALateAnswerComesAfterTheRequestHasReturned)
{
    camera.write("/virtual/app/answer/lens", "late 50000\nng");
    camera.speed(100);
    ASSERT_EQ(set_done(done), 0);
    put(command({"lens"}));
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(answer()[1], 0);
    ASSERT_TRUE(answered());
    EXPECT_EQ(answer()[1], 1);
}

TEST_F(CameraStack, AnAnswerThatIsNeverGivenIsNotTold)
{
    camera.write("/virtual/app/answer/lens", "never");
    ASSERT_EQ(set_done(done), 0);
    put(command({"lens"}));
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(test::wait_for([&] { return camera.calls("app_command").size() == 1; }));
    put(command({"xsw"}));
    EXPECT_EQ(run(), 0);
    ASSERT_TRUE(answered()); // once, by the second command
}

TEST_F(CameraStack, ACommandWithoutACallbackIsCarriedOut)
{
    camera.write("/virtual/app/answer/lens", "ng");
    put(command({"lens"}));
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(test::wait_for([&] { return answer()[1] == 1; }));
}

TEST_F(CameraStack, KeepsServicesByTheirNumber)
{
    static int called = 0;
    mm_camera_service service = {0xfffffff0, [] { called++; }};
    EXPECT_EQ(virt::app_service(service.number), nullptr);
    EXPECT_EQ(request(MM_CAMERA_SET_SERVICE, &service, sizeof(service)), 0);
    virt::app_service(service.number)();
    EXPECT_EQ(called, 1);
    service.function = [] { called += 10; };
    EXPECT_EQ(request(MM_CAMERA_SET_SERVICE, &service, sizeof(service)), 0);
    virt::app_service(service.number)();
    EXPECT_EQ(called, 11);
    EXPECT_EQ(camera.call_texts().back(), "mm_camera_ioctl(120, 4294967280)");
}

TEST_F(CameraStack, RefusesWhatIsNoRequest)
{
    uint32_t address = COMMAND_ADDRESS;
    mm_camera_service service = {1, nullptr};
    EXPECT_EQ(mm_camera_ioctl(nullptr, MM_CAMERA_RUN_COMMAND, &address, 4, 0, 0), -1);
    EXPECT_EQ(request(MM_CAMERA_RUN_COMMAND, nullptr, 4), -1);
    EXPECT_EQ(request(MM_CAMERA_RUN_COMMAND, &address, 8), -1);
    EXPECT_EQ(request(MM_CAMERA_SET_SERVICE, &service, 4), -1);
    EXPECT_EQ(request(MM_CAMERA_SET_DONE_CALLBACK, &service, 1), -1);
    EXPECT_EQ(request(118, &address, 4), -1);
    EXPECT_EQ(run(0xffffff00), -1); // a record that the memory's end cuts
    EXPECT_TRUE(camera.calls("app_command").empty());
    camera.fault("mm_camera_ioctl", "-7 at 1");
    EXPECT_EQ(run(), -7);
    EXPECT_EQ(camera.calls("mm_camera_ioctl").back()["result"], -7);
}

TEST_F(AppAnswer, IsAPlainOkWithoutAFile)
{
    EXPECT_EQ(ask({"lens", "get"}), Answer{});
    EXPECT_EQ(kind, virt::AppAnswer::given);
}

TEST_F(AppAnswer, IsTakenFromTheFileOfBothWordsOrElseOfTheFirst)
{
    file("lens", "result 2");
    file("lens.get", "result 3");
    EXPECT_EQ(ask({"lens"})[1], 2);
    EXPECT_EQ(ask({"lens", "zoom"})[1], 2);
    EXPECT_EQ(ask({"LENS", "Get", "x"})[1], 3);
    EXPECT_EQ(ask({"lens", "../answer/lens.get"})[1], 2);
    EXPECT_EQ(ask({"../answer/lens"})[1], 0);
    EXPECT_EQ(ask({"."})[1], 0);
    EXPECT_EQ(ask({""})[1], 0);
}

TEST_F(AppAnswer, IsMadeOfTheFilesLines)
{
    file("lens", "\nresult 255\nparams 1 0x20 0\nstream 2  two  words \n");
    Answer expected = {1, 255, 1, 0, 0, 0, 0x20};
    expected[14] = 2;
    std::memcpy(&expected[16], "two  words ", 11);
    EXPECT_EQ(ask({"lens"}), expected);
    file("lens", "ng\nok");
    EXPECT_EQ(ask({"lens"}), Answer{});
    file("lens", "# NG for now\nNG\r\n");
    EXPECT_EQ(ask({"lens"})[1], 1);
    file("lens", "params 0xffffffff -1 -2147483648");
    EXPECT_EQ(ask({"lens"})[13], 0x80);
}

TEST_F(AppAnswer, CutsATextThatIsTooLong)
{
    file("lens", "stream 1 " + std::string(600, 'a'));
    const Answer bytes = ask({"lens"});
    EXPECT_EQ(bytes[524], 'a');
    EXPECT_EQ(bytes[525], 0);
}

TEST_F(AppAnswer, TellsOfALineThatItDoesNotUnderstandAndGoesOn)
{
    const char *lines[] = {"okay",
                           "result",
                           "result 256",
                           "result -1",
                           "params 1 2",
                           "params 1 2 x",
                           "params 1 2 4294967296",
                           "stream a text",
                           "stream 65536",
                           "late",
                           "late -1",
                           "late 1s"};
    for (const std::string line : lines) {
        file("lens.get", line + "\nng");
        testing::internal::CaptureStderr();
        Answer expected = {};
        expected[1] = 1;
        EXPECT_EQ(ask({"lens", "get"}), expected) << line;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "/virtual/app/answer/lens.get: '" + line + "' is not understood\n");
    }
}

TEST_F(AppAnswer, TellsOfAFileThatCannotBeRead)
{
    camera.write("/virtual/app/answer/lens/get", "ng");
    testing::internal::CaptureStderr();
    EXPECT_EQ(ask({"lens"}), Answer{});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "/virtual/app/answer/lens: cannot be read\n");
}

TEST_F(AppAnswer, ThatIsLateIsNeverGivenByAnApplicationThatEnds)
{
    file("lens", "late 2000000000\ncrash");
    const auto end = [&] {
        virt::end_app_answers();
        virt::wait_for_app_end();
        for ([[maybe_unused]] const int time : {1, 2}) {
            if (ask({"lens"})[1] != 'x' || kind != virt::AppAnswer::never)
                std::exit(1);
        }
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), ""); // the end is for the whole process
}

TEST_F(AppAnswer, ThatIsNeverGivenLeavesTheRecordAlone)
{
    file("lens", "ng\nnever");
    EXPECT_EQ(ask({"lens"})[1], 'x');
    EXPECT_EQ(kind, virt::AppAnswer::never);
}

TEST_F(AppAnswer, MayEndTheProcess)
{
    file("lens", "crash");
    EXPECT_EXIT(ask({"lens"}), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(AppAnswer, IsALineOfTheCallLogWithAllWords)
{
    ask({"lens", "adj", "", "c"});
    std::string junk(500, '\xff');
    Answer bytes;
    virt::app_answer("ipcc", junk.data(), bytes.data());
    const auto calls = camera.calls("app_command");
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0]["args"], (nlohmann::json{"app", {"lens", "adj", "", "c"}}));
    EXPECT_EQ(calls[1]["args"][1].size(), 11U);
}
