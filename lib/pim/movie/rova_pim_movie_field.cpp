// The judged field of a movie's frame, and its first bad pixel.
#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_reader.h"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <vector>

namespace
{

// The field in the colour's plane, and how it is walked, in values of the plane.
struct colour_field {
    const rova_pim_image &image;
    const rova_pim_movie_part &part;
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

std::size_t copy_row(const colour_field &field, int32_t y, std::span<uint8_t> row)
{
    return GetChromaArea(field.image, field.part.colour, field.area.x0, y, field.width, 1,
                         field.part.plane, row);
}

// Whether all rows can be read: a plane's rows lie one behind the other, so that the first and the
// last tell.
bool can_be_read(const colour_field &field)
{
    if (field.width < 1 || field.area.y1 < field.area.y0 || field.right < 0 || field.below < 0)
        return false;
    std::vector<uint8_t> row(static_cast<std::size_t>(field.width));
    return copy_row(field, field.area.y0, row) == row.size() &&
           copy_row(field, field.area.y1, row) == row.size();
}

bool find_field(float test_field, colour_field *field)
{
    rova_pim_rect &area = field->area;
    if (!find_area(field->image, field->pixels, test_field, &area))
        return false;
    const int64_t width = int64_t{area.x1} - area.x0 + 1;
    field->width = rova_pim_narrow(width);
    rova_pim_debug(" AREA :  (%5d, %5d) (%5d, %5d) = %5d x %5d \n\n", area.x0, area.y0, area.x1,
                   area.y1, field->width, rova_pim_narrow(int64_t{area.y1} - area.y0 + 1));
    return width <= field->image.width && can_be_read(*field);
}

rova_pim_point point_of(const colour_field &field, int32_t x, int32_t y)
{
    return {field.pixels.fx * x, field.pixels.fy * y};
}

// Reports what is wrong with it.
bool is_bad(const colour_pixel &pixel, const colour_field &field)
{
    const rova_pim_movie_part &part = field.part;
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
bool search_row(const colour_field &field, std::span<const uint8_t> row,
                std::span<const uint8_t> row_below, colour_pixel *pixel)
{
    for (int32_t i = 0; i < field.width; i++) {
        const int64_t right = int64_t{i} + field.right;
        const int32_t j = rova_pim_narrow(std::min<int64_t>(right, field.width - 1));
        pixel->i = i;
        pixel->j = j;
        pixel->value = row[static_cast<std::size_t>(i)];
        pixel->below = row_below[static_cast<std::size_t>(i)];
        pixel->right = row[static_cast<std::size_t>(j)];
        if (is_bad(*pixel, field))
            return true;
    }
    return false;
}

// The first bad pixel of the field.
bool search_field(const colour_field &field, colour_pixel *pixel)
{
    std::vector<uint8_t> row(static_cast<std::size_t>(field.width));
    std::vector<uint8_t> row_below(row.size());
    for (int32_t y = field.area.y0; y <= field.area.y1; y++) {
        pixel->y = y;
        pixel->y2 = rova_pim_narrow(std::min<int64_t>(field.area.y1, int64_t{y} + field.below));
        copy_row(field, pixel->y, row);
        copy_row(field, pixel->y2, row_below);
        if (search_row(field, row, row_below, pixel))
            return true;
    }
    return false;
}

// The second point's y counts columns: the line's tools know it so.
void note_bad(const colour_field &field, const colour_pixel &pixel, rova_pim_frame_record *record)
{
    record->p1 = point_of(field, pixel.i, pixel.y);
    record->v1 = pixel.value;
    record->p2 = point_of(field, pixel.i, pixel.j);
    record->v2 = pixel.right;
    record->p3 = point_of(field, pixel.i, pixel.y2);
    record->v3 = pixel.below;
    record->vDiff = v_diff(pixel);
    record->hDiff = h_diff(pixel);
    record->result = 0;
}

} // namespace

bool rova_pim_movie_judge_field(const rova_pim_image &image, const rova_pim_movie_part &part,
                                float test_field, rova_pim_frame_record *record)
{
    const rova_pim_subsampling pixels = rova_pim_chroma_subsampling(image.iCS);
    if (pixels.fx == 0) {
        rova_pim_report("NOT FOUND COLOR Marker : NG !!!! \n");
        return false;
    }
    colour_field field = {image, part, pixels, {}, 0, part.off / pixels.fx, part.off / pixels.fy};
    if (!find_field(test_field, &field)) {
        const rova_pim_rect &area = field.area;
        rova_pim_report(" ERROR :  the frame of %d x %d has no field (%d, %d) (%d, %d) for offset "
                        "%d of the plane at %d \n",
                        image.width, image.height, area.x0, area.y0, area.x1, area.y1, part.off,
                        part.plane);
        return false;
    }
    colour_pixel pixel = {};
    record->result = 1;
    if (search_field(field, &pixel))
        note_bad(field, pixel, record);
    return true;
}
