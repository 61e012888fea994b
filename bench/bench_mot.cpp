// The test of a still of 5472 x 3648 for its resolution, from the search for its markers to its
// record: against the plain search and measurement of the tests, and against one plain read of the
// pixels that have to be looked at.  The chart is drawn and taken as a line's would be; copies of
// it that together exceed every cache take turns.
#include "bench/pictures.h"
#include "bench/quiet_output.h"
#include "lib/pim/mot/rova_pim_avcs.h"
#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_marker.h"
#include "lib/pim/mot/rova_pim_mot.h"
#include "lib/pim/rova_pim.h"
#include "platform/virtual/capture.h"
#include "tests/lib/pim/mot/plain_marker.h"
#include "tests/lib/pim/mot/plain_wedge.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <fstream>
#include <sstream>
#include <string>

namespace
{

constexpr std::size_t COPIES = 16;
constexpr int32_t CHART = PIM_CHART_WIDE;
constexpr int32_t MARGIN = 30; // that a wedge's box is looked at beyond its ends
constexpr int32_t PATCH = 101; // of brightness

struct Copy {
    std::vector<uint8_t> screen;
    std::vector<uint8_t> full;
};

// What the capture service delivered, and copies of it.
rova_pim_still g_still;
std::vector<Copy> g_copies;

void keep(const rova_pim_still &still)
{
    g_still = still;
    const auto luma = still.main.bytes.first(still.main.bytes.size() / 2);
    for (std::size_t i = 0; i < COPIES; i++)
        g_copies.push_back(
            {{still.screen.bytes.begin(), still.screen.bytes.end()}, {luma.begin(), luma.end()}});
}

rova_pim_still still_of(const Copy &copy)
{
    rova_pim_still still = g_still;
    still.screen.bytes = copy.screen;
    still.main.bytes = copy.full;
    return still;
}

std::string text_of(const std::string &path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// A camera with the example's configuration, and a still of the chart that it is for.
struct Studio {
    test::Camera camera;

    Studio()
    {
        g_copies.clear();
        test::run({VCAM_PROGRAM, "-C", camera.root(), "chart", "mot", "--blur", "2", "--out",
                   camera.path("/virtual/scene/chart.png")});
        camera.write("/mnt/mmc/mot_lumen1.cfg", text_of(MOT_CONFIG));
        SetPIMode(PI_MODE_MOT);
        rova_pim_read_config("LUMEN1", "lumen1");
        rova_pim_set_test(PI_MODE_MOT, keep);
        regPim = rova_pim_register_callback_client(rova_pim_capture_data_receiver,
                                                   rova_pim_liveview_data_receiver);
        rova_pim_register_image_set_callback_id(regPim, CAPTURE_STILL_ID);
        virt::take_still("chart.png");
        virt::finish_stills();
    }
    ~Studio()
    {
        virt::stop_capture();
        rova_pim_set_test(PI_MODE_MOT, nullptr);
        rova_pim_buffers_free();
        g_copies.clear();
    }
};

void measure_fast(const rova_pim_still &still, rova_pim_pm_config &cfg)
{
    MOT_Resol_Process(still.screen, still.main, CHART, PIM_COLOUR_CR, cfg);
}

void measure_plainly(const rova_pim_still &still, rova_pim_pm_config &cfg)
{
    test::plain_search_screen_nail(still.screen, PIM_COLOUR_CR, CHART, cfg);
    test::plain_find_wedges(still.screen, CHART, cfg);
    test::plain_measure_wedges(still.main, CHART, cfg);
    rova_pim_mot_record(CHART, cfg);
}

// So many bytes of so many rows.
struct Part {
    const uint8_t *first;
    std::size_t bytes;
    std::size_t rows;
    std::size_t pitch;
};

Part part_of(const rova_pim_image &image, const rova_pim_rect &rect)
{
    const auto pitch = static_cast<std::size_t>(image.pitch);
    return {image.bytes.data() + static_cast<std::size_t>(rect.y0) * pitch + rect.x0,
            static_cast<std::size_t>(rect.x1 - rect.x0 + 1),
            static_cast<std::size_t>(rect.y1 - rect.y0 + 1), pitch};
}

Part marker_part(const rova_pim_image &screen, int32_t marker, const rova_pim_pm_config &cfg)
{
    const rova_pim_marker_search search = {screen,
                                           PIM_IMAGE_SCREEN_NAIL,
                                           PIM_COLOUR_CR,
                                           CHART,
                                           cfg.screenW,
                                           cfg.screenH,
                                           rova_pim_chroma_subsampling(screen.iCS)};
    const rova_pim_box area = rova_pim_marker_area(search, marker, cfg);
    const auto pitch = static_cast<std::size_t>(screen.pitch);
    return {screen.bytes.data() + cfg.scrCrOffset + static_cast<std::size_t>(area.y0) * pitch +
                2 * area.x0,
            static_cast<std::size_t>(2 * area.w), static_cast<std::size_t>(area.h), pitch};
}

Part wedge_part(const rova_pim_image &full, const rova_pim_box &wedge)
{
    const int32_t x = wedge.w > wedge.h ? MARGIN : 0, y = MARGIN - x;
    return part_of(full, {wedge.x0 - x, wedge.y0 - y, wedge.x1 + x, wedge.y1 + y});
}

// What a measured still was looked at.
std::vector<Part> parts_of(const rova_pim_still &still, const rova_pim_pm_config &cfg)
{
    const int32_t x = cfg.imageW * 3 / 10, y = cfg.imageH / 5;
    std::vector<Part> parts = {
        part_of(still.main, {x, y, x + PATCH - 1, y + PATCH - 1}),
    };
    for (int32_t k = 0; k < PIM_MARKERS; k++)
        parts.push_back(marker_part(still.screen, k, cfg));
    for (int i = 0; i < PIM_WINDOWS; i++) {
        const rova_pim_box &window = cfg.scrWin[i];
        parts.push_back(part_of(still.screen, {window.x0, window.y0, window.x1, window.y1}));
        parts.push_back(wedge_part(still.main, cfg.orgAbsPima[i]));
    }
    return parts;
}

// With each row, one further on is asked for.
void read_parts(const std::vector<Part> &parts)
{
    constexpr std::size_t AHEAD = 8, LINE = 64;
    uint64_t all = 0;
    for (const Part &part : parts) {
        for (std::size_t y = 0; y < part.rows; y++) {
            const uint8_t *row = part.first + y * part.pitch;
            for (std::size_t i = 0; i < part.bytes; i += sizeof(all)) {
                if (i % LINE == 0)
                    __builtin_prefetch(row + AHEAD * part.pitch + i);
                all ^= row[i];
            }
        }
    }
    benchmark::DoNotOptimize(all);
}

// The next still, with the record as the load left it.
template <typename Step> double seconds_of(const Step &step, rova_pim_pm_config &cfg)
{
    static std::size_t turn = 0;
    const rova_pim_still still = still_of(g_copies[turn++ % COPIES]);
    return bench::timed([&] { step(still, cfg); });
}

void BM_MotStill(benchmark::State &state)
{
    const bench::QuietOutput quiet;
    const Studio studio;
    std::vector<double> fast, plain, reads;
    const rova_pim_pm_config loaded = cfgPm;
    for (auto _ : state) {
        rova_pim_pm_config cfg = loaded, plain_cfg = loaded;
        if (g_copies.empty()) {
            state.SkipWithError("no still was delivered");
            break;
        }
        fast.push_back(seconds_of(measure_fast, cfg));
        state.SetIterationTime(fast.back());
        plain.push_back(seconds_of(measure_plainly, plain_cfg));
        if (!std::ranges::equal(cfg.motValue, plain_cfg.motValue) ||
            cfg.motValue[0] == cfg.chart[CHART].ref[0]) {
            state.SkipWithError("a value differs, or there is none");
            break;
        }
        const auto look = [&](const rova_pim_still &still, const rova_pim_pm_config &measured) {
            read_parts(parts_of(still, measured));
        };
        reads.push_back(seconds_of(look, cfg));
    }
    if (reads.empty())
        return;
    state.counters["of_read"] = bench::median(fast) / bench::median(reads);
    state.counters["plain_of_fast"] = bench::median(plain) / bench::median(fast);
}
BENCHMARK(BM_MotStill)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(100);

} // namespace
