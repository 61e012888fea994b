#include "tools/vcam/media.h"

#include "tools/vcam/verb.h"

#include <png.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace vcam
{
namespace
{

constexpr uint32_t RATE = 8000;

uint32_t rgb(int r, int g, int b)
{
    return 0xff000000U | static_cast<uint32_t>(r << 16 | g << 8 | b);
}

uint32_t grey(int level)
{
    return rgb(level, level, level);
}

// Ramps from left to right: grey above, then red, green and blue.
uint32_t gradation(int x, int y)
{
    const int level = x * 255 / (PICTURE_WIDTH - 1);
    switch (y * 4 / PICTURE_HEIGHT) {
    case 0:
        return grey(level);
    case 1:
        return rgb(level, 0, 0);
    case 2:
        return rgb(0, level, 0);
    default:
        return rgb(0, 0, level);
    }
}

constexpr int TURN = 1024; // of a wave
constexpr int RADIAN = 163;

// From 0 to 255; reckoned once, since a picture asks a million times.
int wave(int phase)
{
    static const std::array<int, TURN> levels = [] {
        std::array<int, TURN> table = {};
        for (int i = 0; i < TURN; i++)
            table[static_cast<std::size_t>(i)] =
                static_cast<int>(127.5 + 127.5 * std::sin(2 * M_PI * i / TURN));
        return table;
    }();
    return levels[static_cast<std::size_t>(phase) % TURN];
}

// Soft colours in all directions, as on oil.
uint32_t oil(int x, int y)
{
    const int u = x * RADIAN / 60;
    const int v = y * RADIAN / 60;
    return rgb(wave(u + wave(v) * RADIAN / 128), wave(v + wave(u) * RADIAN / 128 + RADIAN),
               wave(u + v + 4 * RADIAN));
}

uint32_t colour_bars(int x, int)
{
    constexpr uint32_t BARS[] = {0xffffffff, 0xffffff00, 0xff00ffff, 0xff00ff00,
                                 0xffff00ff, 0xffff0000, 0xff0000ff, 0xff000000};
    return BARS[x * 8 / PICTURE_WIDTH];
}

// Line pairs, finer from left to right; upright above, level below.
uint32_t resolution(int x, int y)
{
    const int pitch = std::max(1, 8 - x * 8 / PICTURE_WIDTH);
    const int along = y < PICTURE_HEIGHT / 2 ? x : y;
    return grey(along / pitch % 2 == 0 ? 255 : 0);
}

void put(std::string &out, uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; i++)
        out += static_cast<char>(value >> (8 * i) & 0xff);
}

} // namespace

const picture_row PICTURES[4] = {
    {"product_sample_1.png", gradation},
    {"product_sample_2.png", oil},
    {"product_sample_3.png", colour_bars},
    {"lcd_3.png", resolution},
};

std::string tone(const sound_row &sound)
{
    const uint32_t samples = RATE * static_cast<uint32_t>(sound.milliseconds) / 1000;
    std::string wav = "RIFF";
    put(wav, 36 + 2 * samples, 4);
    wav += "WAVEfmt ";
    put(wav, 16, 4); // size of the format
    put(wav, 1, 2);  // PCM
    put(wav, 1, 2);  // channels
    put(wav, RATE, 4);
    put(wav, 2 * RATE, 4); // bytes a second
    put(wav, 2, 2);        // bytes a sample
    put(wav, 16, 2);       // bits a sample
    wav += "data";
    put(wav, 2 * samples, 4);
    for (uint32_t i = 0; i < samples; i++)
        put(wav,
            static_cast<uint32_t>(
                std::lround(12000 * std::sin(2 * M_PI * sound.hertz * i / double{RATE}))),
            2);
    return wav;
}

void save_picture(const picture_row &row, const std::filesystem::path &path)
{
    std::vector<uint32_t> pixels;
    pixels.reserve(static_cast<std::size_t>(PICTURE_WIDTH) * PICTURE_HEIGHT);
    for (int y = 0; y < PICTURE_HEIGHT; y++)
        for (int x = 0; x < PICTURE_WIDTH; x++)
            pixels.push_back(row.pixel(x, y));
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = PICTURE_WIDTH;
    image.height = PICTURE_HEIGHT;
    image.format = PNG_FORMAT_BGRA;
    image.flags = PNG_IMAGE_FLAG_FAST;
    if (png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr) == 0)
        throw failure("'" + path.string() + "' cannot be written");
}

} // namespace vcam
