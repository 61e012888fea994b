// vcam chart: pictures of the charts that the inspections judge, with known content.
#include "tools/vcam/chart.h"

#include "tools/vcam/camera.h"
#include "tools/vcam/number.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <sstream>

namespace vcam
{
namespace
{

constexpr int SMALLEST_SIDE = 16;
constexpr int MOST_NOISE = 100;

struct kind {
    const char *name;
    const char *summary;
    chart_drawing (*prepare)(CLI::App &app, chart_options &options);
    chart_size size;
    const char *usual_out; // of the camera
};

constexpr chart_size STILL{};
constexpr kind KINDS[] = {
    {"flat", "A flat field of one level", flat_chart, STILL, "/virtual/scene/flat.png"},
    {"noise", "A flat field with dots, columns, rows and casts", noise_chart, STILL,
     "/virtual/scene/noise.png"},
    {"dust", "A white field with vignetting, steps and dust", dust_chart, STILL,
     "/virtual/scene/dust.png"},
    {"mot", "A resolution chart: four markers, ten wedges", mot_chart, STILL,
     "/virtual/scene/mot.png"},
    {"movie", "A movie: frames, red and blue ones among them, and its sound", movie_chart,
     chart_size{1280, 720}, "/virtual/movie"},
};

[[noreturn]] void refuse(const std::string &option, const std::string &why)
{
    throw CLI::ValidationError(option, why);
}

chart_size read_size(const std::string &text)
{
    std::string numbers = text;
    if (const std::size_t x = numbers.find('x'); x != std::string::npos)
        numbers[x] = ',';
    const std::vector<int> sides = read_numbers(
        "--size", numbers,
        {{"width", SMALLEST_SIDE, LARGEST_SIDE}, {"height", SMALLEST_SIDE, LARGEST_SIDE}});
    return {sides[0], sides[1]};
}

uint64_t read_seed(const std::string &text)
{
    const std::optional<long long> seed = to_number(text);
    // What is larger still reads as the largest number: no two seeds may be one.
    if (!seed || *seed < 0 || *seed == std::numeric_limits<long long>::max())
        refuse("--seed", "'" + text + "' is no whole number from 0");
    return static_cast<uint64_t>(*seed);
}

int read_noise(const std::string &text)
{
    char *end = nullptr;
    const double sigma = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || *end != '\0' || !(sigma >= 0 && sigma <= MOST_NOISE))
        refuse("--noise", "'" + text + "' is no number of levels from 0 to 100");
    return static_cast<int>(std::lround(sigma * 100));
}

void add_shared(CLI::App &app, const kind &k, chart_options &options)
{
    options.size = k.size;
    app.add_option_function<std::string>(
           "--size", [&](const std::string &text) { options.size = read_size(text); },
           "Width and height in pixels (default: " + std::to_string(k.size.width) + "x" +
               std::to_string(k.size.height) + ")")
        ->type_name("WxH");
    app.add_option_function<std::string>(
           "--seed", [&](const std::string &text) { options.seed = read_seed(text); },
           "What noise and random places begin with (default: 1)")
        ->type_name("N");
    app.add_option_function<std::string>(
           "--noise", [&](const std::string &text) { options.noise = read_noise(text); },
           "Standard deviation of gaussian noise, in levels (default: 0)")
        ->type_name("LEVELS");
    app.add_option("--out", options.out,
                   std::string("Where to (default: the camera's ") + (k.usual_out + 1) + ")")
        ->type_name("FILE");
}

// Before what the kind tells, what is the same for all.
chart_json told(const kind &k, const chart_options &options, const chart_json &drawn)
{
    chart_json all = {{"kind", k.name},
                      {"file", options.out.string()},
                      {"width", options.size.width},
                      {"height", options.size.height},
                      {"seed", options.seed},
                      {"noise", options.noise / 100.0}};
    all.update(drawn);
    return all;
}

} // namespace

std::vector<int> read_numbers(const std::string &option, const std::string &text,
                              const std::vector<chart_range> &ranges)
{
    std::vector<std::string> words;
    std::istringstream rest(text + ",");
    for (std::string word; std::getline(rest, word, ',');)
        words.push_back(word);
    if (words.size() != ranges.size())
        refuse(option, "'" + text + "' has not the " + std::to_string(ranges.size()) +
                           " numbers that belong here");
    std::vector<int> numbers;
    for (std::size_t i = 0; i < words.size(); i++) {
        const chart_range &range = ranges[i];
        const std::optional<long long> number = to_number(words[i]);
        if (!number || *number < range.least || *number > range.most)
            refuse(option, "'" + words[i] + "' is no " + range.name + " from " +
                               std::to_string(range.least) + " to " + std::to_string(range.most));
        numbers.push_back(static_cast<int>(*number));
    }
    return numbers;
}

void check_inside(const std::string &option, chart_size size, const chart_patch &patch)
{
    if (patch.x < 0 || patch.y < 0 || patch.x + patch.width > size.width ||
        patch.y + patch.height > size.height)
        refuse(option, std::to_string(patch.width) + "x" + std::to_string(patch.height) + " at " +
                           std::to_string(patch.x) + "," + std::to_string(patch.y) +
                           " is not within the picture");
}

int verb_chart(const invocation &in, CLI::App &app)
{
    chart_options options[std::size(KINDS)];
    const kind *chosen = nullptr;
    chart_drawing drawings[std::size(KINDS)];
    app.require_subcommand(1);
    for (const kind &k : KINDS) {
        const std::size_t i = static_cast<std::size_t>(&k - KINDS);
        CLI::App *sub = app.add_subcommand(k.name, k.summary);
        sub->callback([&chosen, &k] { chosen = &k; });
        add_shared(*sub, k, options[i]);
        drawings[i] = k.prepare(*sub, options[i]);
    }
    in.parse(app);
    chart_options &given = options[chosen - KINDS];
    if (given.out.empty()) {
        open_camera(in.dir);
        given.out = on_pc(chosen->usual_out);
    }
    const chart_json drawn = drawings[chosen - KINDS]();
    std::printf("%s\n", told(*chosen, given, drawn).dump(2).c_str());
    return OK;
}

} // namespace vcam
