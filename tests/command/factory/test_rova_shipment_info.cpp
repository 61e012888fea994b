#include "command/factory/rova_shipment_info.h"

#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using Row = std::vector<std::string>;

// The rows of the page's table, without its two lines of heading.
std::vector<Row> rows_of_page()
{
    std::ifstream page(ROVA_SOURCE_DIR "/docs/countries.md");
    std::vector<Row> rows;
    for (std::string line; std::getline(page, line);) {
        if (!line.starts_with("| ") || line.starts_with("| id"))
            continue;
        std::istringstream words(line);
        Row row;
        for (std::string word; words >> word;)
            if (word != "|")
                row.push_back(word);
        rows.push_back(row);
    }
    return rows;
}

Row row_of_table(int country)
{
    shipment_info row = {};
    EXPECT_EQ(get_shipment_info(country, &row), 1);
    EXPECT_EQ(row.wifi_infinitium_cert, 0);
    EXPECT_EQ(+row.qwerty_type, 0); // by value: a packed field may stand at an odd address
    EXPECT_EQ(row.local_market_africa, 0);
    EXPECT_EQ(row.local_market_saudi, 0);
    auto number = [](int value) { return std::to_string(value); };
    return {number(country),
            number(row.lang_default),
            number(row.lang_sub),
            number(row.wifi_sns_gateway),
            number(row.wifi_country_ch),
            std::string(row.wifi_country_code_5g, sizeof(row.wifi_country_code_5g)),
            number(row.wifi_country_code),
            number(row.qwerty_default),
            number(row.vout_default)};
}

std::string bytes_of(int country)
{
    shipment_info row = {};
    EXPECT_EQ(get_shipment_info(country, &row), 1);
    return std::string(reinterpret_cast<const char *>(&row), sizeof(row));
}

std::string text(const char (&bytes)[22])
{
    return std::string(bytes, 21);
}

} // namespace

TEST(ShipmentInfo, HoldsTheRowsOfThePage)
{
    std::vector<Row> page = rows_of_page();
    ASSERT_EQ(page.size(), 143U);
    for (int country = 0; country < 143; country++)
        EXPECT_EQ(row_of_table(country), page[static_cast<std::size_t>(country)]);
}

TEST(ShipmentInfo, RowIsPackedInTheOrderOfItsFields)
{
    EXPECT_EQ(bytes_of(120), text("\7\0\0\0\3\0\13\0TW\0\0\0\5\0\0\0\0\0\0\0"));
    EXPECT_EQ(bytes_of(21), text("\6\0\1\0\2\0\15\0CN\2\0\0\3\0\0\0\1\0\0\0"));
    EXPECT_EQ(bytes_of(0), text("\0\0\377\0\0\0\15\000"
                                "00\0\0\0\1\0\0\0\0\0\0\0"));
}

TEST(ShipmentInfo, FirstAndLastCountryHaveRows)
{
    EXPECT_EQ(row_of_table(0), (Row{"0", "0", "255", "0", "13", "00", "0", "1", "0"}));
    EXPECT_EQ(row_of_table(142), (Row{"142", "0", "0", "0", "13", "00", "0", "1", "1"}));
}

TEST(ShipmentInfo, RefusedCountriesHaveRowsAllTheSame)
{
    EXPECT_EQ(row_of_table(57), (Row{"57", "0", "0", "0", "0", "00", "0", "0", "0"}));
    EXPECT_EQ(row_of_table(137), (Row{"137", "0", "0", "0", "13", "00", "0", "1", "1"}));
}

TEST(ShipmentInfo, OtherNumbersHaveNoRowAndLeaveTheOutputAlone)
{
    for (int country : {-32768, -1, 143, 32767}) {
        shipment_info row;
        std::memset(&row, 0x5a, sizeof(row));
        EXPECT_EQ(get_shipment_info(country, &row), 0) << country;
        const auto *bytes = reinterpret_cast<const unsigned char *>(&row);
        EXPECT_THAT(std::vector<unsigned char>(bytes, bytes + sizeof(row)), testing::Each(0x5a));
    }
}
