// The families of the capture table: one file each, named after the word.  Their work is done by
// the camera application.
#pragma once

#include "common/rova_cmd_data.h"

int rova_cmd_lens_mount(uint32_t cmd_type, cmd_data *record);
int rova_cmd_shutter_speed(uint32_t cmd_type, cmd_data *record);
int rova_cmd_shutter_speed2(uint32_t cmd_type, cmd_data *record);
int rova_cmd_lens(uint32_t cmd_type, cmd_data *record);
int rova_cmd_capture(uint32_t cmd_type, cmd_data *record); // also under the word `st`
int rova_cmd_defect_pixel(uint32_t cmd_type, cmd_data *record);
int rova_cmd_efs(uint32_t cmd_type, cmd_data *record);
int rova_cmd_shutter(uint32_t cmd_type, cmd_data *record);
int rova_cmd_xsw(uint32_t cmd_type, cmd_data *record);
int rova_cmd_strobe(uint32_t cmd_type, cmd_data *record);
int rova_cmd_hotshoe(uint32_t cmd_type, cmd_data *record);
