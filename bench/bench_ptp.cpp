// A PC command over the keys and back, against the bare key writes and wake-ups that it consists
// of: two cameras, one with the daemon, one with key_echo, asked in turn.
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <optional>

namespace
{

// A camera in memory, so that the file log's flushes cost what the calls cost and no disk.
class Side
{
public:
    explicit Side(const std::vector<std::string> &program)
    {
        setenv("HOME", camera_.path("/tmp").c_str(), 1);
        setenv("XDG_RUNTIME_DIR", camera_.path("/tmp").c_str(), 1);
        process_.emplace(program, "/usr/bin/rovad");
        if (!test::wait_for([&] { return camera_.key_int("memory/rova/start_cmd") == 0; }))
            std::abort();
    }

    // Median microseconds of a command there and its answer back.
    double round_trip() const
    {
        setenv("ROVA_SYSROOT", camera_.root().c_str(), 1);
        return std::stod(test::run({KEY_ECHO_PROGRAM, "ask", "200"}).out);
    }

private:
    test::Camera camera_;
    std::optional<test::Process> process_;
};

void ptp_round_trip(benchmark::State &state)
{
    setenv("TMPDIR", "/dev/shm", 1);
    const Side bare({KEY_ECHO_PROGRAM, "serve"});
    const Side daemon({ROVAD_PROGRAM, "--test"});
    double bare_us = 0;
    double daemon_us = 0;
    for (auto _ : state) {
        bare_us += bare.round_trip();
        const double us = daemon.round_trip();
        daemon_us += us;
        state.SetIterationTime(us * 1e-6);
    }
    state.counters["bare_us"] = bare_us / double(state.iterations());
    state.counters["ratio_to_bare"] = daemon_us / bare_us;
}
BENCHMARK(ptp_round_trip)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(20);

} // namespace
