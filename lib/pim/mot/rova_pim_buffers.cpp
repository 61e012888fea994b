#include "lib/pim/mot/rova_pim_buffers.h"

#include "lib/pim/rova_pim_debug.h"

#include <cstdlib>

uint8_t *gPimaImg;
int32_t *gLineImg;
int32_t gMallocFlag;

namespace
{

constexpr int32_t LONGEST_SIDE = 65535; // of a JPEG

std::size_t picture_size; // bytes
std::size_t line_length;  // numbers

bool is_side(int32_t pixels)
{
    return pixels > 0 && pixels <= LONGEST_SIDE;
}

} // namespace

int rova_pim_buffers_allocate(int32_t width, int32_t height)
{
    if (gMallocFlag != 0)
        return 0;
    if (!is_side(width) || !is_side(height)) {
        rova_pim_report("no buffers for pictures of %d x %d\n", width, height);
        return -1;
    }
    const int32_t picture = (height / 8) * (width / 4);
    rova_pim_buffers_free();
    gPimaImg = static_cast<uint8_t *>(std::malloc(static_cast<std::size_t>(picture)));
    gLineImg =
        static_cast<int32_t *>(std::malloc(static_cast<std::size_t>(height) * sizeof(*gLineImg)));
    if (gPimaImg == nullptr || gLineImg == nullptr) {
        rova_pim_buffers_free();
        rova_pim_report("no memory for pictures of %d x %d\n", width, height);
        return -1;
    }
    picture_size = static_cast<std::size_t>(picture);
    line_length = static_cast<std::size_t>(height);
    rova_pim_debug(" MEMORY ALLOCATION (IMAGE) : %5d \n", picture);
    rova_pim_debug(" MEMORY ALLOCATION (LINE)  : %5d \n", height);
    gMallocFlag = 1;
    return 0;
}

void rova_pim_buffers_free()
{
    std::free(gPimaImg);
    std::free(gLineImg);
    gPimaImg = nullptr;
    gLineImg = nullptr;
    picture_size = 0;
    line_length = 0;
    gMallocFlag = 0;
}

std::span<uint8_t> rova_pim_picture_buffer()
{
    return {gPimaImg, picture_size};
}

std::span<int32_t> rova_pim_line_buffer()
{
    return {gLineImg, line_length};
}
