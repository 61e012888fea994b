// A camera whose WLAN radio is open for tests.
#pragma once

#include "tests/command/command_test.h"
#include "tests/support/wrap.h"

#include <filesystem>
#include <nlohmann/json.hpp>

namespace test
{

// A script that runs well; another line may follow.
inline constexpr char READY[] = "#!/bin/sh\n";

// The settings outlive a command, and so a test: each begins with the defaults.  No sleep is slept.
class Wifi : public CommandTest
{
protected:
    Wifi()
    {
        for (const char *setting :
             {"band -1", "band_width -1", "channel -1", "data_rate -1", "preamble -1", "tx_gain 10",
              "payload_length 1024", "burst_interval 100"})
            run(std::string("wifi setting ") + setting);
        camera.write("/opt/etc/clock", "");
        camera.write("/virtual/radio/wifi/driver", "test\n");
        radio("dut", "1");
        wrap_record_sleeps(true);
    }

    void radio(const std::string &name, const std::string &value) const
    {
        camera.write("/virtual/radio/wifi/" + name, value + "\n");
    }
    std::string radio(const std::string &name) const
    {
        return camera.read("/virtual/radio/wifi/" + name);
    }

    void add_script(const std::string &path, const std::string &text) const
    {
        camera.write(path, text);
        std::filesystem::permissions(camera.path(path), std::filesystem::perms::owner_all);
    }

    // The calls of the radio so far, each "MRVL_RFT_Channel[6]" as "Channel[6]".
    std::vector<std::string> steps() const
    {
        std::vector<std::string> texts;
        for (const nlohmann::json &call : camera.calls()) {
            const std::string name = call["call"];
            if (name.starts_with("MRVL_RFT_"))
                texts.push_back(name.substr(9) + call["args"].dump());
            if (name == "Wlan_Status_Check")
                texts.push_back(name + call["args"].dump());
        }
        return texts;
    }

    void set(const std::string &setting)
    {
        EXPECT_EQ(run("wifi setting " + setting), OK) << setting;
    }

    // The messages of a command but for those of its script's process.
    std::vector<std::string> told_by(const std::string &line, const std::string &answer)
    {
        new_messages();
        EXPECT_EQ(run(line), answer) << line;
        std::vector<std::string> messages = new_messages();
        std::erase_if(messages, [](const std::string &text) {
            return text.starts_with("pid(") || text.starts_with("/") || text.starts_with("Inside");
        });
        return messages;
    }

    std::vector<std::string> osd() const { return told({"factory_osd_text_set"}); }
};

} // namespace test
