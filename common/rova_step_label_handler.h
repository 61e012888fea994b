// The step label: how far the production flow has come, one signed byte in the partition of the
// line.
//
// Server thread.
#pragma once

#include <cstdint>

// Stores and saves it.  1, or 0 with the reason in the platform log.
int rova_set_step_label_value(int8_t value);
// 0 also when the partition is not available.
int rova_get_step_label_value();
