#include "lib/rova_app_thread.h"
#include "lib/rova_ipcc.h"
#include "tests/e2e/line.h"

#include <cstring>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>

using e2e::Line;

namespace
{

constexpr char SCRIPT_CMD[] = "memory/rova/script_cmd";
constexpr char PMODE[] = "memory/private/pmode";

// Any bytes but NUL, which ends a text.
std::string junk(std::mt19937 &random, std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; i++)
        text += static_cast<char>(1 + random() % 255);
    return text;
}

void still_answers(const Line &line)
{
    const auto answer = line.vcam({"pc", "delay 1"});
    EXPECT_EQ(answer.status, 0) << answer.out << answer.err;
}

} // namespace

TEST(BadInput, KeysOfTheWrongTypeAreRefused)
{
    Line line;
    line.start();
    line.key(SCRIPT_CMD, 7);
    EXPECT_TRUE(line.hears("VCONFKEY_ROVA_STOP_CMD type is not string", 1));
    line.key(PMODE, 7);
    EXPECT_TRUE(line.hears("VCONFKEY_ROVA_STOP_CMD type is not string", 2));
    line.key("memory/private/pmode_protocol1", "text");
    EXPECT_TRUE(line.hears("VCONFKEY_ROVA_STOP_CMD type is not string", 3));
    line.key("memory/rova/stop_cmd", "text");
    EXPECT_TRUE(line.hears("VCONFKEY_ROVA_STOP_CMD type is not int"));
    line.key("memory/rova/stop_cmd", 0);
    still_answers(line);
}

TEST(BadInput, LinesOfAnyBytesThroughTheKeys)
{
    Line line;
    line.start();
    std::mt19937 random(7);
    for (int i = 0; i < 50; i++)
        line.key(SCRIPT_CMD, junk(random, 1 + random() % 3000));
    line.key(SCRIPT_CMD, "%s%n%d%s %n%n%n%n %s%s%s");
    line.key(PMODE, std::string(100000, 'a') + " b");
    line.key(PMODE, "control osd on");
    line.key(PMODE, "%n%s%n b");
    line.key(PMODE, "");
    still_answers(line);
}

TEST(BadInput, RecordsOfAnyBytesToTheCameraApplication)
{
    Line line;
    line.write("/sdcard/kept", "");
    line.start();
    std::mt19937 random(13);
    constexpr uint32_t type = 77; // no source of commands has it
    for (const std::string word : {"", "capture", "file", "mot", "lens"}) {
        for (const auto send : {rova_ipcc_send, rova_send_to_app}) {
            std::string bytes = junk(random, sizeof(cmd_data));
            if (!word.empty())
                bytes.replace(0, word.size() + 1, word + '\0');
            cmd_data record;
            std::memcpy(&record, bytes.data(), sizeof(record));
            rova_cmd_response answer = {};
            answer.result = 9;
            EXPECT_EQ(send(type, &record, &answer), 1) << word;
            EXPECT_EQ(answer.result, 0) << word;
        }
    }
    EXPECT_EQ(line.calls("app_command").size(), 10U);
    EXPECT_TRUE(line.exists("/sdcard/kept")) << "the card was formatted";
    EXPECT_EQ(line.vcam({"pc", "lens get"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "exposure av 4"}).status, 0);
}

TEST(BadInput, AScriptOfAnyBytes)
{
    Line line;
    std::mt19937 random(11);
    line.write("/junk.adj", junk(random, 20000) + std::string("\0\0delay 1\n", 10));
    const auto run = line.vcam({"run", line.path("/junk.adj")});
    EXPECT_TRUE(run.status == 0 || run.status == 1) << run.err;
    EXPECT_EQ(line.told("program exited."), 1);
}

TEST(BadInput, AScriptWithoutLineEnds)
{
    Line line;
    std::string words;
    for (int i = 0; i < 120; i++)
        words += "delay 1 ";
    line.write("/flat.adj", words);
    EXPECT_EQ(line.vcam({"run", line.path("/flat.adj")}).status, 0);
    EXPECT_EQ(line.trace().at(1),
              "cmd[0001]: <card> delay 1 delay 1 delay 1 delay 1 delay 1 delay");
}

TEST(BadInput, AnEmptyScriptRunsNothing)
{
    Line line;
    line.write("/empty.adj", "");
    EXPECT_EQ(line.vcam({"run", line.path("/empty.adj")}).status, 0);
    EXPECT_EQ(line.trace().size(), 2U);
}

TEST(BadInput, AnEmptyMarkerFileEndsTheStart)
{
    Line line;
    line.write("/sdcard/info.tg", "");
    const auto started = line.vcam({"start"});
    EXPECT_EQ(started.status, 2);
    EXPECT_NE(started.err.find("info.tg cannot be read"), std::string::npos) << started.err;
}

TEST(BadInput, AMarkerFileNamingAMissingScriptLeavesTheDaemonUp)
{
    Line line;
    line.write("/sdcard/info.tg", "missing.adj\n");
    line.start({});
    EXPECT_TRUE(line.hears("fopen(/tmp/missing.adj) failed"));
    EXPECT_EQ(line.rova({"delay", "1"}).status, 0);
    EXPECT_TRUE(line.hears("1th cmd done [OK]"));
}

TEST(BadInput, AMarkerFileCannotSmuggleAShellCommandIn)
{
    Line line;
    line.write("/sdcard/info.tg", "x;touch ${HOME}/smuggled;.adj\n");
    line.start({});
    EXPECT_TRUE(line.hears("fopen("));
    for (const auto &call : line.calls("sys_system"))
        EXPECT_EQ(call["args"][0].get<std::string>().find("touch"), std::string::npos);
}
