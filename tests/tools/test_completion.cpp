#include <gtest/gtest.h>

#include "platform/virtual/keys.h"
#include "tests/tools/tool.h"

#include <sstream>

namespace
{

using words = std::vector<std::string>;

// What bash would offer for the last of these words.
words completions(const words &line)
{
    std::string script = "source " COMPLETION "; COMP_WORDS=(";
    for (const std::string &word : line)
        script += "'" + word + "' ";
    script += "); COMP_CWORD=" + std::to_string(line.size() - 1);
    script += "; read -ra spec < <(complete -p \"${COMP_WORDS[0]##*/}\")";
    script += "; \"${spec[-2]}\" \"${COMP_WORDS[0]}\"; printf '%s\\n' \"${COMPREPLY[@]}\"";
    const test::Outcome outcome = test::run({"bash", "-c", script});
    EXPECT_EQ(outcome.err, "");
    std::istringstream text(outcome.out);
    words found;
    for (std::string word; text >> word;)
        found.push_back(word);
    return found;
}

bool offers(const words &offered, const std::string &word)
{
    return std::find(offered.begin(), offered.end(), word) != offered.end();
}

} // namespace

TEST(Completion, OffersEveryVerbThatTheProgramHas)
{
    std::istringstream list(tool::vcam({"--list-verbs"}).out);
    const words offered = completions({VCAM_PROGRAM, ""});
    int count = 0;
    for (std::string verb; list >> verb; count++)
        EXPECT_TRUE(offers(offered, verb)) << verb;
    EXPECT_EQ(offered.size(), static_cast<std::size_t>(count));
    EXPECT_EQ(completions({VCAM_PROGRAM, "-C", "dir", "sta"}), (words{"start", "state", "status"}));
}

TEST(Completion, OffersTheOptionsAndActionsOfAVerb)
{
    EXPECT_TRUE(offers(completions({VCAM_PROGRAM, "stop", "--"}), "--kill"));
    EXPECT_FALSE(offers(completions({VCAM_PROGRAM, "stop", "--"}), "--follow"));
    EXPECT_EQ(completions({VCAM_PROGRAM, "key", "w"}), (words{"watch"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "card", ""}),
              (words{"insert", "remove", "lock", "unlock"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "turn-camera", "t"}), (words{"top"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "touch", ""}), (words{"ghost"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "touch", "400", ""}), words{});
    EXPECT_EQ(completions({VCAM_PROGRAM, "press", "me"}), (words{"menu", "metering"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "radio", ""}), (words{"bluetooth", "wifi", "nfc"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "radio", "nfc", "c"}), (words{"chip"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "radio", "nfc", "chip", ""}), (words{"off", "on"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "radio", "wifi", "rssi", ""}), words{});
    EXPECT_EQ(completions({VCAM_PROGRAM, "turn", ""}), (words{"jog1", "jog2", "wheel"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "turn", "wheel", "l"}), (words{"left"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "turn", "wheel", "left", ""}), words{});
    EXPECT_EQ(completions({VCAM_PROGRAM, "dial", "drive", "c"}),
              (words{"continuous_n", "continuous_h"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "press", "menu", "--h"}), (words{"--help", "--hold"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "plug", "grip"}), (words{"grip", "grip-battery"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "unplug", "usb", "h"}), (words{"hdmi"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "battery", ""}), (words{"drain"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "warm", "--t"}), (words{"--to"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "state", ""}), words{});
    EXPECT_TRUE(offers(completions({VCAM_PROGRAM, "-"}), "-C"));
    EXPECT_EQ(completions({VCAM_PROGRAM, "screen", "--p"}), (words{"--png"})) << "told once";
    EXPECT_EQ(completions({VCAM_PROGRAM, "key", "set", "--b"}), (words{"--bool"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "key", "--h"}), (words{"--help"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "chart", "m"}), (words{"mot", "movie"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "motion", ""}), (words{"model", "file", "off"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "motion", "model", "--d"}), (words{"--drift"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "chart", "dust", "--v"}), (words{"--vignette"}));
}

TEST(Completion, OffersTheKeysAndFilesOfTheCamera)
{
    const test::Camera camera, other;
    virt::set_int("memory/rova/other_cmd", 1);
    setenv("ROVA_SYSROOT", camera.root().c_str(), 1);
    virt::set_int("memory/rova/start_cmd", 1);
    camera.write("/sys/devices/keycode", "0\n");
    EXPECT_EQ(completions({VCAM_PROGRAM, "key", "get", "memory/"}),
              (words{"memory/rova/start_cmd"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "-C", other.root(), "key", "get", "memory/"}),
              (words{"memory/rova/other_cmd"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "attr", "get", "/sys/dev"}), (words{"/sys/devices/"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "attr", "get", "/sys/devices/k"}),
              (words{"/sys/devices/keycode"}));
}

TEST(Completion, OffersItemsAndMarksWhereAdjTakesAName)
{
    const test::Camera camera;
    EXPECT_EQ(completions({VCAM_PROGRAM, "adj", "i"}), (words{"import"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "adj", "get", "CIS_S"}), (words{"CIS_SN"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "adj", "get", "CIS_SN", "M"}),
              (words{"MODE_DIAL", "MOT", "MOVIE", "MIC", "MAC_ADDRESS", "MR"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "adj", "set", "--no-save", "STEP"}),
              (words{"STEP_LABEL"}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "adj", "set", "MR", "M"}), words{});
    EXPECT_EQ(completions({VCAM_PROGRAM, "adj", "set", "--n"}), (words{"--no-save"}));
}

TEST(Completion, OffersFilesWhereFilesAreMeant)
{
    const std::string start = std::string(COMPLETION).substr(0, sizeof(COMPLETION) - 4);
    EXPECT_EQ(completions({VCAM_PROGRAM, "run", start}), (words{COMPLETION}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "adj", "diff", start}), (words{COMPLETION}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "motion", "file", start}), (words{COMPLETION}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "adj", "set", "CS_ADDR", "--file", start}),
              (words{COMPLETION}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "screen", "--png", start}), (words{COMPLETION}));
    EXPECT_EQ(completions({VCAM_PROGRAM, "chart", "flat", "--out", start}), (words{COMPLETION}));
}

TEST(Completion, OffersTheOptionsOfRova)
{
    EXPECT_TRUE(offers(completions({ROVA_PROGRAM, "-"}), "--help"));
}
