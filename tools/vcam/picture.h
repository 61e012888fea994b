// Drawing without a display: an EFL canvas in memory, saved as a PNG file.
#pragma once

#include <Ecore_Evas.h>
#include <Evas.h>

#include <filesystem>

namespace vcam
{

// A canvas in memory.  Only one thread may use EFL.
class canvas
{
public:
    canvas(int width, int height); // fails with a message where EFL gives none
    ~canvas();
    canvas(const canvas &) = delete;
    canvas &operator=(const canvas &) = delete;

    Evas *evas() const;
    void save_png(const std::filesystem::path &path) const;

private:
    Ecore_Evas *window_;
};

// Settings of EFL for a program without a desktop; before its first call.
void quiet_efl();

} // namespace vcam
