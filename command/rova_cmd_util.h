// What many command handlers share.  Server thread.
#pragma once

#include "common/rova_cmd_data.h"

#include <cstring>
#include <iterator>
#include <span>

// The two plain answers, and the one that `ok` tells, with a stream if there is one; return 1.
int rova_cmd_ok(uint32_t cmd_type);
int rova_cmd_ng(uint32_t cmd_type);
int rova_cmd_answer(uint32_t cmd_type, bool ok, const rova_resp_stream *stream = nullptr);

// Whether a platform call's result is none of its failures, which are negative: such a one is
// logged.
bool rova_cmd_succeeded(const char *call, int result);

// Parameter `index`, or an empty text for one that was not given.
const char *rova_cmd_param(const cmd_data *record, uint32_t index);

// The row whose name is exactly parameter `index`; NULL if there is none.
template <class row_table>
auto rova_cmd_find_named(const row_table &rows, const cmd_data *record, uint32_t index = 1)
    -> decltype(std::data(rows))
{
    const char *name = rova_cmd_param(record, index);
    for (const auto &row : rows)
        if (std::strcmp(row.name, name) == 0)
            return &row;
    return nullptr;
}

// Exactly "on" gives 1 and "off" 0 in `*on`; any other word leaves it alone and gives false.
bool rova_cmd_on_off(const char *word, uint8_t *on);

// A decimal number, up to the first character that is no digit; 0 if there is none.  What an int
// does not hold becomes the nearest int.
int rova_cmd_number(const char *text);

// Parameters `first` and following, with single blanks between them, as far as there is room.
void rova_cmd_join_words(const cmd_data *record, uint32_t first, std::span<char> text);
