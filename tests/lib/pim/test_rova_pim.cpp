#include "lib/pim/rova_pim.h"

#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/mot/rova_pim_avcs.h"
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim_config.h"
#include "lib/rova_app_thread.h"
#include "platform/virtual/capture.h"
#include "tests/lib/pim/held_records.h"
#include "tests/lib/pim/planes.h"
#include "tests/support/camera.h"

#include <climits>
#include <cstring>
#include <filesystem>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

// The linker hands the receiver's calls to the second of each, which passes them on to the first.
extern "C" int __real_ReleaseCaptureBuffer(int kind, uint32_t address);
extern "C" int __wrap_ReleaseCaptureBuffer(int kind, uint32_t address);
extern "C" decltype(CheckMain) __real__Z9CheckMainiiiijjiiiijjiii;
extern "C" decltype(CheckMain) __wrap__Z9CheckMainiiiijjiiiijjiii;

namespace
{

constexpr char RAW_DIR[] = "/mnt/mmc/DCIM_YUVRAW";
constexpr int32_t PITCH = 96;
constexpr int32_t ROWS = 30;
constexpr int32_t SCREEN_PITCH = 32;
constexpr int32_t SCREEN_ROWS = 12;

const char *g_name = nullptr;
const char *still_name()
{
    return g_name;
}

std::vector<rova_pim_still> &tested()
{
    static std::vector<rova_pim_still> stills;
    return stills;
}
uint64_t g_sum;
std::function<void()> g_in_test;

// A picture that the receiver gave back, and whether the capture counted as done by then.
struct Released {
    int kind;
    uint32_t address;
    int32_t done;
    bool operator==(const Released &) const = default;
};
std::vector<Released> &given_back()
{
    static std::vector<Released> pictures;
    return pictures;
}

// What CheckMain was called with last.
std::vector<int64_t> &checked()
{
    static std::vector<int64_t> arguments;
    return arguments;
}

std::function<void()> g_before_check;

void note_still(const rova_pim_still &still)
{
    tested().push_back(still);
}
// Reads all that it was given, and notes it.
void take_still(const rova_pim_still &still)
{
    if (g_in_test)
        g_in_test();
    for (uint8_t byte : still.main.bytes)
        g_sum += byte;
    for (uint8_t byte : still.screen.bytes)
        g_sum += byte;
    note_still(still);
}

// What the service delivered, byte for byte, before the receiver had it.
struct Delivered {
    capture_image_set set;
    std::string main, screen;
};
Delivered g_delivered;

std::string bytes_at(uint32_t address, int32_t pitch, int32_t height)
{
    return {reinterpret_cast<const char *>(rova_pim_plane(address)),
            static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height) * 2};
}

void note_and_receive(uint32_t id, const capture_still *still)
{
    const capture_image_set &set = *still->image_set;
    g_delivered = {set, bytes_at(set.mainYAddress, set.mainGWidth, set.mainHeight),
                   bytes_at(set.screenYAddress, set.screenGWidth, set.screenHeight)};
    rova_pim_capture_data_receiver(id, still);
}

std::string hex(const char *form, uint32_t address)
{
    char text[64];
    std::snprintf(text, sizeof(text), form, address);
    return text;
}

struct Pim : testing::Test {
    test::Camera camera;
    test::Planes main{PITCH * ROWS * 2};
    test::Planes screen{SCREEN_PITCH * SCREEN_ROWS * 2};
    capture_image_set set = {};
    capture_still still = {};

    Pim()
    {
        set.mainGWidth = PITCH;
        set.mainGHeight = ROWS + 2;
        set.mainWidth = 90;
        set.mainHeight = ROWS;
        set.mainYAddress = main.address();
        set.mainCAddress = 0x1234; // the service's, of no use
        set.screenGWidth = SCREEN_PITCH;
        set.screenGHeight = SCREEN_ROWS;
        set.screenWidth = 30;
        set.screenHeight = SCREEN_ROWS;
        set.screenYAddress = screen.address();
        set.screenCAddress = 0x5678;
        set.thumbYAddress = 0x9abc;
        still.image_set = &set;
        still.ExposureTimeNum = 1;
        still.ExposureTimeDen = 60;
        still.FNumberNum = 28;
        still.FNumberDen = 10;
        still.FocalLengthIn35mmFilm = 24;
        still.ISOValue = 100;
        still.afStep = 1520;
        cfgPm = {};
        cfgPm.developMode = 1;
        cfgDust = {};
        cfgDust.RunDustFunc = 1;
        cfgNoise = {};
        cfgNoise.RunNoiseFunc = 1;
        tested().clear();
        given_back().clear();
        g_in_test = g_before_check = nullptr;
        g_name = "/sdcard/DCIM/100PHOTO/IMG_0012.JPG";
        rova_register_app_func(ROVA_APP_STILL_NAME, reinterpret_cast<rova_app_func>(still_name));
        for (int32_t mode : {PI_MODE_MOT, PI_MODE_DUST, PI_MODE_NOISE})
            rova_pim_set_test(mode, take_still);
        gCaptureDone = 0;
        stepValue = PIM_CHART_WIDE;
        SetPIMode(PI_MODE_DUST);
    }
    ~Pim() override
    {
        rova_register_app_func(ROVA_APP_STILL_NAME, nullptr);
        for (int32_t mode : {PI_MODE_MOT, PI_MODE_DUST, PI_MODE_NOISE})
            rova_pim_set_test(mode, nullptr);
        cfgPm = {};
        cfgDust = {};
        cfgNoise = {};
        virt::stop_capture();
        if (camera.exists(RAW_DIR)) // whose mode keeps others than root from removing it
            fs::permissions(camera.path(RAW_DIR), fs::perms::owner_all);
    }

    std::string receive()
    {
        testing::internal::CaptureStdout();
        rova_pim_capture_data_receiver(CAPTURE_STILL_ID, &still);
        return testing::internal::GetCapturedStdout();
    }
    std::string check_main(int32_t number)
    {
        testing::internal::CaptureStdout();
        CheckMain(set.mainGWidth, set.mainGHeight, set.mainWidth, set.mainHeight, set.mainYAddress,
                  0, set.screenGWidth, set.screenGHeight, set.screenWidth, set.screenHeight,
                  set.screenYAddress, 0, PIM_CHART_MID, 0, number);
        return testing::internal::GetCapturedStdout();
    }
    // By kind; the addresses are not told.
    std::vector<int> released() const
    {
        std::vector<int> kinds;
        for (const auto &call : camera.calls("ReleaseCaptureBuffer"))
            kinds.push_back(call["args"][0]);
        return kinds;
    }
    std::vector<std::string> dumps() const
    {
        std::vector<std::string> names;
        if (camera.exists(RAW_DIR)) {
            fs::permissions(camera.path(RAW_DIR), fs::perms::owner_all);
            for (const auto &entry : fs::directory_iterator(camera.path(RAW_DIR)))
                names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        return names;
    }
    // A raw picture of the scene, taken by a client of the service that is told all it delivers.
    // Gives what was printed meanwhile.
    std::string take_raw_still(const std::string &contents)
    {
        camera.write("/virtual/scene/IMG_0041.yuv", contents);
        camera.write("/virtual/scene/IMG_0041.yuv.txt", "width 90\nheight 30\npitch 96\n");
        camera.write("/virtual/capture/screen_width", "30\n");
        camera.write("/virtual/capture/screen_height", "12\n");
        const int handle =
            rova_pim_register_callback_client(note_and_receive, rova_pim_liveview_data_receiver);
        regPim = handle;
        EXPECT_EQ(rova_pim_register_image_set_callback_id(handle, CAPTURE_STILL_ID), 0);
        testing::internal::CaptureStdout();
        EXPECT_TRUE(virt::take_still("IMG_0041.yuv"));
        virt::finish_stills();
        return testing::internal::GetCapturedStdout();
    }
    void expect_refused(const std::string &why)
    {
        gCaptureDone = 0;
        const std::size_t before = released().size();
        cfgPm.saveRaw = 1;
        receive();
        EXPECT_TRUE(tested().empty()) << why;
        EXPECT_EQ(gCaptureDone, 1) << why;
        EXPECT_EQ(released().size(), before + 3) << why;
        EXPECT_TRUE(dumps().empty()) << why;
    }
};

std::pair<int32_t, std::string> next_of(const std::string &name)
{
    char next[64];
    const int32_t number = rova_pim_next_name(name, next, sizeof(next));
    return {number, next};
}

} // namespace

int __wrap_ReleaseCaptureBuffer(int kind, uint32_t address)
{
    given_back().push_back({kind, address, gCaptureDone});
    return __real_ReleaseCaptureBuffer(kind, address);
}

void __wrap__Z9CheckMainiiiijjiiiijjiii(int32_t mainGWidth, int32_t mainGHeight, int32_t mainWidth,
                                        int32_t mainHeight, uint32_t mainY, uint32_t mainC,
                                        int32_t screenGWidth, int32_t screenGHeight,
                                        int32_t screenWidth, int32_t screenHeight, uint32_t screenY,
                                        uint32_t screenC, int32_t chart, int32_t reserved,
                                        int32_t fileNumber)
{
    checked() = {mainGWidth, mainGHeight,  mainWidth,     mainHeight,  mainY,
                 mainC,      screenGWidth, screenGHeight, screenWidth, screenHeight,
                 screenY,    screenC,      chart,         reserved,    fileNumber};
    if (g_before_check)
        g_before_check();
    __real__Z9CheckMainiiiijjiiiijjiii(mainGWidth, mainGHeight, mainWidth, mainHeight, mainY, mainC,
                                       screenGWidth, screenGHeight, screenWidth, screenHeight,
                                       screenY, screenC, chart, reserved, fileNumber);
}

TEST_F(Pim, TheModeIsKeptAndPrinted)
{
    testing::internal::CaptureStdout();
    SetPIMode(PI_MODE_MOVIE);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::MatchesRegex("SetPIMode [0-9]+, Mode : 4\n"));
    EXPECT_EQ(GetPIMode(), 4);
}

TEST_F(Pim, TheChartIsPrintedInMotMode)
{
    SetPIMode(PI_MODE_MOT);
    for (auto [chart, name] : {std::pair(0, "CHART_WIDE"), {1, "CHART_TELE"}, {2, "CHART_MID"}}) {
        testing::internal::CaptureStdout();
        SendSetChart(chart);
        EXPECT_THAT(testing::internal::GetCapturedStdout(),
                    testing::MatchesRegex("SendSetChart [0-9]+, Current Chart = " +
                                          std::to_string(chart) + ", " + name + "\n"));
    }
}

TEST_F(Pim, AnUnknownChartHasNoName)
{
    SetPIMode(PI_MODE_MOT);
    testing::internal::CaptureStdout();
    SendSetChart(3);
    SendSetChart(-1);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                AllOf(HasSubstr("Chart = 3, unknown\n"), HasSubstr("Chart = -1, unknown\n")));
}

TEST_F(Pim, TheChartIsForMotModeOnly)
{
    testing::internal::CaptureStdout();
    SendSetChart(PIM_CHART_TELE);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Available on MOT mode.");
}

TEST_F(Pim, TheClientIsKnownToTheServiceAsPimode)
{
    const int handle = rova_pim_register_callback_client(rova_pim_capture_data_receiver,
                                                         rova_pim_liveview_data_receiver);
    EXPECT_GT(handle, 0);
    regPim = handle;
    EXPECT_EQ(rova_pim_register_image_set_callback_id(handle, 1), 0);
    EXPECT_EQ(rova_pim_register_image_callback_id(handle, 2), 0);
    EXPECT_EQ(rova_pim_unregister_image_callback_id(handle, 3), 0);
    EXPECT_EQ(rova_pim_unregister_image_set_callback_id(handle, 4), 0);
    EXPECT_EQ(rova_pim_unregister_callback_client(), 0);
    const std::string number = std::to_string(handle);
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("RegCallbackClient(\"pimode\", 0)",
                            "RegImageSetCallbackId(" + number + ", 67174401)",
                            "RegImageCallbackId(" + number + ", 50528257)",
                            "UnRegImageCallbackId(" + number + ", 50528257)",
                            "UnRegImageSetCallbackId(" + number + ", 67174401)",
                            "UnRegCallbackClient(" + number + ")"));
}

TEST_F(Pim, ARefusalOfTheServiceIsPassedOnAndLogged)
{
    for (const char *call :
         {"RegCallbackClient", "UnRegCallbackClient", "RegImageSetCallbackId",
          "UnRegImageSetCallbackId", "RegImageCallbackId", "UnRegImageCallbackId"})
        camera.fault(call, "-7");
    EXPECT_EQ(rova_pim_register_callback_client(nullptr, nullptr), -7);
    EXPECT_EQ(rova_pim_unregister_callback_client(), -7);
    EXPECT_EQ(rova_pim_register_image_set_callback_id(1, 0), -7);
    EXPECT_EQ(rova_pim_unregister_image_set_callback_id(1, 0), -7);
    EXPECT_EQ(rova_pim_register_image_callback_id(1, 0), -7);
    EXPECT_EQ(rova_pim_unregister_image_callback_id(1, 0), -7);
    EXPECT_TRUE(camera.logged("UnRegImageCallbackId failed (-7)"));
}

TEST(PimName, TheNextFileFollowsTheLatest)
{
    EXPECT_EQ(next_of("IMG_0012.JPG"), std::pair(13, std::string("IMG_0013.JPG")));
    EXPECT_EQ(next_of("/a/b/IMG_0999.SRW"), std::pair(1000, std::string("/a/b/IMG_1000.JPG")));
    EXPECT_EQ(next_of("0000.JPG"), std::pair(1, std::string("0001.JPG")));
}

TEST(PimName, BehindNinesTheNameGrows)
{
    EXPECT_EQ(next_of("IMG_9999.JPG"), std::pair(10000, std::string("IMG_10000.JPG")));
}

TEST(PimName, WhatIsNoNumberCountsFromZero)
{
    EXPECT_EQ(next_of("IMG_ABCD.JPG"), std::pair(1, std::string("IMG_0001.JPG")));
    EXPECT_EQ(next_of("IMG_12CD.JPG"), std::pair(13, std::string("IMG_0013.JPG")));
    EXPECT_EQ(next_of("IMG_-005.JPG"), std::pair(-4, std::string("IMG_00-4.JPG")));
    EXPECT_EQ(next_of(""), std::pair(1, std::string("0001.JPG")));
    EXPECT_EQ(next_of("123.JPG"), std::pair(1, std::string("0001.JPG")));
}

TEST(PimName, ALongNameIsCutNotOverrun)
{
    char next[16];
    std::fill(std::begin(next), std::end(next), 'x');
    EXPECT_EQ(rova_pim_next_name(std::string(300, 'a') + "0041.JPG", next, 8), 42);
    EXPECT_STREQ(next, "aaaaaaa");
    EXPECT_EQ(next[8], 'x');
}

TEST_F(Pim, AStillReachesTheDustTestAndLeavesItsData)
{
    stepValue = PIM_CHART_MID;
    receive();
    ASSERT_EQ(tested().size(), 1u);
    const rova_pim_still &seen_still = tested()[0];
    EXPECT_EQ(seen_still.main.bytes.data(), main.data());
    EXPECT_EQ(seen_still.main.bytes.size(), static_cast<std::size_t>(PITCH * ROWS * 2));
    EXPECT_EQ(seen_still.main.width, 90);
    EXPECT_EQ(seen_still.main.height, ROWS);
    EXPECT_EQ(seen_still.main.pitch, PITCH);
    EXPECT_EQ(seen_still.main.iCS, 9);
    EXPECT_TRUE(seen_still.screen.bytes.empty());
    EXPECT_EQ(seen_still.chart, PIM_CHART_MID);
    EXPECT_STREQ(gMotExifInfo.filename, "/sdcard/DCIM/100PHOTO/IMG_0013.JPG");
    EXPECT_STREQ(gMotExifInfo.f_number, "28/10");
    EXPECT_STREQ(gMotExifInfo.exposure, "1/60sec");
    EXPECT_STREQ(gMotExifInfo.iso, "100");
    EXPECT_STREQ(gMotExifInfo.focal_length, "24mm");
    EXPECT_EQ(gMotExifInfo.afStep, 1520);
    EXPECT_THAT(released(), ElementsAre(2, 3, 4));
    EXPECT_EQ(gCaptureDone, 1);
}

TEST_F(Pim, AStillIsToldAsItGoes)
{
    const std::string printed = receive();
    EXPECT_THAT(printed, testing::MatchesRegex(
                             "rova_pim_capture_data_receiver, [0-9]+\n"
                             "rova_pim_capture_data_receiver [0-9]+, img_data.exif->filename : "
                             "/sdcard/DCIM/100PHOTO/IMG_0012.JPG\n"
                             "rova_pim_capture_data_receiver [0-9]+, file_num = .13.\n"
                             "img_data.mainGWidth 96,\nimg_data.mainGHeight 32,\n"
                             "img_data.mainWidth 90,\nimg_data.mainHeight30,\n"
                             "img_data.mainYAddress 0x[0-9a-f]+,\nimg_data.mainCAddress 0x1234,\n"
                             "img_data.screenGWidth 32,\nimg_data.screenGHeight 12,\n"
                             "img_data.screenWidth 30,\nimg_data.screenHeight 12,\n"
                             "img_data.screenYAddress 0x[0-9a-f]+,\n"
                             "img_data.screenCAddress 0x5678,\nimg_data.thumbYAddress 0x9abc\n"
                             "28/10 - 1/60sec - ISO 100 - 24mm\n"
                             "CheckMain, [0-9]+, piMode = 2, Dust test mode enable.\n"
                             "\033.42mrova_pim_capture_data_receiver, [0-9]+ : "
                             "rova_pim_capture_data_receiver function done\033.0m\n"));
    EXPECT_THAT(printed, HasSubstr(hex("img_data.mainYAddress 0x%x,\n", main.address())));
}

// The chroma of the full image by its valid width, that of the screen nail by its pitch.
TEST_F(Pim, AStillIsHandedOnWithItsChromaAddressesCounted)
{
    stepValue = PIM_CHART_TELE;
    receive();
    EXPECT_THAT(checked(), ElementsAre(96, 32, 90, 30, main.address(), main.address() + 90 * 30, 32,
                                       12, 30, 12, screen.address(), screen.address() + 32 * 12,
                                       PIM_CHART_TELE, 0, 13));
}

TEST_F(Pim, ShootingDataAreClearedBeforeEachStill)
{
    std::memset(static_cast<void *>(&gMotExifInfo), 'x', sizeof(gMotExifInfo));
    receive();
    EXPECT_EQ(std::string(gMotExifInfo.iso, 32), std::string("100") + std::string(29, '\0'));
    EXPECT_EQ(gMotExifInfo.filename[63], '\0');
    EXPECT_EQ(gMotExifInfo.reserved[3], 0);
}

TEST_F(Pim, ShootingDataAreWrittenWhenNobodyElseHasTheRecords)
{
    std::strcpy(gMotExifInfo.filename, "before");
    EXPECT_FALSE(test::changes_held_records(
        [&] { receive(); }, [] { return std::strcmp(gMotExifInfo.filename, "before") != 0; }));
    EXPECT_STREQ(gMotExifInfo.filename, "/sdcard/DCIM/100PHOTO/IMG_0013.JPG");
}

TEST_F(Pim, TheRecordsAreHeldFromTheShootingDataToTheEndOfTheTest)
{
    std::mutex *records = rova_pim_lock_records().mutex();
    int looks = 0;
    g_before_check = g_in_test = [&] {
        std::future<bool> taken = std::async(std::launch::async, [&] {
            const std::unique_lock lock(*records, std::try_to_lock);
            return lock.owns_lock();
        });
        EXPECT_FALSE(taken.get());
        looks++;
    };
    receive();
    EXPECT_EQ(looks, 2);
    EXPECT_TRUE(records->try_lock()) << "and no longer";
    records->unlock();
}

TEST_F(Pim, TheGreatestShootingDataFit)
{
    still.ExposureTimeNum = still.ExposureTimeDen = still.FNumberNum = still.FNumberDen =
        still.ISOValue = 0x80000000;
    still.FocalLengthIn35mmFilm = still.afStep = 65535;
    receive();
    EXPECT_STREQ(gMotExifInfo.exposure, "-2147483648/-2147483648sec");
    EXPECT_STREQ(gMotExifInfo.focal_length, "65535mm");
    EXPECT_EQ(gMotExifInfo.afStep, 65535);
}

TEST_F(Pim, WithoutANameTheNextFileIsTheFirst)
{
    g_name = nullptr;
    EXPECT_THAT(receive(), HasSubstr("file_num = [1]\n"));
    EXPECT_STREQ(gMotExifInfo.filename, "0001.JPG");
    EXPECT_TRUE(camera.logged("the application has no name of the latest still"));
    rova_register_app_func(ROVA_APP_STILL_NAME, nullptr);
    EXPECT_THAT(receive(), HasSubstr("file_num = [1]\n"));
    EXPECT_EQ(tested().size(), 2u);
}

TEST_F(Pim, AMotStillBringsItsScreenNail)
{
    SetPIMode(PI_MODE_MOT);
    stepValue = PIM_CHART_TELE;
    EXPECT_THAT(receive(), ContainsRegex("CheckMain, [0-9]+, piMode = 1, MOT test mode enable.\n"));
    ASSERT_EQ(tested().size(), 1u);
    const rova_pim_still &seen_still = tested()[0];
    EXPECT_EQ(seen_still.screen.bytes.data(), screen.data());
    EXPECT_EQ(seen_still.screen.bytes.size(),
              static_cast<std::size_t>(SCREEN_PITCH * SCREEN_ROWS * 2));
    EXPECT_EQ(seen_still.screen.width, 30);
    EXPECT_EQ(seen_still.screen.height, SCREEN_ROWS);
    EXPECT_EQ(seen_still.screen.pitch, SCREEN_PITCH);
    EXPECT_EQ(seen_still.screen.iCS, 9);
    EXPECT_EQ(seen_still.chart, PIM_CHART_TELE);
    EXPECT_EQ(seen_still.colour, 2);
}

TEST_F(Pim, ANoiseStillReachesTheNoiseTest)
{
    SetPIMode(PI_MODE_NOISE);
    rova_pim_set_test(PI_MODE_DUST, nullptr);
    EXPECT_THAT(receive(),
                ContainsRegex("CheckMain, [0-9]+, piMode = 3, Noise test mode enable.\n"));
    EXPECT_EQ(tested().size(), 1u);
}

TEST_F(Pim, ATestThatIsSwitchedOffIsSaidNotToWork)
{
    cfgPm.developMode = 2;
    cfgDust.RunDustFunc = 0;
    cfgNoise.RunNoiseFunc = -1;
    SetPIMode(PI_MODE_DUST);
    EXPECT_EQ(check_main(5), "\033[41m..................Production Internal Mode / Dust Test "
                             "Process is not working...\033[0m");
    SetPIMode(PI_MODE_NOISE);
    EXPECT_EQ(check_main(5), "\033[41m..................Production Internal Mode / Noise Test "
                             "Process is not working...\033[0m");
    SetPIMode(PI_MODE_MOT);
    EXPECT_EQ(check_main(5), "\033[41m..................cfgPm.developMode = 2 means "
                             "MOT_Resol_Process is not working...\033[0m\n");
    EXPECT_TRUE(tested().empty());
}

TEST_F(Pim, ASwitchedOffTestStillReleasesAndEndsTheCapture)
{
    cfgDust.RunDustFunc = 0;
    receive();
    EXPECT_THAT(released(), ElementsAre(2, 3, 4));
    EXPECT_EQ(gCaptureDone, 1);
}

TEST_F(Pim, NoStillIsTestedInMovieModeNorInNone)
{
    for (int32_t mode : {0, 4, 5, -1}) {
        SetPIMode(mode);
        EXPECT_EQ(check_main(5), "\033[41mError!!! no Production Mode Defined!!!\033[0m");
    }
    EXPECT_TRUE(tested().empty());
}

TEST_F(Pim, WithoutAnotherTheDustTestIsTheEnginesOwn)
{
    cfgPm.saveRaw = 1;
    rova_pim_set_test(PI_MODE_DUST, nullptr);
    cfgDust.iTotal = 1;
    receive();
    EXPECT_EQ(cfgDust.iTotal, PIM_NO_RESULT); // no check is on
    EXPECT_TRUE(tested().empty());
    EXPECT_THAT(released(), ElementsAre(2, 3, 4));
    EXPECT_THAT(dumps(), ElementsAre("HVXF_0013.yuv.raw"));
}

TEST_F(Pim, WithoutAnotherTheMotTestIsTheEnginesOwn)
{
    cfgPm.saveRaw = 1;
    rova_pim_set_test(PI_MODE_MOT, nullptr);
    SetPIMode(PI_MODE_MOT);
    receive();
    EXPECT_TRUE(camera.logged("WRONG !!! : [ WIDE ] Range Size = 0"));
    EXPECT_TRUE(tested().empty());
    EXPECT_THAT(released(), ElementsAre(2, 3, 4));
    EXPECT_THAT(dumps(), ElementsAre("HVXF_0013.yuv.raw", "HVXS_0013.yuv.raw"));
}

TEST_F(Pim, WithoutAnotherTheNoiseTestIsTheEnginesOwn)
{
    rova_pim_set_test(PI_MODE_NOISE, nullptr);
    SetPIMode(PI_MODE_NOISE);
    cfgNoise.iLineOn = 1;
    cfgNoise.iLineOffset[0] = INT_MIN;
    receive();
    EXPECT_EQ(cfgNoise.iLnDeNum, PIM_NOISE_LINES);
    EXPECT_EQ(cfgNoise.iTotal, 0);
    EXPECT_TRUE(tested().empty());
    EXPECT_THAT(released(), ElementsAre(2, 3, 4));
}

TEST_F(Pim, TheNoiseTestHasThePicturesIso)
{
    SetPIMode(PI_MODE_NOISE);
    cfgNoise.iIsoLow = 100;
    cfgNoise.iIsoHigh = 1600;
    still.ISOValue = 1600;
    g_in_test = [] { EXPECT_EQ(cfgNoise.iIsoIdx, 1); };
    receive();
    EXPECT_EQ(cfgNoise.iIso, 1600);
    still.ISOValue = 400;
    receive();
    EXPECT_EQ(cfgNoise.iIso, 400);
    EXPECT_TRUE(camera.logged("WRONG ISO = 400"));
    EXPECT_EQ(tested().size(), 2u);
}

TEST_F(Pim, OtherTestsLeaveTheNoiseTestsIsoAlone)
{
    cfgNoise.iIso = 7;
    for (const int32_t mode : {PI_MODE_MOT, PI_MODE_DUST}) {
        SetPIMode(mode);
        receive();
    }
    EXPECT_EQ(cfgNoise.iIso, 7);
    EXPECT_FALSE(camera.logged("WRONG ISO"));
}

TEST_F(Pim, OnlyModesOfStillsTakeATest)
{
    for (int32_t mode : {0, 4, -1})
        EXPECT_EQ(rova_pim_set_test(mode, take_still), 0);
    EXPECT_TRUE(camera.logged("no test of stills in mode 4"));
    EXPECT_EQ(rova_pim_set_test(PI_MODE_MOT, take_still), 1);
}

TEST_F(Pim, RawStillsOfAllTestsFollowTheMotConfiguration)
{
    receive();
    EXPECT_TRUE(dumps().empty());
    cfgPm.saveRaw = 2;
    receive();
    EXPECT_TRUE(dumps().empty());
    cfgPm.developMode = 0;
    cfgPm.saveRaw = 1;
    receive();
    EXPECT_THAT(dumps(), ElementsAre("HVXF_0013.yuv.raw"));
    EXPECT_EQ(camera.read("/mnt/mmc/DCIM_YUVRAW/HVXF_0013.yuv.raw"),
              std::string(main.bytes().begin(), main.bytes().end()));
}

TEST_F(Pim, AMotDumpHasTheScreenNailToo)
{
    SetPIMode(PI_MODE_MOT);
    cfgPm.saveRaw = 1;
    receive();
    EXPECT_THAT(dumps(), ElementsAre("HVXF_0013.yuv.raw", "HVXS_0013.yuv.raw"));
    EXPECT_EQ(camera.read("/mnt/mmc/DCIM_YUVRAW/HVXS_0013.yuv.raw"),
              std::string(screen.bytes().begin(), screen.bytes().end()));
}

TEST_F(Pim, ADumpThatFailsDoesNotStopTheTest)
{
    cfgPm.saveRaw = 1;
    camera.fault("sys_open", "-1 errno EROFS on HVXF");
    EXPECT_THAT(receive(), HasSubstr("piMode = 2, file open error. fp -1\n"));
    EXPECT_EQ(tested().size(), 1u);
}

// The pictures of a process are counted, whatever becomes of them.
TEST_F(Pim, BelowTheSecondFileDumpsFollowThePictureCounter)
{
    cfgPm.saveRaw = 1;
    check_main(1);
    ASSERT_EQ(dumps().size(), 1u);
    const int first = std::stoi(dumps()[0].substr(5));
    check_main(7000);
    SetPIMode(PI_MODE_NONE);
    check_main(7000);
    SetPIMode(PI_MODE_DUST);
    check_main(-3);
    check_main(2);
    char counted[2][32];
    std::snprintf(counted[0], sizeof(counted[0]), "HVXF_%04d.yuv.raw", first);
    std::snprintf(counted[1], sizeof(counted[1]), "HVXF_%04d.yuv.raw", first + 3);
    EXPECT_THAT(dumps(), testing::UnorderedElementsAre(counted[0], counted[1], "HVXF_7000.yuv.raw",
                                                       "HVXF_0002.yuv.raw"));
}

TEST_F(Pim, AStillOfAbsurdSizesIsRefusedButReleased)
{
    const auto refuse = [&](int32_t capture_image_set::*field, int32_t value) {
        const int32_t before = set.*field;
        set.*field = value;
        expect_refused("value " + std::to_string(value));
        set.*field = before;
    };
    for (int32_t value : {0, -1, INT_MIN, INT_MAX})
        for (auto field : {&capture_image_set::mainWidth, &capture_image_set::mainHeight})
            refuse(field, value);
    for (int32_t value : {0, -1, INT_MIN, 89})
        refuse(&capture_image_set::mainGWidth, value);
    for (int32_t value : {0, -1, ROWS - 1})
        refuse(&capture_image_set::mainGHeight, value);
    EXPECT_TRUE(camera.logged("refused the full picture: 90 x 30 in 89 x 32 at 0x"));
}

TEST_F(Pim, AStillWithoutAnAddressIsRefused)
{
    set.mainYAddress = 0;
    expect_refused("no address");
}

TEST_F(Pim, AStillThatEndsBeyond4GiBIsRefused)
{
    set.mainYAddress = static_cast<uint32_t>(0 - PITCH * ROWS * 2 + 1);
    expect_refused("one byte beyond");
    set.mainYAddress = main.address();
    set.mainGWidth = set.mainGHeight = set.mainWidth = set.mainHeight = 65536;
    expect_refused("4 GiB for the Y plane alone");
    set.mainGWidth = set.mainGHeight = set.mainWidth = set.mainHeight = INT_MAX;
    expect_refused("sizes that overflow");
}

TEST_F(Pim, APictureMayEndAt4GiB)
{
    rova_pim_set_test(PI_MODE_DUST, note_still);
    set.mainYAddress = static_cast<uint32_t>(0 - PITCH * ROWS * 2);
    receive();
    EXPECT_EQ(tested().size(), 1u);
}

TEST_F(Pim, AnAbsurdScreenNailIsRefusedWhereItIsLookedAt)
{
    set.screenWidth = 0;
    receive();
    EXPECT_EQ(tested().size(), 1u); // dust
    tested().clear();
    SetPIMode(PI_MODE_MOT);
    expect_refused("screen nail");
    EXPECT_TRUE(camera.logged("refused the screen-nail picture: 0 x 12 in 32 x 12 at 0x"));
}

TEST_F(Pim, AStillWithoutPicturesEndsTheCapture)
{
    still.image_set = nullptr;
    receive();
    EXPECT_EQ(gCaptureDone, 1);
    gCaptureDone = 0;
    rova_pim_capture_data_receiver(CAPTURE_STILL_ID, nullptr);
    EXPECT_EQ(gCaptureDone, 1);
    EXPECT_TRUE(camera.logged("a still without pictures"));
    EXPECT_TRUE(released().empty());
}

TEST_F(Pim, ABufferThatCannotBeGivenBackIsLogged)
{
    camera.fault("ReleaseCaptureBuffer", "-3 at 2");
    receive();
    EXPECT_THAT(released(), ElementsAre(2, 3, 4));
    EXPECT_TRUE(camera.logged(hex("ReleaseCaptureBuffer(3, 0x%x) failed (-3)", screen.address())));
    EXPECT_EQ(gCaptureDone, 1);
}

TEST_F(Pim, AStillOfTheServiceIsTestedAndGivenBack)
{
    camera.write("/virtual/scene/IMG_0041.pgm", "P5\n64 48\n255\n" + std::string(64 * 48, '\x80'));
    SetPIMode(PI_MODE_MOT);
    const int handle = rova_pim_register_callback_client(rova_pim_capture_data_receiver,
                                                         rova_pim_liveview_data_receiver);
    ASSERT_GT(handle, 0);
    regPim = handle;
    ASSERT_EQ(rova_pim_register_image_set_callback_id(handle, CAPTURE_STILL_ID), 0);
    ASSERT_TRUE(virt::take_still("IMG_0041.pgm"));
    virt::finish_stills();
    EXPECT_EQ(gCaptureDone, 1);
    ASSERT_EQ(tested().size(), 1u);
    EXPECT_EQ(tested()[0].main.width, 64);
    EXPECT_EQ(tested()[0].main.height, 48);
    EXPECT_EQ(virt::capture_buffers_out(), 0u);
    EXPECT_EQ(rova_pim_unregister_image_set_callback_id(handle, CAPTURE_STILL_ID), 0);
    EXPECT_EQ(rova_pim_unregister_callback_client(), 0);
}

// From the service's memory to the test and back: at each step the same address.
TEST_F(Pim, NoPlaneOfTheServicesStillIsCopiedOnItsWay)
{
    SetPIMode(PI_MODE_MOT);
    cfgPm.saveRaw = 1;
    const std::string printed =
        take_raw_still(std::string(main.bytes().begin(), main.bytes().end()));
    const capture_image_set &given = g_delivered.set;
    EXPECT_THAT(
        printed,
        AllOf(HasSubstr(hex("img_data.mainYAddress 0x%x,\n", given.mainYAddress)),
              HasSubstr(hex("img_data.screenYAddress 0x%x,\n", given.screenYAddress)),
              HasSubstr(hex("\nMain Start Address : 0x%08x\n", given.mainYAddress)),
              HasSubstr(hex("\nScreenNail Start Address : 0x%08x\n", given.screenYAddress))));
    ASSERT_EQ(tested().size(), 1u);
    EXPECT_EQ(tested()[0].main.bytes.data(), rova_pim_plane(given.mainYAddress));
    EXPECT_EQ(tested()[0].screen.bytes.data(), rova_pim_plane(given.screenYAddress));
    EXPECT_THAT(given_back(), ElementsAre(Released{CAPTURE_BUFFER_MAIN, given.mainYAddress, 0},
                                          Released{CAPTURE_BUFFER_SCREEN, given.screenYAddress, 0},
                                          Released{CAPTURE_BUFFER_THUMB, given.thumbYAddress, 0}));
    EXPECT_EQ(virt::capture_buffers_out(), 0u);
}

// Whoever copied a plane, to wherever it may be, would read it.
TEST_F(Pim, TheWayOfAStillReadsNoByteOfAPlane)
{
    main.forbid();
    screen.forbid();
    SetPIMode(PI_MODE_MOT);
    rova_pim_set_test(PI_MODE_MOT, note_still);
    receive();
    EXPECT_EQ(tested().size(), 1u);
    EXPECT_THAT(released(), ElementsAre(2, 3, 4));
}

TEST_F(Pim, ADumpIsWhatTheServiceDeliveredByteForByte)
{
    SetPIMode(PI_MODE_MOT);
    cfgPm.saveRaw = 1;
    const std::string contents(main.bytes().begin(), main.bytes().end());
    take_raw_still(contents);
    ASSERT_EQ(g_delivered.main, contents);
    EXPECT_EQ(camera.read("/mnt/mmc/DCIM_YUVRAW/HVXF_0013.yuv.raw"), contents);
    EXPECT_EQ(g_delivered.screen.size(), static_cast<std::size_t>(64 * 12 * 2));
    EXPECT_EQ(camera.read("/mnt/mmc/DCIM_YUVRAW/HVXS_0013.yuv.raw"), g_delivered.screen);
}

TEST_F(Pim, TheDumpIsWrittenBeforeTheTestAndTheCaptureEndsBehindTheRelease)
{
    cfgPm.saveRaw = 1;
    std::size_t dumped = 0, released_in_test = 99;
    int32_t done_in_test = 99;
    g_in_test = [&] {
        dumped = dumps().size();
        released_in_test = given_back().size();
        done_in_test = gCaptureDone;
    };
    EXPECT_THAT(receive(), ContainsRegex("Dust test mode enable.\nMain 13th  : 96 x 30 = 2880\n"
                                         "Main Start Address : 0x[0-9a-f]+\n.*function done"));
    EXPECT_EQ(dumped, 1u);
    EXPECT_EQ(released_in_test, 0u);
    EXPECT_EQ(done_in_test, 0);
    EXPECT_THAT(given_back(),
                ElementsAre(Released{2, set.mainYAddress, 0}, Released{3, set.screenYAddress, 0},
                            Released{4, 0x9abc, 0}));
    EXPECT_EQ(gCaptureDone, 1);
}

TEST_F(Pim, AStillBehindNinesIsNumberedTenThousand)
{
    g_name = "IMG_9999.JPG";
    cfgPm.saveRaw = 1;
    EXPECT_THAT(receive(), HasSubstr("file_num = [10000]\n"));
    EXPECT_STREQ(gMotExifInfo.filename, "IMG_10000.JPG");
    EXPECT_THAT(dumps(), ElementsAre("HVXF_10000.yuv.raw"));
}

TEST_F(Pim, TheDigitsOfALongNameAreFound)
{
    const std::string name = "/" + std::string(1000, 'a') + "/IMG_0041.JPG";
    g_name = name.c_str();
    EXPECT_THAT(receive(), HasSubstr("file_num = [42]\n"));
    EXPECT_EQ(std::string(gMotExifInfo.filename), name.substr(0, 63));
}
