// Colour spaces, and the pixels of rectangles of a picture.
//
// The functions below work on any thread and allocate nothing.  Clipping a rectangle to the picture
// is the caller's; one that reaches outside of the picture's bytes, or a copy that
// does not fit into its buffer, is refused as a whole with a line in the log, and reads as empty.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

enum rova_pim_colour_space : int32_t {
    CS420_Y_ONLY,
    CS420_Y_Cb_Cr,
    CS420_Y_CbCr, // live view and movie frames
    CS420_Y_CrCb,
    CS420_YCbCr,
    CS420_YCbYCr,
    CS420_CbYCrY,
    CS422_Y_ONLY,
    CS422_Y_Cb_Cr,
    CS422_Y_CbCr, // stills
    CS422_Y_CrCb,
    CS422_YCbCr,
    CS422_YCbYCr,
    CS422_CbYCrY,
    CS422_YYCbCrCbCr,
    CS444_Y_ONLY,
    CS444_Y_Cb_Cr,
    CS444_Y_CbCr,
    CS444_Y_CrCb,
    CS444_YCbCr,
    CS444_YCbYCr,
    CS444_CbYCrY,
    CS_MAX,
};

enum rova_pim_colour : int32_t { PIM_COLOUR_Y, PIM_COLOUR_CB, PIM_COLOUR_CR };

// A picture in place: its bytes from the first of the Y plane, the chroma behind it included.
struct rova_pim_image {
    std::span<const uint8_t> bytes;
    int32_t width;
    int32_t height;
    int32_t pitch; // bytes from a row to the next, above 0
    int32_t iCS;   // rova_pim_colour_space; other values have no pixels
};

struct rova_pim_point {
    int32_t x;
    int32_t y;
};

// Inclusive corners.  With x1 below x0 or y1 below y0 it is empty.
struct rova_pim_rect {
    int32_t x0;
    int32_t y0;
    int32_t x1;
    int32_t y1;
};

struct rova_pim_sum {
    uint64_t sum;
    uint64_t count;
};

struct rova_pim_mean {
    uint64_t sum;
    uint64_t count;
    float mean; // float(sum) / float(count); 0 of nothing
};

struct rova_pim_subsampling {
    int32_t fx; // pixels for each chroma value in a row; 0: the colour space has none
    int32_t fy; // rows of pixels for each row of chroma
};

inline constexpr uint64_t ROVA_PIM_ADDRESS_END = uint64_t{1} << 32;

// The address of a plane below 4 GiB as the capture service's records have it, and back.
inline uint32_t rova_pim_address(const uint8_t *plane)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(plane));
}
inline const uint8_t *rova_pim_plane(uint32_t address)
{
    return reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(address));
}

rova_pim_subsampling rova_pim_chroma_subsampling(int32_t iCS);

// Bytes from one luma value of a row to the next; 0: the functions below read none.
int32_t rova_pim_luma_step(int32_t iCS);

// Copies the rectangle's luma to `out`, packed by rows.  Returns the number of bytes.
std::size_t GetArea(const rova_pim_image &image, const rova_pim_rect &rect, std::span<uint8_t> out);

// The sum and the number of the rectangle's luma bytes.
rova_pim_sum GetAreaSum(const rova_pim_image &image, const rova_pim_rect &rect);

// As GetAreaSum, copies the luma as GetArea does unless `out` is empty, and writes `value` to
// `line` at the column of each pixel read; columns outside of `line` count as its first or last.
rova_pim_sum GetAreaSumMark(const rova_pim_image &image, const rova_pim_rect &rect, int32_t value,
                            std::span<int32_t> line, std::span<uint8_t> out);

// Copies w values of h rows of the chroma plane that begins `offset` bytes behind the Y plane,
// packed by rows.  `colour` is PIM_COLOUR_CB or _CR; x, y, w and h count chroma values.  Returns
// the number of bytes.
std::size_t GetChromaArea(const rova_pim_image &image, int32_t colour, int32_t x, int32_t y,
                          int32_t w, int32_t h, int32_t offset, std::span<uint8_t> out);

// The mean of a rectangle of the plane of `tColor` (rova_pim_colour), in values of that plane;
// `offset` is that of the chroma plane.  0, or -1 with a zeroed result where the colour space has
// no such values (which is printed) or the rectangle is refused.
int GetAreaMean(const rova_pim_image &image, int32_t tColor, const rova_pim_rect &rect,
                int32_t offset, rova_pim_mean *result);
