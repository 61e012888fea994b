// The last result: set by every answer and by a command that nobody knows.  Server thread.
#pragma once

#include <cstdint>

// 0 is OK, anything else NG.  Exactly 1 makes the server thread skip later commands that are not
// PTP.
uint32_t rova_cmd_get_result();
void rova_cmd_set_result(uint32_t result);

// The word by which a result is told.
inline const char *rova_cmd_result_word(bool ok)
{
    return ok ? "OK" : "NG";
}
