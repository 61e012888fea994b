// Lines a second through the parser and through the dispatcher.
#include "command/rova_cmd_handler.h"
#include "core/rova_parser.h"
#include "tests/support/camera.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace
{

void parse(benchmark::State &state, const char *line)
{
    const std::size_t size = std::strlen(line) + 1;
    char copy[1024];
    cmd_data record{};
    for (auto _ : state) {
        std::memcpy(copy, line, size);
        benchmark::DoNotOptimize(rova_parse_cmd_data(copy, static_cast<uint32_t>(size), &record));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(parse, short_line, "delay 100");
BENCHMARK_CAPTURE(parse, long_line, "wifi tx 1 2 3 4 5 6 7 8 9 // a remark behind it");

// The search alone: a word of no table walks all of them.
void find_unknown_word(benchmark::State &state)
{
    for (auto _ : state)
        for (const rova_cmd_named_table &table : rova_cmd_tables())
            benchmark::DoNotOptimize(rova_cmd_find(table.rows, "nosuchword"));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(find_unknown_word);

// A command that only sets a flag, with its answer; the file log is off.
void dispatch(benchmark::State &state)
{
    const test::Camera camera;
    cmd_data record{};
    std::strcpy(record.cmd, "control");
    record.p_count = 2;
    std::strcpy(record.p[0], "led");
    std::strcpy(record.p[1], "off");
    for (auto _ : state)
        rova_process_cmd(ROVA_CMD_SCRIPT, &record);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(dispatch);

} // namespace
