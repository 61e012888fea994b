#include "command/factory/rova_cmd_factory.h"
#include "command/factory/rova_pin_name_tbl.h"
#include "command/rova_cmd_handler.h"
#include "common/rova_log.h"
#include "tests/command/command_test.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

constexpr char LINE[] = "gpio pindump";
constexpr char CARD_CSV[] = "/sdcard/gpio_pindump.csv";
constexpr char PC_CSV[] = "/tmp/gpio_pindump.csv";
constexpr char HEADER[] = "Index,CIS S/N,No, pin_name, register, value, RW, F4, F3, F2, F1, IE, "
                          "IS, SR, PE, PS, DS0, DS1, Result\r\n";
constexpr off_t REGISTERS = 0x10401000;
constexpr uint32_t ALL_BITS = 0x10f7f;

uint32_t answer(uint32_t cmd_type = ROVA_CMD_SCRIPT, cmd_data record = test::record_of(LINE))
{
    rova_process_cmd(cmd_type, &record);
    return rova_cmd_get_result();
}

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string hexadecimal(unsigned long number)
{
    char text[20];
    std::snprintf(text, sizeof(text), "0x%lx", number);
    return text;
}

std::string right(std::size_t number)
{
    std::string text = std::to_string(number);
    return std::string(3 - text.size(), ' ') + text;
}

// A row without index and serial number; `bits` are the twelve columns, one character each.
std::string row(std::size_t pin, const std::string &name, uint32_t value, const std::string &bits)
{
    static const char *const gaps[] = {",   ", ",   ", ",  ", ",  ", ",  ",   ",   ",
                                       ",  ",  ",  ",  ",  ", ",  ", ",    ", ",   "};
    std::string text = right(pin) + ", " + padded(name, 15) + ", " +
                       hexadecimal(0x10401000 + 4 * (pin - 1)) + ", " +
                       (value == 0 ? "(nil)" : hexadecimal(value));
    for (std::size_t i = 0; i < bits.size(); i++)
        text += gaps[i] + bits.substr(i, 1);
    return text + ", OK\n\r\n";
}

std::string reset_row(std::size_t pin)
{
    const char *name = rova_pin_name_tbl[pin - 1][0];
    return row(pin, *name != '\0' ? name : "?", 0, "000000000000");
}

// The rows of a whole dump: those given, and pins as they are after a reset.
std::string dump(std::size_t first_index, const std::map<std::size_t, std::string> &rows)
{
    std::string text;
    for (std::size_t pin = 1; pin <= ROVA_PIN_COUNT; pin++) {
        auto given = rows.find(pin);
        text += std::to_string(first_index + pin - 1) + ",0,";
        text += given != rows.end() ? given->second : reset_row(pin);
    }
    return text;
}

std::size_t memory_mappings()
{
    std::ifstream maps("/proc/self/maps");
    std::size_t count = 0;
    for (std::string text; std::getline(maps, text);)
        count += text.find("/dev/mem") != std::string::npos ? 1 : 0;
    return count;
}

} // namespace

class GpioPindump : public test::CommandTest
{
protected:
    // So many rows, each of them synced and logged, would keep the PC's disk busy for a second.
    GpioPindump()
    {
        rova_log_set_enable(0);
        camera.fault("sys_fdatasync", "0");
    }

    void make_memory()
    {
        camera.write("/dev/mem", "");
        fs::resize_file(camera.path("/dev/mem"), uintmax_t{1} << 32);
    }

    void set_pin(std::size_t pin, uint32_t value)
    {
        std::fstream memory(camera.path("/dev/mem"),
                            std::ios::in | std::ios::out | std::ios::binary);
        memory.seekp(REGISTERS + static_cast<off_t>(4 * (pin - 1)));
        memory.write(reinterpret_cast<const char *>(&value), sizeof(value));
        ASSERT_TRUE(memory);
    }

    void expect_no_access()
    {
        EXPECT_EQ(answer(), 1U);
        EXPECT_TRUE(camera.logged("failed to get_virtual_address"));
        EXPECT_EQ(camera.read(CARD_CSV), HEADER);
    }
};

TEST_F(GpioPindump, PinsAfterResetHaveFunction0AndNoBits)
{
    make_memory();
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(camera.read(CARD_CSV), HEADER + dump(1, {}));
}

TEST_F(GpioPindump, FirstAndLastRowsReadAsAPersonSeesThem)
{
    make_memory();
    set_pin(1, 0x10140);
    set_pin(219, 0xffffffff);
    answer();

    std::string text = camera.read(CARD_CSV);
    EXPECT_NE(
        text.find("\r\n1,0,  1, SPI0_CLK       , 0x10401000, 0x10140,   1,   0,  0,  0,  1,   "
                  "1,  0,  0,  0,  0,    0,   0, OK\n\r\n"),
        std::string::npos);
    EXPECT_NE(text.find("\r\n219,0,219, GPIO25_7       , 0x10401368, 0xffffffff,   1,   1,  1,  1,"
                        "  1,   1,  1,  1,  1,  1,    1,   1, OK\n\r\n"),
              std::string::npos);
}

TEST_F(GpioPindump, EachBitHasItsColumn)
{
    constexpr uint32_t bits[] = {0x10000, 0x800, 0x400, 0x200, 0x100, 0x40,
                                 0x20,    0x10,  0x8,   0x4,   0x2,   0x1};
    make_memory();
    std::map<std::size_t, std::string> rows;
    for (std::size_t i = 0; i < std::size(bits); i++) {
        std::size_t pin = 25 + i;
        std::size_t function = bits[i] == 0x400   ? 1
                               : bits[i] == 0x200 ? 2
                               : bits[i] == 0x100 ? 3
                                                  : 0;
        std::string columns(12, '0');
        columns[i] = '1';
        std::string name = rova_pin_name_tbl[pin - 1][function];
        set_pin(pin, bits[i]);
        rows[pin] = row(pin, name.empty() ? "?" : name, bits[i], columns);
    }
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(camera.read(CARD_CSV), HEADER + dump(1, rows));
}

TEST_F(GpioPindump, HighestFunctionBitDecidesTheName)
{
    make_memory();
    set_pin(2, ALL_BITS);
    set_pin(9, 0x300);
    set_pin(45, 0x100);
    set_pin(103, 0x400);
    set_pin(104, 0x700);
    set_pin(105, 0x300);
    set_pin(106, 0x100);
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(camera.read(CARD_CSV),
              HEADER + dump(1, {{2, row(2, "GPIO0_1", ALL_BITS, "111111111111")},
                                {9, row(9, "UART3_TX", 0x300, "000110000000")},
                                {45, row(45, "NAND_D0", 0x100, "000010000000")},
                                {103, row(103, "MON_17", 0x400, "001000000000")},
                                {104, row(104, "MON_18", 0x700, "001110000000")},
                                {105, row(105, "SPI3_MOSI", 0x300, "000110000000")},
                                {106, row(106, "EXTIN4", 0x100, "000010000000")}}));
}

TEST_F(GpioPindump, PinWithoutTheChosenFunctionShowsAQuestionMark)
{
    make_memory();
    set_pin(1, 0x400);   // no function 1
    set_pin(76, 0x200);  // no function 2
    set_pin(82, 0x800);  // no function 0
    set_pin(202, 0x100); // no function 3
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(camera.read(CARD_CSV),
              HEADER + dump(1, {{1, row(1, "?", 0x400, "001000000000")},
                                {76, row(76, "?", 0x200, "000100000000")},
                                {82, row(82, "?", 0x800, "010000000000")},
                                {202, row(202, "?", 0x100, "000010000000")}}));
}

TEST_F(GpioPindump, PinsAtTheEndsOfThePortsHaveTheirNames)
{
    make_memory();
    const std::map<std::size_t, const char *> function_3 = {
        {5, "MLCD_RESET"}, {77, "NTRST"},    {78, "TCK"},     {79, "TMS"},
        {80, "TDI"},       {81, "TDO"},      {82, "SRSTN"},   {93, "I2S_CCK"},
        {96, "I2S_DI_0"},  {99, "I2S_DO_0"}, {103, "EXTIN1"}, {219, "DRAM_B_RET"}};
    std::map<std::size_t, std::string> rows = {{76, row(76, "GPIO9_3", 0, "000000000000")},
                                               {83, row(83, "GPIO9_4", 0, "000000000000")},
                                               {92, row(92, "GPIO10_5", 0, "000000000000")},
                                               {97, row(97, "GPIO10_6", 0, "000000000000")},
                                               {98, row(98, "GPIO10_7", 0, "000000000000")},
                                               {100, row(100, "GPIO11_0", 0, "000000000000")}};
    for (auto [pin, name] : function_3) {
        set_pin(pin, 0x100);
        rows[pin] = row(pin, name, 0x100, "000010000000");
    }
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(camera.read(CARD_CSV), HEADER + dump(1, rows));
}

// The row's own line feed stands behind the index, so the file's last line holds none.
TEST_F(GpioPindump, SecondDumpIsAppendedAndCountsFromOneAgain)
{
    make_memory();
    answer();
    set_pin(219, 0x100);
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(camera.read(CARD_CSV),
              HEADER + dump(1, {}) +
                  dump(1, {{219, row(219, "DRAM_B_RET", 0x100, "000010000000")}}));
}

TEST_F(GpioPindump, WordsIgnoreCase)
{
    make_memory();
    EXPECT_EQ(answer(ROVA_CMD_CARD, test::record_of("GPIO PinDump")), 0U);
    EXPECT_TRUE(camera.exists(CARD_CSV));
}

TEST_F(GpioPindump, AnswersWithThePathOfTheFile)
{
    make_memory();
    EXPECT_EQ(answer(ROVA_CMD_CARD), 0U);
    EXPECT_TRUE(camera.logged("type=1, file=/sdcard/gpio_pindump.csv"));
}

TEST_F(GpioPindump, AnswersOnceBehindItsRows)
{
    make_memory();
    rova_log_set_enable(1);
    std::string log = run(LINE);
    EXPECT_TRUE(log.ends_with(test::OK));
    EXPECT_EQ(log.find("resp : "), log.size() - std::strlen(test::OK));

    camera.fault("sys_open", "-1 on /dev/mem");
    log = run(LINE);
    EXPECT_TRUE(log.ends_with(test::NG));
    EXPECT_EQ(log.find("resp : "), log.size() - std::strlen(test::NG));
}

TEST_F(GpioPindump, ScriptWhileThePcLinkIsOnWritesToTmp)
{
    make_memory();
    camera.write("/sdcard/info.tgw", "");
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(camera.read(PC_CSV), std::string("gpio_pindump.csv\r\n") + HEADER + dump(1, {}));
    EXPECT_FALSE(camera.exists(CARD_CSV));
}

TEST_F(GpioPindump, PcLinkIsRefusedAndWritesNoFile)
{
    make_memory();
    for (uint32_t type : {ROVA_CMD_PTP, ROVA_CMD_PTP2}) {
        rova_log_set_enable(1);
        EXPECT_EQ(run(LINE, type), test::PTP_NG);
        EXPECT_TRUE(camera.logged("This cmd is not supported for PTP."));
        EXPECT_FALSE(camera.exists(CARD_CSV));
        EXPECT_FALSE(camera.exists(PC_CSV));
    }
}

TEST_F(GpioPindump, NoParameterIsNgWithoutAFile)
{
    make_memory();
    cmd_data record = test::record_of(LINE);
    record.p_count = 0;
    EXPECT_EQ(answer(ROVA_CMD_SCRIPT, record), 1U);
    EXPECT_EQ(answer(ROVA_CMD_PTP, record), 1U);
    EXPECT_FALSE(camera.logged("This cmd is not supported for PTP."));
    EXPECT_FALSE(camera.exists(CARD_CSV));
}

TEST_F(GpioPindump, UnknownSubcommandIsNotItsOwn)
{
    cmd_data record = test::record_of("gpio pindumps");
    EXPECT_EQ(rova_cmd_gpio(ROVA_CMD_SCRIPT, &record), 0);
    EXPECT_TRUE(camera.logged("Not found on gpio command table"));
}

TEST_F(GpioPindump, WithoutACardItIsOkWithoutRows)
{
    make_memory();
    fs::remove_all(camera.path("/sdcard"));
    EXPECT_EQ(answer(), 0U);
    EXPECT_FALSE(camera.exists(CARD_CSV));
    EXPECT_FALSE(camera.logged("failed to get_virtual_address"));
}

TEST_F(GpioPindump, WithoutACardMissingMemoryIsStillNg)
{
    fs::remove_all(camera.path("/sdcard"));
    camera.fault("sys_open", "-1 errno EACCES on /dev/mem");
    EXPECT_EQ(answer(), 1U);
    EXPECT_TRUE(camera.logged("failed to get_virtual_address"));
}

TEST_F(GpioPindump, MemoryThatCannotBeOpenedIsNg)
{
    make_memory();
    camera.fault("sys_open", "-1 errno EACCES on /dev/mem");
    expect_no_access();
}

TEST_F(GpioPindump, MemoryThatCannotBeMappedIsNg)
{
    ASSERT_EQ(mkfifo(camera.path("/dev/mem").c_str(), 0600), 0);
    expect_no_access();
}

TEST_F(GpioPindump, MemoryThatEndsBeforeTheLastRegisterIsNg)
{
    make_memory();
    fs::resize_file(camera.path("/dev/mem"), REGISTERS + 875);
    expect_no_access();
}

TEST_F(GpioPindump, MemoryThatEndsWithTheLastRegisterIsEnough)
{
    make_memory();
    fs::resize_file(camera.path("/dev/mem"), REGISTERS + 876);
    EXPECT_EQ(answer(), 0U);
}

TEST_F(GpioPindump, DumpAfterAFailedOneCountsFromZero)
{
    make_memory();
    camera.fault("sys_open", "-1 on /dev/mem");
    answer();
    camera.clear_fault("sys_open");
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(camera.read(CARD_CSV), HEADER + dump(0, {}));
}

TEST_F(GpioPindump, LeavesNothingOpenOrMapped)
{
    make_memory();
    answer();
    std::size_t descriptors = test::open_descriptors();
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(memory_mappings(), 0U);
    EXPECT_EQ(test::open_descriptors(), descriptors);
    fs::resize_file(camera.path("/dev/mem"), 4096);
    EXPECT_EQ(answer(), 1U);
    EXPECT_EQ(memory_mappings(), 0U);
    EXPECT_EQ(test::open_descriptors(), descriptors);
}

// A card that fills up costs the rows, not the command.
TEST_F(GpioPindump, RowsThatCannotBeWrittenDoNotMakeItNg)
{
    make_memory();
    camera.fault("sys_write", "-1 errno ENOSPC on gpio_pindump.csv");
    EXPECT_EQ(answer(), 0U);
    EXPECT_EQ(camera.read(CARD_CSV), "");
}
