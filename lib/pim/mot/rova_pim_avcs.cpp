#include "lib/pim/mot/rova_pim_avcs.h"

#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "lib/pim/mot/rova_pim_marker.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_raw.h"
#include "platform/device.h"
#include "platform/factory_osd.h"

#include <algorithm>
#include <cstdio>

constinit std::atomic<int32_t> gAvcsFinished = 0;

namespace
{

constexpr int KEY_TYPE = 13;
constexpr int SHUTTER_KEY = 1;
constexpr int KEY_PRESSED = 1;
constexpr int32_t FRAMES = 30; // from a search to the next
constexpr int32_t DUMP_EVERY = 2;
constexpr int32_t DUMP_LIVE_VIEW = 2; // of saveRaw
constexpr int32_t MARKER_COLOUR = PIM_COLOUR_CR;

// Of a row of equal failures, frame after frame, the first is told.
class Once
{
public:
    void over() { told_ = false; }
    bool begins() { return !told_.exchange(true); }

private:
    std::atomic<bool> told_ = false;
};

constinit Once refused_frame;
constinit Once unread_key;
constinit std::atomic<int32_t> frames = 0; // seen since the process began
constinit std::atomic<int32_t> dumps = 0;  // frames that may have been dumped

// In 4:2:0: half of the Y plane's size behind it.
bool find_frame(uint32_t y, int32_t pitch, int32_t width, int32_t height, rova_pim_image *image)
{
    const auto rows = static_cast<uint64_t>(std::max(height, 0));
    const uint64_t bytes = static_cast<uint64_t>(std::max(pitch, 0)) * rows * 3 / 2;
    if (width <= 0 || pitch < width || y == 0 || bytes == 0 || bytes > ROVA_PIM_ADDRESS_END - y)
        return false;
    *image = {
        {rova_pim_plane(y), static_cast<std::size_t>(bytes)}, width, height, pitch, CS420_Y_CbCr};
    return true;
}

void refuse_frame()
{
    cfgPm.liveResult = 0;
    std::ranges::fill(cfgPm.iCmFoundFlag, 0);
    if (refused_frame.begins())
        ROVA_LOG_ERR("refused a live-view frame\n");
}

void dump_frame(const rova_pim_image &frame, int32_t number)
{
    const auto bytes = static_cast<int>(frame.bytes.size());
    const int32_t luma = frame.pitch * frame.height;
    const uint32_t y = rova_pim_address(frame.bytes.data());
    char path[64];
    std::snprintf(path, sizeof(path), "/mnt/mmc/dumpLiveView%04d.raw", number);
    rova_pim_print("LiveView %4dth  : %d(%d) x %d = %d", number, frame.width, frame.pitch,
                   frame.height, bytes);
    rova_pim_print("LiveView YAddr. : 0x%08x, CAddr : 0x%08x, Diff. : %d bytes\n", y,
                   y + static_cast<uint32_t>(luma), luma);
    if (rova_pim_dump(path, frame.bytes) == -1)
        rova_pim_print("%s, %d: file open error. fp %d\n", "CheckAvcs", __LINE__, -1);
}

void count_dump(const rova_pim_image &frame)
{
    const int32_t every = cfgPm.dbgOption[5] > 1 ? cfgPm.dbgOption[5] : DUMP_EVERY;
    if (cfgPm.saveRaw != DUMP_LIVE_VIEW)
        return;
    const int32_t count = ++dumps;
    if (count % every == 0)
        dump_frame(frame, count * FRAMES);
}

bool shutter_key_is_pressed()
{
    int key = 0;
    const int result = device_get_property(KEY_TYPE, SHUTTER_KEY, &key);
    if (result >= 0) {
        unread_key.over();
        return key == KEY_PRESSED;
    }
    if (unread_key.begins())
        ROVA_LOG_ERR("device_get_property(%d, %d) failed (ret = %d) \n", KEY_TYPE, SHUTTER_KEY,
                     result);
    return false;
}

int32_t scaled(int32_t display, int32_t value, int32_t image)
{
    return static_cast<int32_t>(int64_t{display} * value / image);
}

void draw_window(int32_t k, bool found)
{
    char text[64];
    const auto [x, y, w, h] = GetAvcsWindow(k);
    std::snprintf(text, sizeof(text), found ? "%d,%d,%d,%d,green" : "%d,%d,%d,%d,red", x, y, w, h);
    rova_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, text);
}

void show(const rova_pim_avcs_result &result)
{
    rova_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0");
    rova_osd_draw(result.liveResult != 0 ? FACTORY_OSD_DRAW_OK : FACTORY_OSD_DRAW_NG, "");
    if (result.liveResult != 0)
        gAvcsFinished = 1;
    for (int32_t k = 0; k < PIM_MARKERS; k++)
        draw_window(k, result.iCmFoundFlag[k] != 0);
}

} // namespace

void CheckAvcs(uint32_t y, int32_t pitch, int32_t width, int32_t height, int32_t /* chart */)
{
    rova_pim_image frame = {};
    if (!find_frame(y, pitch, width, height, &frame)) {
        refuse_frame();
        return;
    }
    refused_frame.over();
    rova_pim_search_live_view(frame, MARKER_COLOUR, cfgPm);
    count_dump(frame);
}

rova_pim_avcs_result GetAvcsResult()
{
    rova_pim_avcs_result result = {.liveResult = cfgPm.liveResult, .iCmFoundFlag = {}};
    std::ranges::copy(cfgPm.iCmFoundFlag, result.iCmFoundFlag);
    return result;
}

rova_pim_avcs_window GetAvcsWindow(int32_t k)
{
    if (k < 0 || k >= PIM_MARKERS || cfgPm.imageW <= 0 || cfgPm.imageH <= 0) {
        rova_pim_report("no window of marker %d in %d x %d\n", k, cfgPm.imageW, cfgPm.imageH);
        return {};
    }
    const rova_pim_box &expected = cfgPm.chart[PIM_CHART_WIDE].cmExpected[k];
    return {scaled(cfgPm.lcdW, expected.x0, cfgPm.imageW),
            scaled(cfgPm.lcdH, expected.y0, cfgPm.imageH),
            scaled(cfgPm.lcdW, expected.w, cfgPm.imageW),
            scaled(cfgPm.lcdH, expected.h, cfgPm.imageH)};
}

void rova_pim_liveview_data_receiver(uint32_t, const capture_live_view *frame)
{
    if (shutter_key_is_pressed())
        gAvcsFinished = 1;
    if (++frames % FRAMES != 0)
        return;
    const auto lock = rova_pim_lock_records();
    if (frame != nullptr)
        CheckAvcs(frame->y_address, frame->pitch, frame->width, frame->height, stepValue);
    else
        refuse_frame();
    show(GetAvcsResult());
}
