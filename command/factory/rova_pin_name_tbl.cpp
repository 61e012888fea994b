#include "command/factory/rova_pin_name_tbl.h"

#include <string_view>

// clang-format off
constexpr const char *const rova_pin_name_tbl[ROVA_PIN_COUNT][ROVA_PIN_FUNCTIONS] = {
    // function 0, 1, 2, 3
    {"GPIO0_0", "", "I2S1_BCK", "SPI0_CLK"}, // 1
    {"GPIO0_1", "", "I2S1_LRCK", "SPI0_MOSI"}, // 2
    {"GPIO0_2", "", "I2S1_DI", "SPI0_MISO"}, // 3
    {"GPIO0_3", "", "I2S1_DO", "SPI0_CS0"}, // 4
    {"GPIO0_4", "", "", "MLCD_RESET"}, // 5
    {"GPIO0_5", "", "", "MLCD_TE"}, // 6
    {"GPIO0_6", "", "", "MLCD_BL_EN"}, // 7
    {"GPIO0_7", "", "", "MLCD_CS"}, // 8
    {"GPIO1_0", "", "UART3_TX", "SPI1_CLK"}, // 9
    {"GPIO1_1", "", "UART3_RX", "SPI1_MOSI"}, // 10
    {"GPIO1_2", "", "UART3_CTS", "SPI1_MISO"}, // 11
    {"GPIO1_3", "", "UART3_RTS", "SPI1_CS0"}, // 12
    {"GPIO1_4", "", "UART4_TX", "SPI2_CLK"}, // 13
    {"GPIO1_5", "", "UART4_RX", "SPI2_MOSI"}, // 14
    {"GPIO1_6", "", "UART4_CTS", "SPI2_MISO"}, // 15
    {"GPIO1_7", "", "UART4_RTS", "SPI2_CS0"}, // 16
    {"GPIO2_0", "", "", "UART0_TX"}, // 17
    {"GPIO2_1", "", "", "UART0_RX"}, // 18
    {"GPIO2_2", "", "", "UART0_CTS"}, // 19
    {"GPIO2_3", "", "", "UART0_RTS"}, // 20
    {"GPIO2_4", "", "", "UART1_TX"}, // 21
    {"GPIO2_5", "", "", "UART1_RX"}, // 22
    {"GPIO2_6", "", "", "UART2_TX"}, // 23
    {"GPIO2_7", "", "", "UART2_RX"}, // 24
    {"GPIO3_0", "", "", "I2C0_SCL"}, // 25
    {"GPIO3_1", "", "", "I2C0_SDA"}, // 26
    {"GPIO3_2", "", "", "I2C1_SCL"}, // 27
    {"GPIO3_3", "", "", "I2C1_SDA"}, // 28
    {"GPIO3_4", "", "", "I2C2_SCL"}, // 29
    {"GPIO3_5", "", "", "I2C2_SDA"}, // 30
    {"GPIO3_6", "", "", "I2C3_SCL"}, // 31
    {"GPIO3_7", "", "", "I2C3_SDA"}, // 32
    {"GPIO4_0", "", "", "I2C4_SCL"}, // 33
    {"GPIO4_1", "", "", "I2C4_SDA"}, // 34
    {"GPIO4_2", "", "", "I2C5_SCL"}, // 35
    {"GPIO4_3", "", "", "I2C5_SDA"}, // 36
    {"GPIO4_4", "TIMER0_CAP", "", "PWM0"}, // 37
    {"GPIO4_5", "TIMER1_CAP", "", "PWM1"}, // 38
    {"GPIO4_6", "TIMER2_CAP", "", "PWM2"}, // 39
    {"GPIO4_7", "TIMER3_CAP", "", "PWM3"}, // 40
    {"GPIO5_0", "TIMER4_CAP", "", "PWM4"}, // 41
    {"GPIO5_1", "TIMER5_CAP", "", "PWM5"}, // 42
    {"GPIO5_2", "TIMER6_CAP", "", "PWM6"}, // 43
    {"GPIO5_3", "TIMER7_CAP", "", "PWM7"}, // 44
    {"GPIO5_4", "", "MMC_D0", "NAND_D0"}, // 45
    {"GPIO5_5", "", "MMC_D1", "NAND_D1"}, // 46
    {"GPIO5_6", "", "MMC_D2", "NAND_D2"}, // 47
    {"GPIO5_7", "", "MMC_D3", "NAND_D3"}, // 48
    {"GPIO6_0", "", "MMC_D4", "NAND_D4"}, // 49
    {"GPIO6_1", "", "MMC_D5", "NAND_D5"}, // 50
    {"GPIO6_2", "", "MMC_D6", "NAND_D6"}, // 51
    {"GPIO6_3", "", "MMC_D7", "NAND_D7"}, // 52
    {"GPIO6_4", "", "MMC_CMD", "NAND_CLE"}, // 53
    {"GPIO6_5", "", "MMC_CLK", "NAND_ALE"}, // 54
    {"GPIO6_6", "", "MMC_RST", "NAND_WE"}, // 55
    {"GPIO6_7", "", "MMC_DS", "NAND_RE"}, // 56
    {"GPIO7_0", "", "", "NAND_WP"}, // 57
    {"GPIO7_1", "", "", "NAND_RB0"}, // 58
    {"GPIO7_2", "", "", "NAND_CE0"}, // 59
    {"GPIO7_3", "", "", "NAND_CE1"}, // 60
    {"GPIO7_4", "", "", "SD0_CLK"}, // 61
    {"GPIO7_5", "", "", "SD0_CMD"}, // 62
    {"GPIO7_6", "", "", "SD0_D0"}, // 63
    {"GPIO7_7", "", "", "SD0_D1"}, // 64
    {"GPIO8_0", "", "", "SD0_D2"}, // 65
    {"GPIO8_1", "", "", "SD0_D3"}, // 66
    {"GPIO8_2", "", "", "SD0_CD"}, // 67
    {"GPIO8_3", "", "", "SD0_WP"}, // 68
    {"GPIO8_4", "", "", "SD0_PWREN"}, // 69
    {"GPIO8_5", "", "", "SD0_VSEL"}, // 70
    {"GPIO8_6", "", "", "SDIO_CLK"}, // 71
    {"GPIO8_7", "", "", "SDIO_CMD"}, // 72
    {"GPIO9_0", "", "", "SDIO_D0"}, // 73
    {"GPIO9_1", "", "", "SDIO_D1"}, // 74
    {"GPIO9_2", "", "", "SDIO_D2"}, // 75
    {"GPIO9_3", "", "", "SDIO_D3"}, // 76
    {"", "", "", "NTRST"}, // 77
    {"", "", "", "TCK"}, // 78
    {"", "", "", "TMS"}, // 79
    {"", "", "", "TDI"}, // 80
    {"", "", "", "TDO"}, // 81
    {"", "", "", "SRSTN"}, // 82
    {"GPIO9_4", "", "", "HDMI_HPD"}, // 83
    {"GPIO9_5", "", "", "HDMI_CEC"}, // 84
    {"GPIO9_6", "", "", "HDMI_SCL"}, // 85
    {"GPIO9_7", "MON_0", "", "HDMI_SDA"}, // 86
    {"GPIO10_0", "MON_1", "", "USB_VBUS"}, // 87
    {"GPIO10_1", "MON_2", "", "USB_ID"}, // 88
    {"GPIO10_2", "MON_3", "", "USB_OC"}, // 89
    {"GPIO10_3", "MON_4", "", "USB_PWREN"}, // 90
    {"GPIO10_4", "MON_5", "", "SPDIF_OUT"}, // 91
    {"GPIO10_5", "MON_6", "", "AUD_MCLK"}, // 92
    {"", "MON_7", "", "I2S_CCK"}, // 93
    {"", "MON_8", "", "I2S_BCK"}, // 94
    {"", "MON_9", "", "I2S_LRCK"}, // 95
    {"", "MON_10", "", "I2S_DI_0"}, // 96
    {"GPIO10_6", "MON_11", "", "I2S_DI_1"}, // 97
    {"GPIO10_7", "MON_12", "", "I2S_DO_1"}, // 98
    {"", "MON_13", "", "I2S_DO_0"}, // 99
    {"GPIO11_0", "MON_14", "", "TIMER0_OUT"}, // 100
    {"GPIO11_1", "MON_15", "", "TIMER1_OUT"}, // 101
    {"GPIO11_2", "MON_16", "", "EXTIN0"}, // 102
    {"GPIO11_3", "MON_17", "", "EXTIN1"}, // 103
    {"GPIO11_4", "MON_18", "SPI3_CLK", "EXTIN2"}, // 104
    {"GPIO11_5", "MON_19", "SPI3_MOSI", "EXTIN3"}, // 105
    {"GPIO11_6", "MON_20", "SPI3_MISO", "EXTIN4"}, // 106
    {"GPIO11_7", "MON_21", "SPI3_CS0", "EXTIN5"}, // 107
    {"GPIO12_0", "MON_22", "SPI4_CLK", "EXTIN6"}, // 108
    {"GPIO12_1", "MON_23", "SPI4_MOSI", "EXTIN7"}, // 109
    {"GPIO12_2", "MON_24", "SPI4_MISO", "EXTIN8"}, // 110
    {"GPIO12_3", "MON_25", "SPI4_CS0", "EXTIN9"}, // 111
    {"GPIO12_4", "MON_26", "", "EXTIN10"}, // 112
    {"GPIO12_5", "MON_27", "", "EXTIN11"}, // 113
    {"GPIO12_6", "MON_28", "", "EXTIN12"}, // 114
    {"GPIO12_7", "MON_29", "", "EXTIN13"}, // 115
    {"GPIO13_0", "MON_30", "", "EXTIN14"}, // 116
    {"GPIO13_1", "MON_31", "", "EXTIN15"}, // 117
    {"GPIO13_2", "MON_32", "", "CIS_HSYNC"}, // 118
    {"GPIO13_3", "MON_33", "", "CIS_VSYNC"}, // 119
    {"GPIO13_4", "MON_34", "", "CIS_MCLK"}, // 120
    {"GPIO13_5", "MON_35", "", "CIS_RESET"}, // 121
    {"GPIO13_6", "MON_36", "", "CIS_TRIG"}, // 122
    {"GPIO13_7", "MON_37", "", "CIS_STBY"}, // 123
    {"GPIO14_0", "MON_38", "", "CIS_SPI_CLK"}, // 124
    {"GPIO14_1", "MON_39", "", "CIS_SPI_MOSI"}, // 125
    {"GPIO14_2", "MON_40", "", "CIS_SPI_MISO"}, // 126
    {"GPIO14_3", "MON_41", "", "CIS_SPI_CS"}, // 127
    {"GPIO14_4", "MON_42", "", "LENS_CLK"}, // 128
    {"GPIO14_5", "MON_43", "", "LENS_TX"}, // 129
    {"GPIO14_6", "MON_44", "", "LENS_RX"}, // 130
    {"GPIO14_7", "MON_45", "", "LENS_CS"}, // 131
    {"GPIO15_0", "MON_46", "", "SHUTTER_MAG1"}, // 132
    {"GPIO15_1", "MON_47", "", "SHUTTER_MAG2"}, // 133
    {"GPIO15_2", "MON_48", "", "SHUTTER_PI"}, // 134
    {"GPIO15_3", "MON_49", "", "STROBE_TRIG"}, // 135
    {"GPIO15_4", "MON_50", "", "STROBE_CHG"}, // 136
    {"GPIO15_5", "MON_51", "", "STROBE_X"}, // 137
    {"GPIO15_6", "MON_52", "", "HOTSHOE_ID"}, // 138
    {"GPIO15_7", "MON_53", "", "HOTSHOE_TRIG"}, // 139
    {"GPIO16_0", "MON_54", "", "LCD_D0"}, // 140
    {"GPIO16_1", "MON_55", "", "LCD_D1"}, // 141
    {"GPIO16_2", "MON_56", "", "LCD_D2"}, // 142
    {"GPIO16_3", "MON_57", "", "LCD_D3"}, // 143
    {"GPIO16_4", "MON_58", "", "LCD_D4"}, // 144
    {"GPIO16_5", "MON_59", "", "LCD_D5"}, // 145
    {"GPIO16_6", "MON_60", "", "LCD_D6"}, // 146
    {"GPIO16_7", "MON_61", "", "LCD_D7"}, // 147
    {"GPIO17_0", "MON_62", "", "LCD_D8"}, // 148
    {"GPIO17_1", "MON_63", "", "LCD_D9"}, // 149
    {"GPIO17_2", "", "", "LCD_D10"}, // 150
    {"GPIO17_3", "", "", "LCD_D11"}, // 151
    {"GPIO17_4", "", "", "LCD_D12"}, // 152
    {"GPIO17_5", "", "", "LCD_D13"}, // 153
    {"GPIO17_6", "", "", "LCD_D14"}, // 154
    {"GPIO17_7", "", "", "LCD_D15"}, // 155
    {"GPIO18_0", "", "", "LCD_D16"}, // 156
    {"GPIO18_1", "", "", "LCD_D17"}, // 157
    {"GPIO18_2", "", "", "LCD_D18"}, // 158
    {"GPIO18_3", "", "", "LCD_D19"}, // 159
    {"GPIO18_4", "", "", "LCD_D20"}, // 160
    {"GPIO18_5", "", "", "LCD_D21"}, // 161
    {"GPIO18_6", "", "", "LCD_D22"}, // 162
    {"GPIO18_7", "", "", "LCD_D23"}, // 163
    {"GPIO19_0", "", "", "LCD_PCLK"}, // 164
    {"GPIO19_1", "", "", "LCD_HSYNC"}, // 165
    {"GPIO19_2", "", "", "LCD_VSYNC"}, // 166
    {"GPIO19_3", "", "", "LCD_DE"}, // 167
    {"GPIO19_4", "", "", "EVF_RESET"}, // 168
    {"GPIO19_5", "", "", "EVF_TE"}, // 169
    {"GPIO19_6", "", "", "EVF_BL_EN"}, // 170
    {"GPIO19_7", "", "", "EVF_CS"}, // 171
    {"GPIO20_0", "", "BT656_D0", "MLCD_D0"}, // 172
    {"GPIO20_1", "", "BT656_D1", "MLCD_D1"}, // 173
    {"GPIO20_2", "", "BT656_D2", "MLCD_D2"}, // 174
    {"GPIO20_3", "", "BT656_D3", "MLCD_D3"}, // 175
    {"GPIO20_4", "", "BT656_D4", "MLCD_D4"}, // 176
    {"GPIO20_5", "", "BT656_D5", "MLCD_D5"}, // 177
    {"GPIO20_6", "", "BT656_D6", "MLCD_D6"}, // 178
    {"GPIO20_7", "", "BT656_D7", "MLCD_D7"}, // 179
    {"GPIO21_0", "", "BT656_CLK", "MLCD_D8"}, // 180
    {"GPIO21_1", "", "", "MLCD_D9"}, // 181
    {"GPIO21_2", "", "", "MLCD_D10"}, // 182
    {"GPIO21_3", "", "", "MLCD_D11"}, // 183
    {"GPIO21_4", "", "", "MLCD_D12"}, // 184
    {"GPIO21_5", "", "", "MLCD_D13"}, // 185
    {"GPIO21_6", "", "", "MLCD_D14"}, // 186
    {"GPIO21_7", "", "", "MLCD_D15"}, // 187
    {"GPIO22_0", "", "", "KEY_IN0"}, // 188
    {"GPIO22_1", "", "", "KEY_IN1"}, // 189
    {"GPIO22_2", "", "", "KEY_IN2"}, // 190
    {"GPIO22_3", "", "", "KEY_IN3"}, // 191
    {"GPIO22_4", "", "", "KEY_OUT0"}, // 192
    {"GPIO22_5", "", "", "KEY_OUT1"}, // 193
    {"GPIO22_6", "", "", "KEY_OUT2"}, // 194
    {"GPIO22_7", "", "", "KEY_OUT3"}, // 195
    {"GPIO23_0", "", "PWM8", "DIAL0_A"}, // 196
    {"GPIO23_1", "", "PWM9", "DIAL0_B"}, // 197
    {"GPIO23_2", "", "PWM10", "DIAL1_A"}, // 198
    {"GPIO23_3", "", "PWM11", "DIAL1_B"}, // 199
    {"GPIO23_4", "", "PWM12", "DIAL2_A"}, // 200
    {"GPIO23_5", "", "PWM13", "DIAL2_B"}, // 201
    {"GPIO23_6", "", "", ""}, // 202
    {"GPIO23_7", "", "", ""}, // 203
    {"GPIO24_0", "", "", ""}, // 204
    {"GPIO24_1", "", "", ""}, // 205
    {"GPIO24_2", "", "", ""}, // 206
    {"GPIO24_3", "", "", ""}, // 207
    {"GPIO24_4", "", "", ""}, // 208
    {"GPIO24_5", "", "", ""}, // 209
    {"GPIO24_6", "", "", "PMIC_INT"}, // 210
    {"GPIO24_7", "", "", "PMIC_HOLD"}, // 211
    {"GPIO25_0", "", "", "RTC_CLK32K"}, // 212
    {"GPIO25_1", "", "", "WDT_RST"}, // 213
    {"GPIO25_2", "", "", "CLKOUT0"}, // 214
    {"GPIO25_3", "", "", "CLKOUT1"}, // 215
    {"GPIO25_4", "", "", "TS_INT"}, // 216
    {"GPIO25_5", "", "", "TS_RESET"}, // 217
    {"GPIO25_6", "", "", "DRAM_A_RET"}, // 218
    {"GPIO25_7", "", "", "DRAM_B_RET"}, // 219
};
// clang-format on

namespace
{

constexpr std::string_view pin_name(std::size_t row, std::size_t function)
{
    return rova_pin_name_tbl[row - 1][function];
}

// A row too few leaves null pointers at the end; a name too long breaks the dump's column.
consteval bool every_name_fits()
{
    for (const auto &row : rova_pin_name_tbl)
        for (const char *name : row)
            if (name == nullptr || std::string_view(name).size() > 15)
                return false;
    return true;
}

consteval std::size_t pins_without(std::size_t function)
{
    std::size_t count = 0;
    for (std::size_t row = 1; row <= ROVA_PIN_COUNT; row++)
        count += pin_name(row, function).empty() ? 1 : 0;
    return count;
}

static_assert(every_name_fits());
static_assert(pins_without(0) == 11);
static_assert(pins_without(1) == 147);

static_assert(pin_name(1, 0) == "GPIO0_0" && pin_name(76, 0) == "GPIO9_3");
static_assert(pin_name(77, 0).empty() && pin_name(82, 0).empty());
static_assert(pin_name(83, 0) == "GPIO9_4" && pin_name(92, 0) == "GPIO10_5");
static_assert(pin_name(93, 0).empty() && pin_name(96, 0).empty());
static_assert(pin_name(97, 0) == "GPIO10_6" && pin_name(98, 0) == "GPIO10_7");
static_assert(pin_name(99, 0).empty());
static_assert(pin_name(100, 0) == "GPIO11_0" && pin_name(219, 0) == "GPIO25_7");

static_assert(pin_name(1, 3) == "SPI0_CLK" && pin_name(5, 3) == "MLCD_RESET");
static_assert(pin_name(77, 3) == "NTRST" && pin_name(78, 3) == "TCK" && pin_name(79, 3) == "TMS");
static_assert(pin_name(80, 3) == "TDI" && pin_name(81, 3) == "TDO" && pin_name(82, 3) == "SRSTN");
static_assert(pin_name(93, 3) == "I2S_CCK" && pin_name(96, 3) == "I2S_DI_0");
static_assert(pin_name(99, 3) == "I2S_DO_0");
static_assert(pin_name(103, 1) == "MON_17" && pin_name(103, 3) == "EXTIN1");
static_assert(pin_name(219, 3) == "DRAM_B_RET");

} // namespace
