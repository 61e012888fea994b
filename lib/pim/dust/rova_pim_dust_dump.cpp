#include "lib/pim/dust/rova_pim_dust_dump.h"

#include "lib/pim/rova_pim_bmp.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_sink.h"
#include "platform/sys.h"

#include <algorithm>
#include <cstring>

namespace
{

std::FILE *open_file(const char *path, const char *mode)
{
    std::FILE *stream = sys_fopen(path, mode);
    if (stream == nullptr)
        rova_pim_report(" FILE OPEN ERROR : %s \n", path);
    return stream;
}

// One line, a number for each column.
template <class NUMBER> void write_line(std::FILE *stream, int32_t columns, const NUMBER &number)
{
    for (int32_t x = 0; x < columns; x++)
        std::fprintf(stream, " ,%3d ", number(x));
    std::fputc('\n', stream);
}

} // namespace

rova_pim_dust_dump::rova_pim_dust_dump(const rova_pim_image &image, const rova_pim_dust_config &cfg,
                                       int32_t &number)
    : image_(image), cfg_(cfg)
{
    if (cfg.iPixelSave != 0)
        open_pixels();
    if (cfg.iBmpSave != 0)
        open_marks(++number);
}

rova_pim_dust_dump::~rova_pim_dust_dump()
{
    rova_pim_sink_close(pixels_, pixels_state_);
    rova_pim_sink_close(marks_, marks_state_);
}

void rova_pim_dust_dump::open_pixels()
{
    pixels_ = open_file(cfg_.strPixelFile, "w");
}

void rova_pim_dust_dump::open_marks(int32_t number)
{
    MakeNumberedName(cfg_.strBmpFile, marks_name_, number);
    marks_ = open_file(marks_name_, "wb");
}

void rova_pim_dust_dump::write(const rova_pim_dust_stripe &stripe, int32_t rows)
{
    if (pixels_ != nullptr && cfg_.iPixelFrom <= stripe.y && stripe.y <= cfg_.iPixelTo)
        write_pixels(stripe);
    if (marks_ != nullptr)
        write_marks(stripe, rows);
}

void rova_pim_dust_dump::write_pixels(const rova_pim_dust_stripe &stripe)
{
    const int32_t columns = stripe.last() + 1;
    row_.assign(static_cast<std::size_t>(columns), 0);
    GetArea(image_, {0, stripe.y, stripe.last(), stripe.y}, row_);
    const auto step_by = [&](int32_t offset) {
        return [&stripe, offset](int32_t x) {
            return stripe.mean(x) - stripe.mean(stripe.farther(x, offset));
        };
    };
    const auto column = [](int32_t x) { return static_cast<std::size_t>(x); };
    std::fprintf(pixels_, "[%04d] \n", stripe.y);
    write_line(pixels_, columns, [&](int32_t x) { return row_[column(x)] * 100; });
    write_line(pixels_, columns, [&](int32_t x) { return stripe.mean(x); });
    write_line(pixels_, columns, step_by(cfg_.iSmallOffset));
    write_line(pixels_, columns, step_by(cfg_.iBigOffset));
    write_line(pixels_, columns, [&](int32_t x) { return stripe.marks[column(x)]; });
}

// A bitmap that cannot be written to its end is none: what there is of it goes.
void rova_pim_dust_dump::write_marks(const rova_pim_dust_stripe &stripe, int32_t rows)
{
    for (int32_t y = stripe.y; y < stripe.y + rows; y++) {
        if (SaveBmpRow(marks_, stripe.marks, image_.width, image_.height, y) == 0)
            continue;
        rova_pim_sink_close(marks_, marks_state_);
        sys_unlink(marks_name_);
        return;
    }
}
