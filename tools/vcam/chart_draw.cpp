#include "tools/vcam/chart.h"

#include "common/rova_guard.h"

#include <algorithm>
#include <cstdio>
#include <png.h>
#include <zlib.h>

namespace vcam
{
namespace
{

constexpr uint64_t STEP = 0x9e3779b97f4a7c15;

// The sum of eight random bytes is very nearly normal: mean 1020, standard deviation 209.02.
constexpr int BYTE_SUMS = 8 * 255 + 1;
constexpr int MEAN_SUM = 1020;
constexpr int64_t VIGNETTE_PARTS = 1 << 20;
constexpr int DEVIATION = 20902; // hundredths

int sum_of_bytes(uint64_t word)
{
    constexpr uint64_t EVEN = 0x00ff00ff00ff00ff;
    const uint64_t pairs = (word & EVEN) + (word >> 8 & EVEN);
    return static_cast<int>(pairs * 0x0001000100010001 >> 48);
}

std::vector<int> noise_table(int sigma)
{
    std::vector<int> parts(BYTE_SUMS);
    for (int sum = 0; sum < BYTE_SUMS; sum++)
        parts[static_cast<std::size_t>(sum)] = static_cast<int>(
            static_cast<int64_t>(sum - MEAN_SUM) * sigma * LEVEL_PARTS / DEVIATION);
    return parts;
}

std::size_t first_part(int x)
{
    return 3 * static_cast<std::size_t>(x);
}

void add(chart_row &row, int x, int parts)
{
    for (std::size_t i = first_part(x); i < first_part(x + 1); i++)
        row[i] += parts;
}

// How many parts a spot takes off at so many pixels from its middle, squared.
int spot_parts(const chart_spot &spot, int64_t distance_squared)
{
    constexpr int64_t UNIT = 65536;
    const int64_t left =
        UNIT - 4 * distance_squared * UNIT / (static_cast<int64_t>(spot.size) * spot.size);
    if (left <= 0)
        return 0;
    return static_cast<int>(spot.depth * LEVEL_PARTS * (left * left / UNIT) / UNIT);
}

// Whether it worked is asked of the file, at the end.
void write_bytes(png_structp png, png_bytep bytes, png_size_t count)
{
    std::fwrite(bytes, 1, count, static_cast<std::FILE *>(png_get_io_ptr(png)));
}

void flush_bytes(png_structp) {}

class png_writer
{
public:
    png_writer(std::FILE *file, chart_size size, bool coloured)
        : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr)),
          info_(png_ != nullptr ? png_create_info_struct(png_) : nullptr)
    {
        if (info_ == nullptr)
            throw failure("no memory for a PNG file");
        png_set_write_fn(png_, file, write_bytes, flush_bytes);
        png_set_IHDR(png_, info_, static_cast<png_uint_32>(size.width),
                     static_cast<png_uint_32>(size.height), 8,
                     coloured ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        // Noise does not get smaller by more effort, and what is even is short anyway.
        png_set_compression_level(png_, 1);
        png_set_compression_strategy(png_, Z_RLE);
        png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
        png_write_info(png_, info_);
    }
    ~png_writer() { png_destroy_write_struct(&png_, &info_); }
    png_writer(const png_writer &) = delete;
    png_writer &operator=(const png_writer &) = delete;

    void write(const std::vector<png_byte> &row) { png_write_row(png_, row.data()); }
    void finish() { png_write_end(png_, info_); }

private:
    png_structp png_;
    png_infop info_;
};

png_byte to_byte(int parts)
{
    return static_cast<png_byte>(std::clamp((parts + LEVEL_PARTS / 2) / LEVEL_PARTS, 0, 255));
}

void write_rows(png_writer &writer, chart_size size, const chart_layers &layers, bool coloured)
{
    chart_row row(first_part(size.width));
    const std::size_t step = coloured ? 1 : 3;
    std::vector<png_byte> bytes(row.size() / step);
    for (int y = 0; y < size.height; y++) {
        for (const chart_layer &layer : layers)
            layer.draw(y, row);
        for (std::size_t i = 0; i < bytes.size(); i++)
            bytes[i] = to_byte(row[i * step]);
        writer.write(bytes);
    }
    writer.finish();
}

// Such as a device of the PC: nothing to be put in another file's place.
bool is_special(const fs::path &file)
{
    std::error_code error;
    return fs::exists(file, error) && !fs::is_regular_file(file, error);
}

// False when not all of it could be written.
bool write_png(const fs::path &file, chart_size size, const chart_layers &layers)
{
    const rova_file out(std::fopen(file.c_str(), "wb"));
    if (!out)
        return false;
    const bool coloured = std::any_of(layers.begin(), layers.end(),
                                      [](const chart_layer &layer) { return layer.coloured; });
    png_writer writer(out.get(), size, coloured);
    write_rows(writer, size, layers, coloured);
    return std::fflush(out.get()) == 0 && std::ferror(out.get()) == 0;
}

} // namespace

uint64_t chart_random::next()
{
    state_ += STEP;
    uint64_t mixed = state_;
    mixed = (mixed ^ mixed >> 30) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111eb;
    return mixed ^ mixed >> 31;
}

chart_layer flat_layer(const chart_colour &levels)
{
    const auto draw = [levels](int, chart_row &row) {
        for (std::size_t i = 0; i < row.size(); i++)
            row[i] = levels[i % levels.size()] * LEVEL_PARTS;
    };
    return {draw, levels[0] != levels[1] || levels[1] != levels[2]};
}

chart_layer vignette_layer(chart_size size, int percent)
{
    const int64_t middle_x = size.width - 1, middle_y = size.height - 1; // in half pixels
    const int64_t whole = 100 * (middle_x * middle_x + middle_y * middle_y);
    return {[=](int y, chart_row &row) {
        const int64_t dy = 2 * y - middle_y;
        for (int x = 0; x < size.width; x++) {
            const int64_t dx = 2 * x - middle_x;
            const int64_t off = percent * (dx * dx + dy * dy) * VIGNETTE_PARTS / whole;
            for (std::size_t i = first_part(x); i < first_part(x + 1); i++)
                row[i] -= static_cast<int>(row[i] * off / VIGNETTE_PARTS);
        }
    }};
}

chart_layer patch_layer(const chart_patch &patch)
{
    const auto draw = [patch](int y, chart_row &row) {
        if (y < patch.y || y >= patch.y + patch.height)
            return;
        for (std::size_t i = first_part(patch.x); i < first_part(patch.x + patch.width); i++)
            row[i] += patch.added[i % patch.added.size()] * LEVEL_PARTS;
    };
    const chart_colour &added = patch.added;
    return {draw, added[0] != added[1] || added[1] != added[2]};
}

chart_layer spot_layer(chart_size size, const chart_spot &spot)
{
    return {[=](int y, chart_row &row) {
        const int64_t dy = y - spot.y, reach = spot.size / 2;
        if (dy < -reach || dy > reach)
            return;
        const int first = std::max(spot.x - spot.size / 2, 0);
        const int end = std::min(spot.x + spot.size / 2 + 1, size.width);
        for (int x = first; x < end; x++) {
            const int64_t dx = x - spot.x;
            add(row, x, -spot_parts(spot, dx * dx + dy * dy));
        }
    }};
}

chart_layer noise_layer(uint64_t seed, int sigma)
{
    return {[seed, parts = noise_table(sigma)](int y, chart_row &row) {
        // A row's numbers are its own, whatever was drawn before it.
        chart_random random(chart_random(seed + STEP * static_cast<uint64_t>(y)).next());
        for (std::size_t i = 0; i < row.size(); i += 3) {
            const int part = parts[static_cast<std::size_t>(sum_of_bytes(random.next()))];
            row[i] += part;
            row[i + 1] += part;
            row[i + 2] += part;
        }
    }};
}

// A camera that looks on sees the picture before or the whole new one.
void save_chart(const fs::path &file, chart_size size, const chart_layers &layers)
{
    std::error_code error;
    fs::create_directories(file.parent_path(), error);
    const bool in_place = is_special(file);
    const fs::path part = in_place ? file : fs::path(file.string() + ".part");
    bool written = write_png(part, size, layers);
    if (!in_place) {
        if (written)
            fs::rename(part, file, error);
        written = written && !error;
        fs::remove(part, error);
    }
    if (!written)
        throw failure("'" + file.string() + "' cannot be written");
}

} // namespace vcam
