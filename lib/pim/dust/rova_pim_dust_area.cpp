#include "lib/pim/dust/rova_pim_dust.h"

#include <algorithm>
#include <array>
#include <ranges>

namespace
{

constexpr int32_t NO_AREA_REF = 25500; // the greatest difference that there is

// The bottom strip is not looked at; the last one stays empty.
constexpr std::array BLUR_STRIPS = {0, 2, 3, 4};
constexpr int32_t NO_BLUR_REF = -25500; // no difference is below

// By index of tShadingArea.
constexpr std::array SHADING_MARKS = {'A', 'B', 'D', 'E'};
static_assert(SHADING_MARKS.size() == PIM_SHADING_AREAS);

template <class AREA> bool holds(const AREA &area, int32_t x, int32_t y)
{
    return area.x1 <= x && x < area.x2 && area.y1 <= y && y < area.y2;
}

// The index of the last area that holds the point, or -1.
template <class AREAS> int last_area(const AREAS &areas, int32_t x, int32_t y)
{
    int i = static_cast<int>(std::size(areas)) - 1;
    while (i >= 0 && !holds(areas[i], x, y))
        i--;
    return i;
}

} // namespace

int32_t GetSmallRef(int32_t x, int32_t y, const rova_pim_dust_config &cfg)
{
    const int i = last_area(cfg.tSearchArea, x, y);
    return i >= 0 ? cfg.tSearchArea[i].iSmallRef100 : NO_AREA_REF;
}

int32_t GetBigRef(int32_t x, int32_t y, const rova_pim_dust_config &cfg)
{
    const int i = last_area(cfg.tSearchArea, x, y);
    return i >= 0 ? cfg.tSearchArea[i].iBigRef100 : NO_AREA_REF;
}

int32_t GetBlurRef(int32_t x, int32_t y, const rova_pim_dust_config &cfg)
{
    const bool blurred =
        std::ranges::any_of(BLUR_STRIPS, [&](int i) { return holds(cfg.BlurArea[i], x, y); });
    return blurred ? cfg.iBlurRef100 : NO_BLUR_REF;
}

char GetAreaMark(int32_t x, int32_t y, const rova_pim_dust_config &cfg)
{
    const int i = last_area(cfg.tSearchArea, x, y);
    return i >= 0 ? static_cast<char>('A' + i) : '-';
}

char GetShadingMark(int32_t x, int32_t y, const rova_pim_dust_config &cfg)
{
    const int i = last_area(cfg.tShadingArea, x, y);
    return i >= 0 ? SHADING_MARKS[static_cast<std::size_t>(i)] : '-';
}

bool IsExceptArea(int32_t x1, int32_t y1, int32_t x2, int32_t y2, const rova_pim_dust_config &cfg)
{
    return std::ranges::any_of(cfg.tExceptArea, [&](const rova_pim_corners &area) {
        return holds(area, x1, y1) || holds(area, x2, y2);
    });
}
