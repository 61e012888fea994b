// What the readers of the four configuration files share: the checks of what they are given, the
// file's first lines, which name its model and set up the sinks, and the text around the values.
//
// One reader at a time, on the command thread.
#pragma once

#include "lib/pim/rova_pim_lines.h"

#include <cstdint>
#include <span>

// A test's reader.  The head's rows stand in the file's order, parted behind each that is acted
// upon at once.
struct rova_pim_reader {
    const char *record;      // tells whether there is a record: "NULL" or "OK"
    const char *wrong_model; // tells the project's name and the file's
    const char *version;     // tells the file's model and the engine's version
    std::span<const rova_pim_row> model;
    std::span<const rova_pim_row> debug;  // the last is the debug sink's mode
    std::span<const rova_pim_row> result; // the last is the result sink's mode
    std::span<const rova_pim_row> file;   // the last is the debug file's name
};

// The head's rows as the noise, dust and movie files have them; the model is printed with the
// engine's version.
struct rova_pim_head {
    rova_pim_row model[1];
    rova_pim_row debug[1];
    rova_pim_row result[1];
    rova_pim_row file[1];
};

// What a label says of a switch: on if it is not 0, or if it is 1.
const char *rova_pim_on_if_set(int32_t value);
const char *rova_pim_on_if_one(int32_t value);
// And of where the live view is shown: on the television if it is not 0.
const char *rova_pim_screen_word(int32_t value);

inline constexpr rova_pim_word PIM_SWITCH = rova_pim_on_if_set; // what most labels say
inline constexpr char PIM_EIGHT[] = "%d %d %d %d %d %d %d %d";  // the form of debug levels

// Such a head by the fields it fills, and such a file's reader; `head` outlives the reader.
constexpr rova_pim_head rova_pim_head_of(rova_pim_field model, rova_pim_field debug,
                                         rova_pim_field result, rova_pim_word result_word,
                                         rova_pim_field file)
{
    return {.model = {{"%s", model, nullptr, nullptr}},
            .debug = {{"%d", debug, " Debug Print = %d [ %s ]  \n", PIM_SWITCH}},
            .result = {{"%d", result, " Result Print = %d  [ %s ]  \n", result_word}},
            .file = {{"%s", file, " Debug File Name = %s \n", nullptr}}};
}

constexpr rova_pim_reader rova_pim_reader_of(const rova_pim_head &head, const char *record)
{
    return {.record = record,
            .wrong_model = "MisMatch Model Name : %s , %s \n",
            .version = " Model Name = %s : Ver. = %s \n",
            .model = head.model,
            .debug = head.debug,
            .result = head.result,
            .file = head.file};
}

// On a television the live view has its size.
template <typename record> void rova_pim_use_tv_size(record &cfg)
{
    if (cfg.iScreenOut == 0)
        return;
    cfg.iLcdLiveX = cfg.iTvX;
    cfg.iLcdLiveY = cfg.iTvY;
}

// A file may hold any numbers: sums are made in 64 bits and cut to what a record keeps.
constexpr int32_t rova_pim_narrow(int64_t value)
{
    return static_cast<int32_t>(value);
}

// Opens the debug sink's file if `print` is not 0; what keeps it shut is reported.
void rova_pim_open_debug(int32_t print, const char *file);

// What a reader does before and behind its body.  0, or -1, reported.
int rova_pim_reader_begin(const rova_pim_reader &reader, const char *path, void *record,
                          const char *project, rova_pim_lines &lines);
int rova_pim_reader_end(int result);

// False, and the three are reported: one is missing.
bool rova_pim_reader_given(const rova_pim_reader &reader, const char *path, const void *record,
                           const char *project);

// Clears the record and fills it from the file, whose lines behind the head are the body's.  0, or
// -1, reported; the debug file is closed.
template <typename record>
int rova_pim_read_record(const rova_pim_reader &reader, const char *path, record *cfg,
                         const char *project, int (*body)(rova_pim_lines &lines, record &cfg))
{
    rova_pim_lines lines;
    if (!rova_pim_reader_given(reader, path, cfg, project))
        return -1;
    *cfg = {};
    int result = rova_pim_reader_begin(reader, path, cfg, project, lines);
    if (result == 0)
        result = body(lines, *cfg);
    return rova_pim_reader_end(result);
}
