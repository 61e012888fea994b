// vcam warm: what the camera's thermometers measure.
#include "tools/vcam/temperature.h"

#include "platform/virtual/motion.h"
#include "platform/virtual/values.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/curve.h"
#include "tools/vcam/number.h"
#include "tools/vcam/verb.h"
#include "tools/vcam/wire.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vcam
{
namespace
{

// Below 0 the files of processor and core would read as failures.
constexpr int LEAST_DEGREES = 0, MOST_DEGREES = 127;

int as_read(int value)
{
    return value;
}

// A raw value beyond the range of the formula is the coldest there is.
int sensor_degrees(int raw)
{
    return static_cast<int>(std::sqrt(std::max(0.0, 2676588.0 - 469.0 * raw)) - 1482.0);
}

std::string plain(int degrees)
{
    return std::to_string(degrees);
}

// One reader of the sensor's thermistor takes the number in front, the other the mean of all 32-bit
// words that are not 0.  The third word sees to the mean; the fourth is the line feed behind the
// value, and none may stand before it, so the filling behind the number is chosen accordingly.
std::string sensor_text(int degrees)
{
    const int raw = std::atoi(virt::thermistor_text(degrees).c_str());
    std::string text;
    for (char filling = ' '; text.empty() || text.find('\n') != std::string::npos; filling++) {
        uint32_t words[3] = {};
        std::string number = std::to_string(raw);
        number.resize(8, filling);
        std::memcpy(words, number.data(), 8);
        words[2] = 4 * static_cast<uint32_t>(raw) - words[0] - words[1] - '\n';
        text.assign(reinterpret_cast<const char *>(words), sizeof(words));
    }
    return text;
}

constexpr thermometer THERMOMETERS[] = {
    {"sensor temperature", virt::THERMISTOR, sensor_text, sensor_degrees},
    {"isp temperature", "/sys/devices/platform/m7_tsu/isp", plain, as_read},
    {"cpu temperature", "/sys/devices/platform/m7_tsu/cpu", plain, as_read},
};

void warm_at_once(int degrees)
{
    for (const thermometer &meter : THERMOMETERS)
        put_value(on_pc(meter.path), meter.text(degrees));
}

void warm_along(const std::vector<int> &curve)
{
    warm_at_once(curve.front());
    for (const thermometer &meter : THERMOMETERS) {
        std::vector<std::string> lines;
        for (const int degrees : curve)
            lines.push_back(meter.text(degrees));
        if (!virt::write_play(on_pc(meter.path), lines))
            throw failure("'" + on_pc(meter.path).string() + ".play' cannot be written");
    }
}

void show()
{
    for (const thermometer &meter : THERMOMETERS)
        if (const std::optional<int> value = thermometer_value(meter))
            std::printf("%s: %d degrees\n", meter.name, meter.degrees(*value));
        else
            std::printf("%s: not known\n", meter.name);
}

} // namespace

std::span<const thermometer> thermometers()
{
    return THERMOMETERS;
}

std::optional<int> thermometer_value(const thermometer &meter)
{
    const std::optional<std::string> text = read_file(on_pc(meter.path));
    return text ? std::optional(std::atoi(text->c_str())) : std::nullopt;
}

int verb_warm(const invocation &in, CLI::App &app)
{
    std::string degrees;
    const auto check = [](const std::string &word) {
        return check_range(word, LEAST_DEGREES, MOST_DEGREES);
    };
    CLI::Option *at_once =
        app.add_option("DEGREES", degrees, "From now on")->check(CLI::Validator(check, ""));
    const curve_options curve(app, "DEGREES", LEAST_DEGREES, MOST_DEGREES);
    app.get_option("--from")->excludes(at_once);
    in.open(app);
    if (curve.given())
        warm_along(curve.values());
    else if (degrees.empty())
        show();
    else
        warm_at_once(read_word32(degrees));
    return OK;
}

} // namespace vcam
