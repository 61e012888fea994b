// What the charts of vcam chart are made of: layers that are laid over each other row by row, so
// that a picture of any size needs no memory.  All arithmetic is in whole numbers: the same on any
// machine.
#pragma once

#include "tools/vcam/verb.h"

#include <array>
#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace vcam
{

using chart_json = nlohmann::ordered_json;
using chart_row = std::vector<int>; // red, green, blue of each pixel, in parts of a level

inline constexpr int LEVEL_PARTS = 256;
inline constexpr int LARGEST_SIDE = 16384; // what the capture service takes

struct chart_size {
    int width = 5472;
    int height = 3648;
};

using chart_colour = std::array<int, 3>; // levels of red, green and blue, or what is added to them

struct chart_layer {
    std::function<void(int y, chart_row &row)> draw;
    bool coloured = false;
};
using chart_layers = std::vector<chart_layer>;

// A rectangle with so much added to its levels.
struct chart_patch {
    int x;
    int y;
    int width;
    int height;
    chart_colour added;
};

// Darker by `depth` in its middle, by nothing at its edge, in between by (1 - (2d / size)^2)^2 of
// the depth, d from its middle.
struct chart_spot {
    int x;
    int y;
    int size;
    int depth;
};

chart_layer flat_layer(const chart_colour &levels);
// Takes off `percent` at the corners, and towards the middle with the square of the distance.
chart_layer vignette_layer(chart_size size, int percent);
chart_layer patch_layer(const chart_patch &patch);
chart_layer spot_layer(chart_size size, const chart_spot &spot);
// Gaussian noise, the same in all three colours; `sigma` in hundredths of a level.
chart_layer noise_layer(uint64_t seed, int sigma);

// SplitMix64 (Steele, Lea, Flood): a counter that advances by 0x9e3779b97f4a7c15, and a mix of it.
class chart_random
{
public:
    explicit chart_random(uint64_t seed) : state_(seed) {}
    uint64_t next();
    int below(int limit) { return static_cast<int>(next() % static_cast<uint64_t>(limit)); }

private:
    uint64_t state_;
};

// Writes the layers' sum, cut to 0 to 255, as a PNG file; grey where no layer is coloured.
void save_chart(const fs::path &file, chart_size size, const chart_layers &layers);

// What all kinds share.
struct chart_options {
    chart_size size;
    uint64_t seed = 1;
    fs::path out;
    int noise = 0; // hundredths of a level
};

// Texts of options as numbers; what is wrong leaves as CLI::ValidationError that names the option.
struct chart_range {
    const char *name;
    int least;
    int most;
};
std::vector<int> read_numbers(const std::string &option, const std::string &text,
                              const std::vector<chart_range> &ranges);
// A rectangle of the picture, behind which `option`'s text may have more numbers.
void check_inside(const std::string &option, chart_size size, const chart_patch &patch);

// A kind adds its options to its subcommand; once they are read, what it gives draws the chart to
// `options.out`, which is then never empty, and tells what was drawn.
using chart_drawing = std::function<chart_json()>;
chart_drawing flat_chart(CLI::App &app, chart_options &options);
chart_drawing noise_chart(CLI::App &app, chart_options &options);
chart_drawing dust_chart(CLI::App &app, chart_options &options);
chart_drawing mot_chart(CLI::App &app, chart_options &options);
chart_drawing movie_chart(CLI::App &app, chart_options &options);

} // namespace vcam
