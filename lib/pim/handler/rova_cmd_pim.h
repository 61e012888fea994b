// The command families that the library carries out itself, on the application's thread.  Each
// handler fills the answer and returns 1; it returns 0, with the answer left alone, when p[0] is
// not its own.  One command at a time: those that wait keep the others waiting.
#pragma once

#include "lib/rova_cmd_response.h"

int rova_cmd_mot(const cmd_data *record, rova_cmd_response *answer);
int rova_cmd_dust(const cmd_data *record, rova_cmd_response *answer);
int rova_cmd_noise(const cmd_data *record, rova_cmd_response *answer);
int rova_cmd_movie(const cmd_data *record, rova_cmd_response *answer);
int rova_cmd_afi_adj(const cmd_data *record, rova_cmd_response *answer);
