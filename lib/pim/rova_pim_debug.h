// Where the inspection code prints.  Any thread.
#pragma once

// Prints to the standard output.
void rova_pim_debug_print(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
