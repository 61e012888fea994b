// The resolution chart: four coloured markers and ten wedges whose lines get finer from the end at
// the marker on, with a dark bar at each end.
#include "tools/vcam/chart.h"

#include <algorithm>
#include <cairo.h>
#include <memory>

namespace vcam
{
namespace
{

constexpr int LEAST_SIDE = 240;
constexpr int MOST_BLUR = 200;
constexpr int COUNT_OF_WEDGES = 10;
constexpr int INK = 20; // level of lines and bars

struct mot_options {
    int level = 220;
    std::string marker = "220,30,30";
    int lines = 9;
    std::string range = "1000,3000";
    int blur = 0;
};

struct point {
    int x;
    int y;
};

struct wedge {
    const char *name;
    point origin; // what its place is told relative to
    chart_patch box;
    chart_patch window; // the box, its bars and some paper
    bool standing;
    bool reversed; // its coarse end is the right or lower one
};

// Lengths of the chart's parts, from the shorter side of the picture.
struct measures {
    explicit measures(chart_size size)
        : unit(std::min(size.width, size.height)), marker(unit / 20 | 1),
          margin_x(size.width * 2 / 25), margin_y(size.height / 10), length(unit * 4 / 25),
          bar(unit / 60), window_length(unit / 5), window_width(unit / 10), gap(unit / 20)
    {
    }
    int unit;
    int marker;             // side of a marker, odd: it has a middle pixel
    int margin_x, margin_y; // from the picture's edge to a marker's middle
    int length;             // of a wedge
    int bar;                // thickness
    int window_length, window_width;
    int gap; // from a marker's middle to the windows
};

struct mot_plan {
    chart_size size;
    measures length;
    std::array<point, 4> markers; // left top, left bottom, right top, right bottom
    std::vector<wedge> wedges;
    int lines;
    int low, high; // TV lines at the coarse and at the fine end
};

constexpr const char *MARKER_NAMES[] = {"LT", "LB", "RT", "RB"};
constexpr const char *WEDGE_NAMES[] = {"CN_H", "CN_V", "LT_H", "LT_V", "LB_H",
                                       "LB_V", "RT_H", "RT_V", "RB_H", "RB_V"};

point middle(point a, point b)
{
    return {(a.x + b.x) / 2, (a.y + b.y) / 2};
}

// A wedge around a point.
wedge make_wedge(const measures &m, int index, point origin, point centre, bool reversed)
{
    const bool standing = index % 2 != 0;
    const auto around = [&](int along, int across) -> chart_patch {
        const int width = standing ? across : along, height = standing ? along : across;
        return {centre.x - width / 2, centre.y - height / 2, width, height, {}};
    };
    return {WEDGE_NAMES[index],
            origin,
            around(m.length, m.window_width / 2),
            around(m.window_length, m.window_width),
            standing,
            reversed};
}

// The two wedges of a corner: one beside its marker, one above or below it, towards the middle.
void add_corner(mot_plan &plan, int corner)
{
    const bool right = corner >= 2, bottom = corner % 2 != 0;
    const point marker = plan.markers[static_cast<std::size_t>(corner)];
    const int away = plan.length.gap + plan.length.window_length / 2;
    const int first = 2 + 2 * corner;
    const point beside = {right ? marker.x - away : marker.x + away, marker.y};
    const point behind = {marker.x, bottom ? marker.y - away : marker.y + away};
    plan.wedges.push_back(make_wedge(plan.length, first, marker, beside, right));
    plan.wedges.push_back(make_wedge(plan.length, first + 1, marker, behind, bottom));
}

mot_plan make_plan(chart_size size, const mot_options &options)
{
    const measures m(size);
    const int left = m.margin_x, right = size.width - 1 - left;
    const int top = m.margin_y, bottom = size.height - 1 - top;
    const std::vector<int> range =
        read_numbers("--range", options.range,
                     {{"number of TV lines", 1, 20000}, {"number of TV lines", 1, 20000}});
    mot_plan plan = {size,
                     m,
                     {{{left, top}, {left, bottom}, {right, top}, {right, bottom}}},
                     {},
                     options.lines,
                     range[0],
                     range[1]};
    const point above = middle(plan.markers[0], plan.markers[2]);
    const point beside = middle(plan.markers[0], plan.markers[1]);
    plan.wedges.push_back(
        make_wedge(m, 0, above, {size.width / 2, size.height / 2 - m.unit * 2 / 25}, false));
    plan.wedges.push_back(
        make_wedge(m, 1, beside, {size.width / 2, size.height / 2 + m.unit * 3 / 25}, false));
    for (int corner = 0; corner < 4; corner++)
        add_corner(plan, corner);
    return plan;
}

void check_plan(const mot_plan &plan)
{
    if (plan.length.unit < LEAST_SIDE)
        throw CLI::ValidationError("--size", "no side of this chart is shorter than " +
                                                 std::to_string(LEAST_SIDE));
    if (plan.low >= plan.high)
        throw CLI::ValidationError("--range", "the fine end needs more TV lines");
    if (plan.low > plan.size.height)
        throw CLI::ValidationError("--range",
                                   "lines of the coarse end would be narrower than a pixel");
    if ((2 * plan.lines - 1) * plan.size.height / plan.low > plan.length.window_width / 2)
        throw CLI::ValidationError("--range", "so many lines need more TV lines at the coarse end");
}

// Cairo's drawing, on paper.
class sheet
{
public:
    sheet(chart_size size, int paper)
        : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, size.width, size.height)),
          cairo_(cairo_create(surface_))
    {
        if (cairo_status(cairo_) != CAIRO_STATUS_SUCCESS)
            throw failure("no memory for a picture");
        use({paper, paper, paper});
        cairo_paint(cairo_);
    }
    ~sheet()
    {
        cairo_destroy(cairo_);
        cairo_surface_destroy(surface_);
    }
    sheet(const sheet &) = delete;
    sheet &operator=(const sheet &) = delete;

    void use(const chart_colour &colour)
    {
        cairo_set_source_rgb(cairo_, colour[0] / 255.0, colour[1] / 255.0, colour[2] / 255.0);
    }
    void fill(const chart_patch &patch)
    {
        cairo_rectangle(cairo_, patch.x, patch.y, patch.width, patch.height);
        cairo_fill(cairo_);
    }
    cairo_t *cairo() { return cairo_; }
    const uint32_t *row(int y)
    {
        cairo_surface_flush(surface_);
        return reinterpret_cast<const uint32_t *>(cairo_image_surface_get_data(surface_) +
                                                  static_cast<std::ptrdiff_t>(y) *
                                                      cairo_image_surface_get_stride(surface_));
    }

private:
    cairo_surface_t *surface_;
    cairo_t *cairo_;
};

void draw_bars(sheet &paper, const wedge &w, int bar)
{
    const chart_patch &box = w.box, &window = w.window;
    if (w.standing) {
        paper.fill({window.x, box.y - bar, window.width, bar, {}});
        paper.fill({window.x, box.y + box.height, window.width, bar, {}});
    } else {
        paper.fill({box.x - bar, window.y, bar, window.height, {}});
        paper.fill({box.x + box.width, window.y, bar, window.height, {}});
    }
}

// Width of a line so far behind the coarse end, in parts of 256 to a pixel; in whole numbers, since
// the last bit of a float may differ between machines.
int line_width(const mot_plan &plan, int behind)
{
    const int64_t length = plan.length.length;
    return static_cast<int>(256 * plan.size.height * length /
                            (plan.low * length + (plan.high - plan.low) * int64_t{behind}));
}

// A point of a wedge: so many pixels behind its coarse end, so many parts of 512 off its axis.
void line_to(cairo_t *cairo, const wedge &w, int behind, int off)
{
    const chart_patch &box = w.box;
    const int length = w.standing ? box.height : box.width;
    const double along = w.reversed ? length - behind : behind;
    const double across = (w.standing ? box.width : box.height) / 2.0 + off / 512.0;
    if (w.standing)
        cairo_line_to(cairo, box.x + across, box.y + along);
    else
        cairo_line_to(cairo, box.x + along, box.y + across);
}

// Dark lines and the gaps between them are equally wide at each place.
void draw_line(sheet &paper, const mot_plan &plan, const wedge &w, int line)
{
    const int left = 4 * line - 2 * plan.lines + 1, right = left + 2; // in half line widths
    cairo_t *cairo = paper.cairo();
    for (int behind = 0; behind <= plan.length.length; behind++)
        line_to(cairo, w, behind, left * line_width(plan, behind));
    for (int behind = plan.length.length; behind >= 0; behind--)
        line_to(cairo, w, behind, right * line_width(plan, behind));
    cairo_close_path(cairo);
    cairo_fill(cairo);
}

chart_patch marker_box(const mot_plan &plan, point centre)
{
    const int side = plan.length.marker;
    return {centre.x - side / 2, centre.y - side / 2, side, side, {}};
}

void draw_plan(sheet &paper, const mot_plan &plan, const chart_colour &marker)
{
    paper.use({INK, INK, INK});
    for (const wedge &w : plan.wedges) {
        draw_bars(paper, w, plan.length.bar);
        for (int line = 0; line < plan.lines; line++)
            draw_line(paper, plan, w, line);
    }
    paper.use(marker);
    for (const point &centre : plan.markers)
        paper.fill(marker_box(plan, centre));
}

// The drawing in parts of a level, so that many passes of blur lose nothing.
class blurred
{
public:
    blurred(sheet &drawing, chart_size size)
        : width_(static_cast<std::size_t>(size.width)),
          height_(static_cast<std::size_t>(size.height)), parts_(3 * width_ * height_)
    {
        uint16_t *part = parts_.data();
        for (int y = 0; y < size.height; y++) {
            const uint32_t *row = drawing.row(y);
            for (std::size_t x = 0; x < width_; x++) {
                for (int shift : {16, 8, 0})
                    *part++ = static_cast<uint16_t>((row[x] >> shift & 255) * LEVEL_PARTS);
            }
        }
    }

    // Each pixel becomes a half of itself and a quarter of each neighbour, in both directions:
    // adds a half to the square of the blur's deviation.
    void blur()
    {
        for (std::size_t y = 0; y < height_; y++)
            blur_row(&parts_[y * 3 * width_]);
        blur_columns();
    }

    void draw(int y, chart_row &row) const
    {
        const auto from =
            parts_.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(y) * row.size());
        std::copy_n(from, row.size(), row.begin());
    }

private:
    static uint16_t mean(int before, int here, int behind)
    {
        return static_cast<uint16_t>((before + 2 * here + behind + 2) / 4);
    }

    void blur_row(uint16_t *row) const
    {
        for (std::size_t colour = 0; colour < 3; colour++) {
            int before = row[colour];
            for (std::size_t x = 0; x < width_; x++) {
                uint16_t &here = row[3 * x + colour];
                const int behind = x + 1 < width_ ? row[3 * x + 3 + colour] : here;
                const uint16_t blurred_here = mean(before, here, behind);
                before = here;
                here = blurred_here;
            }
        }
    }

    void blur_columns()
    {
        const std::size_t length = 3 * width_;
        std::vector<uint16_t> before(parts_.begin(), parts_.begin() + static_cast<long>(length));
        for (std::size_t y = 0; y < height_; y++) {
            uint16_t *row = &parts_[y * length];
            const uint16_t *below = y + 1 < height_ ? row + length : row;
            for (std::size_t i = 0; i < length; i++) {
                const uint16_t blurred_here = mean(before[i], row[i], below[i]);
                before[i] = row[i];
                row[i] = blurred_here;
            }
        }
    }

    std::size_t width_, height_;
    std::vector<uint16_t> parts_;
};

chart_json told(const chart_patch &patch)
{
    return {{"x", patch.x}, {"y", patch.y}, {"width", patch.width}, {"height", patch.height}};
}

chart_json told(const mot_plan &plan, int index)
{
    const wedge &w = plan.wedges[static_cast<std::size_t>(index)];
    chart_json text = {{"window", index}, {"name", w.name}};
    text.update(told(w.box));
    text["direction"] = w.reversed ? 1 : 0;
    text["around"] = told(w.window);
    text["offset"] = {w.window.x - w.origin.x, w.window.y - w.origin.y};
    return text;
}

chart_json told(const mot_plan &plan, const mot_options &options, const chart_colour &colour)
{
    chart_json text = {{"level", options.level},
                       {"ink", INK},
                       {"blur", options.blur},
                       {"lines", plan.lines},
                       {"tv_lines", {plan.low, plan.high}},
                       {"colour", colour}};
    for (std::size_t i = 0; i < plan.markers.size(); i++) {
        chart_json marker = {{"name", MARKER_NAMES[i]}};
        marker.update(told(marker_box(plan, plan.markers[i])));
        marker["centre"] = {plan.markers[i].x, plan.markers[i].y};
        text["markers"].push_back(marker);
    }
    for (int i = 0; i < COUNT_OF_WEDGES; i++)
        text["wedges"].push_back(told(plan, i));
    return text;
}

chart_json draw_mot(const chart_options &options, const mot_options &given)
{
    constexpr chart_range LEVEL = {"level", 0, 255};
    const std::vector<int> n = read_numbers("--marker", given.marker, {LEVEL, LEVEL, LEVEL});
    const chart_colour colour = {n[0], n[1], n[2]};
    const mot_plan plan = make_plan(options.size, given);
    check_plan(plan);
    sheet paper(options.size, given.level);
    draw_plan(paper, plan, colour);
    blurred drawing(paper, options.size);
    for (int pass = 0; pass < given.blur; pass++)
        drawing.blur();
    chart_layers layers = {{[&](int y, chart_row &row) { drawing.draw(y, row); }, true}};
    if (options.noise > 0)
        layers.push_back(noise_layer(options.seed, options.noise));
    save_chart(options.out, options.size, layers);
    return told(plan, given, colour);
}

} // namespace

chart_drawing mot_chart(CLI::App &app, chart_options &options)
{
    const auto given = std::make_shared<mot_options>();
    app.add_option("--level", given->level, "Level of the paper (default: 220)")
        ->check(CLI::Range(100, 255))
        ->type_name("LEVEL");
    app.add_option("--marker", given->marker, "Colour of the markers (default: 220,30,30)")
        ->type_name("R,G,B");
    app.add_option("--lines", given->lines, "Dark lines of a wedge (default: 9)")
        ->check(CLI::Range(2, 50))
        ->type_name("COUNT");
    app.add_option("--range", given->range,
                   "TV lines at the coarse and at the fine end of a wedge (default: 1000,3000)")
        ->type_name("LOW,HIGH");
    app.add_option("--blur", given->blur, "Passes of blur: a deviation of sqrt(PASSES / 2) pixels")
        ->check(CLI::Range(0, MOST_BLUR))
        ->type_name("PASSES");
    return [given, &options] { return draw_mot(options, *given); };
}

} // namespace vcam
