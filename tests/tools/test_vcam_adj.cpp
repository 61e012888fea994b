// adj: the items and marks that the camera keeps, and copies of them.
#include <gtest/gtest.h>

#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include "common/rova_adjdata_backup.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_proc_mark_handler.h"
#include "platform/pref.h"
#include "platform/virtual/pref.h"

#include <cinttypes>
#include <cstring>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

namespace fs = std::filesystem;
using test::lines_of;
using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

using words = std::vector<std::string>;

// "partition name id size" of a row of the tables, as a line of the list begins.
std::string row_text(const char *partition, const char *name, uint64_t id, uint32_t size)
{
    char text[160];
    std::snprintf(text, sizeof(text), "%s %s 0x%016" PRIx64 " %" PRIu32, partition, name, id, size);
    return text;
}

words table_rows()
{
    words rows;
    for (int i = 0; std::strcmp(rova_proc_mark_info[i].name, "end") != 0; i++)
        rows.push_back(row_text("line", rova_proc_mark_info[i].name, rova_proc_mark_info[i].id, 1));
    for (const adjdata_part &part : rova_adjdata_parts()) {
        for (const adjdata_info *row = part.items; row->size != 0; row++)
            rows.push_back(row_text(virt::partition(static_cast<int>(part.pref_id))->name,
                                    row->name, row->id, row->size));
    }
    return rows;
}

words list_rows(const std::string &list)
{
    words rows;
    for (const std::string &line : lines_of(list)) {
        std::istringstream stream(line);
        std::string partition, name, id, size;
        stream >> partition >> name >> id >> size;
        rows.push_back(partition + " " + name + " " + id + " " + size);
    }
    return rows;
}

std::string got(const std::string &name)
{
    const test::Outcome outcome = vcam({"adj", "get", name});
    EXPECT_TRUE(succeeded(outcome));
    return outcome.out;
}

void set(const std::string &name, const std::string &value)
{
    EXPECT_TRUE(succeeded(vcam({"adj", "set", name, value}))) << name << " " << value;
}

std::string diff(const std::string &other)
{
    const test::Outcome outcome = vcam({"adj", "diff", other});
    EXPECT_EQ(outcome.status, outcome.out.empty() ? 0 : 1) << outcome.err;
    return outcome.out;
}

// What the camera keeps, byte for byte.
std::map<std::string, std::string> kept(const test::Camera &camera)
{
    std::map<std::string, std::string> files;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(camera.path("/virtual/pref"), error)) {
        const std::string name = entry.path().filename();
        files[name] = camera.read("/virtual/pref/" + name);
    }
    return files;
}

// A folder of files beside the camera's own, gone with the camera.
std::string place(const test::Camera &camera, const std::string &name)
{
    fs::create_directories(camera.path("/copies"));
    return camera.path("/copies/" + name);
}

bool zip(const test::Camera &camera, const words &arguments)
{
    std::string script = "cd '" + camera.path("/copies").string() + "' && zip -q";
    for (const std::string &word : arguments)
        script += " '" + word + "'";
    return test::run({"bash", "-c", script}).status == 0;
}

// The daemon's own backup and restore, which work below the card.
class OnTheCard
{
public:
    explicit OnTheCard(const test::Camera &camera) : before_(fs::current_path())
    {
        setenv("ROVA_SYSROOT", camera.root().c_str(), 1);
        fs::current_path(camera.path("/sdcard"));
    }
    ~OnTheCard() { fs::current_path(before_); }
    OnTheCard(const OnTheCard &) = delete;
    OnTheCard &operator=(const OnTheCard &) = delete;

private:
    fs::path before_;
};

constexpr int32_t SERIAL = 4711;

// As the daemon stores an item; not saved unless told so.
void store_serial(int32_t value, int save)
{
    ASSERT_EQ(rova_set_adjdata(ADJ_ID_CIS_SN, &value, sizeof(value), save), 1);
}

int32_t stored_serial()
{
    return rova_adjdata_number(rova_get_adjdata(ADJ_ID_CIS_SN), 4);
}

} // namespace

TEST(VcamAdjList, HoldsEveryItemAndMarkInItsPlaceAndNoNameTwice)
{
    const test::Camera camera;
    const test::Outcome list = vcam({"adj", "list"});
    EXPECT_TRUE(succeeded(list));
    const words rows = list_rows(list.out);
    EXPECT_EQ(rows, table_rows());
    EXPECT_EQ(rows.size(), 68U + 152U);
    std::set<std::string> names;
    for (const std::string &row : rows)
        EXPECT_TRUE(
            names.insert(row.substr(row.find(' ') + 1, row.find(" 0x") - row.find(' '))).second)
            << row;
}

TEST(VcamAdjList, ShowsNumbersWithTheirBitsMarksTextsAndBytes)
{
    const test::Camera camera;
    set("SHIPPING_COUNTRY", "-5");
    set("PRODUCT_NUMBER", "ABC 1");
    set("PAF_MISALIGN", "hex:000102030405060708");
    set("WIFI_MAC_ADDR", "hex:01");
    set("STEP_LABEL", "12");
    set("WIFI", "P");
    set("ISO", "7");
    const auto line = [](const std::string &name) {
        const test::Outcome outcome = vcam({"adj", "list", name});
        return outcome.out.substr(0, outcome.out.find('\n'));
    };
    EXPECT_EQ(line("SHIPPING_COUNTRY"),
              "adj_sys   SHIPPING_COUNTRY             0x8560000000000000        2  -5 (0xfffb)");
    EXPECT_TRUE(line("PRODUCT_NUMBER").ends_with("     16  \"ABC 1\""));
    EXPECT_TRUE(line("PAF_MISALIGN").ends_with("     50  00 01 02 03 04 05 06 07 ..."));
    EXPECT_TRUE(line("WIFI_MAC_ADDR").ends_with("  01 00 00 00 00 00 00 00 ..."));
    EXPECT_TRUE(line("CS_ADDR").ends_with("  56320  all zero"));
    EXPECT_TRUE(line("STEP_LABEL").ends_with("  12 (0x0c)"));
    EXPECT_TRUE(line("WIFI").ends_with("  P (0x02)"));
    EXPECT_TRUE(line("ISO").ends_with("  U (0x07)"));
    EXPECT_TRUE(line("MR").ends_with("  N (0x00)"));
}

TEST(VcamAdjList, PatternMatchesNamesOrNamesAPartition)
{
    const test::Camera camera;
    EXPECT_EQ(lines_of(vcam({"adj", "list", "WIFI_COUNTRY*"}).out).size(), 4U);
    EXPECT_EQ(lines_of(vcam({"adj", "list", "wifi_mac_?ddr"}).out).size(), 1U);
    EXPECT_EQ(lines_of(vcam({"adj", "list", "adj_cap"}).out).size(), 22U);
    EXPECT_EQ(lines_of(vcam({"adj", "list", "line"}).out).size(), 68U);
    EXPECT_TRUE(failed(vcam({"adj", "list", "WIFI_X*"}), "no item matches 'WIFI_X*'"));
}

TEST(VcamAdjList, JsonHoldsWholeValues)
{
    const test::Camera camera;
    set("CIS_SN", "-2");
    set("PRODUCT_NUMBER", "ABC");
    set("PAF_MISALIGN", "hex:000aff");
    set("MR", "E");
    const nlohmann::json list = nlohmann::json::parse(vcam({"adj", "list", "--json"}).out);
    EXPECT_EQ(list.size(), 220U);
    const auto item = [&](const char *name) {
        for (const nlohmann::json &row : list) {
            if (row["name"] == name)
                return row;
        }
        return nlohmann::json();
    };
    EXPECT_EQ(item("CIS_SN"), nlohmann::json::parse(R"({"partition": "adj_cap", "name": "CIS_SN",
        "id": "0x8560100000000000", "size": 4, "value": -2})"));
    EXPECT_EQ(item("MR"), nlohmann::json::parse(R"({"partition": "line", "name": "MR",
        "id": "0x8550000000000043", "size": 1, "value": 1, "mark": "E"})"));
    EXPECT_EQ(item("PRODUCT_NUMBER")["text"], "ABC");
    EXPECT_EQ(item("PRODUCT_NUMBER")["hex"], "414243");
    EXPECT_EQ(item("PAF_MISALIGN")["hex"], "000aff");
    EXPECT_FALSE(item("PAF_MISALIGN").contains("text"));
    EXPECT_EQ(item("DPC_LV3_DATA")["hex"], "");
    EXPECT_EQ(nlohmann::json::parse(vcam({"adj", "list", "--json", "MR"}).out).size(), 1U);
}

TEST(VcamAdjGet, PrintsValuesAloneOneALine)
{
    const test::Camera camera;
    set("SHIPPING_COUNTRY", "0xffff");
    set("PRODUCT_NUMBER", "two words");
    set("PAF_MISALIGN", "hex:00 0a FF");
    set("MR", "P");
    set("ISO", "200");
    EXPECT_EQ(vcam({"adj", "get", "SHIPPING_COUNTRY", "PRODUCT_NUMBER", "PAF_MISALIGN", "MR", "ISO",
                    "BT_MAC_ADDR"})
                  .out,
              "-1\ntwo words\nhex:000aff\nP\n200\n\n");
}

TEST(VcamAdjGet, WhatItPrintsCanBeSetAgain)
{
    const test::Camera camera;
    for (const auto &[name, value] :
         std::map<std::string, std::string>{{"CIS_SN", "-2147483648"},
                                            {"ISO", "200"},
                                            {"STEP_LABEL", "-128"},
                                            {"PRODUCT_NUMBER", "hex:6865783a"}, // the text "hex:"
                                            {"WIFI_SERIAL_NUM", "0123456789abcdef"},
                                            {"CIS_LOT_NUMBER", "hex:0041"}}) {
        set(name, value);
        EXPECT_EQ(got(name), value + "\n");
    }
}

TEST(VcamAdjGet, RawGivesTheBytesOfOneItem)
{
    const test::Camera camera;
    set("PRODUCT_NUMBER", "ABC");
    EXPECT_EQ(vcam({"adj", "get", "--raw", "PRODUCT_NUMBER"}).out, "ABC" + std::string(13, '\0'));
    EXPECT_EQ(vcam({"adj", "get", "--raw", "DPC_LV3_DATA"}).out.size(), 1799996U);
    EXPECT_TRUE(failed(vcam({"adj", "get", "--raw", "CIS_SN", "MR"}), "--raw takes one item"));
}

TEST(VcamAdjGet, UnknownNamesAreToldWithTheNearOnesAndNothingElse)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"adj", "get", "MR", "CIS_SM"}), "no item 'CIS_SM' (near: CIS_SN)\n"));
    EXPECT_TRUE(failed(vcam({"adj", "get", "cis_sn"}), "near: CIS_SN"));
    EXPECT_TRUE(failed(vcam({"adj", "get", "MAC_ADDR"}), "near: MAC_ADDRESS BT_MAC_ADDR"));
    EXPECT_TRUE(failed(vcam({"adj", "get", "QQQQQQ"}), "no item 'QQQQQQ' (vcam adj list"));
    EXPECT_TRUE(failed(vcam({"adj", "get", "end"}), "no item 'end'"));
    EXPECT_TRUE(failed(vcam({"adj", "get", ""}), "no item ''"));
    EXPECT_TRUE(failed(vcam({"adj", "set", "CIS_SM", "1"}), "near: CIS_SN"));
    EXPECT_TRUE(failed(vcam({"adj", "get"}), "NAME is required"));
    EXPECT_TRUE(failed(vcam({"adj", "fetch"}), "unknown action 'fetch'"));
    EXPECT_TRUE(failed(vcam({"adj"}), "subcommand is required"));
}

TEST(VcamAdjSet, NumbersReachTheEndsOfTheirWidth)
{
    const test::Camera camera;
    const struct {
        const char *name, *value, *shown;
    } rows[] = {
        {"LOCAL_MARKET_AFRICA", "-128", "-128\n"}, {"LOCAL_MARKET_AFRICA", "127", "127\n"},
        {"LOCAL_MARKET_AFRICA", "0xff", "-1\n"},   {"SHIPPING_COUNTRY", "-32768", "-32768\n"},
        {"SHIPPING_COUNTRY", "32767", "32767\n"},  {"SHIPPING_COUNTRY", "0x8000", "-32768\n"},
        {"CIS_SN", "2147483647", "2147483647\n"},  {"CIS_SN", "-0x10", "-16\n"},
        {"CIS_SN", "0xFFFFFFFF", "-1\n"},          {"CIS_SN", "+5", "5\n"},
    };
    for (const auto &row : rows) {
        set(row.name, row.value);
        EXPECT_EQ(got(row.name), row.shown) << row.value;
    }
}

TEST(VcamAdjSet, WhatDoesNotFitIsRefusedAndChangesNothing)
{
    const test::Camera camera;
    set("SHIPPING_COUNTRY", "3");
    const auto before = kept(camera);
    const struct {
        const char *name, *value, *text;
    } rows[] = {
        {"LOCAL_MARKET_AFRICA", "128", "'128' is out of range: LOCAL_MARKET_AFRICA holds -128 to"},
        {"LOCAL_MARKET_AFRICA", "-129", "out of range"},
        {"LOCAL_MARKET_AFRICA", "0x100", "out of range"},
        {"SHIPPING_COUNTRY", "32768", "holds -32768 to 32767"},
        {"SHIPPING_COUNTRY", "0x10000", "out of range"},
        {"CIS_SN", "2147483648", "holds -2147483648 to 2147483647"},
        {"CIS_SN", "0x100000000", "out of range"},
        {"CIS_SN", "99999999999999999999999", "out of range"},
        {"CIS_SN", "five", "'five' is no number, as CIS_SN is"},
        {"CIS_SN", "5x", "is no number"},
        {"CIS_SN", "", "is no number"},
        {"CIS_SN", "0x", "is no number"},
        {"STEP_LABEL", "P", "'P' is no number"},
        {"STEP_LABEL", "128", "out of range"},
        {"MR", "U", "'U' is no mark: N, E, P or a number from 0 to 255"},
        {"MR", "p", "is no mark"},
        {"MR", "256", "is no mark"},
        {"MR", "-1", "is no mark"},
        {"PRODUCT_NUMBER", "17 letters exceed", "PRODUCT_NUMBER has 16 bytes, not 17"},
        {"PRODUCT_NUMBER", "hex:0", "no list of bytes"},
        {"PRODUCT_NUMBER", "hex:0g", "no list of bytes"},
        {"WIFI_MAC_ADDR", "hex:00112233445566778899aabbcc", "has 12 bytes, not 13"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(failed(vcam({"adj", "set", row.name, row.value}), row.text)) << row.value;
    EXPECT_TRUE(failed(vcam({"adj", "set", "CIS_SN"}), "either VALUE or --file"));
    EXPECT_EQ(kept(camera), before);
}

TEST(VcamAdjSet, TextsAndBytesAreFilledWithZeros)
{
    const test::Camera camera;
    set("PRODUCT_NUMBER", "0123456789abcdef");
    EXPECT_EQ(got("PRODUCT_NUMBER"), "0123456789abcdef\n") << "all 16 bytes";
    set("PRODUCT_NUMBER", "short");
    EXPECT_EQ(got("PRODUCT_NUMBER"), "short\n");
    set("PRODUCT_NUMBER", "hex: 41 42");
    EXPECT_EQ(got("PRODUCT_NUMBER"), "AB\n");
    set("PRODUCT_NUMBER", "");
    EXPECT_EQ(got("PRODUCT_NUMBER"), "\n");
}

TEST(VcamAdjSet, TakesTheBytesOfAFile)
{
    const test::Camera camera;
    const std::string bytes(70000, '\x5a');
    camera.write("/copies/table", bytes);
    camera.write("/copies/number", std::string("\x02\x01", 2));
    EXPECT_TRUE(succeeded(vcam({"adj", "set", "DPC_LV2_DATA", "--file", place(camera, "table")})));
    EXPECT_EQ(vcam({"adj", "get", "--raw", "DPC_LV2_DATA"}).out,
              bytes + std::string(549996 - 70000, '\0'));
    EXPECT_EQ(got("DPC_LV2_NUM"), "0\n") << "the item behind it";
    EXPECT_TRUE(
        succeeded(vcam({"adj", "set", "SHIPPING_COUNTRY", "--file", place(camera, "number")})));
    EXPECT_EQ(got("SHIPPING_COUNTRY"), "258\n");
    EXPECT_TRUE(failed(vcam({"adj", "set", "CIS_SN", "--file", place(camera, "number")}),
                       "CIS_SN has 4 bytes, not 2"));
    EXPECT_TRUE(failed(vcam({"adj", "set", "CS_ADDR", "--file", place(camera, "table")}),
                       "CS_ADDR has 56320 bytes, not 70000"));
    EXPECT_TRUE(failed(vcam({"adj", "set", "CS_ADDR", "--file", place(camera, "none")}),
                       "none' cannot be read"));
    EXPECT_TRUE(failed(vcam({"adj", "set", "CS_ADDR", "x", "--file", place(camera, "table")}),
                       "either VALUE or --file"));
}

TEST(VcamAdjSet, OfACameraThatIsOffIsWhatItsDaemonWillFind)
{
    const test::Camera camera;
    set("CIS_SN", "4711");
    set("MR", "P");
    EXPECT_EQ(stored_serial(), SERIAL);
    EXPECT_EQ(rova_get_proc_mark_value(ROVA_PROC_MARK_STEP_LABEL + 67), 2);
}

TEST(VcamAdjSet, LeavesTheRestOfThePartitionAlone)
{
    const test::Camera camera;
    set("CIS_SN", "-1");
    set("CIS_CLAMP_LEVEL", "-1");
    set("CIS_CHIP_VERSION", "0x1234");
    EXPECT_EQ(
        vcam({"adj", "get", "CIS_SN", "CIS_CHIP_VERSION", "CIS_CLAMP_LEVEL", "CIS_PIXEL_NUM_B"})
            .out,
        "-1\n4660\n-1\n0\n");
}

TEST(VcamAdjSet, WhatIsNotSavedIsNoValueOfACameraThatIsOff)
{
    const test::Camera camera;
    store_serial(SERIAL, 0);
    EXPECT_EQ(got("CIS_SN"), "0\n");
    EXPECT_TRUE(failed(vcam({"adj", "set", "--no-save", "CIS_SN", "5"}), "the camera is off"));
    set("CIS_CHIP_VERSION", "2");
    virt::release_partitions();
    EXPECT_EQ(stored_serial(), 0) << "the image was filled from flash again";
}

TEST(VcamAdjSet, OfARunningCameraReachesItsMemoryAndSavesThePartition)
{
    const test::Camera camera;
    store_serial(1, 0);
    const auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_EQ(got("CIS_SN"), "1\n") << "what is in memory";
    EXPECT_TRUE(succeeded(vcam({"adj", "set", "--no-save", "CIS_SN", "4711"})));
    EXPECT_EQ(stored_serial(), SERIAL) << "at once, for every process";
    EXPECT_FALSE(camera.exists("/virtual/pref/adj_cap.flash"));
    set("CIS_CHIP_VERSION", "2");
    EXPECT_EQ(camera.read("/virtual/pref/adj_cap.flash"),
              camera.read("/virtual/pref/adj_cap.image"));
    EXPECT_EQ(stored_serial(), SERIAL);
}

TEST(VcamAdjSet, TakesNoFaultFromTheDaemonAndIsNotRecorded)
{
    const test::Camera camera;
    const auto daemon = tool::stand_in(tool::DAEMON);
    camera.fault("pref_save", "-1 at 1");
    set("CIS_SN", "5");
    EXPECT_TRUE(camera.calls().empty());
    EXPECT_EQ(pref_save(5), -1) << "the first save of the daemon";
}

TEST(VcamAdjSet, AFailedSaveIsTold)
{
    const test::Camera camera;
    fs::create_directories(camera.path("/virtual/pref/adj_cap.flash"));
    EXPECT_TRUE(
        failed(vcam({"adj", "set", "CIS_SN", "5"}), "the partition 'adj_cap' cannot be saved"));
    const auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_TRUE(
        failed(vcam({"adj", "set", "CIS_SN", "5"}), "the partition 'adj_cap' cannot be saved"));
}

TEST(VcamAdjExport, HasTheFormOfTheDaemonsBackupAndTheLineToo)
{
    const test::Camera camera;
    const std::string archive = place(camera, "all.zip");
    EXPECT_TRUE(succeeded(vcam({"adj", "export", archive})));
    std::string names = test::run({"unzip", "-Z1", archive}).out;
    const words listed = lines_of(names);
    EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()),
              (std::set<std::string>{"tmp/backup/", "tmp/backup/adj_sys.bin",
                                     "tmp/backup/adj_cap.bin", "tmp/backup/adj_iq.bin",
                                     "tmp/backup/adj_vfpn.bin", "tmp/backup/adj_cs.bin",
                                     "tmp/backup/adj_dpc.bin", "tmp/backup/line.bin"}));
}

TEST(VcamAdjExport, IsWhatTheDaemonRestoresFrom)
{
    const test::Camera from, to;
    setenv("ROVA_SYSROOT", from.root().c_str(), 1);
    set("CIS_SN", "4711");
    set("DPC_LV4_NUM", "12");
    EXPECT_TRUE(succeeded(vcam({"adj", "export", to.path("/sdcard/pref.zip")})));
    const OnTheCard daemon(to);
    EXPECT_EQ(rova_restore_adjdata_part_all(), 1);
    EXPECT_EQ(stored_serial(), SERIAL);
    EXPECT_EQ(got("DPC_LV4_NUM"), "12\n");
}

TEST(VcamAdjExport, ReplacesAFileAndNothingElse)
{
    const test::Camera camera;
    camera.write("/copies/old.zip", "PK of another time");
    EXPECT_TRUE(succeeded(vcam({"adj", "export", place(camera, "old.zip")})));
    EXPECT_EQ(diff(place(camera, "old.zip")), "");
    EXPECT_TRUE(failed(vcam({"adj", "export", place(camera, "")}), "is no file"));
    EXPECT_TRUE(failed(vcam({"adj", "export", "/dev/null"}), "'/dev/null' is no file"));
    EXPECT_TRUE(failed(vcam({"adj", "export", place(camera, "old.zip/x")}), "cannot be written"));
    EXPECT_TRUE(failed(vcam({"adj", "export"}), "FILE is required"));
}

TEST(VcamAdjExport, HoldsTheMemoryOfARunningCamera)
{
    const test::Camera camera;
    store_serial(SERIAL, 0);
    const auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_TRUE(succeeded(vcam({"adj", "export", place(camera, "on.zip")})));
    const test::Camera other;
    EXPECT_TRUE(succeeded(vcam({"adj", "import", place(camera, "on.zip")})));
    EXPECT_EQ(got("CIS_SN"), "4711\n");
}

TEST(VcamAdjImport, OfAnExportMakesTheCamerasEqual)
{
    const test::Camera from, to;
    setenv("ROVA_SYSROOT", from.root().c_str(), 1);
    for (const auto &[name, value] : std::map<std::string, std::string>{
             {"SHIPPING_COUNTRY", "5"}, {"CS_VERSION", "-3"}, {"STEP_LABEL", "9"}, {"MR", "P"}})
        set(name, value);
    EXPECT_TRUE(succeeded(vcam({"adj", "export", place(from, "b[1].zip")})));
    EXPECT_TRUE(succeeded(vcam({"adj", "import", place(from, "b[1].zip")})));
    setenv("ROVA_SYSROOT", to.root().c_str(), 1);
    set("ISO_FLAG", "1");
    // What unzip would take "b[1].zip" for.
    EXPECT_TRUE(succeeded(vcam({"adj", "export", place(from, "b1.zip")})));
    EXPECT_TRUE(succeeded(vcam({"adj", "import", place(from, "b[1].zip")})));
    EXPECT_EQ(diff(from.root()), "");
    EXPECT_EQ(
        vcam({"adj", "get", "SHIPPING_COUNTRY", "CS_VERSION", "STEP_LABEL", "MR", "ISO_FLAG"}).out,
        "5\n-3\n9\nP\n0\n");
}

TEST(VcamAdjImport, OfTheDaemonsBackupLeavesTheLineAlone)
{
    const test::Camera from, to;
    {
        const OnTheCard daemon(from);
        store_serial(SERIAL, 1);
        ASSERT_EQ(rova_backup_adjdata_part_all(0), 1);
    }
    setenv("ROVA_SYSROOT", to.root().c_str(), 1);
    set("MR", "P");
    const test::Outcome imported = vcam({"adj", "import", from.path("/sdcard/pref.zip")});
    EXPECT_EQ(imported.status, 0);
    EXPECT_EQ(imported.err, "vcam: left alone, since '" + from.path("/sdcard/pref.zip").string() +
                                "' has none: line\n");
    EXPECT_EQ(vcam({"adj", "get", "CIS_SN", "MR"}).out, "4711\nP\n");
}

TEST(VcamAdjImport, TakesFoldersFilesAndCameras)
{
    const test::Camera from, to;
    setenv("ROVA_SYSROOT", from.root().c_str(), 1);
    store_serial(SERIAL, 1);
    set("MR", "P");
    fs::create_directories(from.path("/sdcard"));
    ASSERT_EQ(pref_save_to_file(5, "/sdcard/adj_cap.bin"), 0);
    ASSERT_EQ(pref_save_to_file(5, "/tmp/any name"), 0);
    from.write("/sdcard/readme.bin", "of no interest");
    setenv("ROVA_SYSROOT", to.root().c_str(), 1);
    const std::vector<std::string> sources = {
        from.path("/sdcard"), from.path("/sdcard/adj_cap.bin"), from.path("/tmp/any name")};
    for (const std::string &source : sources) {
        set("CIS_SN", "0");
        const test::Outcome imported = vcam({"adj", "import", source});
        EXPECT_EQ(imported.status, 0) << imported.err;
        EXPECT_NE(imported.err.find(": line adj_sys adj_iq adj_vfpn adj_cs adj_dpc\n"),
                  std::string::npos)
            << imported.err;
        EXPECT_EQ(vcam({"adj", "get", "CIS_SN", "MR"}).out, "4711\nN\n");
    }
    EXPECT_TRUE(succeeded(vcam({"adj", "import", from.root()})));
    EXPECT_EQ(got("MR"), "P\n");
}

TEST(VcamAdjImport, OfARunningCameraReachesItsMemory)
{
    const test::Camera from, to;
    setenv("ROVA_SYSROOT", from.root().c_str(), 1);
    set("CIS_SN", "4711");
    EXPECT_TRUE(succeeded(vcam({"adj", "export", place(from, "all.zip")})));
    setenv("ROVA_SYSROOT", to.root().c_str(), 1);
    EXPECT_EQ(stored_serial(), 0);
    const auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_TRUE(succeeded(vcam({"adj", "import", place(from, "all.zip")})));
    EXPECT_EQ(stored_serial(), SERIAL);
    EXPECT_EQ(to.read("/virtual/pref/adj_cap.flash"), to.read("/virtual/pref/adj_cap.image"));
}

// Every way in which a source can be bad; none changes anything.
class VcamAdjBadSource : public testing::Test
{
protected:
    VcamAdjBadSource()
    {
        set("CIS_SN", "4711");
        EXPECT_TRUE(succeeded(vcam({"adj", "export", place(camera, "good.zip")})));
        good = camera.read("/virtual/pref/adj_cap.flash");
        set("CIS_SN", "1");
        before = kept(camera);
    }

    void refuses(const std::string &source, const std::string &text)
    {
        EXPECT_TRUE(failed(vcam({"adj", "import", place(camera, source)}), text)) << source;
        EXPECT_TRUE(failed(vcam({"adj", "diff", place(camera, source)}), text)) << source;
        EXPECT_EQ(kept(camera), before) << source;
    }

    const test::Camera camera;
    std::string good;
    std::map<std::string, std::string> before;
};

TEST_F(VcamAdjBadSource, MissingAndEmptyOnesAreRefused)
{
    fs::create_directories(place(camera, "folder"));
    camera.write("/copies/empty.bin", "");
    refuses("none.zip", "none.zip' cannot be read");
    refuses("folder", "folder' holds no partition");
    refuses("empty.bin", "empty.bin' is no whole file of a partition");
    EXPECT_TRUE(failed(vcam({"adj", "import"}), "SOURCE is required"));
    EXPECT_TRUE(failed(vcam({"adj", "diff", ""}), "'' cannot be read"));
}

TEST_F(VcamAdjBadSource, FilesOfAnotherHeaderLengthOrPartitionAreRefused)
{
    std::string other_magic = good, other_size = good;
    other_magic[0] = 'X';
    other_size[16]++;
    camera.write("/copies/short.bin", good.substr(0, good.size() - 1));
    camera.write("/copies/long.bin", good + "x");
    camera.write("/copies/magic.bin", other_magic);
    camera.write("/copies/size.bin", other_size);
    camera.write("/copies/adj_iq.bin", good);
    for (const char *name : {"short.bin", "long.bin", "magic.bin", "size.bin"})
        refuses(name, "is no whole file of a partition");
    refuses("adj_iq.bin", "adj_iq.bin' holds the partition 'adj_cap'");
    ASSERT_EQ(pref_save_to_file(3, "/copies/count.bin"), 0);
    before = kept(camera);
    refuses("count.bin", "holds 'count', which is no partition of adj");
}

TEST_F(VcamAdjBadSource, OneBadFileAmongGoodOnesIsEnough)
{
    camera.write("/copies/tmp/backup/adj_cap.bin", good);
    camera.write("/copies/tmp/backup/line.bin", "rubbish");
    ASSERT_TRUE(zip(camera, {"-r", "mixed.zip", "tmp/backup"}));
    refuses("mixed.zip", "mixed.zip': line.bin is no whole file of a partition");
    refuses("tmp/backup", "backup': line.bin is no whole file of a partition");
    fs::remove(camera.path("/copies/tmp/backup/line.bin"));
    fs::create_directory(camera.path("/copies/tmp/backup/line.bin"));
    refuses("tmp/backup", "line.bin' cannot be read");
}

TEST_F(VcamAdjBadSource, ArchivesThatAreDamagedLockedOrOfOtherThingsAreRefused)
{
    std::string flipped = camera.read("/copies/good.zip");
    flipped[flipped.size() / 2] = static_cast<char>(~flipped[flipped.size() / 2]);
    camera.write("/copies/flipped.zip", flipped);
    camera.write("/copies/cut.zip", flipped.substr(0, flipped.size() / 2));
    camera.write("/copies/rubbish.zip", "PK rubbish");
    camera.write("/copies/adj_cap.bin", good);
    ASSERT_TRUE(zip(camera, {"flat.zip", "adj_cap.bin"}));
    camera.write("/copies/tmp/backup/adj_cap.bin", good);
    ASSERT_TRUE(zip(camera, {"-P", "secret", "-r", "locked.zip", "tmp/backup"}));
    refuses("flipped.zip", "flipped.zip' is damaged");
    refuses("cut.zip", "cut.zip' is damaged");
    refuses("rubbish.zip", "rubbish.zip' is damaged");
    refuses("locked.zip", "locked.zip' is damaged");
    refuses("flat.zip", "flat.zip' holds no partition");
}

TEST_F(VcamAdjBadSource, AFileInAnArchiveThatIsFarTooLongIsRefused)
{
    fs::create_directories(place(camera, "tmp/backup"));
    camera.write("/copies/tmp/backup/adj_cap.bin", good);
    fs::resize_file(place(camera, "tmp/backup/adj_cap.bin"), 40U << 20);
    ASSERT_TRUE(zip(camera, {"-1", "-r", "long.zip", "tmp/backup"}));
    refuses("long.zip", "adj_cap.bin is no whole file of a partition");
}

TEST_F(VcamAdjBadSource, WithoutUnzipArchivesCannotBeRead)
{
    const std::string path = getenv("PATH");
    setenv("PATH", "/nowhere", 1);
    const test::Outcome outcome = vcam({"adj", "import", place(camera, "good.zip")});
    setenv("PATH", path.c_str(), 1);
    EXPECT_TRUE(failed(outcome, "unzip cannot be started: No such file"));
    EXPECT_EQ(kept(camera), before);
}

TEST(VcamAdjDiff, TellsEachItemThatDiffersThereAndHere)
{
    const test::Camera there, here;
    setenv("ROVA_SYSROOT", there.root().c_str(), 1);
    set("CIS_SN", "5");
    set("MR", "E");
    set("PRODUCT_NUMBER", "OLD");
    set("CS_ADDR", "hex:0001020304");
    set("DPC_LV3_DATA", "hex:01");
    setenv("ROVA_SYSROOT", here.root().c_str(), 1);
    set("CIS_SN", "-6");
    set("MR", "P");
    set("PRODUCT_NUMBER", "NEW ONE");
    set("CS_ADDR", "hex:0001ff03ff");
    const std::string expected =
        "line      MR                           E (0x01) -> P (0x02)\n"
        "adj_sys   PRODUCT_NUMBER               \"OLD\" -> \"NEW ONE\"\n"
        "adj_cap   CIS_SN                       5 (0x00000005) -> -6 (0xfffffffa)\n"
        "adj_cs    CS_ADDR                      2 bytes differ, the first at 2\n"
        "adj_dpc   DPC_LV3_DATA                 1 byte differs, at 0\n";
    EXPECT_EQ(diff(there.root()), expected);
    setenv("ROVA_SYSROOT", there.root().c_str(), 1);
    EXPECT_TRUE(succeeded(vcam({"adj", "export", place(there, "there.zip")})));
    setenv("ROVA_SYSROOT", here.root().c_str(), 1);
    EXPECT_EQ(diff(place(there, "there.zip")), expected);
    EXPECT_EQ(diff(here.root()), "") << "the camera itself";
}

TEST(VcamAdjDiff, TellsBytesThatBelongToNoMark)
{
    const test::Camera there, here;
    setenv("ROVA_SYSROOT", there.root().c_str(), 1);
    ASSERT_EQ(pref_set_long(2, 100, 1), 0);
    ASSERT_EQ(pref_save(2), 0);
    setenv("ROVA_SYSROOT", here.root().c_str(), 1);
    EXPECT_EQ(diff(there.root()), "line      (behind the items)           1 byte differs, at 32\n");
}

TEST(VcamAdjDiff, ComparesTheMemoryOfARunningCamera)
{
    const test::Camera there, here;
    setenv("ROVA_SYSROOT", there.root().c_str(), 1);
    store_serial(SERIAL, 0);
    const auto daemon = tool::stand_in(tool::DAEMON);
    setenv("ROVA_SYSROOT", here.root().c_str(), 1);
    EXPECT_EQ(diff(there.root()),
              "adj_cap   CIS_SN                       4711 (0x00001267) -> 0 (0x00000000)\n");
}

TEST(VcamAdjDiff, ComparesOnlyWhatABackupHoldsAndSaysSo)
{
    const test::Camera camera;
    set("MR", "P");
    {
        const OnTheCard daemon(camera);
        ASSERT_EQ(rova_backup_adjdata_part_all(0), 1);
        ASSERT_EQ(pref_save_to_file(5, "/sdcard/adj_cap.bin"), 0);
    }
    set("MR", "N");
    const test::Outcome equal = vcam({"adj", "diff", camera.path("/sdcard/pref.zip")});
    EXPECT_EQ(equal.status, 0);
    EXPECT_EQ(equal.out, "");
    EXPECT_EQ(equal.err, "vcam: not compared, since '" + camera.path("/sdcard/pref.zip").string() +
                             "' has none: line\n");
    set("CIS_SN", "4");
    set("ISO_FLAG", "4");
    const test::Outcome file = vcam({"adj", "diff", camera.path("/sdcard/adj_cap.bin")});
    EXPECT_EQ(file.status, 1);
    EXPECT_EQ(lines_of(file.out).size(), 1U) << file.out;
    EXPECT_NE(file.err.find("has none: line adj_sys adj_iq"), std::string::npos) << file.err;
}

TEST(VcamAdjDiff, WithoutAnotherTellsWhatIsNotSavedYet)
{
    const test::Camera camera;
    EXPECT_TRUE(succeeded(vcam({"adj", "diff"}))) << "nobody has asked for an image yet";
    store_serial(5, 1);
    store_serial(6, 0);
    const std::string change =
        "adj_cap   CIS_SN                       5 (0x00000005) -> 6 (0x00000006)\n";
    const test::Outcome off = vcam({"adj", "diff"});
    EXPECT_EQ(off.status, 1);
    EXPECT_EQ(off.out, change);
    EXPECT_EQ(off.err, "vcam: the camera is off: what was not saved is lost when it starts\n");
    const auto daemon = tool::stand_in(tool::DAEMON);
    const test::Outcome on = vcam({"adj", "diff"});
    EXPECT_EQ(on.status, 1);
    EXPECT_EQ(on.out, change);
    EXPECT_EQ(on.err, "");
    ASSERT_EQ(pref_save(5), 0);
    EXPECT_TRUE(succeeded(vcam({"adj", "diff"})));
}

TEST(VcamAdj, LookingChangesNothing)
{
    const test::Camera camera;
    store_serial(6, 0);
    for (const bool running : {false, true}) {
        const auto daemon = running ? tool::stand_in(tool::DAEMON) : nullptr;
        const auto before = kept(camera);
        EXPECT_EQ(vcam({"adj", "list"}).status, 0);
        EXPECT_EQ(vcam({"adj", "get", "MR", "CIS_SN"}).status, 0);
        EXPECT_EQ(vcam({"adj", "diff"}).status, 1);
        EXPECT_EQ(vcam({"adj", "export", place(camera, "x.zip")}).status, 0);
        EXPECT_EQ(vcam({"adj", "diff", place(camera, "x.zip")}).status, 0);
        EXPECT_EQ(kept(camera), before);
    }
    EXPECT_TRUE(camera.calls().empty());
}

TEST(VcamAdj, DefaultsAreWhatAFreshCameraHolds)
{
    const test::Camera camera;
    rova_save_default_adjdata();
    EXPECT_EQ(got("TEMP_SENSOR_CIS_TH_CRITICAL"), "110\n");
}
