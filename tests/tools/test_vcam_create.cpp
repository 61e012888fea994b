#include <gtest/gtest.h>

#include "common/rova_adjdata_items.h"
#include "platform/pref.h"
#include "platform/virtual/motion.h"
#include "tests/tools/tool.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace fs = std::filesystem;
using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

constexpr char SOUNDS[] = "/usr/apps/com.halvex.lumen-app/res/sounds/camera/";
constexpr char PICTURES[] = "/usr/apps/com.halvex.lumen-app/res/edje/images/lcd/fix/";

uint32_t word_at(const std::string &bytes, std::size_t at)
{
    uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes.at(at + i));
    return value;
}

} // namespace

TEST(VcamCreate, MakesTheFoldersLinksAndFilesOfACamera)
{
    const test::Camera place;
    const fs::path dir = place.path("/tmp/new/camera");
    ASSERT_TRUE(succeeded(vcam({"-C", dir, "create"})));
    for (const char *folder : {"sdcard", "tmp", "opt/share/rova", "var/run/memory/private",
                               "usr/bin", "virtual/app/answer", "virtual/scene"})
        EXPECT_TRUE(fs::is_directory(dir / folder)) << folder;
    EXPECT_EQ(fs::read_symlink(dir / "mnt/mmc"), "../sdcard");
    EXPECT_EQ(fs::read_symlink(dir / "opt/storage/sdcard"), "../../sdcard");
    EXPECT_TRUE(fs::exists(dir / "dev/fb0"));
    const std::string base = "/tmp/new/camera/sys/devices/platform/";
    EXPECT_EQ(place.read(base + "m7-keys/grip_key"), "0\n");
    EXPECT_EQ(place.read(base + "m7-keys/key_unmask_on_boot"), "1\n");
    EXPECT_TRUE(place.exists(base + "movra7_wdt/boot_shutdown"));
    EXPECT_TRUE(place.exists(base + "movra7_wdt/timer"));
    EXPECT_EQ(place.read(base + "movra7-thermister/cmos_thermister"), virt::thermistor_text(25));
    EXPECT_EQ(place.read(base + "m7_tsu/isp"), "35\n");
    EXPECT_EQ(place.read(base + "m7_tsu/cpu"), "40\n");
    EXPECT_EQ(place.read(base + "dw_mmc_sdio.0/support_card"), "1\n");
    EXPECT_NE(place.read("/tmp/new/camera/opt/etc/nfctag.info"), "");
    EXPECT_TRUE(fs::is_directory(dir / "virtual/radio/nfc"));
    EXPECT_TRUE(fs::exists(dir / "dev/lsm"));
}

TEST(VcamCreate, GivesTheCameraAChargedBattery)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_EQ(camera.read("/virtual/property/4.0"), "7800\n");
    EXPECT_EQ(camera.key_int("memory/sysman/battery_status_low"), 4);
    const std::string spec = camera.read("/sys/devices/platform/m7-adc-battery/adc_spec");
    EXPECT_NE(spec.find("4 7600 high\n5 8400 full\n"), std::string::npos);
    EXPECT_LT(spec.size(), 96U); // the room that the daemon has for it
}

TEST(VcamCreate, LeavesABatteryThatIsThereAlone)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"property", "set", "4", "0", "6700"})));
    ASSERT_TRUE(succeeded(vcam({"key", "set", "memory/sysman/battery_status_low", "1"})));
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_EQ(camera.read("/virtual/property/4.0"), "6700\n");
    EXPECT_EQ(camera.key_int("memory/sysman/battery_status_low"), 1);
}

TEST(VcamCreate, SoundsAreWavFilesOfWholeSamples)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    for (const char *name : {"07_N_AF.wav", "06_N_SButton.wav", "10_N_Shutter_30f_1sec.wav",
                             "13_N_NoBattery.wav", "1KHz_sound.wav"}) {
        const std::string wav = camera.read(std::string(SOUNDS) + name);
        ASSERT_GT(wav.size(), 44U) << name;
        EXPECT_EQ(wav.substr(0, 4) + wav.substr(8, 8), "RIFFWAVEfmt ");
        EXPECT_EQ(word_at(wav, 4), wav.size() - 8);
        EXPECT_EQ(word_at(wav, 40), wav.size() - 44);
        EXPECT_EQ(word_at(wav, 28), 2 * word_at(wav, 24)) << "bytes a second";
    }
    // A thousand upward crossings of zero a second, give or take the ends.
    const std::string tone = camera.read(std::string(SOUNDS) + "1KHz_sound.wav");
    int crossings = 0;
    for (std::size_t at = 46; at + 1 < tone.size(); at += 2)
        crossings += (tone[at - 1] & 0x80) != 0 && (tone[at + 1] & 0x80) == 0;
    EXPECT_NEAR(crossings, 1000, 2);
}

TEST(VcamCreate, PicturesAreFourDifferentPngFiles)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    std::vector<std::string> seen;
    for (const char *name :
         {"product_sample_1.png", "product_sample_2.png", "product_sample_3.png", "lcd_3.png"}) {
        const std::string png = camera.read(std::string(PICTURES) + name);
        EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n") << name;
        EXPECT_EQ(std::count(seen.begin(), seen.end(), png), 0) << name;
        seen.push_back(png);
    }
}

TEST(VcamCreate, RefusesAFolderThatIsNeitherEmptyNorACamera)
{
    const test::Camera place;
    place.write("/tmp/full/letter.txt", "dear");
    const std::string dir = place.path("/tmp/full");
    EXPECT_TRUE(failed(vcam({"-C", dir, "create"}), "is not empty and no camera"));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), {}), 1);
    EXPECT_TRUE(failed(vcam({"-C", dir + "/letter.txt", "create"}), "is not a folder"));
}

TEST(VcamCreate, AddsWhatIsMissingAndLeavesTheRest)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    camera.remove("/usr/bin/sync");
    camera.write("/usr/bin/reboot", "mine");
    camera.remove("/usr/etc/bluetooth/bt-edutm-on.sh");
    camera.write("/usr/etc/bluetooth/bt-edutm-off.sh", "mine");
    camera.write("/sdcard/photo.jpg", "jpeg");
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_EQ(access(camera.path("/usr/bin/sync").c_str(), X_OK), 0);
    EXPECT_EQ(camera.read("/usr/bin/reboot"), "mine");
    EXPECT_EQ(access(camera.path("/usr/etc/bluetooth/bt-edutm-on.sh").c_str(), X_OK), 0);
    EXPECT_EQ(camera.read("/usr/etc/bluetooth/bt-edutm-off.sh"), "mine");
    EXPECT_EQ(camera.read("/sdcard/photo.jpg"), "jpeg");
}

TEST(VcamCreate, WritesTheDefaultsOfTheAdjustmentPartitions)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    uint32_t size = 0;
    const auto *image = static_cast<const char *>(pref_get_addr(4, &size));
    ASSERT_NE(image, nullptr);
    const std::string data(image + PREF_HEADER_SIZE, size);
    EXPECT_EQ(word_at(data, ADJ_ID_TEMP_SENSOR_CIS_TH_WARNING & 0xffff), 106U);
    EXPECT_EQ(word_at(data, ADJ_ID_TEMP_SENSOR_CPU_TH_CRITICAL & 0xffff), 105U);

    const std::string other = camera.read("/virtual/pref/adj_dpc.default");
    EXPECT_EQ(other.size(), PREF_HEADER_SIZE + 4998916);
    camera.write("/virtual/pref/adj_sys.default", "mine");
    camera.remove("/virtual/pref/adj_dpc.default");
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_EQ(camera.read("/virtual/pref/adj_sys.default"), "mine");
    EXPECT_EQ(camera.read("/virtual/pref/adj_dpc.default"), other);
}

TEST(VcamCreate, NeedsNoHomeThatCanBeWritten)
{
    const test::Camera camera;
    const test::Outcome made = test::run({"env", "-u", "XDG_RUNTIME_DIR", "HOME=/proc/none",
                                          VCAM_PROGRAM, "-C", camera.path("/tmp/new"), "create"});
    EXPECT_TRUE(succeeded(made));
}

TEST(VcamCreate, ACardThatWasRemovedStaysOut)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"card", "remove"})));
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_FALSE(camera.exists("/sdcard"));
}

TEST(StandIn, NotesItsCallAsThePlatformDoes)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_EQ(test::run({camera.path("/usr/bin/sync"), "-f", "a \"b\" c\\d"}).status, 0);
    EXPECT_EQ(test::run({camera.path("/usr/bin/make_snapshot.sh")}).status, 0);
    const auto calls = camera.calls("sync");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0]["args"], nlohmann::json({"-f", "a \"b\" c\\d"}));
    EXPECT_EQ(calls[0]["result"], 0);
    EXPECT_TRUE(calls[0]["time"].is_number_float());
    EXPECT_EQ(camera.calls("make_snapshot.sh").size(), 1U);
    EXPECT_EQ(test::run({camera.path("/usr/bin/micom_updater"), "tstop"}).status, 0);
    EXPECT_EQ(camera.calls("micom_updater").size(), 1U);
}

TEST(StandIn, TheBluetoothScriptsSwitchTheRadio)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    const std::string radio = "/virtual/radio/bluetooth/";
    EXPECT_FALSE(camera.exists(radio + "adapter")) << "nobody has told";
    for (const auto &[script, state] : {std::pair("bt-edutm-on.sh", "1\n"),
                                        {"bt-edutm-off.sh", "0\n"},
                                        {"bt-edutm-on.sh", "1\n"}}) {
        // As the daemon starts them: from anywhere, no program found by its name alone.
        EXPECT_EQ(test::run({"env", "-C", "/", "PATH=/none",
                             camera.path(std::string("/usr/etc/bluetooth/") + script)})
                      .status,
                  0)
            << script;
        EXPECT_EQ(camera.read(radio + "adapter"), state) << script;
        EXPECT_EQ(camera.read(radio + "test_mode"), state) << script;
    }
}

TEST(StandIn, TheResponderIsFoundByItsPathAndEndsOnTerm)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    test::Process responder({camera.path("/usr/bin/mtp-responder")});
    EXPECT_TRUE(test::wait_for(
        [&] { return tool::first_argument(responder.pid()) == "/usr/bin/mtp-responder"; }));
    EXPECT_EQ(camera.calls("mtp-responder").size(), 1U);
    responder.signal(SIGTERM);
    EXPECT_EQ(responder.wait(), 128 + SIGTERM);
}

// As the daemon starts them: in an empty environment.
TEST(StandIn, TheWlanScriptLoadsADriverAndClosesTheRadio)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    const std::string radio = "/virtual/radio/wifi/", script = camera.path("/usr/bin/wlan.sh");
    for (const auto &[word, driver] :
         {std::pair("rftest", "test\n"), {"start", "station\n"}, {"stop", "none\n"}}) {
        camera.write(radio + "dut", "1\n");
        camera.write(radio + "mode", "tx\n");
        EXPECT_EQ(test::run({"env", "-i", "-C", "/", script, word}).status, 0) << word;
        EXPECT_EQ(camera.read(radio + "driver"), driver) << word;
        EXPECT_EQ(camera.read(radio + "dut"), "0\n") << word;
        EXPECT_EQ(camera.read(radio + "mode"), "idle\n") << word;
    }
    EXPECT_EQ(camera.calls("wlan.sh").size(), 3U);
    EXPECT_EQ(test::run({script, "RFTEST"}).status, 1);
    EXPECT_EQ(test::run({script}).status, 1);
    EXPECT_EQ(camera.read(radio + "driver"), "none\n");
}

TEST(StandIn, TheScanListsNetworksInRangeOfAStation)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    const std::string radio = "/virtual/radio/wifi/";
    const auto scan = [&] {
        EXPECT_EQ(test::run({"env", "-i", "-C", "/", camera.path("/mnt/mmc/scan.sh")}).status, 0);
        return camera.read("/sdcard/ap.list");
    };
    EXPECT_EQ(scan(), "wlan0     No scan results\n");
    camera.write(radio + "access_points", "2.4 -50 The line\n\n5 -60 fast");
    EXPECT_EQ(scan(), "wlan0     No scan results\n") << "no driver";
    camera.write(radio + "driver", "test\n");
    EXPECT_EQ(scan(), "wlan0     No scan results\n") << "not the station's";
    camera.write(radio + "driver", "station\n");
    EXPECT_EQ(scan(), "wlan0     Scan completed :\n"
                      "          ESSID:\"The line\" 2.4 GHz -50 dBm\n"
                      "          ESSID:\"fast\" 5 GHz -60 dBm\n");
    camera.remove(radio + "access_points");
    EXPECT_EQ(scan(), "wlan0     No scan results\n");
}

TEST(StandIn, PowerOffEndsThisCamerasProgramsAndNoOthers)
{
    const test::Camera other;
    const auto others_daemon = tool::stand_in(tool::DAEMON);
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    const auto daemon = tool::stand_in(tool::DAEMON);
    const auto responder = tool::stand_in("/usr/bin/mtp-responder");
    const auto shell = tool::stand_in("bash");

    EXPECT_EQ(test::run({camera.path("/usr/bin/poweroff"), "-f"}).status, 0);
    EXPECT_EQ(daemon->wait(), 128 + SIGKILL);
    EXPECT_EQ(responder->wait(), 128 + SIGKILL);
    EXPECT_TRUE(shell->running());
    EXPECT_TRUE(others_daemon->running());
    EXPECT_EQ(camera.calls("poweroff").size(), 1U);
}

TEST(StandIn, PowerOffTakesARelativeNameOfTheCameraFromTheProcessesOwnFolder)
{
    const test::Camera camera;
    const auto start = [](const std::string &folder) {
        return std::make_unique<test::Process>(std::vector<std::string>{
            "bash", "-c", "cd " + folder + "; ROVA_SYSROOT=cam exec -a /usr/bin/rovad sleep 1000"});
    };
    for (const std::string folder : {"/tmp/a", "/tmp/b"})
        ASSERT_TRUE(succeeded(vcam({"-C", camera.path(folder + "/cam"), "create"})));
    const auto mine = start(camera.path("/tmp/a")), other = start(camera.path("/tmp/b"));
    for (const auto *process : {&mine, &other})
        ASSERT_TRUE(test::wait_for([&] {
            return test::run({"cat", "/proc/" + std::to_string((*process)->pid()) + "/comm"}).out ==
                   "sleep\n";
        }));
    EXPECT_EQ(test::run({"env", "-C", camera.path("/tmp/a"), "cam/usr/bin/poweroff"}).status, 0);
    EXPECT_EQ(mine->wait(), 128 + SIGKILL);
    EXPECT_TRUE(other->running());
}

TEST(StandIn, RebootCutsThePowerAsWell)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    const auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_EQ(test::run({camera.path("/usr/bin/reboot")}).status, 0);
    EXPECT_EQ(daemon->wait(), 128 + SIGKILL);
    EXPECT_EQ(camera.calls("reboot").size(), 1U);
}
