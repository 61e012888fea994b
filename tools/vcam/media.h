// The camera's own sounds and pictures, drawn and reckoned.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace vcam
{

struct sound_row {
    const char *file;
    int hertz;
    int milliseconds;
};

inline constexpr char SOUND_DIR[] = "/usr/apps/com.halvex.lumen-app/res/sounds/camera/";
inline constexpr sound_row SOUNDS[] = {
    {"07_N_AF.wav", 2000, 120},
    {"06_N_SButton.wav", 1500, 60},
    {"10_N_Shutter_30f_1sec.wav", 400, 1000},
    {"13_N_NoBattery.wav", 600, 400},
    {"1KHz_sound.wav", 1000, 1000},
};

struct picture_row {
    const char *file;
    uint32_t (*pixel)(int x, int y); // 720 by 480, 0xffRRGGBB
};

inline constexpr char PICTURE_DIR[] = "/usr/apps/com.halvex.lumen-app/res/edje/images/lcd/fix/";
inline constexpr int PICTURE_WIDTH = 720;
inline constexpr int PICTURE_HEIGHT = 480;
extern const picture_row PICTURES[4];

// A WAV file of one tone: 16 bits, mono, 8 kHz.
std::string tone(const sound_row &sound);

// As a PNG file; fails when it cannot be written.
void save_picture(const picture_row &row, const std::filesystem::path &path);

} // namespace vcam
