// A still's way through the library, from its delivery by the capture service to the release of its
// last buffer: against the bare calls that it makes, and against one copy of a Y plane.
#include "bench/quiet_output.h"
#include "lib/pim/mot/rova_pim_avcs.h"
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/movie/rova_pim_movie.h"
#include "lib/pim/rova_pim.h"
#include "lib/rova_app_thread.h"
#include "platform/virtual/capture.h"
#include "tests/support/camera.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

namespace
{

constexpr char PICTURE[] = "IMG_0041.yuv";
constexpr std::size_t PITCH = 5504; // of 5472 pixels
constexpr std::size_t ROWS = 3648;

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// A still that another program delayed does not count.
double median(std::vector<double> &seconds)
{
    if (seconds.empty())
        return 0;
    std::ranges::sort(seconds);
    return seconds[seconds.size() / 2];
}

int g_tested;
double g_seconds;
void (*g_way)(const capture_still &still);

void count_still(const rova_pim_still &)
{
    g_tested++;
}

const char *still_name()
{
    return "IMG_0012.JPG";
}

void library_way(const capture_still &still)
{
    rova_pim_capture_data_receiver(CAPTURE_STILL_ID, &still);
}

void bare_way(const capture_still &still)
{
    const capture_image_set set = *still.image_set;
    benchmark::DoNotOptimize(rova_pim_still_name());
    count_still({});
    ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, set.mainYAddress);
    ReleaseCaptureBuffer(CAPTURE_BUFFER_SCREEN, set.screenYAddress);
    ReleaseCaptureBuffer(CAPTURE_BUFFER_THUMB, set.thumbYAddress);
}

// What the service calls, on its thread.
void time_still(uint32_t, const capture_still *still)
{
    const Clock::time_point begin = Clock::now();
    g_way(*still);
    g_seconds = seconds_since(begin);
}

// Negative when the still did not come to its test or was not given back.
double seconds_of(void (*way)(const capture_still &still))
{
    const int before = g_tested;
    g_way = way;
    const bool taken = virt::take_still(PICTURE).has_value();
    virt::finish_stills();
    return taken && g_tested == before + 1 && virt::capture_buffers_out() == 0 ? g_seconds : -1;
}

double seconds_of_copy(const std::vector<uint8_t> &plane, std::vector<uint8_t> *copy)
{
    const Clock::time_point begin = Clock::now();
    std::memcpy(copy->data(), plane.data(), plane.size());
    benchmark::DoNotOptimize(copy->data());
    return seconds_since(begin);
}

// A camera in MOT mode with one picture in front, its stills asked for.
struct Studio {
    test::Camera camera;

    Studio()
    {
        camera.write(std::string("/virtual/scene/") + PICTURE, std::string(PITCH * ROWS * 2, 'x'));
        camera.write(std::string("/virtual/scene/") + PICTURE + ".txt",
                     "width 5472\nheight 3648\npitch 5504\n");
        rova_register_app_func(ROVA_APP_STILL_NAME, reinterpret_cast<rova_app_func>(still_name));
        rova_pim_set_test(PI_MODE_MOT, count_still);
        cfgPm = {};
        cfgPm.developMode = 1;
        SetPIMode(PI_MODE_MOT);
        regPim = rova_pim_register_callback_client(time_still, rova_pim_liveview_data_receiver);
        rova_pim_register_image_set_callback_id(regPim, CAPTURE_STILL_ID);
    }
    ~Studio() { virt::stop_capture(); }
};

void still_way(benchmark::State &state)
{
    const bench::QuietOutput quiet;
    const Studio studio;
    const std::vector<uint8_t> plane(PITCH * ROWS, 'x');
    std::vector<uint8_t> room(plane.size());
    std::vector<double> library;
    std::vector<double> bare;
    std::vector<double> copy;
    for (auto _ : state) {
        const double seconds = seconds_of(library_way);
        const double bare_seconds = seconds_of(bare_way);
        if (seconds < 0 || bare_seconds < 0) {
            state.SkipWithError("a still was lost");
            break;
        }
        state.SetIterationTime(seconds);
        library.push_back(seconds);
        bare.push_back(bare_seconds);
        copy.push_back(seconds_of_copy(plane, &room));
    }
    state.counters["ratio_to_bare"] = median(library) / median(bare);
    state.counters["beyond_bare_in_plane_copies"] = (median(library) - median(bare)) / median(copy);
}
BENCHMARK(still_way)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(20);

} // namespace
