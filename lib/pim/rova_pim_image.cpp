#include "lib/pim/rova_pim_image.h"

#include "common/rova_log.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_pixels.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <iterator>

namespace
{

// Where a row has its values: value x lies at scale * x + first, the next one `step` bytes on.
struct row_form {
    int32_t step; // 0: nowhere
    int32_t scale;
    int32_t first;
};

struct colour_space {
    row_form y;
    row_form cb;
    row_form cr;
    int32_t chroma_pitch_divisor = 1;
};

constexpr row_form NOWHERE = {0, 0, 0};
constexpr row_form ALONE = {1, 1, 0};
constexpr row_form FIRST = {2, 2, 0};
constexpr row_form SECOND = {2, 2, 1};
constexpr colour_space UNKNOWN = {NOWHERE, NOWHERE, NOWHERE};

// By number.  Not every colour space with a Y plane has one here: that is how the tests know them.
// clang-format off
constexpr colour_space COLOUR_SPACES[] = {
    UNKNOWN,                                // CS420_Y_ONLY
    {ALONE,   ALONE,     ALONE,     2},     // CS420_Y_Cb_Cr
    {ALONE,   FIRST,     SECOND},           // CS420_Y_CbCr
    {ALONE,   SECOND,    FIRST},            // CS420_Y_CrCb
    {NOWHERE, NOWHERE,   ALONE},            // CS420_YCbCr
    UNKNOWN,                                // CS420_YCbYCr
    UNKNOWN,                                // CS420_CbYCrY
    UNKNOWN,                                // CS422_Y_ONLY
    UNKNOWN,                                // CS422_Y_Cb_Cr
    {ALONE,   FIRST,     SECOND},           // CS422_Y_CbCr
    UNKNOWN,                                // CS422_Y_CrCb
    {ALONE,   ALONE,     ALONE},            // CS422_YCbCr
    {FIRST,   {4, 4, 1}, {4, 4, 3}},        // CS422_YCbYCr
    {SECOND,  {4, 4, 0}, {4, 4, 2}},        // CS422_CbYCrY
    {ALONE,   {2, 1, 0}, {2, 1, 1}},        // CS422_YYCbCrCbCr
};
// clang-format on
static_assert(std::size(COLOUR_SPACES) == CS422_YYCbCrCbCr + 1);

constexpr const colour_space &form_of(int32_t iCS)
{
    const bool known = iCS >= 0 && iCS < static_cast<int32_t>(std::size(COLOUR_SPACES));
    return known ? COLOUR_SPACES[iCS] : UNKNOWN;
}

// A rectangle of a picture as rows of bytes, proved to lie inside.
struct byte_area {
    const uint8_t *row = nullptr; // the first value
    std::size_t count = 0;        // values in a row
    std::size_t rows = 0;
    std::size_t pitch = 0;
    int32_t step = 0;
};

// What a rectangle asks for, counted in 64 bits so that no request overflows.
struct request {
    row_form form;
    int64_t x;
    int64_t y;
    int64_t w;
    int64_t h;
    int64_t pitch;
    int64_t offset; // of the plane
};

// The values from x to x + w at this step.
int64_t values_in_row(const request &ask)
{
    return (ask.form.scale * ask.w + ask.form.step - 1) / ask.form.step;
}

bool ends_inside(const request &ask, int64_t first, int64_t count, int64_t size)
{
    if (ask.pitch <= 0 || ask.h - 1 > size / ask.pitch)
        return false;
    return first + (ask.h - 1) * ask.pitch + (count - 1) * ask.form.step < size;
}

// False with a line in the log when a byte of the area lies outside of the picture.
bool find_area(const rova_pim_image &image, const request &ask, byte_area *area)
{
    *area = {};
    if (ask.form.step == 0 || ask.w <= 0 || ask.h <= 0)
        return true;
    const int64_t count = values_in_row(ask);
    const int64_t first = ask.offset + ask.y * ask.pitch + ask.form.scale * ask.x + ask.form.first;
    if (first < 0 || !ends_inside(ask, first, count, static_cast<int64_t>(image.bytes.size()))) {
        ROVA_LOG_ERR("no pixels at (%" PRId64 ", %" PRId64 ") %" PRId64 " x %" PRId64
                     ": outside of the picture's %zu bytes\n",
                     ask.x, ask.y, ask.w, ask.h, image.bytes.size());
        return false;
    }
    *area = {image.bytes.data() + first, static_cast<std::size_t>(count),
             static_cast<std::size_t>(ask.h), static_cast<std::size_t>(ask.pitch), ask.form.step};
    return true;
}

bool find_luma(const rova_pim_image &image, const rova_pim_rect &rect, byte_area *area)
{
    return find_area(image,
                     {.form = form_of(image.iCS).y,
                      .x = rect.x0,
                      .y = rect.y0,
                      .w = int64_t{rect.x1} - rect.x0 + 1,
                      .h = int64_t{rect.y1} - rect.y0 + 1,
                      .pitch = image.pitch,
                      .offset = 0},
                     area);
}

row_form chroma_row(int32_t iCS, int32_t colour)
{
    if (colour == PIM_COLOUR_CB)
        return form_of(iCS).cb;
    return colour == PIM_COLOUR_CR ? form_of(iCS).cr : NOWHERE;
}

struct chroma_rect {
    int64_t x;
    int64_t y;
    int64_t w;
    int64_t h;
};

bool find_chroma(const rova_pim_image &image, int32_t colour, const chroma_rect &rect,
                 int32_t offset, byte_area *area)
{
    return find_area(image,
                     {.form = chroma_row(image.iCS, colour),
                      .x = rect.x,
                      .y = rect.y,
                      .w = rect.w,
                      .h = rect.h,
                      .pitch = image.pitch / form_of(image.iCS).chroma_pitch_divisor,
                      .offset = offset},
                     area);
}

// With the step known to the compiler the rows of single bytes become wide loads.
template <std::size_t STEP> uint64_t sum_row(const uint8_t *row, std::size_t count)
{
    constexpr std::size_t BLOCK = 64;
    uint64_t sum = 0;
    std::size_t i = 0;
    for (; i + BLOCK <= count; i += BLOCK) {
        uint32_t block = 0;
        for (std::size_t k = 0; k < BLOCK; k++)
            block += row[(i + k) * STEP];
        sum += block;
    }
    for (; i < count; i++)
        sum += row[i * STEP];
    return sum;
}

template <std::size_t STEP> void copy_row(const uint8_t *row, std::size_t count, uint8_t *out)
{
    if constexpr (STEP == 1) {
        std::memcpy(out, row, count);
    } else {
        for (std::size_t i = 0; i < count; i++)
            out[i] = row[i * STEP];
    }
}

template <std::size_t STEP> uint64_t sum_rows(const byte_area &area)
{
    uint64_t sum = 0;
    for (std::size_t y = 0; y < area.rows; y++)
        sum += sum_row<STEP>(area.row + y * area.pitch, area.count);
    return sum;
}

template <std::size_t STEP> void copy_rows(const byte_area &area, uint8_t *out)
{
    for (std::size_t y = 0; y < area.rows; y++)
        copy_row<STEP>(area.row + y * area.pitch, area.count, out + y * area.count);
}

uint64_t sum_byte_rows(const byte_area &area)
{
    uint64_t sum = 0;
    rova_pim_sum_blocks({area.row, area.pitch, area.rows}, 0, area.count, {&sum, 1});
    return sum;
}

rova_pim_sum sum_area(const byte_area &area)
{
    const uint64_t count = uint64_t{area.count} * area.rows;
    switch (area.step) {
    case 1:
        return {sum_byte_rows(area), count};
    case 2:
        return {sum_rows<2>(area), count};
    case 4:
        return {sum_rows<4>(area), count};
    default:
        return {0, 0};
    }
}

bool fits(const byte_area &area, std::span<uint8_t> out)
{
    if (area.rows == 0 || area.count <= out.size() / area.rows)
        return true;
    ROVA_LOG_ERR("no room for %zu x %zu pixels in %zu bytes\n", area.count, area.rows, out.size());
    return false;
}

std::size_t copy_area(const byte_area &area, std::span<uint8_t> out)
{
    if (!fits(area, out))
        return 0;
    switch (area.step) {
    case 1:
        copy_rows<1>(area, out.data());
        break;
    case 2:
        copy_rows<2>(area, out.data());
        break;
    case 4:
        copy_rows<4>(area, out.data());
        break;
    default:
        return 0;
    }
    return area.count * area.rows;
}

void mark_columns(std::span<int32_t> line, int32_t x0, int32_t x1, int32_t value)
{
    if (line.empty())
        return;
    const int64_t end = static_cast<int64_t>(line.size()) - 1;
    const auto from = std::clamp<int64_t>(x0, 0, end);
    const auto to = std::clamp<int64_t>(x1, 0, end);
    std::fill(line.begin() + from, line.begin() + to + 1, value);
}

} // namespace

rova_pim_subsampling rova_pim_chroma_subsampling(int32_t iCS)
{
    if (iCS >= CS420_Y_Cb_Cr && iCS <= CS420_CbYCrY)
        return {2, 2};
    if (iCS >= CS422_Y_Cb_Cr && iCS <= CS422_YYCbCrCbCr)
        return {2, 1};
    if (iCS >= CS444_Y_Cb_Cr && iCS <= CS444_CbYCrY)
        return {1, 1};
    return {0, 0};
}

int32_t rova_pim_luma_step(int32_t iCS)
{
    return form_of(iCS).y.step;
}

std::size_t GetArea(const rova_pim_image &image, const rova_pim_rect &rect, std::span<uint8_t> out)
{
    byte_area area;
    return find_luma(image, rect, &area) ? copy_area(area, out) : 0;
}

rova_pim_sum GetAreaSum(const rova_pim_image &image, const rova_pim_rect &rect)
{
    byte_area area;
    find_luma(image, rect, &area);
    return sum_area(area);
}

rova_pim_sum GetAreaSumMark(const rova_pim_image &image, const rova_pim_rect &rect, int32_t value,
                            std::span<int32_t> line, std::span<uint8_t> out)
{
    byte_area area;
    if (!find_luma(image, rect, &area) || area.rows == 0)
        return {0, 0};
    if (!out.empty() && copy_area(area, out) == 0)
        return {0, 0};
    mark_columns(line, rect.x0, rect.x1, value);
    return sum_area(area);
}

std::size_t GetChromaArea(const rova_pim_image &image, int32_t colour, int32_t x, int32_t y,
                          int32_t w, int32_t h, int32_t offset, std::span<uint8_t> out)
{
    byte_area area;
    return find_chroma(image, colour, {x, y, w, h}, offset, &area) ? copy_area(area, out) : 0;
}

int GetAreaMean(const rova_pim_image &image, int32_t tColor, const rova_pim_rect &rect,
                int32_t offset, rova_pim_mean *result)
{
    *result = {};
    const bool luma = tColor == PIM_COLOUR_Y;
    if ((luma ? form_of(image.iCS).y : chroma_row(image.iCS, tColor)).step == 0) {
        rova_pim_print(" NOT Supported Color Format \n");
        return -1;
    }
    const chroma_rect values = {rect.x0, rect.y0, int64_t{rect.x1} - rect.x0 + 1,
                                int64_t{rect.y1} - rect.y0 + 1};
    byte_area area;
    if (!(luma ? find_luma(image, rect, &area) : find_chroma(image, tColor, values, offset, &area)))
        return -1;
    const auto [sum, count] = sum_area(area);
    if (count != 0)
        *result = {sum, count, static_cast<float>(sum) / static_cast<float>(count)};
    return 0;
}
