// The families of the image-quality table: one file each, named after the word.  Their work is done
// by the camera application.
#pragma once

#include "common/rova_cmd_data.h"

int rova_cmd_iso(uint32_t cmd_type, cmd_data *record);
int rova_cmd_awb(uint32_t cmd_type, cmd_data *record);
int rova_cmd_color_shading(uint32_t cmd_type, cmd_data *record);
int rova_cmd_flangeback(uint32_t cmd_type, cmd_data *record);
int rova_cmd_paf(uint32_t cmd_type, cmd_data *record);
int rova_cmd_vfpn(uint32_t cmd_type, cmd_data *record);
