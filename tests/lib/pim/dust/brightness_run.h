// A check of brightness in the middle of its run, and what can be said of each of the four: the
// check, its switch and its two verdicts.
#pragma once

#include "tests/lib/pim/dust/dust_run.h"

#include <initializer_list>
#include <string>
#include <utility>

namespace test
{

using DustNumber = int32_t rova_pim_dust_config::*;

template <int (*CHECK)(const rova_pim_image &, rova_pim_dust_config &), DustNumber ON,
          DustNumber OK, DustNumber RST>
class BrightnessRun : public DustRun
{
protected:
    BrightnessRun() { cfg.*ON = 1; }

    std::string check() { return log_of(CHECK); }
    void set_verdict(int32_t verdict) { cfg.*OK = cfg.*RST = verdict; }

    // Of the last run.
    void expect_passed() const { expect(0, 1); }
    void expect_failed() const { expect(-1, 0); }
    void expect_refused() const { expect(-1, PIM_NO_RESULT); }
    void expect(int returned, int32_t verdict) const
    {
        EXPECT_EQ(result, returned);
        EXPECT_EQ(cfg.*OK, verdict);
        EXPECT_EQ(cfg.*RST, verdict);
    }

    void expect_nothing_when_off()
    {
        cfg.*ON = 0;
        EXPECT_EQ(check(), "");
        expect(0, PIM_NO_RESULT);
    }
    void expect_sizes_refused(std::initializer_list<std::pair<int, int>> sizes)
    {
        for (const auto &[x, y] : sizes) {
            cfg.iImgX = x;
            cfg.iImgY = y;
            check();
            expect_refused();
            EXPECT_TRUE(camera.logged("Image Size Error : " + std::to_string(x) + " x " +
                                      std::to_string(y) + " [ "));
        }
    }
    // Rows that the configured size asks for and that the bytes do not have.
    void expect_rows_refused(std::initializer_list<int> heights)
    {
        for (const int rows : heights) {
            set_verdict(PIM_NO_RESULT);
            cfg.iImgY = rows;
            check();
            expect_refused();
        }
        EXPECT_TRUE(camera.logged("is not in the picture"));
    }
};

} // namespace test
