// Flat fields and what may be wrong with them: the charts flat, noise and dust.
#include "tools/vcam/chart.h"

#include <algorithm>
#include <memory>

namespace vcam
{
namespace
{

constexpr int MOST_RANDOM = 1000;
constexpr chart_range X = {"x", 0, LARGEST_SIDE - 1};
constexpr chart_range Y = {"y", 0, LARGEST_SIDE - 1};
constexpr chart_range WIDTH = {"width", 1, LARGEST_SIDE};
constexpr chart_range HEIGHT = {"height", 1, LARGEST_SIDE};
constexpr chart_range SIZE = {"size", 1, LARGEST_SIDE};
constexpr chart_range ADDED = {"number of levels", -255, 255};
constexpr chart_range DEPTH = {"depth", 1, 255};

using texts = std::vector<std::string>;

// The options of these three charts as given.
struct field_options {
    int level = 0;
    std::string tint = "0,0,0";
    int vignette = 0;
    int random = 0;
    texts dots, columns, rows, casts, steps, spots;
};

struct field {
    chart_options &options;
    field_options given{};
    chart_json drawn{};
    chart_layers layers{};
};
using shared_field = std::shared_ptr<field>;

chart_patch whole_patch(const std::vector<int> &n, const chart_colour &added)
{
    return {n[0], n[1], n[2], n[3], added};
}

chart_patch read_dot(chart_size, const std::string &text)
{
    const std::vector<int> n = read_numbers("--dot", text, {X, Y, SIZE, ADDED});
    return {n[0], n[1], n[2], n[2], {n[3], n[3], n[3]}};
}

chart_patch read_column(chart_size size, const std::string &text)
{
    const std::vector<int> n = read_numbers("--column", text, {X, ADDED});
    return {n[0], 0, 1, size.height, {n[1], n[1], n[1]}};
}

chart_patch read_row(chart_size size, const std::string &text)
{
    const std::vector<int> n = read_numbers("--row", text, {Y, ADDED});
    return {0, n[0], size.width, 1, {n[1], n[1], n[1]}};
}

chart_patch read_cast(chart_size, const std::string &text)
{
    const std::vector<int> n =
        read_numbers("--cast", text, {X, Y, WIDTH, HEIGHT, ADDED, ADDED, ADDED});
    return whole_patch(n, {n[4], n[5], n[6]});
}

chart_patch read_step(chart_size, const std::string &text)
{
    const std::vector<int> n = read_numbers("--step", text, {X, Y, WIDTH, HEIGHT, ADDED});
    return whole_patch(n, {n[4], n[4], n[4]});
}

chart_json told(const chart_patch &patch)
{
    return {{"x", patch.x},
            {"y", patch.y},
            {"width", patch.width},
            {"height", patch.height},
            {"added", patch.added}};
}

struct patch_kind {
    const char *option;
    const char *name; // in what is told
    const char *form;
    const char *help;
    texts field_options::*texts_given;
    chart_patch (*read)(chart_size size, const std::string &text);
};

constexpr patch_kind DOT = {"--dot",
                            "dots",
                            "X,Y,SIZE,ADDED",
                            "A square dot, brighter or darker; may be given again",
                            &field_options::dots,
                            read_dot};
constexpr patch_kind COLUMN = {"--column",
                               "columns",
                               "X,ADDED",
                               "A brighter or darker column; may be given again",
                               &field_options::columns,
                               read_column};
constexpr patch_kind ROW = {"--row",
                            "rows",
                            "Y,ADDED",
                            "A brighter or darker row; may be given again",
                            &field_options::rows,
                            read_row};
constexpr patch_kind CAST = {"--cast",
                             "casts",
                             "X,Y,W,H,R,G,B",
                             "A rectangle with these levels added; may be given again",
                             &field_options::casts,
                             read_cast};
constexpr patch_kind STEP = {"--step",
                             "steps",
                             "X,Y,W,H,ADDED",
                             "A brighter or darker rectangle; may be given again",
                             &field_options::steps,
                             read_step};

void offer(CLI::App &app, field_options &given, const patch_kind &kind)
{
    app.add_option(kind.option, given.*kind.texts_given, kind.help)
        ->type_name(kind.form)
        ->allow_extra_args(false);
}

void draw_patch(field &f, const patch_kind &kind, const chart_patch &patch)
{
    check_inside(kind.option, f.options.size, patch);
    f.layers.push_back(patch_layer(patch));
    f.drawn[kind.name].push_back(told(patch));
}

void draw_patches(field &f, const patch_kind &kind)
{
    f.drawn[kind.name] = chart_json::array();
    for (const std::string &text : f.given.*kind.texts_given)
        draw_patch(f, kind, kind.read(f.options.size, text));
}

void draw_random_dots(field &f)
{
    chart_random random(f.options.seed);
    for (int i = 0; i < f.given.random; i++) {
        const int x = random.below(f.options.size.width), y = random.below(f.options.size.height);
        const int added = random.below(2) == 0 ? -100 : 100;
        draw_patch(f, DOT, {x, y, 1, 1, {added, added, added}});
    }
}

void draw_spot(field &f, const chart_spot &spot)
{
    check_inside("--spot", f.options.size, {spot.x, spot.y, 1, 1, {}});
    f.layers.push_back(spot_layer(f.options.size, spot));
    f.drawn["spots"].push_back(
        {{"x", spot.x}, {"y", spot.y}, {"size", spot.size}, {"depth", spot.depth}});
}

void draw_spots(field &f)
{
    constexpr int LEAST_SIZE = 20, SIZES = 61, LEAST_DEPTH = 10, DEPTHS = 51;
    f.drawn["spots"] = chart_json::array();
    for (const std::string &text : f.given.spots) {
        const std::vector<int> n = read_numbers("--spot", text, {X, Y, SIZE, DEPTH});
        draw_spot(f, {n[0], n[1], n[2], n[3]});
    }
    chart_random random(f.options.seed);
    for (int i = 0; i < f.given.random; i++) {
        const int x = random.below(f.options.size.width), y = random.below(f.options.size.height);
        const int size = LEAST_SIZE + random.below(SIZES);
        draw_spot(f, {x, y, size, LEAST_DEPTH + random.below(DEPTHS)});
    }
}

shared_field new_field(CLI::App &app, chart_options &options, int level)
{
    auto f = std::make_shared<field>(field{options});
    f->given.level = level;
    app.add_option("--level", f->given.level,
                   "Level of the field (default: " + std::to_string(level) + ")")
        ->check(CLI::Range(0, 255))
        ->type_name("LEVEL");
    return f;
}

void draw_level(field &f, const chart_colour &tint)
{
    const int level = f.given.level;
    f.layers = {flat_layer({level + tint[0], level + tint[1], level + tint[2]})};
    f.drawn = {{"level", level}};
}

chart_json save(field &f)
{
    if (f.options.noise > 0)
        f.layers.push_back(noise_layer(f.options.seed, f.options.noise));
    save_chart(f.options.out, f.options.size, f.layers);
    return f.drawn;
}

void offer_random(CLI::App &app, field_options &given, const char *help)
{
    app.add_option("--random", given.random, help)
        ->check(CLI::Range(0, MOST_RANDOM))
        ->type_name("COUNT");
}

} // namespace

chart_drawing flat_chart(CLI::App &app, chart_options &options)
{
    const shared_field f = new_field(app, options, 128);
    app.add_option("--tint", f->given.tint, "Levels added to red, green and blue")
        ->type_name("R,G,B");
    return [f] {
        const std::vector<int> n = read_numbers("--tint", f->given.tint, {ADDED, ADDED, ADDED});
        draw_level(*f, {n[0], n[1], n[2]});
        f->drawn["tint"] = n;
        return save(*f);
    };
}

chart_drawing noise_chart(CLI::App &app, chart_options &options)
{
    const shared_field f = new_field(app, options, 128);
    for (const patch_kind *kind : {&DOT, &COLUMN, &ROW, &CAST})
        offer(app, f->given, *kind);
    offer_random(app, f->given, "So many dots of one pixel, 100 levels up or down, by the seed");
    return [f] {
        draw_level(*f, {});
        for (const patch_kind *kind : {&CAST, &COLUMN, &ROW, &DOT})
            draw_patches(*f, *kind);
        draw_random_dots(*f);
        return save(*f);
    };
}

chart_drawing dust_chart(CLI::App &app, chart_options &options)
{
    const shared_field f = new_field(app, options, 220);
    app.add_option("--vignette", f->given.vignette, "How much darker the corners are, in percent")
        ->check(CLI::Range(0, 100))
        ->type_name("PERCENT");
    app.add_option("--spot", f->given.spots,
                   "Dust: its middle, its width, how much darker its middle is; may be given again")
        ->type_name("X,Y,SIZE,DEPTH")
        ->allow_extra_args(false);
    for (const patch_kind *kind : {&STEP, &CAST})
        offer(app, f->given, *kind);
    offer_random(app, f->given, "So many spots 20 to 80 wide and 10 to 60 deep, by the seed");
    return [f] {
        draw_level(*f, {});
        f->layers.push_back(vignette_layer(f->options.size, f->given.vignette));
        f->drawn["vignette"] = f->given.vignette;
        draw_patches(*f, STEP);
        draw_patches(*f, CAST);
        draw_spots(*f);
        return save(*f);
    };
}

} // namespace vcam
