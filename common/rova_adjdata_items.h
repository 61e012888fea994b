// The items of the adjustment partitions by name and size in bytes, and their ids.
//
// An id's high word is the partition's; its low word is the item's offset in the partition's data.
// Items are packed in the order of the lists, so the lists are the layout: the compiler counts.
// Items of 1, 2 and 4 bytes are signed little-endian numbers; larger ones are texts and tables.
#pragma once

#include <cstddef>
#include <cstdint>

// X is called with the partition P, the item's name and its size.
// clang-format off
#define ROVA_ADJ_SYS_ITEMS(X, P) \
    X(P, SHIPPING_COUNTRY, 2) \
    X(P, LOCAL_MARKET_AFRICA, 1) \
    X(P, LOCAL_MARKET_SAUDI, 1) \
    X(P, ENGINEERING_SAMPLE, 4) \
    X(P, SYSTEM_RESERVED1, 16) \
    X(P, LANG_DEFAULT, 2) \
    X(P, LANG_SUB, 2) \
    X(P, VOUT_DEFAULT, 2) \
    X(P, QWERTY_TYPE, 2) \
    X(P, QWERTY_DEFAULT, 2) \
    X(P, TILT_INFO1, 4) \
    X(P, TILT_INFO2, 4) \
    X(P, TILT_INFO3, 4) \
    X(P, TILT_INFO4, 4) \
    X(P, TILT_INFO5, 4) \
    X(P, GYROSCOPE_DATA_X, 4) \
    X(P, GYROSCOPE_DATA_Y, 4) \
    X(P, GYROSCOPE_DATA_Z, 4) \
    X(P, GYROSCOPE_THERM, 4) \
    X(P, GYROSCOPE_THERM_DSP, 4) \
    X(P, PRODUCT_NUMBER, 16) \
    X(P, SYSTEM_RESERVED3, 4) \
    X(P, WIFI_MAC_ADDR, 12) \
    X(P, WIFI_SERIAL_NUM, 16) \
    X(P, WIFI_INFINITIUM_CERT, 1) \
    X(P, WIFI_SNS_GATEWAY, 2) \
    X(P, WIFI_COUNTRY_CODE, 2) \
    X(P, WIFI_COUNTRY_CODE_5G, 2) \
    X(P, WIFI_COUNTRY_CH, 2) \
    X(P, WIFI_COUNTRY_CH_DUMMY, 2) \
    X(P, BT_MAC_ADDR, 12) \
    X(P, TEMP_SENSOR_SELECT, 4) \
    X(P, TEMP_SENSOR_CIS_TH_WARNING, 4) \
    X(P, TEMP_SENSOR_CIS_TH_CRITICAL, 4) \
    X(P, TEMP_SENSOR_CPU_TH_WARNING, 4) \
    X(P, TEMP_SENSOR_CPU_TH_CRITICAL, 4) \
    X(P, TEMP_SENSOR_ISP_TH_WARNING, 4) \
    X(P, TEMP_SENSOR_ISP_TH_CRITICAL, 4) \
    X(P, SYSTEM_RESERVED4, 996)

#define ROVA_ADJ_CAP_ITEMS(X, P) \
    X(P, CIS_SN, 4) \
    X(P, CIS_CHIP_VERSION, 2) \
    X(P, CIS_CLAMP_LEVEL, 2) \
    X(P, CIS_PIXEL_NUM_B, 2) \
    X(P, CIS_PIXEL_NUM_X, 2) \
    X(P, CIS_PIXEL_NUM_T, 2) \
    X(P, CIS_PIXEL_NUM_L, 2) \
    X(P, CIS_PIXEL_NUM_S, 2) \
    X(P, CIS_PIXEL_NUM_P, 2) \
    X(P, CIS_LOT_NUMBER, 32) \
    X(P, LENS_MOUNT_PIN_STATUS, 2) \
    X(P, SS_OFFSET, 2) \
    X(P, SS_AVR, 2) \
    X(P, SS_VAR, 2) \
    X(P, SS_MURA, 2) \
    X(P, EFS_OFFSET, 4) \
    X(P, EFS_COEFF1, 4) \
    X(P, EFS_COEFF2, 4) \
    X(P, EFS_COEFF3, 4) \
    X(P, CIS_PIXEL_NUM_O, 2) \
    X(P, CIS_PIXEL_NUM_W, 2) \
    X(P, CIS_PIXEL_NUM_C, 2)

#define ROVA_ADJ_IQ_ITEMS(X, P) \
    X(P, LIVE_ISO_GAIN_X1, 4) \
    X(P, LIVE_ISO_GAIN_X2, 4) \
    X(P, LIVE_ISO_GAIN_X4, 4) \
    X(P, LIVE_ISO_GAIN_X8, 4) \
    X(P, LIVE_ISO_GAIN_X16, 4) \
    X(P, LIVE_ISO_GAIN_X32, 4) \
    X(P, CAPT_ISO_GAIN_X1, 4) \
    X(P, CAPT_ISO_GAIN_X2, 4) \
    X(P, CAPT_ISO_GAIN_X4, 4) \
    X(P, CAPT_ISO_GAIN_X8, 4) \
    X(P, CAPT_ISO_GAIN_X16, 4) \
    X(P, CAPT_ISO_GAIN_X32, 4) \
    X(P, ISO_FLAG, 4) \
    X(P, ISO_VERSION, 4) \
    X(P, AWB_LOW_GAIN_R, 2) \
    X(P, AWB_LOW_GAIN_G, 2) \
    X(P, AWB_LOW_GAIN_B, 2) \
    X(P, AWB_HIGH_GAIN_R, 2) \
    X(P, AWB_HIGH_GAIN_G, 2) \
    X(P, AWB_HIGH_GAIN_B, 2) \
    X(P, AWB_STROBE_GAIN_R, 2) \
    X(P, AWB_STROBE_GAIN_G, 2) \
    X(P, AWB_STROBE_GAIN_B, 2) \
    X(P, AWB_FLAG, 4) \
    X(P, AWB_VERSION, 4) \
    X(P, AF_FOCUS_FLAG, 4) \
    X(P, AF_PUNT_FOCUS_POSITION, 4) \
    X(P, PAF_MISALIGN, 50) \
    X(P, AF_VERSION, 4) \
    X(P, PAF_OFFSET_H, 4) \
    X(P, PAF_OFFSET_V, 4)

#define ROVA_ADJ_VFPN_ITEMS(X, P) \
    X(P, VFPN_LIVE_HD_TABLE_SIZE, 2) \
    X(P, VFPN_LIVE_HD_TABLE_MIN, 4) \
    X(P, VFPN_LIVE_HD_TABLE_MAX, 4) \
    X(P, VFPN_LIVE_HD_TABLE_AVG, 4) \
    X(P, VFPN_LIVE_FULLHD_TABLE_SIZE, 2) \
    X(P, VFPN_LIVE_FULLHD_TABLE_MIN, 4) \
    X(P, VFPN_LIVE_FULLHD_TABLE_MAX, 4) \
    X(P, VFPN_LIVE_FULLHD_TABLE_AVG, 4) \
    X(P, VFPN_LIVE_UD_TABLE_SIZE, 2) \
    X(P, VFPN_LIVE_UD_TABLE_MIN, 4) \
    X(P, VFPN_LIVE_UD_TABLE_MAX, 4) \
    X(P, VFPN_LIVE_UD_TABLE_AVG, 4) \
    X(P, VFPN_CAPT_TABLE_DATA, 13400) \
    X(P, VFPN_CAPT_TABLE_SIZE, 2) \
    X(P, VFPN_CAPT_TABLE_MIN, 4) \
    X(P, VFPN_CAPT_TABLE_MAX, 4) \
    X(P, VFPN_CAPT_TABLE_AVG, 4) \
    X(P, VFPN_CAPT_HTABLE_DATA, 9000) \
    X(P, VFPN_CAPT_HTABLE_SIZE, 2) \
    X(P, VFPN_CAPT_HTABLE_MIN, 4) \
    X(P, VFPN_CAPT_HTABLE_MAX, 4) \
    X(P, VFPN_CAPT_HTABLE_AVG, 4)

#define ROVA_ADJ_CS_ITEMS(X, P) \
    X(P, CS_ADDR, 56320) \
    X(P, CS_TABLE_COUNT, 64) \
    X(P, CS_FLAG, 4) \
    X(P, CS_VERSION, 4)

#define ROVA_ADJ_DPC_ITEMS(X, P) \
    X(P, DPC_HEADER_DATA, 492) \
    X(P, DPC_HEADER_NUM, 4) \
    X(P, DPC_PRESET_DATA, 8412) \
    X(P, DPC_PRESET_NUM, 4) \
    X(P, DPC_LV1_DATA, 59996) \
    X(P, DPC_LV1_NUM, 4) \
    X(P, DPC_LV2_DATA, 549996) \
    X(P, DPC_LV2_NUM, 4) \
    X(P, DPC_LV3_DATA, 1799996) \
    X(P, DPC_LV3_NUM, 4) \
    X(P, DPC_4K_LV1_DATA, 12996) \
    X(P, DPC_4K_LV1_NUM, 4) \
    X(P, DPC_4K_DATA, 161996) \
    X(P, DPC_4K_NUM, 4) \
    X(P, DPC_UD_LV1_DATA, 12996) \
    X(P, DPC_UD_LV1_NUM, 4) \
    X(P, DPC_UD_LV2_DATA, 151996) \
    X(P, DPC_UD_LV2_NUM, 4) \
    X(P, DPC_UD_DATA, 139996) \
    X(P, DPC_UD_NUM, 4) \
    X(P, DPC_FHD_DATA, 129996) \
    X(P, DPC_FHD_NUM, 4) \
    X(P, DPC_FAF_DATA, 199996) \
    X(P, DPC_FAF_NUM, 4) \
    X(P, DPC_VFAF_DATA, 99996) \
    X(P, DPC_VFAF_NUM, 4) \
    X(P, DPC_DMF_DATA, 609996) \
    X(P, DPC_DMF_NUM, 4) \
    X(P, DPC_LIVEFULL_DATA, 399996) \
    X(P, DPC_LIVEFULL_NUM, 4) \
    X(P, DPC_NEW_LIVEVIEW_DATA, 129996) \
    X(P, DPC_NEW_LIVEVIEW_NUM, 4) \
    X(P, DPC_LV4_DATA, 530000) \
    X(P, DPC_LV4_NUM, 4)

// All of them, in the order of the partitions.
#define ROVA_ADJ_ITEMS(X) \
    ROVA_ADJ_SYS_ITEMS(X, adj_sys) \
    ROVA_ADJ_CAP_ITEMS(X, adj_cap) \
    ROVA_ADJ_IQ_ITEMS(X, adj_iq) \
    ROVA_ADJ_VFPN_ITEMS(X, adj_vfpn) \
    ROVA_ADJ_CS_ITEMS(X, adj_cs) \
    ROVA_ADJ_DPC_ITEMS(X, adj_dpc)
// clang-format on

inline constexpr uint32_t adj_sys_high_word = 0x85600000;
inline constexpr uint32_t adj_cap_high_word = 0x85601000;
inline constexpr uint32_t adj_iq_high_word = 0x85602000;
inline constexpr uint32_t adj_vfpn_high_word = 0x85603000;
inline constexpr uint32_t adj_cs_high_word = 0x85609000;
inline constexpr uint32_t adj_dpc_high_word = 0x85619000;

// The data of a partition: an array of bytes for each item.
#define ROVA_ADJ_FIELD(part, item, size) uint8_t item[size];
struct adj_sys_data {
    ROVA_ADJ_SYS_ITEMS(ROVA_ADJ_FIELD, adj_sys)
};
struct adj_cap_data {
    ROVA_ADJ_CAP_ITEMS(ROVA_ADJ_FIELD, adj_cap)
};
struct adj_iq_data {
    ROVA_ADJ_IQ_ITEMS(ROVA_ADJ_FIELD, adj_iq)
};
struct adj_vfpn_data {
    ROVA_ADJ_VFPN_ITEMS(ROVA_ADJ_FIELD, adj_vfpn)
};
struct adj_cs_data {
    ROVA_ADJ_CS_ITEMS(ROVA_ADJ_FIELD, adj_cs)
};
struct adj_dpc_data {
    ROVA_ADJ_DPC_ITEMS(ROVA_ADJ_FIELD, adj_dpc)
};
#undef ROVA_ADJ_FIELD

static_assert(sizeof(adj_sys_data) == 1169);
static_assert(sizeof(adj_cap_data) == 84);
static_assert(sizeof(adj_iq_data) == 152);
static_assert(sizeof(adj_vfpn_data) == 22470);
static_assert(sizeof(adj_cs_data) == 56392);
static_assert(sizeof(adj_dpc_data) == 4998916);

// ADJ_ID_ and the item's name, as in ADJ_ID_CIS_SN.
#define ROVA_ADJ_ID(part, item, size)                                                              \
    inline constexpr uint64_t ADJ_ID_##item =                                                      \
        uint64_t{part##_high_word} << 32 | offsetof(part##_data, item);
ROVA_ADJ_ITEMS(ROVA_ADJ_ID)
#undef ROVA_ADJ_ID

static_assert(ADJ_ID_SHIPPING_COUNTRY == 0x8560000000000000);
static_assert(ADJ_ID_CIS_SN == 0x8560100000000000);
static_assert(ADJ_ID_DPC_LV3_NUM == 0x856190000024e8dc);
