#include "platform/virtual/picture.h"

#include "platform/virtual/values.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <png.h>
#include <sstream>
#include <strings.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace virt
{

namespace
{

struct Rgb {
    int width = 0, height = 0;
    std::vector<uint8_t> bytes;
};

size_t page_size()
{
    static const size_t size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

void *map_at(void *hint, size_t size, int flags)
{
    void *data =
        mmap(hint, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | flags, -1, 0);
    return data == MAP_FAILED ? nullptr : data;
}

bool lies_low(const void *data, size_t size)
{
    return reinterpret_cast<uintptr_t>(data) + size <= uint64_t{1} << 32;
}

#ifdef MAP_32BIT
void *map_low(size_t size)
{
    return map_at(nullptr, size, MAP_32BIT);
}
#else
// Where the kernel has no flag for it the places are tried one after the other.
void *map_low(size_t size)
{
    constexpr uint64_t FIRST = 0x10000000, STEP = 0x01000000, END = 0xf0000000;
    for (uint64_t at = FIRST; at + size <= END; at += STEP)
        if (void *data = map_at(reinterpret_cast<void *>(static_cast<uintptr_t>(at)), size,
                                MAP_FIXED_NOREPLACE))
            return data;
    return nullptr;
}
#endif

int clamp_byte(int value)
{
    return std::clamp(value, 0, 255);
}

bool fair_size(long long width, long long height)
{
    return width > 0 && height > 0 && width <= LONGEST_SIDE && height <= LONGEST_SIDE;
}

int chroma_rows(int height, Chroma chroma)
{
    return chroma == Chroma::EVERY_LINE ? height : (height + 1) / 2;
}

// The formulas of ITU-R BT.601 in full range, in parts of 65536, rounded.
constexpr int Y_OF[3] = {19595, 38470, 7471};
constexpr int CB_OF[3] = {-11059, -21709, 32768};
constexpr int CR_OF[3] = {32768, -27439, -5329};

int weigh(const int (&weights)[3], const int *rgb)
{
    return weights[0] * rgb[0] + weights[1] * rgb[1] + weights[2] * rgb[2];
}

uint8_t luma(const uint8_t *pixel)
{
    const int rgb[3] = {pixel[0], pixel[1], pixel[2]};
    return static_cast<uint8_t>((weigh(Y_OF, rgb) + 32768) >> 16);
}

// `rgb` is the sum of two pixels.
uint8_t chroma_of_two(const int (&weights)[3], const int *rgb)
{
    return static_cast<uint8_t>(clamp_byte((weigh(weights, rgb) + (256 << 16) + 65536) >> 17));
}

void convert_row(const uint8_t *rgb, int width, uint8_t *y, uint8_t *c)
{
    for (int x = 0; x < width; x++)
        y[x] = luma(rgb + 3 * x);
    for (int x = 0; x < width; x += 2) {
        const uint8_t *left = rgb + 3 * x;
        const uint8_t *right = x + 1 < width ? left + 3 : left;
        const int sum[3] = {left[0] + right[0], left[1] + right[1], left[2] + right[2]};
        c[x] = chroma_of_two(CB_OF, sum);
        c[x + 1] = chroma_of_two(CR_OF, sum);
    }
}

std::optional<Picture> convert(const Rgb &from, const Layout &layout, std::string &error)
{
    Picture to = make_picture(from.width, from.height, Chroma::EVERY_LINE, layout);
    if (!to.memory.data()) {
        error = "no memory below 4 GiB";
        return std::nullopt;
    }
    for (int row = 0; row < from.height; row++)
        convert_row(from.bytes.data() +
                        size_t{3} * static_cast<size_t>(from.width) * static_cast<size_t>(row),
                    from.width, to.y(row), to.c(row));
    return to;
}

bool refuse(std::string &error, const std::string &why)
{
    error = why;
    return false;
}

bool read_png(const std::string &place, Rgb &to, std::string &error)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, place.c_str()))
        return refuse(error, image.message);
    image.flags |= PNG_IMAGE_FLAG_16BIT_sRGB;
    image.format = PNG_FORMAT_RGB;
    if (!fair_size(image.width, image.height)) {
        png_image_free(&image);
        return refuse(error, "too large");
    }
    to.width = static_cast<int>(image.width);
    to.height = static_cast<int>(image.height);
    to.bytes.resize(PNG_IMAGE_SIZE(image));
    const png_color black = {};
    if (!png_image_finish_read(&image, &black, to.bytes.data(), 0, nullptr))
        return refuse(error, image.message);
    return true;
}

// The next number of a netpbm header, behind blanks and comments; -1 if there is none.
long header_number(const std::string &data, size_t &at)
{
    while (at < data.size() &&
           (std::isspace(static_cast<unsigned char>(data[at])) || data[at] == '#'))
        at = data[at] == '#' ? std::min(data.find('\n', at), data.size()) : at + 1;
    if (at >= data.size() || !std::isdigit(static_cast<unsigned char>(data[at])))
        return -1;
    char *end = nullptr;
    const long number = std::strtol(data.c_str() + at, &end, 10);
    at = static_cast<size_t>(end - data.c_str());
    return number;
}

// Binary netpbm files with 8 bits a sample.
bool read_pnm(const std::string &place, Rgb &to, std::string &error)
{
    const std::string data = read_file(place);
    if (data.size() < 2 || data[0] != 'P' || (data[1] != '5' && data[1] != '6'))
        return refuse(error, "no P5 or P6 file");
    const size_t samples = data[1] == '6' ? 3 : 1;
    size_t at = 2;
    const long width = header_number(data, at), height = header_number(data, at);
    if (header_number(data, at) != 255 || !fair_size(width, height))
        return refuse(error, "its header is not understood");
    at++; // one blank ends the header
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    if (at > data.size() || data.size() - at < pixels * samples)
        return refuse(error, "it ends early");
    to.width = static_cast<int>(width);
    to.height = static_cast<int>(height);
    to.bytes.resize(3 * pixels);
    for (size_t byte = 0; byte < to.bytes.size(); byte++)
        to.bytes[byte] = static_cast<uint8_t>(data[at + (samples == 3 ? byte : byte / 3)]);
    return true;
}

long long note(const std::map<std::string, std::string> &notes, const char *key, long long usual)
{
    auto found = notes.find(key);
    return found == notes.end() ? usual : std::strtoll(found->second.c_str(), nullptr, 10);
}

// The file's pitch is the picture's: a dump of a camera comes back as it was.
std::optional<Picture> read_raw(const std::string &place, const Layout &layout, std::string &error)
{
    const auto notes = read_notes(place + ".txt");
    const long long width = note(notes, "width", 0), height = note(notes, "height", 0);
    const long long pitch = note(notes, "pitch", width + width % 2);
    if (!fair_size(width, height) || pitch < width + width % 2 || pitch > 2 * LONGEST_SIDE) {
        error = "width, height or pitch is missing or out of range";
        return std::nullopt;
    }
    const std::string data = read_file(place);
    const size_t needed = 2 * static_cast<size_t>(pitch) * static_cast<size_t>(height);
    if (data.size() < needed) {
        error = "it has " + std::to_string(data.size()) + " bytes, not " + std::to_string(needed);
        return std::nullopt;
    }
    const Layout own = {1, static_cast<int>(pitch - width), layout.row_padding};
    Picture to =
        make_picture(static_cast<int>(width), static_cast<int>(height), Chroma::EVERY_LINE, own);
    if (!to.memory.data()) {
        error = "no memory below 4 GiB";
        return std::nullopt;
    }
    std::memcpy(to.memory.data(), data.data(), needed);
    return to;
}

using read_rgb = bool (*)(const std::string &place, Rgb &to, std::string &error);

struct Form {
    const char *extension;
    read_rgb read; // NULL: raw 4:2:2
};

constexpr Form FORMS[] = {
    {".png", read_png}, {".ppm", read_pnm}, {".pgm", read_pnm},
    {".yuv", nullptr},  {".raw", nullptr},
};

const Form *form_of(const std::string &name)
{
    const std::string end = std::filesystem::path(name).extension().string();
    for (const Form &form : FORMS)
        if (strcasecmp(end.c_str(), form.extension) == 0)
            return &form;
    return nullptr;
}

// Samples that stand side by side, `step` bytes apart: a Y plane, or Cb or Cr of a chroma plane.
struct Plane {
    uint8_t *data;
    int width, height, step, pitch;

    uint8_t &at(int x, int row) const
    {
        return data[static_cast<size_t>(row) * static_cast<size_t>(pitch) +
                    static_cast<size_t>(x) * static_cast<size_t>(step)];
    }
};

// The samples that number `at` of `count` covers among `samples`: at least one.
std::pair<int, int> covered(int at, int count, int samples)
{
    const int first = static_cast<int>(static_cast<long long>(at) * samples / count);
    const int end = static_cast<int>((at + 1LL) * samples / count);
    return {first, std::max(end, first + 1)};
}

uint8_t mean(const Plane &from, std::pair<int, int> columns, std::pair<int, int> rows)
{
    uint64_t sum = 0;
    for (int row = rows.first; row < rows.second; row++)
        for (int x = columns.first; x < columns.second; x++)
            sum += from.at(x, row);
    const uint64_t count = static_cast<uint64_t>(columns.second - columns.first) *
                           static_cast<uint64_t>(rows.second - rows.first);
    return static_cast<uint8_t>((sum + count / 2) / count);
}

void scale_plane(const Plane &from, const Plane &to)
{
    for (int row = 0; row < to.height; row++)
        for (int x = 0; x < to.width; x++)
            to.at(x, row) =
                mean(from, covered(x, to.width, from.width), covered(row, to.height, from.height));
}

Plane luma_plane(const Picture &picture)
{
    return {picture.y(0), picture.width, picture.height, 1, picture.pitch};
}

// `which`: 0 for Cb, 1 for Cr.
Plane chroma_plane(const Picture &picture, Chroma chroma, int which)
{
    return {picture.c(0) + which, (picture.width + 1) / 2, chroma_rows(picture.height, chroma), 2,
            picture.pitch};
}

} // namespace

LowMemory::LowMemory(size_t size)
{
    size = (size + page_size() - 1) / page_size() * page_size();
    void *data = map_low(size);
    if (data && !lies_low(data, size)) {
        munmap(data, size);
        return;
    }
    data_ = static_cast<uint8_t *>(data);
    size_ = size;
}

LowMemory::~LowMemory()
{
    if (data_)
        munmap(data_, size_);
}

Picture make_picture(int width, int height, Chroma chroma, const Layout &layout)
{
    const int align = std::max(layout.pitch_align, 1), even = width + width % 2;
    Picture picture;
    picture.width = width;
    picture.height = height;
    picture.pitch = std::max((width + align - 1) / align * align + layout.pitch_padding, even);
    picture.rows = height + layout.row_padding;
    const auto rows =
        static_cast<size_t>(picture.rows) + static_cast<size_t>(chroma_rows(height, chroma));
    picture.memory = LowMemory(rows * static_cast<size_t>(picture.pitch));
    return picture;
}

std::map<std::string, std::string> read_notes(const std::string &place)
{
    std::map<std::string, std::string> notes;
    std::istringstream lines(read_file(place));
    for (std::string line, key, value; std::getline(lines, line);) {
        std::istringstream words(line);
        if (words >> key && key.front() != '#' && words >> value)
            notes[key] = value;
    }
    return notes;
}

bool is_picture(const std::string &name)
{
    return form_of(name) != nullptr;
}

std::optional<Picture> read_picture(const std::string &place, const Layout &layout,
                                    std::string &error)
{
    const Form *form = form_of(place);
    std::error_code none; // a pipe would be waited for
    if (!form || !std::filesystem::is_regular_file(place, none) ||
        access(place.c_str(), R_OK) != 0) {
        error = "no such picture";
        return std::nullopt;
    }
    if (!form->read)
        return read_raw(place, layout, error);
    Rgb rgb;
    if (!form->read(place, rgb, error))
        return std::nullopt;
    return convert(rgb, layout, error);
}

int even_part(int side, int divisor)
{
    return std::max(side / divisor / 2 * 2, 2);
}

Picture scale_picture(const Picture &from, int width, int height, Chroma chroma,
                      const Layout &layout)
{
    Picture to = make_picture(width, height, chroma, layout);
    if (!to.memory.data())
        return to;
    scale_plane(luma_plane(from), luma_plane(to));
    for (int which : {0, 1})
        scale_plane(chroma_plane(from, Chroma::EVERY_LINE, which), chroma_plane(to, chroma, which));
    return to;
}

} // namespace virt
