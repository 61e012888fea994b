// What each pin of the chip can be: one name for each function the pin's multiplexer selects.
// docs/pins.md shows the same table to people.
#pragma once

#include <cstddef>

inline constexpr std::size_t ROVA_PIN_COUNT = 219;
inline constexpr std::size_t ROVA_PIN_FUNCTIONS = 4;

// Rows in the order of the control registers; an empty text where the pin has no such function.
extern const char *const rova_pin_name_tbl[ROVA_PIN_COUNT][ROVA_PIN_FUNCTIONS];
