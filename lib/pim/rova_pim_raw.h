// Raw dumps of stills on the card: the bytes of the Y plane and the 4:2:2 chroma plane behind it.
// On the capture service's thread.
#pragma once

#include <cstdint>
#include <span>

inline constexpr char ROVA_PIM_RAW_DIR[] = "/mnt/mmc/DCIM_YUVRAW";

// Writes `bytes` to the file of the camera.  0, or -1: the file could not be opened, which is left
// to the caller to report, or -2: writing failed, which is logged and leaves no file.
int rova_pim_dump(const char *path, std::span<const uint8_t> bytes);

// Write pitch x height x 2 bytes from the plane's address, which the caller has proved to be there,
// to HVXF_%04d.yuv.raw (full image) and HVXS_%04d.yuv.raw (screen nail) in ROVA_PIM_RAW_DIR.  A
// failure is reported and goes no further.
void saveYuvRawMain(int32_t number, const uint8_t *mainY, int32_t mainGWidth, int32_t mainHeight);
void saveYuvRawScreen(int32_t number, const uint8_t *screenY, int32_t screenGWidth,
                      int32_t screenHeight);
