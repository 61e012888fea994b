#include "command/factory/rova_shipment_info.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace
{

using std::string_view;

// Countries whose items are the same but for the Wi-Fi code of the 5 GHz band.
struct country_group {
    int16_t lang_default;
    int16_t lang_sub;
    int16_t wifi_sns_gateway;
    int16_t wifi_country_ch;
    int16_t wifi_country_code;
    int16_t qwerty_default;
    int16_t vout_default;
    string_view countries; // id and code of each, as in "2 AL, 12 BA"
};

// clang-format off
constexpr country_group groups[] = {
    {0, 255, 0, 13, 0, 1, 0, "0 00"},
    {0, 0, 3, 13, 0, 1, 1,
     "1 AF, 7 AU, 10 BD, 44 IN, 45 ID, 46 IR, 47 00, 48 IL, 52 JO, "
     "59 LB, 65 MY, 77 NP, 79 NZ, 81 PK, 82 00, 94 SA, 102 IN, 103 IN, "
     "104 IN, 105 IN, 107 SG, 114 LK, 115 LK, 119 SY, 128 AE, 133 AE"},
    {28, 3, 0, 13, 0, 1, 1, "2 AL, 12 BA, 24 HR, 62 MK, 72 ME, 99 RS, 110 SI"},
    {0, 0, 0, 13, 0, 1, 1,
     "3 DZ, 4 00, 11 00, 15 BF, 16 00, 18 00, 23 00, 25 CY, 28 00, "
     "29 EG, 31 00, 33 00, 34 00, 37 GH, 39 00, 40 00, 41 00, 50 CI, "
     "54 KE, 60 00, 61 00, 63 00, 64 00, 66 00, 67 MR, 68 00, 69 00, "
     "74 00, 76 00, 80 00, 89 00, 92 RW, 98 SN, 108 ME, 111 00, "
     "112 ZA, 116 00, 122 00, 124 TG, 125 TN, 129 00, 137 00, 138 00, "
     "139 ZW, 140 00, 141 00, 142 00"},
    {4, 0, 1, 13, 0, 1, 0, "5 AR, 22 CO, 70 MX, 83 PA, 84 00, 85 PE"},
    {8, 0, 0, 13, 5, 4, 1, "6 AM, 9 AZ, 35 GE, 56 00, 71 00, 91 RU, 121 00, 127 00, 135 UZ"},
    {3, 3, 0, 13, 0, 1, 1, "8 AT, 36 DE"},
    {9, 4, 1, 13, 0, 1, 0, "13 BR"},
    {0, 3, 0, 13, 0, 1, 1, "14 BG, 27 DK, 73 MA, 78 NL, 117 SE, 118 CH, 131 GB"},
    {0, 0, 1, 11, 0, 1, 0, "17 CA, 132 US"},
    {0, 0, 0, 13, 0, 1, 0, "19 00, 30 00, 93 00, 106 00"},
    {4, 0, 1, 11, 0, 1, 0, "20 CL"},
    {6, 1, 2, 13, 2, 3, 1, "21 CN, 95 CN, 96 CN, 97 CN, 100 CN, 101 CN"},
    {16, 3, 0, 13, 0, 1, 1, "26 CZ, 109 SK"},
    {2, 3, 0, 13, 0, 6, 1, "32 FR"},
    {22, 3, 0, 13, 0, 1, 1, "38 GR"},
    {0, 1, 3, 13, 4, 1, 1, "42 HK"},
    {23, 3, 0, 13, 0, 1, 1, "43 HU"},
    {5, 3, 0, 13, 0, 1, 1, "49 IT"},
    {0, 0, 3, 13, 0, 1, 0, "51 JP, 75 00, 86 PH"},
    {8, 3, 0, 13, 5, 4, 1, "53 KZ, 130 UA"},
    {1, 1, 3, 13, 1, 2, 0, "55 KR"},
    {0, 0, 0, 0, 0, 0, 0, "57 00"},
    {26, 3, 0, 13, 0, 1, 1, "58 LV"},
    {17, 3, 0, 13, 0, 1, 1, "87 PL"},
    {29, 3, 0, 13, 0, 1, 1, "88 PT"},
    {30, 3, 0, 13, 0, 1, 1, "90 RO"},
    {4, 3, 0, 13, 0, 1, 1, "113 ES"},
    {7, 0, 3, 11, 0, 5, 0, "120 TW"},
    {14, 0, 3, 13, 0, 1, 1, "123 TH"},
    {18, 2, 0, 13, 0, 1, 1, "126 TR"},
    {4, 0, 0, 13, 0, 1, 0, "134 UY"},
    {31, 0, 3, 13, 0, 1, 1, "136 VN"},
};
// clang-format on

using country_table = std::array<shipment_info, ROVA_SHIPMENT_COUNTRIES>;

// Not constexpr: a call of it ends the compilation.
void group_is_malformed() {}

// Takes the number at the beginning of `text` and what stands behind it, one blank.
consteval std::size_t take_id(string_view *text)
{
    std::size_t id = 0;
    for (; !text->empty() && text->front() >= '0' && text->front() <= '9'; text->remove_prefix(1))
        id = id * 10 + static_cast<std::size_t>(text->front() - '0');
    if (id >= ROVA_SHIPMENT_COUNTRIES || !text->starts_with(' '))
        group_is_malformed();
    text->remove_prefix(1);
    return id;
}

// Takes a code of two characters and the comma and blank to the next country.
consteval string_view take_code(string_view *text)
{
    string_view code = text->substr(0, text->find(", "));
    text->remove_prefix(std::min(text->size(), code.size() + 2));
    if (code.size() != 2)
        group_is_malformed();
    return code;
}

consteval shipment_info row_of(const country_group &group, string_view code)
{
    return {
        .lang_default = group.lang_default,
        .lang_sub = group.lang_sub,
        .wifi_sns_gateway = group.wifi_sns_gateway,
        .wifi_country_ch = group.wifi_country_ch,
        .wifi_country_code_5g = {code[0], code[1]},
        .wifi_country_code = group.wifi_country_code,
        .wifi_infinitium_cert = 0,
        .qwerty_default = group.qwerty_default,
        .qwerty_type = 0,
        .vout_default = group.vout_default,
        .local_market_africa = 0,
        .local_market_saudi = 0,
    };
}

// Every country stands in one group, or this does not compile.
consteval country_table table_of_groups()
{
    country_table table{};
    std::size_t count = 0;
    for (const country_group &group : groups) {
        for (string_view rest = group.countries; !rest.empty(); count++) {
            shipment_info &row = table[take_id(&rest)];
            if (row.wifi_country_code_5g[0] != '\0')
                group_is_malformed();
            row = row_of(group, take_code(&rest));
        }
    }
    if (count != table.size())
        group_is_malformed();
    return table;
}

constexpr country_table rova_shipment_info = table_of_groups();

} // namespace

int get_shipment_info(int country_id, shipment_info *row_out)
{
    if (country_id < 0 || country_id >= ROVA_SHIPMENT_COUNTRIES)
        return 0;
    *row_out = rova_shipment_info[static_cast<std::size_t>(country_id)];
    return 1;
}
