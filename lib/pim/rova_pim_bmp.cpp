#include "lib/pim/rova_pim_bmp.h"

#include "common/rova_log.h"
#include "lib/pim/rova_pim_debug.h"
#include "platform/sys.h"

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <string_view>

namespace
{

constexpr uint16_t BMP_MAGIC = 19778; // "BM"
constexpr uint16_t BMP_BITS = 8;
constexpr uint32_t BMP_INFO_SIZE = 40;
constexpr uint32_t BMP_COLOURS = 256;
constexpr std::size_t BMP_HEAD_SIZE = 14 + BMP_INFO_SIZE + BMP_COLOURS * 4;
static_assert(BMP_HEAD_SIZE == 1078);

using bmp_head = std::array<uint8_t, BMP_HEAD_SIZE>;

// Little-endian, as the format has it on any machine.
void put(uint8_t *at, uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; i++)
        at[i] = static_cast<uint8_t>(value >> (8 * i));
}

bmp_head make_head(uint32_t width, uint32_t height)
{
    bmp_head head = {};
    uint8_t *info = &head[14];
    uint8_t *palette = info + BMP_INFO_SIZE;
    put(&head[0], BMP_MAGIC, 2);
    put(&head[2], width * height + BMP_HEAD_SIZE, 4);
    put(&head[10], BMP_HEAD_SIZE, 4);
    put(info, BMP_INFO_SIZE, 4);
    put(info + 4, width, 4);
    put(info + 8, height, 4);
    put(info + 12, 1, 2); // planes
    put(info + 14, BMP_BITS, 2);
    put(info + 20, width * height * 3, 4); // kept as the line's viewers know it
    for (uint32_t i = 0; i < BMP_COLOURS; i++)
        put(palette + i * 4, i * 0x010101, 4);
    return head;
}

bool write_bytes(std::FILE *stream, std::span<const uint8_t> bytes)
{
    return std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size();
}

bool write_head(std::FILE *stream, int32_t width, int32_t height)
{
    return write_bytes(stream,
                       make_head(static_cast<uint32_t>(width), static_cast<uint32_t>(height)));
}

bool write_upwards(std::FILE *stream, std::span<const uint8_t> picture, std::size_t pitch,
                   std::size_t width)
{
    for (std::size_t end = picture.size(); end >= pitch; end -= pitch) {
        if (!write_bytes(stream, picture.subspan(end - pitch, width)))
            return false;
    }
    return true;
}

bool holds(std::span<const uint8_t> picture, int32_t width, int32_t height)
{
    return width >= 4 && height > 0 &&
           picture.size() / static_cast<std::size_t>(width) >= static_cast<std::size_t>(height);
}

bool write_first_head(std::FILE *stream, int32_t width, int32_t height)
{
    return fseeko(stream, 0, SEEK_SET) == 0 && write_head(stream, width, height);
}

// The last row comes first.
off_t row_position(int32_t width, int32_t height, int32_t y)
{
    return static_cast<off_t>(BMP_HEAD_SIZE) + off_t{width} * (height - 1 - y);
}

// A name's parts around its number; a folder's '_' and '.' are none of the file's.
struct name_parts {
    std::string_view front; // up to the '_'
    std::string_view extension;
    int64_t number;
};

name_parts parts_of(std::string_view name)
{
    const std::size_t slash = name.rfind('/');
    const std::size_t file = slash == std::string_view::npos ? 0 : slash + 1;
    const std::size_t dot = name.rfind('.');
    const std::size_t end = dot == std::string_view::npos || dot < file ? name.size() : dot;
    const std::size_t line = name.rfind('_');
    if (line == std::string_view::npos || line < file)
        return {name.substr(0, end), name.substr(end), 0};
    int number = 0;
    std::sscanf(name.data() + line + 1, "%4d", &number);
    return {name.substr(0, line), name.substr(end), number};
}

bool is_row(std::span<const uint8_t> row, int32_t width, int32_t height, int32_t y)
{
    return width > 0 && y >= 0 && y < height && row.size() >= static_cast<std::size_t>(width);
}

} // namespace

int SaveBmp(const char *path, std::span<const uint8_t> picture, int32_t width, int32_t height)
{
    if (!holds(picture, width, height)) {
        ROVA_LOG_ERR("no picture of %d x %d in %zu bytes\n", width, height, picture.size());
        return -1;
    }
    std::FILE *stream = sys_fopen(path, "wb");
    if (stream == nullptr) {
        rova_pim_print(" FILE OPEN ERROR : %s \n\n", path);
        return -1;
    }
    const std::size_t pitch = static_cast<std::size_t>(width);
    const int32_t kept = width / 4 * 4;
    bool whole = write_head(stream, kept, height) &&
                 write_upwards(stream, picture.first(pitch * static_cast<std::size_t>(height)),
                               pitch, static_cast<std::size_t>(kept));
    whole = std::fclose(stream) == 0 && whole;
    if (whole)
        return 0;
    ROVA_LOG_ERR("failed to write %s (%s)\n", path, std::strerror(errno));
    sys_unlink(path);
    return -1;
}

int SaveBmpRow(std::FILE *stream, std::span<const uint8_t> row, int32_t width, int32_t height,
               int32_t y)
{
    if (stream == nullptr || !is_row(row, width, height, y)) {
        ROVA_LOG_ERR("no row %d of %d x %d in %zu bytes\n", y, width, height, row.size());
        return -1;
    }
    if ((y != 0 || write_first_head(stream, width, height)) &&
        fseeko(stream, row_position(width, height, y), SEEK_SET) == 0 &&
        write_bytes(stream, row.first(static_cast<std::size_t>(width))))
        return 0;
    ROVA_LOG_ERR("failed to write row %d of a picture (%s)\n", y, std::strerror(errno));
    return -1;
}

void MakeNumberedName(const char *name, std::span<char> out, int32_t n)
{
    const name_parts parts = parts_of(name);
    std::snprintf(out.data(), out.size(), "%.*s_%04" PRId64 "%.*s",
                  static_cast<int>(parts.front.size()), parts.front.data(), parts.number + n,
                  static_cast<int>(parts.extension.size()), parts.extension.data());
    rova_pim_debug(">>> Output FIle : %s \n\n", out.data());
}
