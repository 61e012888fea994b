#include "tests/command/system/key_test.h"

#include "tests/support/wrap.h"

#include <regex>
#include <sstream>

namespace test
{

static const std::string DRIVER = "/sys/devices/platform/m7-keys/";

static std::string joined(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    return text;
}

KeyTest::KeyTest()
{
    wrap_record_sleeps(true);
    for (const char *attribute : {"keycode", "keymask", "pushed_keys", "check_push_key",
                                  "tnlcd_status", "dial_mode", "dial_drive"})
        set(attribute, "0");
    set("keydesc", "");
}

void KeyTest::set(const std::string &attribute, const std::string &text) const
{
    camera.write(DRIVER + attribute, text.empty() ? "" : text + "\n");
}

void KeyTest::play(const std::string &attribute, const std::vector<std::string> &texts) const
{
    camera.write(DRIVER + attribute + ".play", joined(texts));
}

std::string KeyTest::get(const std::string &attribute) const
{
    std::string text = camera.read(DRIVER + attribute);
    return text.substr(0, text.find('\n'));
}

void KeyTest::remove(const std::string &attribute) const
{
    camera.remove(DRIVER + attribute);
}

void KeyTest::play_shutter(const std::vector<std::string> &states) const
{
    camera.write("/virtual/property/13.1.play", joined(states));
}

void KeyTest::play_timer(const std::vector<std::string> &ticks) const
{
    camera.write("/virtual/timer.play", joined(ticks));
}

std::vector<std::string> KeyTest::messages() const
{
    static const std::regex colour("\x1b\\[[0-9]*m");
    std::istringstream log(camera.platform_log());
    std::vector<std::string> texts;
    for (std::string line; std::getline(log, line);) {
        std::size_t at = line.find(") > ");
        if (at != std::string::npos)
            texts.push_back(std::regex_replace(line.substr(at + 4), colour, ""));
    }
    return texts;
}

std::vector<std::string> KeyTest::new_messages()
{
    std::vector<std::string> all = messages();
    std::vector<std::string> fresh(all.begin() + static_cast<std::ptrdiff_t>(told_), all.end());
    told_ = all.size();
    return fresh;
}

} // namespace test
