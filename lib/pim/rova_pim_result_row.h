// What the result files of the noise and the dust test share: two lines of heads, and a row for
// each picture.
#pragma once

#include "lib/pim/rova_pim_result.h"

#include <cstdint>
#include <initializer_list>

// Opens the result file where the mode wants one, and prints the heads to a new file or, in
// PIM_RESULT_KEPT, anew for each row; the first then goes to pPtpTile, which is empty in the other
// modes.  What an earlier row has left to be written is.  What keeps the file shut is reported, and
// the row is lost.
void rova_pim_result_begin_row(int32_t mode, const char *path, const char *title,
                               const char *columns);

// "OK", "NG" or, of a check that did not run, "-".
const char *rova_pim_verdict_word(int32_t verdict);

// Prints a check's verdict.
void rova_pim_result_print_verdict(int32_t verdict);
// Prints a column for each value, empty where the check did not run.
void rova_pim_result_print_values(int32_t verdict, std::initializer_list<float> values);
