#include "command/factory/rova_pin_name_tbl.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

namespace
{

// The ports count on from the first to the last pin; dedicated pins are left out of the count.
bool is_dedicated(std::size_t pin)
{
    return (pin >= 77 && pin <= 82) || (pin >= 93 && pin <= 96) || pin == 99;
}

std::string page_row(std::size_t pin)
{
    std::ostringstream row;
    row << "| " << pin << " | 0x" << std::hex << 0x10401000 + (pin - 1) * 4 << " |";
    for (const char *name : rova_pin_name_tbl[pin - 1])
        row << " " << (*name != '\0' ? name : "-") << " |";
    return row.str();
}

std::string page()
{
    std::ifstream in(ROVA_SOURCE_DIR "/docs/pins.md");
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

TEST(PinNameTable, PortsCountOnWithEightPinsEach)
{
    std::size_t number = 0;
    for (std::size_t pin = 1; pin <= ROVA_PIN_COUNT; pin++) {
        std::string name = rova_pin_name_tbl[pin - 1][0];
        if (is_dedicated(pin)) {
            EXPECT_EQ(name, "") << "pin " << pin;
            continue;
        }
        EXPECT_EQ(name, "GPIO" + std::to_string(number / 8) + "_" + std::to_string(number % 8))
            << "pin " << pin;
        number++;
    }
    EXPECT_EQ(number, 26U * 8);
}

TEST(PinNameTable, NoNameStandsTwice)
{
    std::set<std::string> seen;
    for (const auto &row : rova_pin_name_tbl)
        for (const char *name : row)
            if (*name != '\0') {
                EXPECT_TRUE(seen.insert(name).second) << name;
            }
}

TEST(PinNameTable, EveryDedicatedPinHasAFunction3)
{
    for (std::size_t pin = 1; pin <= ROVA_PIN_COUNT; pin++)
        if (is_dedicated(pin)) {
            EXPECT_STRNE(rova_pin_name_tbl[pin - 1][3], "") << "pin " << pin;
        }
}

TEST(PinNameTable, PageShowsTheNamesOfTheCode)
{
    std::string table;
    for (std::size_t pin = 1; pin <= ROVA_PIN_COUNT; pin++)
        table += page_row(pin) + "\n";

    std::string text = page();
    std::size_t start = text.find("| 1 | 0x10401000 |");
    ASSERT_NE(start, std::string::npos);
    EXPECT_EQ(text.substr(start), table);
}
