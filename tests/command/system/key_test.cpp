#include "tests/command/system/key_test.h"

#include "tests/support/wrap.h"

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

} // namespace test
