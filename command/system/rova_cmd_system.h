// The families of the system table: one file each, named after the word.
#pragma once

#include "common/rova_cmd_data.h"

int rova_cmd_shell(uint32_t cmd_type, cmd_data *record);
int rova_cmd_proximity(uint32_t cmd_type, cmd_data *record);
int rova_cmd_key(uint32_t cmd_type, cmd_data *record);
int rova_cmd_ext_release(uint32_t cmd_type, cmd_data *record);
int rova_cmd_usb(uint32_t cmd_type, cmd_data *record);
int rova_cmd_wheel(uint32_t cmd_type, cmd_data *record);
int rova_cmd_mode_dial(uint32_t cmd_type, cmd_data *record);
int rova_cmd_drive_dial(uint32_t cmd_type, cmd_data *record);
int rova_cmd_jog1(uint32_t cmd_type, cmd_data *record);
int rova_cmd_jog2(uint32_t cmd_type, cmd_data *record);
int rova_cmd_rtc(uint32_t cmd_type, cmd_data *record);
int rova_cmd_rtc2(uint32_t cmd_type, cmd_data *record);
int rova_cmd_hdmi(uint32_t cmd_type, cmd_data *record);
int rova_cmd_earjack(uint32_t cmd_type, cmd_data *record);
int rova_cmd_ext_mic(uint32_t cmd_type, cmd_data *record);
int rova_cmd_rotation(uint32_t cmd_type, cmd_data *record);
int rova_cmd_thermistor(uint32_t cmd_type, cmd_data *record);
int rova_cmd_led(uint32_t cmd_type, cmd_data *record);
int rova_cmd_power(uint32_t cmd_type, cmd_data *record);
int rova_cmd_battery_level(uint32_t cmd_type, cmd_data *record);
int rova_cmd_dr(uint32_t cmd_type, cmd_data *record);
int rova_cmd_adc(uint32_t cmd_type, cmd_data *record);
int rova_cmd_accelometer(uint32_t cmd_type, cmd_data *record);
int rova_cmd_gyroscope(uint32_t cmd_type, cmd_data *record);
int rova_cmd_cis_data(uint32_t cmd_type, cmd_data *record);
int rova_cmd_cis_data2(uint32_t cmd_type, cmd_data *record);
int rova_cmd_cis_data_info(uint32_t cmd_type, cmd_data *record);
int rova_cmd_cis_data_file(uint32_t cmd_type, cmd_data *record);
int rova_cmd_sound(uint32_t cmd_type, cmd_data *record);
int rova_cmd_stlcd(uint32_t cmd_type, cmd_data *record);
int rova_cmd_vgrip(uint32_t cmd_type, cmd_data *record);
int rova_cmd_sdcard(uint32_t cmd_type, cmd_data *record);
int rova_cmd_free_fall(uint32_t cmd_type, cmd_data *record);
int rova_cmd_mr(uint32_t cmd_type, cmd_data *record);

// Served, and not in the table: the dispatcher does not know these words.
int rova_cmd_popup(uint32_t cmd_type, cmd_data *record);
int rova_cmd_wake_alarm(uint32_t cmd_type, cmd_data *record);
