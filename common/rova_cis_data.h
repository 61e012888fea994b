// The dot data of the image sensor: its maker's file with the sensor's numbers and defect pixels,
// and the list that the pixels become.  docs/sensor-data.md describes all files.
//
// Results are 1, or 0 with the reason in the platform log, unless said otherwise.  Server thread.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

inline constexpr char ROVA_CIS_SERIAL_LIST[] = "/sdcard/serial_sensor.csv";
inline constexpr char ROVA_CIS_DOT_BIN[] = "/opt/share/rova/CIS_DOT.bin";

// More than this the counts of the adjustment store do not hold.
inline constexpr int32_t ROVA_CIS_SECTION_PIXEL_MAX = INT16_MAX;
// A dot file of all sections full has a quarter of this.
inline constexpr std::size_t ROVA_CIS_FILE_SIZE_MAX = 16 << 20;

#pragma pack(push, 1)

// A defect pixel, as it stands in a pixel list: two little-endian numbers.
struct rova_cis_pixel {
    uint16_t x;
    uint16_t y;
    bool operator==(const rova_cis_pixel &) const = default;
};

// What a dot file tells, all zero at first.
struct rova_cis_data {
    int32_t serial;
    int32_t chip_ver;
    int32_t clamp_level;
    int32_t pixel_num_b; // pixels in each section, 0 to 8
    int32_t pixel_num_o;
    int32_t pixel_num_t;
    int32_t pixel_num_w;
    int32_t pixel_num_c;
    int32_t pixel_num_x;
    int32_t pixel_num_s;
    int32_t pixel_num_p;
    int32_t pixel_num_l;
    int32_t dot_data_size; // bytes of the pixel list
};

#pragma pack(pop)

static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(rova_cis_pixel) == 4);
static_assert(offsetof(rova_cis_pixel, y) == 2);
static_assert(sizeof(rova_cis_data) == 52);
static_assert(offsetof(rova_cis_data, chip_ver) == 4);
static_assert(offsetof(rova_cis_data, clamp_level) == 8);
static_assert(offsetof(rova_cis_data, pixel_num_b) == 12);
static_assert(offsetof(rova_cis_data, pixel_num_l) == 44);
static_assert(offsetof(rova_cis_data, dot_data_size) == 48);

struct rova_cis_dots {
    rova_cis_data data = {};
    std::vector<rova_cis_pixel> pixels; // section 0 first; within one in the order of the file
    int skipped = 0;                    // lines that begin like a pixel's and are none
    std::string refused;                // why, when the parser gave 0
};

// The dot file, whole: the one on the card when the serial list is there, which is removed, else
// the PC's; or the PC's only.
int rova_cis_data_read(std::vector<char> *text);
int rova_cis_data_read_pc(std::vector<char> *text);

// Any bytes are a dot file.  0, and nothing logged, for a number that its item of the adjustment
// store does not hold, and for more pixels in a section than ROVA_CIS_SECTION_PIXEL_MAX.
int rova_cis_data_parse(std::span<const char> text, rova_cis_dots *dots);

// The pixel list in ROVA_CIS_DOT_BIN.  Writing replaces it as a whole: after a power cut it is the
// old list or the new.
int rova_cis_data_write_pixels(std::span<const rova_cis_pixel> pixels);
int rova_cis_data_read_pixels(std::vector<rova_cis_pixel> *pixels);
