// The dispatcher: command tables, answers, dump mode, and the feedback around a command.
// Server thread.
#pragma once

#include "command/rova_cmd_result.h"
#include "common/rova_cmd_data.h"

#include <span>

struct rova_cmd_entry {
    const char *name;
    rova_cmd_handler_fn handler;
};

using rova_cmd_table = std::span<const rova_cmd_entry>;

// The row of `word`, compared without regard to case; NULL if there is none.
const rova_cmd_entry *rova_cmd_find(rova_cmd_table table, const char *word);

// Runs the subcommand p[0] of a family; an unknown one is logged as
// "Not found on <family> command table" and gives 0.
int rova_cmd_run_sub(rova_cmd_table table, const char *family, uint32_t cmd_type, cmd_data *record);

// Under the sanitizers the compiler takes a function compared with null for no constant.
consteval bool rova_cmd_has_handler([[maybe_unused]] const rova_cmd_entry &row)
{
#ifdef ROVA_SANITIZED
    return true;
#else
    return row.handler != nullptr;
#endif
}

// True at compile time when every row has a name and a handler and no name stands twice.
consteval bool rova_cmd_table_is_sound(rova_cmd_table table)
{
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    auto equal = [&](const char *a, const char *b) {
        for (; *a != '\0' && lower(*a) == lower(*b); a++, b++) {
        }
        return lower(*a) == lower(*b);
    };
    for (std::size_t i = 0; i < table.size(); i++) {
        if (table[i].name == nullptr || table[i].name[0] == '\0' || !rova_cmd_has_handler(table[i]))
            return false;
        for (std::size_t j = 0; j < i; j++)
            if (equal(table[i].name, table[j].name))
                return false;
    }
    return true;
}

// The tables of first words, in the order of the search.
struct rova_cmd_named_table {
    const char *name;
    rova_cmd_table rows;
};
std::span<const rova_cmd_named_table> rova_cmd_tables();

// Finds the command and runs it.
void rova_process_cmd(uint32_t cmd_type, cmd_data *record);

// Answers.  `result` 0 is OK, anything else NG; `stream` may be NULL.  To the PC for the PTP types,
// to the file log for all others.  Return 1.  `param3` is not used: the third word of an answer is
// the stream's code.
int rova_cmd_resp(uint32_t cmd_type, uint32_t result, const rova_resp_stream *stream);
int rova_cmd_resp_ex(uint32_t cmd_type, uint32_t result, uint32_t param1, uint32_t param2,
                     uint32_t param3, const rova_resp_stream *stream);

// Dump mode: commands are written to the dump file and answered OK instead of being run.
inline constexpr char ROVA_DUMP_FILE[] = "/tmp/dump.log";
void rova_cmd_set_dump(bool on);
// Appends the command as one line of at most 255 characters, carriage return and line feed
// included.
void rova_dump_cmd(const cmd_data *record);

// Feedback on screen, by sound and by the AF lamp, as far as the control flags ask for it.
void rova_cmd_show_start(uint32_t cmd_type, const cmd_data *record);
void rova_cmd_show_result(uint32_t cmd_type, const cmd_data *record);
int rova_cmd_control_osd(const char *word);
int rova_cmd_control_sound(const char *word);
int rova_cmd_control_led();
