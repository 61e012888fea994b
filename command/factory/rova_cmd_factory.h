// The families of the factory table: one file each, named after the word.
#pragma once

#include "common/rova_cmd_data.h"

int rova_cmd_proc_mark(uint32_t cmd_type, cmd_data *record);
int rova_cmd_step_label(uint32_t cmd_type, cmd_data *record);
int rova_cmd_adj_data(uint32_t cmd_type, cmd_data *record);
int rova_cmd_sample(uint32_t cmd_type, cmd_data *record);
int rova_cmd_osd(uint32_t cmd_type, cmd_data *record);
int rova_cmd_touch(uint32_t cmd_type, cmd_data *record);
int rova_cmd_firmware(uint32_t cmd_type, cmd_data *record);
int rova_cmd_serial_number(uint32_t cmd_type, cmd_data *record);
int rova_cmd_snapshot(uint32_t cmd_type, cmd_data *record);
int rova_cmd_shipment_country(uint32_t cmd_type, cmd_data *record);
int rova_cmd_factory_reset(uint32_t cmd_type, cmd_data *record);
int rova_cmd_create_file(uint32_t cmd_type, cmd_data *record);
int rova_cmd_file(uint32_t cmd_type, cmd_data *record);
int rova_cmd_image(uint32_t cmd_type, cmd_data *record);
int rova_cmd_sys_param(uint32_t cmd_type, cmd_data *record);
int rova_cmd_delay(uint32_t cmd_type, cmd_data *record);
int rova_cmd_exposure(uint32_t cmd_type, cmd_data *record);
int rova_cmd_lcd(uint32_t cmd_type, cmd_data *record);
int rova_cmd_model_name(uint32_t cmd_type, cmd_data *record);
int rova_cmd_control(uint32_t cmd_type, cmd_data *record);
int rova_cmd_gpio(uint32_t cmd_type, cmd_data *record);
