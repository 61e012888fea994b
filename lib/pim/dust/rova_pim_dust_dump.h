// What a search for dust saw, as files to look at: numbers of some rows as text, and the marks as a
// bitmap.  By the thread that runs the test.
#pragma once

#include "lib/pim/dust/rova_pim_dust_stripe.h"

#include <cstdio>
#include <vector>

class rova_pim_dust_dump
{
public:
    // Opens the files that are asked for; the bitmap's has its name of this number.  One that
    // cannot be opened is reported and left out.  The picture and the record outlive this.
    rova_pim_dust_dump(const rova_pim_image &image, const rova_pim_dust_config &cfg,
                       int32_t &number);
    ~rova_pim_dust_dump();
    rova_pim_dust_dump(const rova_pim_dust_dump &) = delete;
    rova_pim_dust_dump &operator=(const rova_pim_dust_dump &) = delete;

    // Writes a stripe of `rows` rows that has been marked.
    void write(const rova_pim_dust_stripe &stripe, int32_t rows);

private:
    void open_pixels();
    void open_marks(int32_t number);
    void write_pixels(const rova_pim_dust_stripe &stripe);
    void write_marks(const rova_pim_dust_stripe &stripe, int32_t rows);

    const rova_pim_image &image_;
    const rova_pim_dust_config &cfg_;
    std::FILE *pixels_ = nullptr;
    std::FILE *marks_ = nullptr;
    int32_t pixels_state_ = 0;
    int32_t marks_state_ = 0;
    char marks_name_[128] = "";
    std::vector<uint8_t> row_;
};
