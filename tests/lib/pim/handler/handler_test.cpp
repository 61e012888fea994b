#include "tests/lib/pim/handler/handler_test.h"

#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_result.h"
#include "lib/rova_app_table.h"
#include "platform/virtual/capture.h"
#include "tests/lib/pim/mot/mot_file.h"
#include "tests/support/wrap.h"

#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>

namespace test
{

cmd_data line_record(const std::string &line)
{
    cmd_data record = {};
    std::istringstream words(line);
    std::string word;
    words >> word;
    std::snprintf(record.cmd, sizeof(record.cmd), "%s", word.c_str());
    while (record.p_count < ROVA_CMD_PARAM_MAX && words >> word)
        std::snprintf(record.p[record.p_count++], ROVA_CMD_WORD_SIZE, "%s", word.c_str());
    return record;
}

HandlerTest::HandlerTest()
{
    camera.speed(1000);
    SetPIMode(PI_MODE_MOT);
    for (const char *test : {"mot", "noise", "dust", "movie"})
        run(test + std::string(" read_config")); // there is none: from here on nothing is loaded
    regPim = 0;
    callbackFlag = 0;
    gCaptureDone = 0;
    stepValue = PIM_CHART_WIDE;
    pPtpTile[0] = '\0';
    rova_pim_result_clear();
    camera.remove("/virtual/dlog");
    camera.remove("/virtual/calls.jsonl");
}

HandlerTest::~HandlerTest()
{
    run("mot display_result off");
    virt::stop_capture();
    wrap_clear();
}

int HandlerTest::run(const std::string &line)
{
    const cmd_data record = line_record(line);
    answer = {};
    testing::internal::CaptureStdout();
    EXPECT_TRUE(rova_app_cmd_exec(rova_app_cmds(), &record, &answer)) << line;
    std::fflush(stdout);
    printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(answer.response_type, ROVA_RESPONSE_PLAIN);
    return answer.result;
}

void HandlerTest::load_mot_config()
{
    camera.write("/mnt/mmc/mot_lumen1.cfg", mot_file());
    SetPIMode(PI_MODE_MOT);
    ASSERT_EQ(run("mot read_config"), OK);
}

std::vector<std::string> HandlerTest::logged(const std::string &text) const
{
    std::vector<std::string> found;
    std::istringstream lines(camera.platform_log());
    for (std::string line; std::getline(lines, line);)
        if (const std::size_t at = line.find(text); at != std::string::npos)
            found.push_back(line.substr(at));
    return found;
}

std::vector<std::string> HandlerTest::new_drawings()
{
    const std::vector<nlohmann::json> calls = camera.calls("factory_osd_draw");
    std::vector<std::string> drawings;
    for (; drawings_ < calls.size(); drawings_++) {
        const nlohmann::json &args = calls[drawings_]["args"];
        drawings.push_back(std::to_string(args[0].get<int>()) + " " + args[1].get<std::string>());
    }
    return drawings;
}

std::vector<std::string> HandlerTest::new_calls()
{
    const std::vector<std::string> all = camera.call_texts();
    const std::vector<std::string> fresh(all.begin() + static_cast<std::ptrdiff_t>(calls_),
                                         all.end());
    calls_ = all.size();
    return fresh;
}

} // namespace test
