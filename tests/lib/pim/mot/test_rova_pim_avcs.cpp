#include "lib/pim/mot/rova_pim_avcs.h"

#include "lib/pim/rova_pim.h"
#include "tests/lib/pim/held_records.h"
#include "tests/lib/pim/mot/marker_chart.h"
#include "tests/support/text.h"

#include <climits>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

constexpr char DUMP[] = "/mnt/mmc/dumpLiveView";

struct Avcs : test::Markers {
    test::MarkerPicture picture{CS420_Y_CbCr};
    capture_live_view frame = {};

    Avcs()
    {
        gDbgPrintOnOff = 0;
        frame.pitch = test::CHART_PITCH;
        frame.width = test::CHART_WIDTH;
        frame.height = test::CHART_HEIGHT;
        frame.y_address = picture.planes.address();
        cmWinW = 160;
        cmWinH = 120;
        gAvcsFinished = 0;
        for (int k = 0; k < PIM_MARKERS; k++) // as a load would leave it
            cfg.chart[0].cmExpected[k] = {
                80 + 1600 * (k / 2) / 2, 60 + 600 * (k % 2), 0, 0, 160, 120};
    }
    ~Avcs() override { gAvcsFinished = 0; }

    // One search.
    std::string deliver(const capture_live_view *given)
    {
        return test::captured_output([&] {
            for (int i = 0; i < 30; i++)
                rova_pim_liveview_data_receiver(CAPTURE_LIVE_VIEW_ID, given);
        });
    }
    std::string deliver() { return deliver(&frame); }
    std::vector<std::string> drawings() const
    {
        std::vector<std::string> all;
        for (const auto &call : camera.calls("factory_osd_draw"))
            all.push_back(std::to_string(call["args"][0].get<int>()) + " " +
                          call["args"][1].get<std::string>());
        return all;
    }
    std::string check_avcs()
    {
        return test::captured_output([&] {
            CheckAvcs(frame.y_address, frame.pitch, frame.width, frame.height, PIM_CHART_MID);
        });
    }
    std::vector<std::string> dumps() const
    {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(camera.path("/mnt/mmc")))
            names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }
};

std::size_t count_of(const std::string &log, const std::string &text)
{
    std::size_t count = 0;
    for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
        count++;
    return count;
}

} // namespace

TEST_F(Avcs, AFoundChartIsShownInGreenAndEndsTheWait)
{
    picture.paint_markers(25, 10);
    deliver();
    EXPECT_EQ(gAvcsFinished, 1);
    EXPECT_THAT(drawings(),
                ElementsAre("60 0", "10 ", "50 40,24,80,48,green", "50 40,264,80,48,green",
                            "50 440,24,80,48,green", "50 440,264,80,48,green"));
    const rova_pim_avcs_result result = GetAvcsResult();
    EXPECT_EQ(result.liveResult, 1);
    EXPECT_THAT(result.iCmFoundFlag, ElementsAre(1, 1, 1, 1));
}

TEST_F(Avcs, AMarkerNotFoundIsShownInRedAndTheWaitGoesOn)
{
    picture.paint_markers(25, 10);
    picture.paint(120, 22, 60, 30, test::GREY);
    deliver();
    EXPECT_EQ(gAvcsFinished, 0);
    EXPECT_THAT(drawings(),
                ElementsAre("60 0", "20 ", "50 40,24,80,48,green", "50 40,264,80,48,green",
                            "50 440,24,80,48,red", "50 440,264,80,48,green"));
    EXPECT_EQ(GetAvcsResult().liveResult, 0);
    EXPECT_THAT(GetAvcsResult().iCmFoundFlag, ElementsAre(1, 1, 0, 1));
}

TEST_F(Avcs, OneFrameOfThirtyIsSearched)
{
    while (drawings().empty())
        rova_pim_liveview_data_receiver(CAPTURE_LIVE_VIEW_ID, &frame);
    for (std::size_t i = 1; i <= 60; i++) {
        rova_pim_liveview_data_receiver(CAPTURE_LIVE_VIEW_ID, &frame);
        EXPECT_EQ(drawings().size(), 6 + i / 30 * 6) << i;
    }
}

TEST_F(Avcs, AFrameIsSearchedWhenNobodyElseHasTheRecords)
{
    cmWinW = 0; // which a search sets
    EXPECT_FALSE(test::changes_held_records([&] { deliver(); }, [] { return cmWinW != 0; }));
    EXPECT_NE(cmWinW, 0);
    EXPECT_EQ(drawings().size(), 6u);
}

TEST_F(Avcs, TheShutterKeyEndsTheWaitWithAnyFrame)
{
    camera.write("/virtual/property/13.1", "2");
    rova_pim_liveview_data_receiver(CAPTURE_LIVE_VIEW_ID, &frame);
    EXPECT_EQ(gAvcsFinished, 0);
    camera.write("/virtual/property/13.1", "1");
    for (int i = 0; i < 29; i++) {
        gAvcsFinished = 0;
        rova_pim_liveview_data_receiver(CAPTURE_LIVE_VIEW_ID, &frame);
        EXPECT_EQ(gAvcsFinished, 1) << i;
    }
}

TEST_F(Avcs, AKeyThatCannotBeReadIsToldOnceAndIsNotPressed)
{
    camera.write("/virtual/property/13.1", "1");
    camera.fault("device_get_property", "-3");
    deliver();
    EXPECT_EQ(gAvcsFinished, 0);
    EXPECT_EQ(count_of(camera.platform_log(), "device_get_property(13, 1) failed (ret = -3)"), 1u);
    camera.clear_fault("device_get_property");
    deliver();
    EXPECT_EQ(gAvcsFinished, 1);
}

TEST_F(Avcs, TheExpectedWindowIsScaledToTheDisplay)
{
    cfg.chart[0].cmExpected[2] = {1001, 333, 0, 0, 77, 99};
    const auto [x, y, w, h] = GetAvcsWindow(2);
    EXPECT_EQ(x, 800 * 1001 / 1600);
    EXPECT_EQ(y, 480 * 333 / 1200);
    EXPECT_EQ(w, 800 * 77 / 1600);
    EXPECT_EQ(h, 480 * 99 / 1200);
    EXPECT_EQ(GetAvcsWindow(4).w, 0);
    EXPECT_EQ(GetAvcsWindow(-1).w, 0);
    cfg.imageH = 0;
    EXPECT_EQ(GetAvcsWindow(2).w, 0);
    EXPECT_TRUE(camera.logged("no window of marker 2 in 1600 x 0"));
}

TEST_F(Avcs, AnAbsurdFrameIsRefusedAndShownAsNotFound)
{
    std::vector<capture_live_view> frames(8, frame);
    frames[0].pitch = frame.width - 1;
    frames[1].width = 0;
    frames[2].height = 0;
    frames[3].height = -20;
    frames[4].pitch = frames[4].width = -128;
    frames[5].y_address = 0;
    frames[6].y_address = 0xfffff200;
    frames[7].pitch = frames[7].height = INT_MAX;
    cfg.liveResult = 1;
    cfg.iCmFoundFlag[2] = 1;
    for (const capture_live_view &absurd : frames) {
        deliver(&absurd);
        EXPECT_EQ(GetAvcsResult().liveResult, 0);
        EXPECT_THAT(GetAvcsResult().iCmFoundFlag, ElementsAre(0, 0, 0, 0));
    }
    deliver(nullptr);
    EXPECT_EQ(gAvcsFinished, 0);
    EXPECT_EQ(drawings().size(), 9u * 6);
    EXPECT_EQ(drawings()[1], "20 ");
    EXPECT_EQ(count_of(camera.platform_log(), "refused a live-view frame"), 1u);
    deliver();
    deliver(nullptr);
    EXPECT_EQ(count_of(camera.platform_log(), "refused a live-view frame"), 2u);
}

TEST_F(Avcs, AFrameOfAnotherSizeIsReadNoFurtherThanItGoes)
{
    test::Planes tiny(1);
    frame = {};
    frame.pitch = frame.width = frame.height = 1; // half a chroma value
    frame.y_address = tiny.address();
    deliver();
    EXPECT_EQ(GetAvcsResult().liveResult, 0);
    picture.planes.forbid();
    deliver();
    EXPECT_EQ(GetAvcsResult().liveResult, 0);
}

TEST_F(Avcs, LiveViewDumpsAreForSaveRaw2Only)
{
    for (int32_t save : {0, 1, 3}) {
        cfg.saveRaw = save;
        for (int i = 0; i < 4; i++)
            EXPECT_EQ(check_avcs(), "");
    }
    EXPECT_THAT(dumps(), ElementsAre());
}

// The counter runs on from test to test.
TEST_F(Avcs, EverySecondSearchedFrameIsDumpedAsItLies)
{
    cfg.saveRaw = 2;
    picture.paint_markers();
    while (dumps().empty())
        check_avcs();
    const std::string first = dumps()[0];
    ASSERT_EQ(first.substr(0, 12), "dumpLiveView");
    const int number = std::stoi(first.substr(12));
    EXPECT_EQ(number % 60, 0);
    EXPECT_EQ(check_avcs(), "");
    const std::string output = check_avcs();
    char expected[200];
    std::snprintf(expected, sizeof(expected),
                  "LiveView %4dth  : 400(416) x 300 = 187200LiveView YAddr. : 0x%08x, CAddr : "
                  "0x%08x, Diff. : 124800 bytes\n",
                  number + 60, picture.planes.address(), picture.planes.address() + 124800);
    EXPECT_EQ(output, expected);
    std::snprintf(expected, sizeof(expected), "%s%04d.raw", DUMP, number + 60);
    const auto bytes = picture.planes.bytes();
    EXPECT_EQ(camera.read(expected),
              std::string(reinterpret_cast<const char *>(bytes.data()), bytes.size()));
}

TEST_F(Avcs, TheConfigurationMayChangeTheDumpsPeriod)
{
    cfg.saveRaw = 2;
    for (auto [option, count] : {std::pair(5, 2), {1, 5}, {0, 5}, {-4, 5}}) {
        for (const std::string &name : dumps())
            camera.remove("/mnt/mmc/" + name);
        cfg.dbgOption[5] = option;
        for (int i = 0; i < 10; i++)
            check_avcs();
        EXPECT_EQ(dumps().size(), static_cast<std::size_t>(count)) << option;
    }
}

TEST_F(Avcs, ADumpThatCannotBeOpenedIsPrinted)
{
    cfg.saveRaw = 2;
    std::filesystem::remove_all(camera.path("/mnt/mmc"));
    const std::string output = check_avcs() + check_avcs();
    EXPECT_THAT(output, AllOf(HasSubstr("CheckAvcs, "), HasSubstr(": file open error. fp -1\n")));
}
