// What the families of the picture inspection share: finding a subcommand, the answer, the
// configuration, the pictures' client, and the display of a result.  Application thread.
#pragma once

#include "lib/rova_cmd_response.h"

#include <atomic>
#include <cstdint>
#include <span>
#include <sys/types.h>

inline constexpr int32_t PIM_CONFIG_MISSING = -1; // a family's status before its first good load
inline constexpr int32_t PIM_MOST_MARKS = 18;     // of one kind that a verdict puts on the screen

// A subcommand.  It is NG, and the handler not called, with fewer than `min_count` parameters, p[0]
// counted in, and, where `status` is given, while that is PIM_CONFIG_MISSING.
struct rova_pim_cmd {
    const char *name; // in any case
    int (*handler)(const cmd_data *record, rova_cmd_response *answer);
    uint32_t min_count;
    const int32_t *status;
};

// Carries out the row of p[0]: 1.  0 with a line in the log, and the answer left alone, when there
// is none.
int rova_pim_family_exec(std::span<const rova_pim_cmd> table, const cmd_data *record,
                         rova_cmd_response *answer);

// Fills the plain answer and returns 1.
int rova_pim_answer(rova_cmd_response *answer, bool ok);

// Parameter `index`, or an empty text for one that was not given; whether it is exactly this word.
const char *rova_pim_param(const cmd_data *record, uint32_t index);
bool rova_pim_param_is(const cmd_data *record, uint32_t index, const char *word);

// The same as a number, decimal or 0x...; 0 when it begins with none.
int32_t rova_pim_number(const cmd_data *record, uint32_t index);

// "set pimode": the family's test becomes the active one.
int rova_pim_set_family_mode(const cmd_data *record, rova_cmd_response *answer, int32_t mode);

// Whether a wait may go on: the application is not about to end the channel, and the daemon is not
// asked to stop.
bool rova_pim_may_wait();
// Looks at a flag, with a sleep before each look but the first, at most `limit` sleeps if that is
// not 0.  Whether the flag was found set; false also as soon as the wait may not go on.
bool rova_pim_wait_for(const std::atomic<int32_t> &flag, useconds_t interval_us,
                       unsigned int limit = 0);

// Loads the active test's configuration into `status` and, with `stills`, becomes a client of the
// capture service for stills, unless the process is one already.  `name` is the handler's.
bool rova_pim_load_config(const char *name, int32_t *status, bool stills);

// The steps of "display_result" that all families have.  `name` is the handler's.  Clears the
// screen: true.
bool rova_pim_display_off(const char *name);
// Appends what the test left to the CSV file as one row; whether that was written.
bool rova_pim_write_csv(const char *name, const char *filename, rova_resp_stream *stream);

// How a family of stills displays its result.
struct rova_pim_display {
    const char *name; // of the handler
    uint32_t min_count;
    const int32_t *status;
    void (*print_config_error)(const char *name);
    bool (*verdict)(const char *name); // shows it; what the command is answered with
};

// "display_result": waits for the end of the still's test, writes the CSV file and has the verdict
// shown.  In every case the process is no client of the capture service afterwards.
int rova_pim_display_result(const rova_pim_display &display, const cmd_data *record,
                            rova_cmd_response *answer);

// A check of a test: its name on the screen, its verdict, which is 0 when it failed, and what draws
// where, or NULL.
struct rova_pim_check {
    const char *word;
    int32_t (*ok)();
    void (*mark)();
};

// Shows the OK mark for a `total` of 1; else what the first check that failed has found and its
// name, "-99" when none did.  Whether it is OK.
bool rova_pim_show_verdict(int32_t total, std::span<const rova_pim_check> checks);
