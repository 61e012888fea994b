#include "common/rova_dump.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace
{

constexpr std::size_t LINE_SIZE = 128;
constexpr std::size_t CELL_SIZE = 10;
constexpr std::size_t BYTES_A_LINE = 16;

void start_line(char (&line)[LINE_SIZE], uint32_t address, bool no_address)
{
    std::memset(line, 0, sizeof(line));
    if (!no_address)
        std::snprintf(line, sizeof(line), "[%08" PRIx32 "]  ", address);
}

void append_byte(char (&line)[LINE_SIZE], uint8_t byte)
{
    char cell[CELL_SIZE] = {};
    std::snprintf(cell, sizeof(cell), "%02x ", byte);
    std::strncat(line, cell, sizeof(line) - std::strlen(line) - 1);
}

} // namespace

void rova_dump_lines(const void *data, uint32_t base, std::size_t length, bool no_address,
                     void (*flush)(const char *line))
{
    const auto *bytes = static_cast<const uint8_t *>(data);
    char line[LINE_SIZE] = {};
    for (std::size_t i = 0; i < length; i++) {
        if (i % BYTES_A_LINE == 0) {
            if (i != 0)
                flush(line);
            start_line(line, base + static_cast<uint32_t>(i), no_address);
        }
        append_byte(line, bytes[i]);
    }
    flush(line);
}
