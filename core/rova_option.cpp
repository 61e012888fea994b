#include "core/rova_option.h"

#include "common/rova_card_mode.h"
#include "common/rova_util.h"
#include "platform/sys.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <glib.h>
#include <unistd.h>

namespace
{

constexpr std::size_t SCRIPT_ARGUMENT_SIZE = 80;
constexpr int MARKER_LINE_SIZE = 40;
constexpr std::size_t SERVICE_PATH_SIZE = 64;

constexpr char SHORT_OPTIONS[] = "hpc:l:t";
constexpr option LONG_OPTIONS[] = {
    {"help", no_argument, nullptr, 'h'},       {"ptp", no_argument, nullptr, 'p'},
    {"card", required_argument, nullptr, 'c'}, {"test", no_argument, nullptr, 't'},
    {"log", required_argument, nullptr, 'l'},  {nullptr, 0, nullptr, 0},
};

// The one %s of each item that has one is the program's name.
void print_usage(const char *program)
{
    std::fprintf(stderr, "Usage: %s [OPTION] [ARGS]... \n", program);
    std::fputs("\n"
               "Launch factory-mode daemon. \n\n"
               "Commands: \n"
               "  -p|--ptp                 Launch daemon with ptp mode. \n"
               "  -c|--card [SCRIPT_FILE]  Launch daemon with script mode. \n",
               stderr);
    std::fprintf(stderr, "                           Ex) %s --card script.adj \n", program);
    std::fputs("                           NOTE: if script file isn't given, try it with file "
               "given by /sdcard/info.tg \n"
               "  -t|--test                Launch daemon with test mode. \n"
               "                           NOTE: It's useful in case you use `rova' command. \n"
               "  -h|--help                Show this help screen \n"
               "NOTES: \n"
               "  - If there are no arguments, launch daemon corresponding to file in sdcard: \n"
               "    Try to launch daemon with script mode, if there are info.tg and script file "
               "in sdcard. \n"
               "    Try to launch daemon with ptp mode, if there are info.tgw in sdcard. \n"
               "\n",
               stderr);
}

bool print_hint(const char *program)
{
    std::fprintf(stderr, "Try `%s --help' for more information. \n", program);
    return false;
}

rova_option *allocate(int argc, char **argv)
{
    const char *program = argc > 0 ? argv[0] : "rovad";
    auto *option = static_cast<rova_option *>(g_try_malloc0(sizeof(rova_option)));
    if (option == nullptr) {
        std::fprintf(stderr, "%s: option structure allocation failed (%s) \n", program,
                     std::strerror(errno));
        return nullptr;
    }
    option->program = program;
    option->extra_args = static_cast<const char **>(
        g_try_malloc0((static_cast<std::size_t>(argc) + 1) * sizeof(const char *)));
    if (option->extra_args == nullptr) {
        std::fprintf(stderr, "%s: option structure argv allocation failed (%s) \n", program,
                     std::strerror(errno));
        g_free(option);
        return nullptr;
    }
    return option;
}

// False for a scanner's result that is no option of ours; "--log" is one of those.
bool take_option(rova_option *option, int letter)
{
    switch (letter) {
    case 'h':
        print_usage(option->program);
        option->help = 1;
        return true;
    case 'p':
        option->ptp = 1;
        return true;
    case 'c':
        option->card = 1;
        std::strncpy(option->script_file, optarg, SCRIPT_ARGUMENT_SIZE);
        return true;
    case 't':
        option->test = 1;
        return true;
    }
    return print_hint(option->program);
}

bool scan(rova_option *option, int argc, char **argv)
{
    optind = 0; // a scan of its own, whatever was scanned before
    int letter = 0;
    while ((letter = getopt_long(argc, argv, SHORT_OPTIONS, LONG_OPTIONS, nullptr)) != -1) {
        if (!take_option(option, letter))
            return false;
        if (option->help)
            return true;
    }
    while (optind < argc)
        option->extra_args[option->extra_count++] = argv[optind++];
    return true;
}

bool is_readable(const char *path)
{
    return sys_access(path, R_OK) == 0;
}

bool read_marker_line(const char *program, char (&line)[MARKER_LINE_SIZE])
{
    std::FILE *file = sys_fopen(ROVA_MARKER_SCRIPT, "r");
    if (file == nullptr) {
        std::fprintf(stderr, "%s: info.tg cannot be opened (%s). \n", program,
                     std::strerror(errno));
        return false;
    }
    errno = 0;
    const bool read = std::fgets(line, sizeof(line), file) != nullptr;
    if (!read)
        std::fprintf(stderr, "%s: info.tg cannot be read (%s). \n", program, std::strerror(errno));
    std::fclose(file);
    return read;
}

bool select_marked_script(rova_option *option)
{
    char line[MARKER_LINE_SIZE] = {};
    if (!read_marker_line(option->program, line))
        return false;
    std::snprintf(option->script_file, sizeof(option->script_file), "/sdcard/%s",
                  rova_str_trim(line));
    option->card = 1;
    option->alt = static_cast<uint8_t>(rova_set_alt_mode(option->script_file));
    return true;
}

// A number without a script leaves script_file empty: the client thread finds out.
bool select_service_script(rova_option *option)
{
    char path[SERVICE_PATH_SIZE] = {};
    rova_get_adj_script_path(rova_get_cs_mode_type(), path);
    std::snprintf(option->script_file, sizeof(option->script_file), "%.*s",
                  static_cast<int>(sizeof(path)), path);
    option->ptp = 0;
    option->test = 0;
    option->card = 1;
    return true;
}

bool select_mode_from_card(rova_option *option)
{
    if (is_readable(ROVA_MARKER_SCRIPT))
        return select_marked_script(option);
    if (is_readable(ROVA_MARKER_PTP)) {
        option->ptp = 1;
        return true;
    }
    if (is_readable(ROVA_MARKER_CS))
        return select_service_script(option);
    return print_hint(option->program);
}

bool fill(rova_option *option, int argc, char **argv)
{
    if (!scan(option, argc, argv))
        return false;
    if (option->help || option->ptp || option->card || option->test)
        return true;
    return select_mode_from_card(option);
}

} // namespace

rova_option *rova_option_parse(int argc, char **argv)
{
    rova_option *option = allocate(argc, argv);
    if (option == nullptr || fill(option, argc, argv))
        return option;
    rova_option_free(option);
    return nullptr;
}

void rova_option_free(rova_option *option)
{
    if (option == nullptr)
        return;
    g_free(option->extra_args);
    g_free(option);
}

const char *rova_option_mode_name(const rova_option *option)
{
    if (option->ptp)
        return "ptp";
    if (option->card)
        return "card";
    if (option->test)
        return "test";
    return "unknown";
}
