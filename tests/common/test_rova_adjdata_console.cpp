#include "common/rova_adjdata_console.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_log.h"
#include "platform/pref.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <unistd.h>

namespace
{

// Standard input is a file with this text until the end of the scope.
class Input
{
public:
    Input(const test::Camera &camera, const std::string &text) : before_(dup(STDIN_FILENO))
    {
        camera.write("/tmp/input", text);
        EXPECT_NE(std::freopen(camera.path("/tmp/input").c_str(), "r", stdin), nullptr);
    }
    ~Input()
    {
        EXPECT_NE(std::freopen("/dev/null", "r", stdin), nullptr);
        dup2(before_, STDIN_FILENO);
        close(before_);
    }
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;

private:
    int before_;
};

struct AdjDataConsole : testing::Test {
    AdjDataConsole() { rova_log_set_enable(1); }
    ~AdjDataConsole() override
    {
        rova_log_set_enable(0);
        test::wrap_clear();
    }

    // The result of `action` and what it wrote.
    int run(const std::function<int()> &action)
    {
        testing::internal::CaptureStdout();
        const int result = action();
        std::fflush(stdout);
        out = testing::internal::GetCapturedStdout();
        return result;
    }
    // With bytes from a terminal.
    int store(const char *name, uint32_t size, const std::string &input, int value = 0)
    {
        const Input from(camera, input);
        return run([=] { return rova_store_adjdata(name, size, value); });
    }
    std::string file_log() const
    {
        static const std::regex stamp("[0-9]{8} [0-9]{2}:[0-9]{2}:[0-9]{2} : ");
        return std::regex_replace(camera.file_log(), stamp, "@ ");
    }
    std::string flash(const std::string &name, std::size_t offset, std::size_t size) const
    {
        const std::string whole = camera.read("/virtual/pref/" + name + ".flash");
        return whole.size() > 512 + offset ? whole.substr(512 + offset, size) : "";
    }

    test::Camera camera;
    std::string out;
};

void put(uint64_t id, const std::string &bytes)
{
    std::memcpy(rova_get_adjdata(id), bytes.data(), bytes.size());
}

std::string item(uint64_t id, std::size_t size)
{
    return {static_cast<const char *>(rova_get_adjdata(id)), size};
}

const std::string RULE = std::string(78, '-') + "\n";
const std::string HEADING =
    RULE + "     PREF                            NAME      SIZE      VALUE \n" + RULE;
const std::string PROMPT = "Enter value in hex format without '0x'. (e.g. 00 0a 1a 2b) \n";

} // namespace

TEST_F(AdjDataConsole, ShowsANumberOfEachSize)
{
    put(ADJ_ID_LOCAL_MARKET_AFRICA, "\x05");
    EXPECT_EQ(run([] { return rova_show_adjdata("LOCAL_MARKET_AFRICA"); }), 1);
    EXPECT_EQ(out, HEADING +
                       "  adj_sys             LOCAL_MARKET_AFRICA         1          5 (0x05) \n" +
                       RULE + "\n");
    put(ADJ_ID_SHIPPING_COUNTRY, "\x02\x01");
    EXPECT_EQ(run([] { return rova_show_adjdata("SHIPPING_COUNTRY"); }), 1);
    EXPECT_EQ(out,
              HEADING +
                  "  adj_sys                SHIPPING_COUNTRY         2        258 (0x0102) \n" +
                  RULE + "\n");
    put(ADJ_ID_CIS_SN, "\x04\x03\x02\x01");
    EXPECT_EQ(run([] { return rova_show_adjdata("CIS_SN"); }), 1);
    EXPECT_EQ(out,
              HEADING +
                  "  adj_cap                          CIS_SN         4   16909060 (0x01020304) \n" +
                  RULE + "\n");
}

TEST_F(AdjDataConsole, ANegativeNumberShowsItsWholeWord)
{
    put(ADJ_ID_LOCAL_MARKET_AFRICA, "\xfe");
    EXPECT_EQ(run([] { return rova_show_adjdata("LOCAL_MARKET_AFRICA"); }), 1);
    EXPECT_NE(out.find("         1         -2 (0xfffffffe) \n"), std::string::npos) << out;
    put(ADJ_ID_SHIPPING_COUNTRY, "\xfe\xff");
    EXPECT_EQ(run([] { return rova_show_adjdata("SHIPPING_COUNTRY"); }), 1);
    EXPECT_NE(out.find("         2         -2 (0xfffffffe) \n"), std::string::npos) << out;
}

TEST_F(AdjDataConsole, ShowsALargeItemAsADump)
{
    put(ADJ_ID_CIS_LOT_NUMBER, "LOT");
    EXPECT_EQ(run([] { return rova_show_adjdata("CIS_LOT_NUMBER"); }), 1);
    EXPECT_EQ(out, HEADING + "  adj_cap                  CIS_LOT_NUMBER        32   \n" + RULE +
                       "[00000000]  4c 4f 54 00 00 00 00 00 00 00 00 00 00 00 00 00 \n"
                       "[00000010]  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 \n" +
                       RULE + "\n");
}

TEST_F(AdjDataConsole, ShowsAPartitionWithoutANameToo)
{
    camera.fault("pref_get_name", "0");
    EXPECT_EQ(run([] { return rova_show_adjdata("CIS_SN"); }), 1);
    EXPECT_NE(out.find("   (null)                          CIS_SN "), std::string::npos) << out;
}

TEST_F(AdjDataConsole, AnUnknownNameIsTold)
{
    for (const auto &show : {rova_show_adjdata, rova_show_adjdata_string}) {
        EXPECT_EQ(run([=] { return show("cis_sn"); }), 0);
        EXPECT_EQ(out, "Unknown id (cis_sn) \n");
        EXPECT_EQ(run([=] { return show(nullptr); }), 0);
        EXPECT_EQ(out, "Unknown id ((null)) \n");
    }
}

TEST_F(AdjDataConsole, AMissingPartitionShowsNothing)
{
    camera.fault("pref_get_addr", "0");
    for (const auto &show : {rova_show_adjdata, rova_show_adjdata_string}) {
        EXPECT_EQ(run([=] { return show("CIS_LOT_NUMBER"); }), 0);
        EXPECT_EQ(out, "");
    }
    EXPECT_TRUE(camera.logged("pref_addr is NULL (id=0x8560100000000014) "));
}

TEST_F(AdjDataConsole, ShowsAText)
{
    put(ADJ_ID_PRODUCT_NUMBER, "EV-QZ700");
    EXPECT_EQ(run([] { return rova_show_adjdata_string("PRODUCT_NUMBER"); }), 1);
    EXPECT_EQ(out, "EV-QZ700\n");
}

TEST_F(AdjDataConsole, ATextThatFillsItsItemEndsThere)
{
    put(ADJ_ID_PRODUCT_NUMBER, "0123456789abcdefNEXT");
    EXPECT_EQ(run([] { return rova_show_adjdata_string("PRODUCT_NUMBER"); }), 1);
    EXPECT_EQ(out, "0123456789abcdef\n");
}

// As many bytes as leave no room behind them in a block of memory.
TEST_F(AdjDataConsole, ATextThatFillsALongItemEndsThere)
{
    const std::string text(9000, 'x');
    put(ADJ_ID_VFPN_CAPT_HTABLE_DATA, text + "NEXT");
    EXPECT_EQ(run([] { return rova_show_adjdata_string("VFPN_CAPT_HTABLE_DATA"); }), 1);
    EXPECT_EQ(out, text + "\n");
}

TEST_F(AdjDataConsole, AnEmptyTextIsAnError)
{
    put(ADJ_ID_PRODUCT_NUMBER, std::string("\0hidden", 7));
    EXPECT_EQ(run([] { return rova_show_adjdata_string("PRODUCT_NUMBER"); }), 0);
    EXPECT_EQ(out, "");
    EXPECT_TRUE(camera.logged(" > \x1b[31mempty string data \x1b[m"));
}

TEST_F(AdjDataConsole, ATextWithoutMemoryIsTold)
{
    put(ADJ_ID_PRODUCT_NUMBER, "EV-QZ700");
    EXPECT_EQ(run([] {
                  test::wrap_fail("calloc", 0, ENOMEM, 1);
                  return rova_show_adjdata_string("PRODUCT_NUMBER");
              }),
              0);
    EXPECT_EQ(out, "memory is not enough ! (size=16) \n");
}

TEST_F(AdjDataConsole, StoresANumberOfEachSizeAndShowsIt)
{
    const struct {
        const char *name;
        uint64_t id;
        uint32_t size;
        std::string bytes;
    } items[] = {
        {"LOCAL_MARKET_AFRICA", ADJ_ID_LOCAL_MARKET_AFRICA, 1, "\x85"},
        {"SHIPPING_COUNTRY", ADJ_ID_SHIPPING_COUNTRY, 2, "\x85\x84"},
        {"ENGINEERING_SAMPLE", ADJ_ID_ENGINEERING_SAMPLE, 4, "\x85\x84\x03\x02"},
    };
    for (const auto &each : items) {
        EXPECT_EQ(run([&] { return rova_store_adjdata(each.name, each.size, 0x02038485); }), 1);
        const std::string stored = out;
        EXPECT_EQ(run([&] { return rova_show_adjdata(each.name); }), 1);
        EXPECT_EQ(stored, out);
        EXPECT_EQ(item(each.id, each.size), each.bytes);
        EXPECT_EQ(flash("adj_sys", static_cast<uint32_t>(each.id), each.size), each.bytes);
    }
    EXPECT_EQ(item(ADJ_ID_LOCAL_MARKET_SAUDI, 1), std::string(1, '\0')); // the next one
    EXPECT_EQ(file_log().substr(0, file_log().find('\n') + 1),
              "@ store_adjdata: LOCAL_MARKET_AFRICA, size=1@ set_adjdata: 0x8560000000000002, "
              "size=1, save=1, LOCAL_MARKET_AFRICA, OK \n");
}

TEST_F(AdjDataConsole, StoringAnUnknownNameIsRefused)
{
    EXPECT_EQ(run([] { return rova_store_adjdata("NOTHING", 4, 1); }), 0);
    EXPECT_EQ(out, "Unknown id (NOTHING) \n");
    EXPECT_EQ(file_log(), "@ store_adjdata: NOTHING, size=4, Unknown id, NG \n");
}

TEST_F(AdjDataConsole, StoringNoNameIsRefused)
{
    EXPECT_EQ(run([] { return rova_store_adjdata(nullptr, 4, 1); }), 0);
    EXPECT_EQ(out, "Unknown id ((null)) \n");
    EXPECT_EQ(file_log(), "@ store_adjdata: (null), size=4, Unknown id, NG \n");
}

TEST_F(AdjDataConsole, StoringWithAnotherSizeIsRefused)
{
    EXPECT_EQ(run([] { return rova_store_adjdata("CIS_SN", 2, 1); }), 0);
    EXPECT_EQ(out, "Invalid size [CIS_SN, 4] size=2 \n");
    EXPECT_EQ(file_log(), "@ store_adjdata: CIS_SN, size=2, invalid size (2), NG \n");
    EXPECT_EQ(item(ADJ_ID_CIS_SN, 4), std::string(4, '\0'));
}

TEST_F(AdjDataConsole, ANumberThatCannotBeSavedIsTold)
{
    camera.fault("pref_save", "-1");
    EXPECT_EQ(run([] { return rova_store_adjdata("CIS_SN", 4, -7); }), 0);
    EXPECT_EQ(out, "set failed (id=CIS_SN, value=-7) \n");
    EXPECT_EQ(file_log(), "@ store_adjdata: CIS_SN, size=4@ set_adjdata: 0x8560100000000000, "
                          "size=4, save=1, CIS_SN, pref_save(5) failed, NG \n"
                          ", set failed (val=-7), NG \n");
}

TEST_F(AdjDataConsole, BytesOfALargeItemAreAskedFor)
{
    EXPECT_EQ(store("BT_MAC_ADDR", 12, "00 0a 1a 2b\nFF fe 6 7 8 9 a b\n"), 1);
    const std::string bytes("\x00\x0a\x1a\x2b\xff\xfe\x06\x07\x08\x09\x0a\x0b", 12);
    EXPECT_EQ(out, PROMPT + HEADING + "  adj_sys                     BT_MAC_ADDR        12   \n" +
                       RULE + "[00000000]  00 0a 1a 2b ff fe 06 07 08 09 0a 0b \n" + RULE + "\n");
    EXPECT_EQ(item(ADJ_ID_BT_MAC_ADDR, 12), bytes);
    EXPECT_EQ(flash("adj_sys", static_cast<uint32_t>(ADJ_ID_BT_MAC_ADDR), 12), bytes);
    EXPECT_EQ(file_log(), "@ store_adjdata: BT_MAC_ADDR, size=12@ set_adjdata: "
                          "0x8560000000000085, size=12, save=1, BT_MAC_ADDR, OK \n");
}

TEST_F(AdjDataConsole, BytesNeedNoBlanksAndAnOddDigitIsAByte)
{
    EXPECT_EQ(store("BT_MAC_ADDR", 12, "000a1a2b3"), 1);
    EXPECT_EQ(item(ADJ_ID_BT_MAC_ADDR, 12), std::string("\x00\x0a\x1a\x2b\x03\0\0\0\0\0\0\0", 12));
}

TEST_F(AdjDataConsole, BytesThatAreNotGivenBecomeZero)
{
    put(ADJ_ID_BT_MAC_ADDR, std::string(12, 'x'));
    EXPECT_EQ(store("BT_MAC_ADDR", 12, "41 42"), 1);
    EXPECT_EQ(item(ADJ_ID_BT_MAC_ADDR, 12), "AB" + std::string(10, '\0'));
    put(ADJ_ID_BT_MAC_ADDR, std::string(12, 'x'));
    EXPECT_EQ(store("BT_MAC_ADDR", 12, ""), 1);
    EXPECT_EQ(item(ADJ_ID_BT_MAC_ADDR, 12), std::string(12, '\0'));
}

TEST_F(AdjDataConsole, BytesBeyondTheItemStayInTheInput)
{
    const Input from(camera, "1 2 3 4 5 6 7 8 9 a b c d e");
    EXPECT_EQ(run([] { return rova_store_adjdata("BT_MAC_ADDR", 12, 0); }), 1);
    EXPECT_EQ(item(ADJ_ID_BT_MAC_ADDR, 12), "\1\2\3\4\5\6\7\x08\x09\x0a\x0b\x0c");
    char rest[8] = {};
    EXPECT_EQ(std::fread(rest, 1, sizeof(rest), stdin), 4U);
    EXPECT_STREQ(rest, " d e");
}

TEST_F(AdjDataConsole, WhatIsNoNumberEndsTheBytes)
{
    for (const char *junk : {"41 xyz 42", "41 , 42", "41 -"}) {
        put(ADJ_ID_BT_MAC_ADDR, std::string(12, 'x'));
        EXPECT_EQ(store("BT_MAC_ADDR", 12, junk), 1) << junk;
        EXPECT_EQ(item(ADJ_ID_BT_MAC_ADDR, 12), "A" + std::string(11, '\0')) << junk;
    }
}

TEST_F(AdjDataConsole, BytesWithoutMemoryAreNotAskedFor)
{
    const Input from(camera, "41 42");
    EXPECT_EQ(run([] {
                  test::wrap_fail("calloc", 0, ENOMEM, 1);
                  return rova_store_adjdata("BT_MAC_ADDR", 12, 0);
              }),
              0);
    EXPECT_EQ(out, "not enough memory (size = 12) \n");
    EXPECT_EQ(file_log(), "@ store_adjdata: BT_MAC_ADDR, size=12, not enough memory, NG \n");
    EXPECT_EQ(item(ADJ_ID_BT_MAC_ADDR, 12), std::string(12, '\0'));
}

TEST_F(AdjDataConsole, BytesThatCannotBeSavedAreTold)
{
    camera.fault("pref_save", "-1");
    EXPECT_EQ(store("BT_MAC_ADDR", 12, "41", 9), 0);
    EXPECT_EQ(out, PROMPT + "set failed (id=BT_MAC_ADDR, size=12) \n");
    EXPECT_EQ(file_log(), "@ store_adjdata: BT_MAC_ADDR, size=12@ set_adjdata: "
                          "0x8560000000000085, size=12, save=1, BT_MAC_ADDR, pref_save(4) "
                          "failed, NG \n, set failed (val=9), NG \n");
}
