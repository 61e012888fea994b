// The check of a red frame as it is told: pixel by pixel, with each byte looked up by its place.
#pragma once

#include "lib/pim/movie/rova_pim_movie_test.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace test
{

struct PlainMovie {
    int result;
    bool refused; // the field does not lie in the bytes
    rova_pim_frame_record record;
    std::string text; // of the first error
};

inline std::string movie_text(const rova_pim_frame_record &r)
{
    char text[256];
    std::snprintf(text, sizeof(text), "%d %d (%d %d) %d (%d %d) %d (%d %d) %d %d %d %d", r.frame,
                  r.colour, r.p1.x, r.p1.y, r.v1, r.p2.x, r.p2.y, r.v2, r.p3.x, r.p3.y, r.v3,
                  r.vDiff, r.hDiff, r.result);
    return text;
}

class PlainFrame
{
public:
    PlainFrame(const rova_pim_image &image, const rova_pim_movie_config &cfg)
        : image_(image), cfg_(cfg), fy_(image.iCS >= CS422_Y_Cb_Cr ? 1 : 2)
    {
        const float t = cfg.testField * 100.0F;
        const float lo = 100.0F - t, hi = t + 100.0F;
        const int half_width = image.width / 2, half_height = image.height / 2;
        const auto hw = static_cast<float>(half_width), hh = static_cast<float>(half_height);
        y0 = static_cast<int>(lo * hh / 100.0F / static_cast<float>(fy_));
        y1 = static_cast<int>(hi * hh / 100.0F / static_cast<float>(fy_));
        x0 = static_cast<int>(hw * lo / 100.0F / 2.0F);
        x1 = static_cast<int>(hw * hi / 100.0F / 2.0F);
    }

    bool readable() const
    {
        return x1 - x0 + 1 <= image_.width && inside(x0, y0) && inside(x1, y0) && inside(x0, y1) &&
               inside(x1, y1);
    }

    PlainMovie search(int32_t frame) const
    {
        for (int y = y0; y <= y1; y++)
            for (int x = x0; x <= x1; x++)
                if (const std::string error = error_at(x, y); !error.empty())
                    return {-1, false, bad(frame, x, y), error};
        return {0, false, {frame, PIM_COLOUR_CR, {}, 0, {}, 0, {}, 0, 0, 0, 1}, "GOOD"};
    }

private:
    int place(int x, int y) const
    {
        const int cr = image_.iCS == CS420_Y_CrCb ? 0 : 1;
        return cfg_.crOffset + y * image_.pitch + 2 * x + cr;
    }
    bool inside(int x, int y) const
    {
        return place(x, y) >= 0 && place(x, y) < static_cast<int>(image_.bytes.size());
    }
    int at(int x, int y) const { return image_.bytes[static_cast<std::size_t>(place(x, y))]; }
    int right_of(int x) const
    {
        const int to = x + cfg_.redOffY / 2;
        return to > x1 ? x1 : to;
    }
    int below(int y) const
    {
        const int to = y + cfg_.redOffY / fy_;
        return to > y1 ? y1 : to;
    }
    std::string error_at(int x, int y) const
    {
        const int a = at(x, y), b = at(x, below(y)), c = at(right_of(x), y);
        const int px = 2 * (x - x0), py = fy_ * y;
        char text[128] = "";
        if (a < cfg_.redMin || a > cfg_.redMax)
            std::snprintf(text, sizeof(text),
                          " ERROR :  COLOR Value    = (%5d, %5d) = %d [ %d - %d ] \n", px, py, a,
                          cfg_.redMin, cfg_.redMax);
        else if (std::abs(a - b) > cfg_.redDiffY)
            std::snprintf(text, sizeof(text),
                          " ERROR :  V. PIXEL DIFF. = (%5d, %5d) = %5d - %5d = %5d [ %5d ] \n", px,
                          py, a, b, std::abs(a - b), cfg_.redDiffY);
        else if (std::abs(a - c) > cfg_.redDiffX)
            std::snprintf(text, sizeof(text),
                          " ERROR :  H. PIXEL DIFF. = (%5d, %5d) = %5d - %5d = %5d [ %5d ] \n", px,
                          py, a, c, std::abs(a - c), cfg_.redDiffX);
        return text;
    }
    rova_pim_frame_record bad(int32_t frame, int x, int y) const
    {
        const int i = x - x0, j = right_of(x) - x0;
        const int a = at(x, y), b = at(x, below(y)), c = at(right_of(x), y);
        return {frame,
                PIM_COLOUR_CR,
                {2 * i, fy_ * y},
                a,
                {2 * i, fy_ * j},
                c,
                {2 * i, fy_ * below(y)},
                b,
                std::abs(a - b),
                std::abs(a - c),
                0};
    }

    const rova_pim_image &image_;
    const rova_pim_movie_config &cfg_;
    int fy_;
    int x0, y0, x1, y1;
};

inline PlainMovie plain_movie(int32_t frame, const rova_pim_image &image,
                              const rova_pim_movie_config &cfg)
{
    const PlainFrame plain(image, cfg);
    if (!plain.readable())
        return {-1, true, cfg.frame[0], " ERROR :  the frame of "};
    return plain.search(frame);
}

} // namespace test
