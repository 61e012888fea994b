// Pictures without a display: an EFL canvas in memory, and PNG files.
#pragma once

#include <Ecore_Evas.h>
#include <Evas.h>

#include <cstdint>
#include <filesystem>
#include <vector>

namespace vcam
{

// 32-bit pixels, alpha in the highest byte, row by row.
struct picture {
    int width;
    int height;
    std::vector<uint32_t> pixels;
};

// A canvas in memory.  Only one thread may use EFL.
class canvas
{
public:
    canvas(int width, int height); // fails with a message where EFL gives none
    ~canvas();
    canvas(const canvas &) = delete;
    canvas &operator=(const canvas &) = delete;

    Evas *evas() const;
    picture draw() const;
    void save_png(const picture &image, const std::filesystem::path &path) const;

private:
    Ecore_Evas *window_;
};

// Settings of EFL for a program without a desktop; before its first call.
void quiet_efl();

} // namespace vcam
