#include "lib/pim/rova_pim.h"

#include "common/rova_log.h"
#include "lib/pim/movie/rova_pim_movie.h"
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

constinit std::atomic<int32_t> stepValue = PIM_CHART_WIDE;
constinit std::atomic<int32_t> regPim = 0;
constinit std::atomic<int32_t> callbackFlag = 0;
constinit std::atomic<int32_t> gCaptureDone = 0;
rova_pim_exif_info gMotExifInfo;

char pPtpTile[512];
char pPtpTilefromEEPROM[512];

namespace
{

constexpr char CLIENT_NAME[] = "pimode";

// The chroma plane's address, counted as the camera counts: in 32 bits.
uint32_t chroma_address(uint32_t y_address, int32_t width, int32_t height)
{
    return y_address + static_cast<uint32_t>(width) * static_cast<uint32_t>(height);
}

// The name that the application gives the latest still, "" without one; `size` includes the NUL.
std::string_view copy_still_name(char *name, std::size_t size)
{
    const char *latest = rova_pim_still_name();
    if (latest == nullptr)
        ROVA_LOG_ERR("the application has no name of the latest still\n");
    std::snprintf(name, size, "%s", latest != nullptr ? latest : "");
    return name;
}

void print_picture_set(const capture_image_set &img_data)
{
    rova_pim_print(
        "img_data.mainGWidth %d,\nimg_data.mainGHeight %d,\nimg_data.mainWidth %d,\n"
        "img_data.mainHeight%d,\nimg_data.mainYAddress 0x%x,\nimg_data.mainCAddress 0x%x,\n",
        img_data.mainGWidth, img_data.mainGHeight, img_data.mainWidth, img_data.mainHeight,
        img_data.mainYAddress, img_data.mainCAddress);
    rova_pim_print(
        "img_data.screenGWidth %d,\nimg_data.screenGHeight %d,\nimg_data.screenWidth %d,\n"
        "img_data.screenHeight %d,\nimg_data.screenYAddress 0x%x,\n"
        "img_data.screenCAddress 0x%x,\nimg_data.thumbYAddress 0x%x\n",
        img_data.screenGWidth, img_data.screenGHeight, img_data.screenWidth, img_data.screenHeight,
        img_data.screenYAddress, img_data.screenCAddress, img_data.thumbYAddress);
}

// The texts have signed numbers.
int32_t printed(uint32_t number)
{
    return static_cast<int32_t>(number);
}

void fill_exif_info(const capture_still &still)
{
    rova_pim_exif_info &info = gMotExifInfo;
    std::snprintf(info.f_number, sizeof(info.f_number), "%d/%d", printed(still.FNumberNum),
                  printed(still.FNumberDen));
    std::snprintf(info.exposure, sizeof(info.exposure), "%d/%dsec", printed(still.ExposureTimeNum),
                  printed(still.ExposureTimeDen));
    std::snprintf(info.iso, sizeof(info.iso), "%d", printed(still.ISOValue));
    std::snprintf(info.focal_length, sizeof(info.focal_length), "%dmm",
                  still.FocalLengthIn35mmFilm);
    info.afStep = still.afStep;
}

void print_exif_info(const capture_still &still)
{
    rova_pim_print("%d/%d - ", printed(still.FNumberNum), printed(still.FNumberDen));
    rova_pim_print("%d/%dsec - ", printed(still.ExposureTimeNum), printed(still.ExposureTimeDen));
    rova_pim_print("ISO %d - ", printed(still.ISOValue));
    rova_pim_print("%dmm\n", still.FocalLengthIn35mmFilm);
}

// Only the noise test has limits by ISO.
void tell_iso(const capture_still &still)
{
    if (GetPIMode() == PI_MODE_NOISE)
        SetNoiseIso(printed(still.ISOValue), cfgNoise);
}

void check_picture_set(const capture_image_set &set, int32_t file_num)
{
    CheckMain(set.mainGWidth, set.mainGHeight, set.mainWidth, set.mainHeight, set.mainYAddress,
              chroma_address(set.mainYAddress, set.mainWidth, set.mainHeight), set.screenGWidth,
              set.screenGHeight, set.screenWidth, set.screenHeight, set.screenYAddress,
              chroma_address(set.screenYAddress, set.screenGWidth, set.screenHeight), stepValue, 0,
              file_num);
}

// As one step to the command thread: a load in between would clear what the test is to tell of the
// still.  `receiver` is who prints.
void test_still(const char *receiver, const capture_still &still, const capture_image_set &img_data,
                std::string_view latest)
{
    const auto lock = rova_pim_lock_records();
    rova_pim_exif_info &info = gMotExifInfo;
    info = {};
    const int32_t file_num = rova_pim_next_name(latest, info.filename, sizeof(info.filename));
    rova_pim_print("%s %d, file_num = [%d]\n", receiver, __LINE__, file_num);
    print_picture_set(img_data);
    fill_exif_info(still);
    print_exif_info(still);
    tell_iso(still);
    check_picture_set(img_data, file_num);
}

void release(capture_buffer_kind kind, uint32_t address)
{
    const int result = ReleaseCaptureBuffer(kind, address);
    if (result < 0)
        ROVA_LOG_ERR("ReleaseCaptureBuffer(%d, 0x%x) failed (%d)\n", static_cast<int>(kind),
                     address, result);
}

void release_picture_set(const capture_image_set &set)
{
    release(CAPTURE_BUFFER_MAIN, set.mainYAddress);
    release(CAPTURE_BUFFER_SCREEN, set.screenYAddress);
    release(CAPTURE_BUFFER_THUMB, set.thumbYAddress);
}

int logged(const char *call, int result)
{
    if (result < 0)
        ROVA_LOG_ERR("%s failed (%d)\n", call, result);
    return result;
}

const char *chart_name(int32_t chart)
{
    static constexpr const char *NAMES[] = {"CHART_WIDE", "CHART_TELE", "CHART_MID"};
    const bool known = chart >= 0 && chart < static_cast<int32_t>(std::size(NAMES));
    return known ? NAMES[chart] : "unknown";
}

} // namespace

void SendSetChart(int32_t chart)
{
    if (GetPIMode() != PI_MODE_MOT) {
        rova_pim_print("Available on MOT mode.");
        return;
    }
    rova_pim_print("%s %d, Current Chart = %d, %s\n", __func__, __LINE__, chart, chart_name(chart));
}

int rova_pim_register_callback_client(capture_still_callback capture,
                                      capture_live_view_callback liveview)
{
    return logged("RegCallbackClient", RegCallbackClient(CLIENT_NAME, 0, liveview, capture));
}

int rova_pim_unregister_callback_client()
{
    return logged("UnRegCallbackClient", UnRegCallbackClient(regPim));
}

int rova_pim_register_image_set_callback_id(int handle, uint32_t)
{
    return logged("RegImageSetCallbackId", RegImageSetCallbackId(handle, CAPTURE_STILL_ID));
}

int rova_pim_unregister_image_set_callback_id(int handle, uint32_t)
{
    return logged("UnRegImageSetCallbackId", UnRegImageSetCallbackId(handle, CAPTURE_STILL_ID));
}

int rova_pim_register_image_callback_id(int handle, uint32_t)
{
    return logged("RegImageCallbackId", RegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID));
}

int rova_pim_unregister_image_callback_id(int handle, uint32_t)
{
    return logged("UnRegImageCallbackId", UnRegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID));
}

void rova_pim_capture_data_receiver(uint32_t, const capture_still *still)
{
    rova_pim_print("%s, %d\n", __func__, __LINE__);
    if (still == nullptr || still->image_set == nullptr) {
        ROVA_LOG_ERR("a still without pictures\n");
        gCaptureDone = 1;
        return;
    }
    const capture_image_set img_data = *still->image_set;
    char name[PATH_MAX];
    const std::string_view latest = copy_still_name(name, sizeof(name));
    rova_pim_print("%s %d, img_data.exif->filename : %s\n", __func__, __LINE__, name);
    test_still(__func__, *still, img_data, latest);
    release_picture_set(img_data);
    gCaptureDone = 1;
    rova_pim_print("\033[42m%s, %d : %s function done\033[0m\n", __func__, __LINE__, __func__);
}

int32_t rova_pim_next_name(std::string_view name, char *next, std::size_t size)
{
    constexpr std::size_t DIGITS = 4;
    constexpr std::size_t EXTENSION = 4;
    char digits[DIGITS + 1] = {};
    char tail[32];
    std::string_view stem;
    if (name.size() >= DIGITS + EXTENSION) {
        stem = name.substr(0, name.size() - DIGITS - EXTENSION);
        name.copy(digits, DIGITS, stem.size());
    }
    const int32_t number = static_cast<int32_t>(std::strtol(digits, nullptr, 10)) + 1;
    std::snprintf(tail, sizeof(tail), "%4d.JPG", number);
    std::replace(tail, tail + DIGITS, ' ', '0');
    std::snprintf(next, size, "%.*s%s", static_cast<int>(stem.size()), stem.data(), tail);
    return number;
}
