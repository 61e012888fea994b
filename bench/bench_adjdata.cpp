// The adjustment store: saves and backups against writing the same bytes to files, look-ups against
// walking the names, and what the two logs cost an access.
#include "common/rova_adjdata_backup.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_log.h"
#include "platform/pref.h"
#include "tests/support/camera.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

constexpr uint32_t FROM_PC = 4;

double seconds_of(const auto &work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

std::string image_file(const adjdata_part &part)
{
    return std::string(PREF_HEADER_SIZE + part.data_size, 'x');
}

bool write_file(const std::string &place, const std::string &bytes, bool sync)
{
    const int fd = open(place.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    bool good = write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    good = (!sync || fsync(fd) == 0) && good;
    close(fd);
    return good;
}

// The bytes of all partitions as plain files in a folder of the same file system.
double plain_seconds(const test::Camera &camera, const std::vector<std::string> &files, bool sync)
{
    return seconds_of([&] {
        for (std::size_t i = 0; i < files.size(); i++)
            write_file(camera.path("/plain." + std::to_string(i)), files[i], sync);
    });
}

// `work` and the plain writing in turn.
void against_plain(benchmark::State &state, bool sync, const auto &work)
{
    const test::Camera camera;
    std::vector<std::string> files;
    for (const adjdata_part &part : rova_adjdata_parts())
        files.push_back(image_file(part));
    double plain = 0;
    double ours = 0;
    work(); // makes the images
    for (auto _ : state) {
        plain += plain_seconds(camera, files, sync);
        const double seconds = seconds_of(work);
        ours += seconds;
        state.SetIterationTime(seconds);
    }
    state.counters["ratio_to_plain"] = ours / plain;
}

void save_all(benchmark::State &state)
{
    against_plain(state, true, [] { rova_save_adjdata_all(); });
}
BENCHMARK(save_all)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

// Standard output goes nowhere: zip tells of each file there.
class Quiet
{
public:
    Quiet() : before_(dup(STDOUT_FILENO))
    {
        std::fflush(stdout);
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~Quiet()
    {
        std::fflush(stdout);
        dup2(before_, STDOUT_FILENO);
        close(before_);
    }
    Quiet(const Quiet &) = delete;
    Quiet &operator=(const Quiet &) = delete;

private:
    int before_;
};

// With the archive, most of whose time is zip's.
void back_up_all(benchmark::State &state)
{
    const Quiet quiet;
    against_plain(state, false, [] { rova_backup_adjdata_part_all(FROM_PC); });
}
BENCHMARK(back_up_all)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

void back_up_each(benchmark::State &state)
{
    against_plain(state, false, [] {
        for (const adjdata_part &part : rova_adjdata_parts())
            rova_backup_adjdata_part(pref_get_name(static_cast<int>(part.pref_id)));
    });
}
BENCHMARK(back_up_each)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

std::vector<const char *> all_names()
{
    std::vector<const char *> names;
    for (const adjdata_part &part : rova_adjdata_parts())
        for (const adjdata_info *row = part.items; row->size != 0; row++)
            names.push_back(row->name);
    return names;
}

constexpr int LOOK_UPS = 10000;

double walk_seconds(const std::vector<const char *> &names, const char *name)
{
    return seconds_of([&] {
        for (int i = 0; i < LOOK_UPS; i++) {
            std::size_t at = 0;
            while (at < names.size() && std::strcmp(names[at], name) != 0)
                at++;
            benchmark::DoNotOptimize(at);
        }
    });
}

// The last name of the last table.
void find_last_name(benchmark::State &state)
{
    const std::vector<const char *> names = all_names();
    double plain = 0;
    double ours = 0;
    for (auto _ : state) {
        plain += walk_seconds(names, "DPC_LV4_NUM");
        const double seconds = seconds_of([] {
            uint32_t size = 0;
            for (int i = 0; i < LOOK_UPS; i++)
                benchmark::DoNotOptimize(rova_get_adjdata_id("DPC_LV4_NUM", &size));
        });
        ours += seconds;
        state.SetIterationTime(seconds);
    }
    state.SetItemsProcessed(state.iterations() * LOOK_UPS);
    state.counters["ratio_to_walk"] = ours / plain;
}
BENCHMARK(find_last_name)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

// One line of the platform log each; the file log has none for it.
void get_by_id(benchmark::State &state)
{
    const test::Camera camera;
    rova_log_set_enable(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(rova_get_adjdata(ADJ_ID_DPC_LV4_NUM));
    rova_log_set_enable(0);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(get_by_id)->Unit(benchmark::kMicrosecond);

// Not saved; with the lines of both logs, or (0) of the platform log alone.
void set_by_id(benchmark::State &state)
{
    const test::Camera camera;
    const int32_t value = 1;
    rova_log_set_enable(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(rova_set_adjdata(ADJ_ID_CIS_SN, &value, sizeof(value), 0));
    rova_log_set_enable(0);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(set_by_id)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace
