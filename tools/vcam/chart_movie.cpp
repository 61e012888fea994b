// A movie as vcam app plays it: numbered frames, red and blue ones among grey ones, how long each
// is shown, and what is heard.
#include "tools/vcam/chart.h"

#include "tools/vcam/camera.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

namespace vcam
{
namespace
{

constexpr int MOST_FRAMES = 9999;

struct movie_options {
    int frames = 60;
    int rate = 30;
    std::optional<std::string> red, blue; // else at their usual places
    int tone = 1000;
    int loudness = -20;
};

// Frames of one colour, from the first to below the end.
struct stretch {
    int first;
    int end;
};

struct movie {
    movie_options given;
    stretch red, blue;
};

struct frame_kind {
    const char *name;
    chart_colour levels;
};
constexpr frame_kind GREY = {"grey", {128, 128, 128}};
constexpr frame_kind RED = {"red", {210, 30, 30}};
constexpr frame_kind BLUE = {"blue", {30, 30, 210}};

// A quarter of the movie, `twelfths` of it behind its start.
stretch usual_stretch(int frames, int twelfths)
{
    const int first = frames * twelfths / 12;
    return {first, first + std::max(frames / 4, 1)};
}

stretch read_stretch(const char *option, const std::optional<std::string> &text, int frames,
                     int usual_twelfths)
{
    if (!text)
        return usual_stretch(frames, usual_twelfths);
    const std::vector<int> n =
        read_numbers(option, *text, {{"frame", 0, MOST_FRAMES}, {"count", 1, MOST_FRAMES}});
    if (n[0] + n[1] > frames)
        throw CLI::ValidationError(option, "the movie has " + std::to_string(frames) + " frames");
    return {n[0], n[0] + n[1]};
}

bool holds(const stretch &s, int frame)
{
    return frame >= s.first && frame < s.end;
}

const frame_kind &kind_of(const movie &m, int frame)
{
    return holds(m.red, frame) ? RED : holds(m.blue, frame) ? BLUE : GREY;
}

// Segments of the digits: top, upper left, upper right, middle, lower left, lower right, bottom.
constexpr int DIGITS[] = {0x77, 0x24, 0x5d, 0x6d, 0x2e, 0x6b, 0x7b, 0x25, 0x7f, 0x6f};
constexpr chart_patch SEGMENTS[] = {{0, 0, 3, 1, {}}, {0, 0, 1, 3, {}}, {2, 0, 1, 3, {}},
                                    {0, 2, 3, 1, {}}, {0, 2, 1, 3, {}}, {2, 2, 1, 3, {}},
                                    {0, 4, 3, 1, {}}};

void draw_digit(chart_layers &layers, int digit, int x, int y, int unit)
{
    constexpr chart_colour WHITE = {255, 255, 255};
    for (std::size_t i = 0; i < std::size(SEGMENTS); i++) {
        const chart_patch &s = SEGMENTS[i];
        if ((DIGITS[digit] >> i & 1) != 0)
            layers.push_back(patch_layer(
                {x + s.x * unit, y + s.y * unit, s.width * unit, s.height * unit, WHITE}));
    }
}

// In the left upper corner, out of the middle that is judged.
void draw_number(chart_layers &layers, int number, chart_size size)
{
    const int unit = std::max(std::min(size.width, size.height) / 80, 1);
    for (int i = 3, rest = number; i >= 0; i--, rest /= 10)
        draw_digit(layers, rest % 10, (1 + 4 * i) * unit, unit, unit);
}

std::string frame_name(int number)
{
    char name[16];
    std::snprintf(name, sizeof(name), "%04d.png", number);
    return name;
}

chart_json draw_frame(const movie &m, const chart_options &options, int number)
{
    const std::string name = frame_name(number);
    const frame_kind &kind = kind_of(m, number);
    chart_layers layers = {flat_layer(kind.levels)};
    draw_number(layers, number, options.size);
    if (options.noise > 0)
        layers.push_back(noise_layer(
            chart_random(options.seed + static_cast<uint64_t>(number)).next(), options.noise));
    save_chart(options.out / name, options.size, layers);
    return {{"file", name}, {"number", number}, {"colour", kind.name}};
}

// The same tone in both channels: a sine's peak lies 3.01 dB above what it averages.
chart_json sound_of(const movie_options &given)
{
    const double loudness = given.loudness;
    const chart_json channel = {{"frequency", given.tone},
                                {"peak", (given.loudness * 100 + 301) / 100.0},
                                {"rms", loudness},
                                {"loudness", loudness}};
    return {{"left", channel}, {"right", channel}};
}

// One line for each number, such as "left_peak -16.99".
std::string audio_text(const chart_json &sound)
{
    std::string text;
    for (const auto &[side, channel] : sound.items())
        for (const auto &[name, number] : channel.items())
            text.append(side).append("_").append(name).append(" ").append(number.dump() + "\n");
    return text;
}

// A longer movie that was there before goes on behind this one's end otherwise.
void remove_frames_from(const fs::path &folder, int number)
{
    while (fs::remove(folder / frame_name(number)))
        number++;
}

chart_json draw_movie(const chart_options &options, const movie_options &given)
{
    const movie m = {given, read_stretch("--red", given.red, given.frames, 2),
                     read_stretch("--blue", given.blue, given.frames, 7)};
    if (m.red.first < m.blue.end && m.blue.first < m.red.end)
        throw CLI::ValidationError("--blue", "a frame cannot be red and blue");
    chart_json text = {
        {"rate", given.rate},
        {"red",
         {{"first", m.red.first}, {"count", m.red.end - m.red.first}, {"levels", RED.levels}}},
        {"blue",
         {{"first", m.blue.first}, {"count", m.blue.end - m.blue.first}, {"levels", BLUE.levels}}},
        {"sound", sound_of(given)},
        {"frames", chart_json::array()}};
    for (int number = 0; number < given.frames; number++)
        text["frames"].push_back(draw_frame(m, options, number));
    remove_frames_from(options.out, given.frames);
    write_file(options.out / "frame_ms", std::to_string(1000 / given.rate) + "\n");
    write_file(options.out / "audio", audio_text(text["sound"]));
    return text;
}

} // namespace

chart_drawing movie_chart(CLI::App &app, chart_options &options)
{
    const auto given = std::make_shared<movie_options>();
    app.add_option("--frames", given->frames, "How many frames (default: 60)")
        ->check(CLI::Range(2, MOST_FRAMES))
        ->type_name("COUNT");
    app.add_option("--rate", given->rate, "Frames a second (default: 30)")
        ->check(CLI::Range(1, 1000))
        ->type_name("FRAMES");
    app.add_option(
           "--red", given->red,
           "First red frame and how many (default: a quarter of all, a sixth behind the start)")
        ->type_name("FIRST,COUNT");
    app.add_option(
           "--blue", given->blue,
           "First blue frame and how many (default: a quarter of all, behind seven twelfths)")
        ->type_name("FIRST,COUNT");
    app.add_option("--tone", given->tone, "Frequency of the sound (default: 1000)")
        ->check(CLI::Range(1, 24000))
        ->type_name("HZ");
    app.add_option("--loudness", given->loudness, "Of the sound, in dBFS (default: -20)")
        ->check(CLI::Range(-120, 0))
        ->type_name("DB");
    return [given, &options] { return draw_movie(options, *given); };
}

} // namespace vcam
