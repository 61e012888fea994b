#include "lib/pim/rova_pim_reader.h"

#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_result.h"

#include <cstring>
#include <string_view>

namespace
{

constexpr char RULE[] =
    " ================================================================================\n";
constexpr char START[] =
    " <<<<< CONFIG. START.... >>>>>                                                   \n";
constexpr char END[] =
    " <<<<< CONFIG. END .... >>>>>                                                    \n";

const char *text_of(std::span<const rova_pim_row> rows, const void *record)
{
    return static_cast<const char *>(record) + rows.back().field.offset;
}

int32_t number_of(std::span<const rova_pim_row> rows, const void *record)
{
    int32_t number = 0;
    std::memcpy(&number, text_of(rows, record), sizeof(number));
    return number;
}

void print_banner(const char *middle)
{
    rova_pim_debug(RULE);
    rova_pim_debug("%s", middle);
    rova_pim_debug(RULE);
}

// The line in hand is the model's: its word is compared whole, also where the record has no room
// for it.
int check_model(const rova_pim_reader &reader, const char *project)
{
    char model[PIM_LINE_SIZE];
    rova_pim_line_word(model);
    if (std::strcmp(project, model) == 0)
        return 0;
    rova_pim_report(reader.wrong_model, project, model);
    return -1;
}

// These lines are printed when there is a file to print to, the engine's version with the model's
// name, which the sink of an earlier load would not show.
void print_head(const rova_pim_reader &reader, const void *record)
{
    print_banner(START);
    rova_pim_debug(reader.version, text_of(reader.model, record), PIM_VERSION);
    for (const auto &rows : {reader.model, reader.debug, reader.result, reader.file})
        rova_pim_print_rows(rows, record);
}

int read_head(const rova_pim_reader &reader, rova_pim_lines &lines, void *record,
              const char *project)
{
    if (rova_pim_read_rows(lines, reader.model, record) != 0 || check_model(reader, project) != 0 ||
        rova_pim_read_rows(lines, reader.debug, record) != 0)
        return -1;
    gDbgPrintOnOff = number_of(reader.debug, record);
    if (rova_pim_read_rows(lines, reader.result, record) != 0)
        return -1;
    gRstPrintOpt = number_of(reader.result, record);
    if (rova_pim_read_rows(lines, reader.file, record) != 0)
        return -1;
    rova_pim_open_debug(gDbgPrintOnOff, text_of(reader.file, record));
    print_head(reader, record);
    return 0;
}

} // namespace

const char *rova_pim_on_if_set(int32_t value)
{
    return value != 0 ? "ON" : "OFF";
}

const char *rova_pim_on_if_one(int32_t value)
{
    return value == 1 ? "ON" : "OFF";
}

const char *rova_pim_screen_word(int32_t value)
{
    return value == 0 ? "LCD OUT" : "TV OUT";
}

void rova_pim_open_debug(int32_t print, const char *file)
{
    if (print != 0 && rova_pim_debug_open(file) != 0)
        rova_pim_report(" Can Not Open Debug File : %s \n", file);
}

bool rova_pim_reader_given(const rova_pim_reader &reader, const char *path, const void *record,
                           const char *project)
{
    if (path != nullptr && record != nullptr && project != nullptr)
        return true;
    rova_pim_report(" Read Config Error ~~~ !!! \n");
    rova_pim_report(" inCfg        = %s \n", path != nullptr ? path : "NULL");
    rova_pim_report(reader.record, record != nullptr ? "OK" : "NULL");
    rova_pim_report(" strModelName = %s \n", project != nullptr ? project : "NULL");
    return false;
}

int rova_pim_reader_begin(const rova_pim_reader &reader, const char *path, void *record,
                          const char *project, rova_pim_lines &lines)
{
    if (rova_pim_lines_read(path, lines) != 0)
        return -1;
    return read_head(reader, lines, record, project);
}

int rova_pim_reader_end(int result)
{
    if (result == 0)
        print_banner(END);
    rova_pim_debug_close();
    return result;
}
