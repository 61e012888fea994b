#include "lib/pim/rova_pim.h"

#include "common/rova_log.h"
#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/mot/rova_pim_mot.h"
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_raw.h"

#include <algorithm>
#include <iterator>

namespace
{

constexpr int32_t FIRST_FILE_NUMBER = 2; // lower ones are no number of a file yet
constexpr int32_t MARKER_COLOUR = PIM_COLOUR_CR;

constinit std::atomic<int32_t> picture_count = 0; // calls of CheckMain

// How a still is routed in a mode.
struct still_route {
    int32_t mode;
    const char *enabled_text;
    bool (*enabled)();
    void (*print_disabled)();
    bool screen_nail; // the test looks at the screen nail too
    rova_pim_test test;
};

bool mot_enabled()
{
    return cfgPm.developMode == 1;
}

bool dust_enabled()
{
    return cfgDust.RunDustFunc == 1;
}

bool noise_enabled()
{
    return cfgNoise.RunNoiseFunc == 1;
}

void print_mot_disabled()
{
    rova_pim_print("\033[41m..................cfgPm.developMode = %d means MOT_Resol_Process "
                   "is not working...\033[0m\n",
                   cfgPm.developMode);
}

void print_dust_disabled()
{
    rova_pim_print("\033[41m..................Production Internal Mode / Dust Test Process "
                   "is not working...\033[0m");
}

void print_noise_disabled()
{
    rova_pim_print("\033[41m..................Production Internal Mode / Noise Test Process "
                   "is not working...\033[0m");
}

void run_mot_test(const rova_pim_still &still)
{
    MOT_Resol_Process(still.screen, still.main, still.chart, still.colour, cfgPm);
}

void run_dust_test(const rova_pim_still &still)
{
    RunDust(still.main, cfgDust);
}

void run_noise_test(const rova_pim_still &still)
{
    RunNoise(still.main, cfgNoise);
}

constexpr still_route ROUTES[] = {
    {PI_MODE_MOT, "%s, %d, piMode = %d, MOT test mode enable.\n", mot_enabled, print_mot_disabled,
     true, run_mot_test},
    {PI_MODE_DUST, "%s, %d, piMode = %d, Dust test mode enable.\n", dust_enabled,
     print_dust_disabled, false, run_dust_test},
    {PI_MODE_NOISE, "%s, %d, piMode = %d, Noise test mode enable.\n", noise_enabled,
     print_noise_disabled, false, run_noise_test},
};

// Set in place of the routes' own, in their order.
constinit std::atomic<rova_pim_test> tests[std::size(ROUTES)] = {};

const still_route *find_route(int32_t mode)
{
    const auto found = std::ranges::find(ROUTES, mode, &still_route::mode);
    return found == std::end(ROUTES) ? nullptr : found;
}

std::atomic<rova_pim_test> &test_of(const still_route *route)
{
    return tests[route - ROUTES];
}

// What a record says of one picture.
struct picture_sizes {
    const char *name;
    int32_t pitch;
    int32_t allocated_height;
    int32_t width;
    int32_t height;
    uint32_t address;
};

// The bytes of a picture in 4:2:2, from its Y plane's first; 0 when there can be no such picture.
uint64_t bytes_of(const picture_sizes &sizes)
{
    if (sizes.width <= 0 || sizes.height <= 0 || sizes.address == 0 || sizes.pitch < sizes.width ||
        sizes.allocated_height < sizes.height)
        return 0;
    const auto pitch = static_cast<uint64_t>(sizes.pitch);
    const uint64_t bytes = pitch * static_cast<uint64_t>(sizes.height) * 2;
    return bytes <= ROVA_PIM_ADDRESS_END - sizes.address ? bytes : 0;
}

bool find_picture(const picture_sizes &sizes, rova_pim_image *image)
{
    const uint64_t bytes = bytes_of(sizes);
    if (bytes == 0) {
        ROVA_LOG_ERR("refused the %s picture: %d x %d in %d x %d at 0x%x\n", sizes.name,
                     sizes.width, sizes.height, sizes.pitch, sizes.allocated_height, sizes.address);
        return false;
    }
    *image = {{rova_pim_plane(sizes.address), static_cast<std::size_t>(bytes)},
              sizes.width,
              sizes.height,
              sizes.pitch,
              CS422_Y_CbCr};
    return true;
}

void dump_still(const still_route *route, const rova_pim_still &still, int32_t number)
{
    saveYuvRawMain(number, still.main.bytes.data(), still.main.pitch, still.main.height);
    if (route->screen_nail)
        saveYuvRawScreen(number, still.screen.bytes.data(), still.screen.pitch,
                         still.screen.height);
}

void run_test(const still_route *route, const rova_pim_still &still)
{
    const rova_pim_test set = test_of(route);
    const rova_pim_test test = set != nullptr ? set : route->test;
    test(still);
}

} // namespace

int rova_pim_set_test(int32_t mode, rova_pim_test test)
{
    const still_route *route = find_route(mode);
    if (route == nullptr) {
        ROVA_LOG_ERR("no test of stills in mode %d\n", mode);
        return 0;
    }
    test_of(route) = test;
    return 1;
}

void CheckMain(int32_t mainGWidth, int32_t mainGHeight, int32_t mainWidth, int32_t mainHeight,
               uint32_t mainY, uint32_t /* mainC */, int32_t screenGWidth, int32_t screenGHeight,
               int32_t screenWidth, int32_t screenHeight, uint32_t screenY, uint32_t /* screenC */,
               int32_t chart, int32_t /* reserved */, int32_t fileNumber)
{
    const int32_t picture = ++picture_count;
    const int32_t number = fileNumber >= FIRST_FILE_NUMBER ? fileNumber : picture;
    const still_route *route = find_route(GetPIMode());
    if (route == nullptr) {
        rova_pim_print("\033[41mError!!! no Production Mode Defined!!!\033[0m");
        return;
    }
    if (!route->enabled()) {
        route->print_disabled();
        return;
    }
    rova_pim_print(route->enabled_text, __func__, __LINE__, route->mode);
    rova_pim_still still = {.main = {}, .screen = {}, .chart = chart, .colour = MARKER_COLOUR};
    if (!find_picture({"full", mainGWidth, mainGHeight, mainWidth, mainHeight, mainY}, &still.main))
        return;
    if (route->screen_nail && !find_picture({"screen-nail", screenGWidth, screenGHeight,
                                             screenWidth, screenHeight, screenY},
                                            &still.screen))
        return;
    if (cfgPm.saveRaw == 1)
        dump_still(route, still, number);
    run_test(route, still);
}
