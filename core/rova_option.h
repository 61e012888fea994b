// The command line and the run mode.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr std::size_t ROVA_SCRIPT_FILE_SIZE = 164;

struct rova_option {
    const char *program;
    uint8_t help;
    uint8_t ptp;
    uint8_t card;
    uint8_t test;
    char script_file[ROVA_SCRIPT_FILE_SIZE];
    uint32_t extra_count;
    const char **extra_args;
    uint8_t reserved;
    uint8_t alt;
};

// NULL (the reason is on standard error) when the program must end with 1.  Owned by the caller.
rova_option *rova_option_parse(int argc, char **argv);
void rova_option_free(rova_option *option);

// "ptp", "card", "test" or "unknown".
const char *rova_option_mode_name(const rova_option *option);
