// The market-dependent items of a camera by the number of the country it is shipped to.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr int ROVA_SHIPMENT_COUNTRIES = 143;

#pragma pack(push, 1)

// Each field is named after the item of adj_sys that it is stored to.
struct shipment_info {
    int16_t lang_default;
    int16_t lang_sub;
    int16_t wifi_sns_gateway;
    int16_t wifi_country_ch;
    char wifi_country_code_5g[2]; // no terminator
    int16_t wifi_country_code;
    int8_t wifi_infinitium_cert;
    int16_t qwerty_default;
    int16_t qwerty_type;
    int16_t vout_default;
    int8_t local_market_africa;
    int8_t local_market_saudi;
};

#pragma pack(pop)

static_assert(sizeof(shipment_info) == 21);
static_assert(offsetof(shipment_info, lang_default) == 0);
static_assert(offsetof(shipment_info, lang_sub) == 2);
static_assert(offsetof(shipment_info, wifi_sns_gateway) == 4);
static_assert(offsetof(shipment_info, wifi_country_ch) == 6);
static_assert(offsetof(shipment_info, wifi_country_code_5g) == 8);
static_assert(offsetof(shipment_info, wifi_country_code) == 10);
static_assert(offsetof(shipment_info, wifi_infinitium_cert) == 12);
static_assert(offsetof(shipment_info, qwerty_default) == 13);
static_assert(offsetof(shipment_info, qwerty_type) == 15);
static_assert(offsetof(shipment_info, vout_default) == 17);
static_assert(offsetof(shipment_info, local_market_africa) == 19);
static_assert(offsetof(shipment_info, local_market_saudi) == 20);

// Copies the country's row.  1, or 0 (`row_out` untouched) for an id that is not 0 to 142.
int get_shipment_info(int country_id, shipment_info *row_out);
