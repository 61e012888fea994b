#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_raw.h"
#include "lib/pim/rova_pim_reader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

int32_t rova_pim_movie_done[2];

namespace
{

constexpr int FAILED = -1;

// The judged field in the colour's plane, and how it is walked, in values of the plane.
struct colour_field {
    rova_pim_subsampling pixels; // of a value
    rova_pim_rect area;
    int32_t width;
    int32_t right; // distances to the two neighbours
    int32_t below;
};

// A value and its neighbours, at these places of the field's rows.
struct colour_pixel {
    int32_t i, y, value;
    int32_t j, right;
    int32_t y2, below;
};

int32_t v_diff(const colour_pixel &pixel)
{
    return std::abs(pixel.value - pixel.below);
}

int32_t h_diff(const colour_pixel &pixel)
{
    return std::abs(pixel.value - pixel.right);
}

// As the cast does; false where there is no such number.
bool cut(float value, int32_t *number)
{
    constexpr float END = 2147483648.0F;
    if (!(value >= -END && value < END))
        return false;
    *number = static_cast<int32_t>(value);
    return true;
}

bool find_area(const rova_pim_image &image, rova_pim_subsampling pixels, float test_field,
               rova_pim_rect *area)
{
    const float t = test_field * 100.0F;
    const float lo = 100.0F - t;
    const float hi = t + 100.0F;
    const int32_t half_width = image.width / 2;
    const int32_t half_height = image.height / 2;
    const auto hw = static_cast<float>(half_width);
    const auto hh = static_cast<float>(half_height);
    const auto fx = static_cast<float>(pixels.fx);
    const auto fy = static_cast<float>(pixels.fy);
    return cut(lo * hh / 100.0F / fy, &area->y0) && cut(hi * hh / 100.0F / fy, &area->y1) &&
           cut(hw * lo / 100.0F / fx, &area->x0) && cut(hw * hi / 100.0F / fx, &area->x1);
}

std::size_t copy_row(const rova_pim_image &image, const rova_pim_movie_part &part,
                     const colour_field &field, int32_t y, std::span<uint8_t> row)
{
    return GetChromaArea(image, part.colour, field.area.x0, y, field.width, 1, part.plane, row);
}

// Whether all rows can be read: a plane's rows lie one behind the other, so that the first and the
// last tell.
bool can_be_read(const rova_pim_image &image, const rova_pim_movie_part &part,
                 const colour_field &field)
{
    if (field.width < 1 || field.area.y1 < field.area.y0 || field.right < 0 || field.below < 0)
        return false;
    std::vector<uint8_t> row(static_cast<std::size_t>(field.width));
    return copy_row(image, part, field, field.area.y0, row) == row.size() &&
           copy_row(image, part, field, field.area.y1, row) == row.size();
}

bool find_field(const rova_pim_image &image, const rova_pim_movie_part &part, float test_field,
                colour_field *field)
{
    field->right = part.off / field->pixels.fx;
    field->below = part.off / field->pixels.fy;
    rova_pim_rect &area = field->area;
    const bool found = find_area(image, field->pixels, test_field, &area);
    const int64_t width = int64_t{area.x1} - area.x0 + 1;
    field->width = rova_pim_narrow(width);
    if (found)
        rova_pim_debug(" AREA :  (%5d, %5d) (%5d, %5d) = %5d x %5d \n\n", area.x0, area.y0, area.x1,
                       area.y1, field->width, rova_pim_narrow(int64_t{area.y1} - area.y0 + 1));
    if (found && width <= image.width && can_be_read(image, part, *field))
        return true;
    rova_pim_report(
        " ERROR :  the frame of %d x %d has no field (%d, %d) (%d, %d) for offset %d of "
        "the plane at %d \n",
        image.width, image.height, area.x0, area.y0, area.x1, area.y1, part.off, part.plane);
    return false;
}

rova_pim_point point_of(const colour_field &field, int32_t x, int32_t y)
{
    return {field.pixels.fx * x, field.pixels.fy * y};
}

// Reports what is wrong with it.
bool is_bad(const colour_pixel &pixel, const colour_field &field, const rova_pim_movie_part &part)
{
    const rova_pim_point p = point_of(field, pixel.i, pixel.y);
    if (pixel.value < part.min || pixel.value > part.max)
        rova_pim_report(" ERROR :  COLOR Value    = (%5d, %5d) = %d [ %d - %d ] \n", p.x, p.y,
                        pixel.value, part.min, part.max);
    else if (v_diff(pixel) > part.diffY)
        rova_pim_report(" ERROR :  V. PIXEL DIFF. = (%5d, %5d) = %5d - %5d = %5d [ %5d ] \n", p.x,
                        p.y, pixel.value, pixel.below, v_diff(pixel), part.diffY);
    else if (h_diff(pixel) > part.diffX)
        rova_pim_report(" ERROR :  H. PIXEL DIFF. = (%5d, %5d) = %5d - %5d = %5d [ %5d ] \n", p.x,
                        p.y, pixel.value, pixel.right, h_diff(pixel), part.diffX);
    else
        return false;
    return true;
}

// The first bad pixel of a row.
bool search_row(std::span<const uint8_t> row, std::span<const uint8_t> row_below,
                const colour_field &field, const rova_pim_movie_part &part, colour_pixel *pixel)
{
    for (int32_t i = 0; i < field.width; i++) {
        const int64_t right = int64_t{i} + field.right;
        const int32_t j = rova_pim_narrow(std::min<int64_t>(right, field.width - 1));
        pixel->i = i;
        pixel->j = j;
        pixel->value = row[static_cast<std::size_t>(i)];
        pixel->below = row_below[static_cast<std::size_t>(i)];
        pixel->right = row[static_cast<std::size_t>(j)];
        if (is_bad(*pixel, field, part))
            return true;
    }
    return false;
}

// The first bad pixel of the field.
bool search_field(const rova_pim_image &image, const colour_field &field,
                  const rova_pim_movie_part &part, colour_pixel *pixel)
{
    std::vector<uint8_t> row(static_cast<std::size_t>(field.width));
    std::vector<uint8_t> row_below(row.size());
    for (int32_t y = field.area.y0; y <= field.area.y1; y++) {
        pixel->y = y;
        pixel->y2 = rova_pim_narrow(std::min<int64_t>(field.area.y1, int64_t{y} + field.below));
        copy_row(image, part, field, pixel->y, row);
        copy_row(image, part, field, pixel->y2, row_below);
        if (search_row(row, row_below, field, part, pixel))
            return true;
    }
    return false;
}

// The second point's y counts columns: the line's tools know it so.
rova_pim_frame_record bad_record(int32_t frame, int32_t colour, const colour_field &field,
                                 const colour_pixel &pixel)
{
    return {.frame = frame,
            .colour = colour,
            .p1 = point_of(field, pixel.i, pixel.y),
            .v1 = pixel.value,
            .p2 = point_of(field, pixel.i, pixel.j),
            .v2 = pixel.right,
            .p3 = point_of(field, pixel.i, pixel.y2),
            .v3 = pixel.below,
            .vDiff = v_diff(pixel),
            .hDiff = h_diff(pixel),
            .result = 0};
}

rova_pim_frame_record good_record(int32_t frame, int32_t colour)
{
    return {.frame = frame,
            .colour = colour,
            .p1 = {},
            .v1 = 0,
            .p2 = {},
            .v2 = 0,
            .p3 = {},
            .v3 = 0,
            .vDiff = 0,
            .hDiff = 0,
            .result = 1};
}

void append(const rova_pim_frame_record &record, rova_pim_movie_config &cfg)
{
    if (cfg.frameCount < PIM_MOVIE_FRAMES)
        cfg.frame[cfg.frameCount] = record;
    else
        rova_pim_report(" frame %d counts without a record: there are %d \n", record.frame,
                        PIM_MOVIE_FRAMES);
    cfg.frameCount++;
    cfg.frameOk += record.result;
}

int judge_field(int32_t frame, const rova_pim_image &image, const rova_pim_movie_part &part,
                rova_pim_movie_config &cfg)
{
    colour_field field = {};
    colour_pixel pixel = {};
    field.pixels = rova_pim_chroma_subsampling(image.iCS);
    if (field.pixels.fx == 0) {
        rova_pim_report("NOT FOUND COLOR Marker : NG !!!! \n");
        return FAILED;
    }
    if (!find_field(image, part, cfg.testField, &field)) {
        cfg.refused++;
        return FAILED;
    }
    const bool bad = search_field(image, field, part, &pixel);
    append(bad ? bad_record(frame, part.colour, field, pixel) : good_record(frame, part.colour),
           cfg);
    return bad ? FAILED : 0;
}

// A frame out of step is passed over.
int check_frame(int32_t frame, const rova_pim_image &image, const rova_pim_movie_part &part,
                rova_pim_movie_config &cfg)
{
    int32_t &done = rova_pim_movie_done[part.colour == PIM_COLOUR_CR ? 0 : 1];
    if (frame != part.start + int64_t{done} * part.inc)
        return 0;
    done++;
    rova_pim_debug(" >>> Frame # = %d \n", frame);
    return judge_field(frame, image, part, cfg);
}

bool is_of(int32_t frame, const rova_pim_movie_part &part)
{
    return frame >= part.start && frame <= rova_pim_movie_last(part);
}

int32_t printed_last(const rova_pim_movie_part &part)
{
    return rova_pim_narrow(rova_pim_movie_last(part));
}

// The frame's colour; false for a frame of neither.
bool classify(int32_t frame, const rova_pim_movie_config &cfg, rova_pim_movie_part *part)
{
    const rova_pim_movie_part red = rova_pim_movie_red(cfg);
    const rova_pim_movie_part blue = rova_pim_movie_blue(cfg);
    if (is_of(frame, red)) {
        rova_pim_debug(" RED     : [ %d ] :::: %5d - %5d \n", frame, red.start, printed_last(red));
        *part = red;
    } else if (is_of(frame, blue)) {
        rova_pim_debug(" BLUE    : [ %d ] :::: %5d - %5d \n", frame, blue.start,
                       printed_last(blue));
        *part = blue;
    } else {
        rova_pim_debug(" D'CARE  : [ %d ] :::: %5d - %5d , %5d - %5d  \n", frame, red.start,
                       printed_last(red), blue.start, printed_last(blue));
        return false;
    }
    return true;
}

int test_frame(int32_t frame, const rova_pim_image &image, rova_pim_movie_config &cfg)
{
    rova_pim_movie_part part;
    if (!classify(frame, cfg, &part))
        return 0;
    const int result = check_frame(frame, image, part, cfg);
    if (result == FAILED)
        rova_pim_report(" ERROR ::: %s COLOR Mis-Matching \n", part.word);
    else
        rova_pim_debug(" GOOD  ::: %s COLOR Matching OK \n", part.word);
    rova_pim_movie_write_table(frame, cfg);
    return result;
}

// 0 when there can be no such frame.
uint64_t bytes_of(const uint8_t *y, int32_t width, int32_t height)
{
    const auto address = reinterpret_cast<uintptr_t>(y);
    if (y == nullptr || width <= 0 || height <= 0 || address >= ROVA_PIM_ADDRESS_END)
        return 0;
    const uint64_t bytes = static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * 3 / 2;
    return bytes <= ROVA_PIM_ADDRESS_END - address ? bytes : 0;
}

bool find_frame(const uint8_t *y, int32_t width, int32_t height, int32_t frame,
                rova_pim_image *image)
{
    const uint64_t bytes = bytes_of(y, width, height);
    *image = {{y, static_cast<std::size_t>(bytes)}, width, height, width, CS420_Y_CbCr};
    if (bytes == 0)
        rova_pim_report(" ERROR :  no frame %d of %d x %d at 0x%08x \n", frame, width, height,
                        rova_pim_address(y));
    return bytes != 0;
}

void dump(const char *name, const char *form, int32_t frame, const rova_pim_image &image)
{
    constexpr int OPEN_FAILED = -1;
    char path[64];
    std::snprintf(path, sizeof(path), form, frame);
    if (rova_pim_dump(path, image.bytes) == OPEN_FAILED)
        rova_pim_print("%s, %d: file open error. fp %d\n", name, __LINE__, OPEN_FAILED);
}

} // namespace

rova_pim_movie_part rova_pim_movie_red(const rova_pim_movie_config &cfg)
{
    return {.word = "RED",
            .colour = PIM_COLOUR_CR,
            .plane = cfg.crOffset,
            .start = cfg.redStart,
            .num = cfg.redNum,
            .inc = cfg.redInc,
            .min = cfg.redMin,
            .max = cfg.redMax,
            .off = cfg.redOffY,
            .diffX = cfg.redDiffX,
            .diffY = cfg.redDiffY};
}

rova_pim_movie_part rova_pim_movie_blue(const rova_pim_movie_config &cfg)
{
    return {.word = "BLUE",
            .colour = PIM_COLOUR_CB,
            .plane = cfg.cbOffset,
            .start = cfg.blueStart,
            .num = cfg.blueNum,
            .inc = cfg.blueInc,
            .min = cfg.blueMin,
            .max = cfg.blueMax,
            .off = cfg.blueOffY,
            .diffX = cfg.blueDiffX,
            .diffY = cfg.blueDiffY};
}

int rova_pim_movie_test_frame(int32_t frame, const rova_pim_image &image,
                              rova_pim_movie_config &cfg)
{
    rova_pim_open_debug(cfg.dbgPrint, cfg.debugFile);
    const int result = test_frame(frame, image, cfg);
    rova_pim_debug_close();
    return result;
}

int32_t GetMovieDebugValue7()
{
    return cfgMovie.dbgOption[7];
}

void CheckMovie(const uint8_t *y, int32_t width, int32_t height, int32_t frame)
{
    rova_pim_movie_config &cfg = cfgMovie;
    rova_pim_image image;
    int result = 0;
    if (cfg.dbgOption[6] == 1)
        rova_pim_print("\033[43m%s %d : 0x%08x, %d x %d, frame = %d, enableTest = %d, "
                       "enableSaveRaw = %d, enableSaveErrRaw = %d\033[0m\n",
                       __func__, __LINE__, rova_pim_address(y), width, height, frame,
                       cfg.enableTest, cfg.enableSaveRaw, cfg.enableSaveErrRaw);
    if (cfg.enableTest != 1 && cfg.enableSaveRaw != 1)
        return;
    if (!find_frame(y, width, height, frame, &image)) {
        cfg.refused++;
        return;
    }
    if (cfg.enableTest == 1) {
        result = rova_pim_movie_test_frame(frame, image, cfg);
        rova_pim_print("\033[42m%s %d : frame %3d returnValue = %d\033[0m\n", __func__, __LINE__,
                       frame, result);
    }
    if (cfg.enableSaveRaw == 1)
        dump(__func__, "/mnt/mmc/MovieRawDump%03dC.raw", frame, image);
    else if (cfg.enableSaveErrRaw == 1 && result == FAILED)
        dump(__func__, "/mnt/mmc/MovieErrRawDump%03dC.raw", frame, image);
}
