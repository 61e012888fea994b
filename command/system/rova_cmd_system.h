// The families of the system table: one file each, named after the word.
#pragma once

#include "common/rova_cmd_data.h"

int rova_cmd_key(uint32_t cmd_type, cmd_data *record);
int rova_cmd_wheel(uint32_t cmd_type, cmd_data *record);
int rova_cmd_mode_dial(uint32_t cmd_type, cmd_data *record);
int rova_cmd_drive_dial(uint32_t cmd_type, cmd_data *record);
int rova_cmd_jog1(uint32_t cmd_type, cmd_data *record);
int rova_cmd_jog2(uint32_t cmd_type, cmd_data *record);
int rova_cmd_gyroscope(uint32_t cmd_type, cmd_data *record);
int rova_cmd_cis_data(uint32_t cmd_type, cmd_data *record);
int rova_cmd_cis_data2(uint32_t cmd_type, cmd_data *record);
int rova_cmd_cis_data_info(uint32_t cmd_type, cmd_data *record);
int rova_cmd_cis_data_file(uint32_t cmd_type, cmd_data *record);
