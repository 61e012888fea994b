// Pictures as the capture service hands them out: in memory below 4 GiB, read from files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace virt
{

// Zeroed memory whose address is a 32-bit word; unmapped with its holder, so that a client which
// reads on after giving a picture back is found at once.
class LowMemory
{
public:
    LowMemory() = default;
    explicit LowMemory(size_t size);
    LowMemory(LowMemory &&other) noexcept { swap(other); }
    LowMemory &operator=(LowMemory &&other) noexcept
    {
        swap(other);
        return *this;
    }
    ~LowMemory();

    uint8_t *data() const { return data_; } // NULL when there was no room
    uint32_t address() const { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(data_)); }

private:
    void swap(LowMemory &other)
    {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
    }

    uint8_t *data_ = nullptr;
    size_t size_ = 0;
};

// What is left free behind each row, and behind the picture.
struct Layout {
    int pitch_align = 64;  // a row takes a multiple of this many bytes ...
    int pitch_padding = 0; // ... and this many more
    int row_padding = 0;   // allocated height beyond the valid one
};

enum class Chroma { EVERY_LINE, EVERY_SECOND_LINE }; // 4:2:2 and 4:2:0

// A Y plane, and at pitch * height behind it the chroma plane: pairs of Cb and Cr, one for two
// pixels of a row, with the same pitch.
struct Picture {
    int width = 0, height = 0; // valid pixels
    int pitch = 0, rows = 0;   // allocated ones
    LowMemory memory;

    uint8_t *y(int row) const { return memory.data() + offset(row); }
    uint8_t *c(int row) const { return memory.data() + offset(height) + offset(row); }
    uint32_t y_address() const { return memory.address(); }
    uint32_t c_address() const { return memory.address() + static_cast<uint32_t>(offset(height)); }

private:
    size_t offset(int row) const { return static_cast<size_t>(pitch) * static_cast<size_t>(row); }
};

// Longer sides are refused.
inline constexpr int LONGEST_SIDE = 16384;

// A picture without contents; without memory when there is no room.
Picture make_picture(int width, int height, Chroma chroma, const Layout &layout);

// Lines of a key, blanks and a value; what begins with # is skipped.
std::map<std::string, std::string> read_notes(const std::string &place);

// Whether a file of this name is a picture: .png, .ppm, .pgm, .yuv or .raw, in
// small letters or capitals.
bool is_picture(const std::string &name);

// Reads it as 4:2:2.  A .yuv or .raw file is taken as it is, with the width, height and pitch that
// FILE.txt tells; `layout` then only gives the rows behind it.  nullopt: `error` says why.
std::optional<Picture> read_picture(const std::string &place, const Layout &layout,
                                    std::string &error);

// One side of a picture whose sides are a part of another's: even, and never nothing.
int even_part(int side, int divisor = 1);

// A 4:2:2 picture in another size and with this chroma.  A pixel is the mean of those that it
// covers; the borders between them are rounded down to whole pixels.
Picture scale_picture(const Picture &from, int width, int height, Chroma chroma,
                      const Layout &layout);

} // namespace virt
