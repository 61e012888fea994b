#include "lib/pim/dust/rova_pim_brightness.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"
#include "lib/pim/rova_pim_reader.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace
{

// A band along the picture's border, and the way inwards from there.
struct border_band {
    char letter;
    int32_t dx;
    int32_t dy;
};

constexpr border_band BANDS[] = {{'A', 0, 1}, {'C', 0, -1}, {'D', 1, 0}, {'E', -1, 0}};
static_assert(std::size(BANDS) == PIM_SHADING_AREAS);

// In 64 bits, since a configuration may hold any numbers.
struct place {
    int64_t x;
    int64_t y;
};
struct block {
    place from;
    place to; // inclusive
};

// The walk through a band.
struct band_walk {
    const rova_pim_image &image;
    rova_pim_dust_config &cfg;
    const border_band &band;
    const rova_pim_corners &area;
    bool found = false;
    bool refused = false;

    bool ended() const { return refused || (found && cfg.iLogSave == 0); }
};

// A place is the corner of its block that lies on the side where the walk came from.
block block_at(const band_walk &walk, place at)
{
    const int64_t bx = walk.cfg.iBlockX, by = walk.cfg.iBlockY;
    const place from = {walk.band.dx < 0 ? at.x - bx + 1 : at.x,
                        walk.band.dy < 0 ? at.y - by + 1 : at.y};
    return {from, {from.x + bx - 1, from.y + by - 1}};
}

place next_place(const band_walk &walk, place at)
{
    return {at.x + int64_t{walk.band.dx} * walk.cfg.iBlockX,
            at.y + int64_t{walk.band.dy} * walk.cfg.iBlockY};
}

// Whether the walk has not come to the band's inner side.  A line that does not begin in the band
// is like all others of this, which may be billions: there is nothing to walk.
bool is_in_band(const band_walk &walk, place at)
{
    if (walk.band.dy != 0)
        return walk.band.dy > 0 ? at.y < walk.area.y2 : at.y > walk.area.y1;
    return walk.band.dx > 0 ? at.x < walk.area.x2 : at.x > walk.area.x1;
}

// A corner that is no number of 32 bits wraps: its block is empty then, or not in the picture.
rova_pim_corners corners_of(const block &in)
{
    return {rova_pim_narrow(in.from.x), rova_pim_narrow(in.from.y), rova_pim_narrow(in.to.x),
            rova_pim_narrow(in.to.y)};
}

// A hundred times the mean of the block at a place; the walk is refused where it has no pixels.
int32_t mean100_at(band_walk &walk, place at)
{
    const block in = block_at(walk, at);
    const auto [x1, y1, x2, y2] = corners_of(in);
    const auto [sum, count] = GetAreaSum(walk.image, {x1, y1, x2, y2});
    if (count != 0)
        return static_cast<int32_t>(static_cast<int64_t>(sum) * 100 / static_cast<int64_t>(count));
    rova_pim_report(" Shading Block Error : %c ( %lld, %lld ) ( %lld, %lld ) is not in the picture "
                    "\n",
                    walk.band.letter, static_cast<long long>(in.from.x),
                    static_cast<long long>(in.from.y), static_cast<long long>(in.to.x),
                    static_cast<long long>(in.to.y));
    walk.refused = true;
    return 0;
}

// A row of the log has the block's own corners.
void log_row(const band_walk &walk, place at, const rova_pim_shading_step &step,
             const char (&verdict)[3])
{
    rova_pim_log_shading(walk.band.letter, corners_of(block_at(walk, at)), step, verdict, walk.cfg);
}

// The first corner of a find on the far side, which is walked backwards, is one short of the
// block's.
void keep_find(band_walk &walk, place at, const rova_pim_shading_step &step)
{
    block in = block_at(walk, at);
    in.from.x -= walk.band.dx < 0 ? 1 : 0;
    in.from.y -= walk.band.dy < 0 ? 1 : 0;
    rova_pim_keep_shading(corners_of(in), step, walk.cfg);
}

void judge(band_walk &walk, place at, const rova_pim_shading_step &step)
{
    if (!rova_pim_is_shading(step, walk.cfg)) {
        if (walk.cfg.iDbgOption[2] == 1)
            log_row(walk, at, step, "OK");
        return;
    }
    walk.found = true;
    keep_find(walk, at, step);
    // The place is the walk's: for bands C and E, the block's last corner.
    rova_pim_log(" Found Shading Area in %c Region : (%4d, %4d)  : C_AVE100 = %5d, N_AVE100 = %5d, "
                 "DIFF100 = %5d \n",
                 walk.band.letter, rova_pim_narrow(at.x), rova_pim_narrow(at.y), step.block,
                 step.inner, step.difference);
    log_row(walk, at, step, "NG");
}

// Goes from a place at the border, in the band, inwards.  Each block is the inner one of the block
// before.
void walk_line(band_walk &walk, place at)
{
    int32_t mean = mean100_at(walk, at);
    while (!walk.ended() && is_in_band(walk, at)) {
        const place next = next_place(walk, at);
        const int32_t inner = mean100_at(walk, next);
        if (walk.refused)
            return;
        judge(walk, at, {mean, inner, std::abs(mean - inner)});
        mean = inner;
        at = next;
    }
}

void walk_columns(band_walk &walk)
{
    const int64_t y = walk.band.dy > 0 ? walk.area.y1 : int64_t{walk.area.y2} - 1;
    if (!is_in_band(walk, {0, y}))
        return;
    for (int64_t x = walk.area.x1; x < walk.area.x2 && !walk.ended(); x += walk.cfg.iBlockX)
        walk_line(walk, {x, y});
}

void walk_rows(band_walk &walk)
{
    const int64_t x = walk.band.dx > 0 ? walk.area.x1 : int64_t{walk.area.x2} - 1;
    if (!is_in_band(walk, {x, 0}))
        return;
    for (int64_t y = walk.area.y1; y < walk.area.y2 && !walk.ended(); y += walk.cfg.iBlockY)
        walk_line(walk, {x, y});
}

enum class outcome { passed, found, refused };

outcome check_band(const rova_pim_image &image, rova_pim_dust_config &cfg, std::size_t i)
{
    band_walk walk = {image, cfg, BANDS[i], cfg.tShadingArea[i]};
    if (walk.band.dy != 0)
        walk_columns(walk);
    else
        walk_rows(walk);
    if (walk.refused)
        return outcome::refused;
    rova_pim_log(" Shading is %s in Region %c \n", walk.found ? "FAIL" : "OK", walk.band.letter);
    return walk.found ? outcome::found : outcome::passed;
}

outcome check_bands(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    outcome all = outcome::passed;
    for (std::size_t i = 0; i < std::size(BANDS); i++) {
        const outcome here = check_band(image, cfg, i);
        if (here == outcome::refused)
            return here;
        if (here == outcome::found)
            all = here;
        if (all == outcome::found && cfg.iLogSave != 1)
            break;
    }
    return all;
}

} // namespace

int CheckSangGaRim(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.iShadingOn == 0)
        return 0;
    rova_pim_start_shading();
    if (cfg.iBlockX <= 0 || cfg.iBlockY <= 0) {
        rova_pim_report(" Shading Block Error : %d x %d \n", cfg.iBlockX, cfg.iBlockY);
        return -1;
    }
    const outcome result = check_bands(image, cfg);
    if (result == outcome::refused)
        return -1;
    return rova_pim_end_shading(result == outcome::found, cfg);
}
