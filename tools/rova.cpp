// rova: hands one command line to the running daemon.
#include "lib/rova_process.h"
#include "platform/vconf.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace
{

constexpr char SCRIPT_KEY[] = "memory/rova/script_cmd";
constexpr char DAEMON[] = "/usr/bin/rovad";

enum exit_status { HANDED_OVER = 0, NOT_HANDED_OVER = 1, WRONG_USAGE = 2 };

void print_usage(std::FILE *stream)
{
    std::fputs("Usage: rova [--] WORD [PARAMETER]...\n"
               "Hand one command line to rovad, which runs it behind those that wait.\n"
               "\n"
               "  -h, --help   Show this help\n"
               "\n"
               "The words are joined with blanks.  A line without a command (blank, or a comment\n"
               "behind //) is handed over and dropped by the daemon; a line feed is white space.\n"
               "The result is told on the camera and in its file log, not here.\n"
               "\n"
               "Exit status: 0 handed over; 1 rovad does not run or the line could not be\n"
               "handed over; 2 wrong usage.\n"
               "\n"
               "Example: rova led af on\n",
               stream);
}

std::string join(char **words, int count)
{
    std::string line;
    for (int i = 0; i < count; i++) {
        if (i > 0)
            line += ' ';
        line += words[i];
    }
    return line;
}

int hand_over(const std::string &line)
{
    if (rova_get_exec_pid(DAEMON) < 0) {
        std::fputs("rova: rovad is not running\n", stderr);
        return NOT_HANDED_OVER;
    }
    if (vconf_set_str(SCRIPT_KEY, line.c_str()) < 0) {
        std::fprintf(stderr, "rova: key %s cannot be written\n", SCRIPT_KEY);
        return NOT_HANDED_OVER;
    }
    return HANDED_OVER;
}

} // namespace

int main(int argc, char **argv)
{
    int first = 1;
    if (argc > 1 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        print_usage(stdout);
        return HANDED_OVER;
    }
    if (argc > 1 && std::strcmp(argv[1], "--") == 0)
        first = 2;
    else if (argc > 1 && argv[1][0] == '-') {
        std::fprintf(stderr, "rova: unknown option '%s'; rova --help tells more\n", argv[1]);
        return WRONG_USAGE;
    }
    if (first >= argc) {
        std::fputs("rova: no command line given; rova --help tells more\n", stderr);
        return WRONG_USAGE;
    }
    return hand_over(join(argv + first, argc - first));
}
