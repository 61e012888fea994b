#include "tests/lib/channel_test.h"

#include "lib/rova_app_thread.h"
#include "lib/rova_ipcc.h"
#include "platform/sys.h"
#include "platform/virtual/app.h"
#include "tests/support/process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace test
{
namespace
{

int exec_by_files(const cmd_data *record, rova_cmd_response *answer)
{
    if (virt::app_answer("app", record, answer) == virt::AppAnswer::never)
        for (;;)
            pause();
    return 1;
}

int start_ipcc()
{
    static char handle;
    return rova_start_ipcc(&handle);
}

int start_app()
{
    return rova_start_app(exec_by_files);
}

} // namespace

cmd_data record_of(const std::string &cmd, const std::string &p0)
{
    cmd_data record = {};
    cmd.copy(record.cmd, sizeof(record.cmd) - 1);
    p0.copy(record.p[0], sizeof(record.p[0]) - 1);
    record.p_count = p0.empty() ? 0 : 1;
    return record;
}

std::size_t things_held()
{
    namespace fs = std::filesystem;
    auto files = fs::directory_iterator("/proc/self/fd");
    auto count = static_cast<std::size_t>(std::distance(begin(files), end(files)));
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        count += line.find("/dev/mem") != std::string::npos ||
                 line.find("/dev/shm/sem.") != std::string::npos;
    return count;
}

std::optional<std::string> never(int /*nth*/, const std::string & /*command_area*/)
{
    return std::nullopt;
}

const Served SERVED_IPCC = {.label = "ipcc",
                            .channel = {},
                            .name = "rova ipcc",
                            .already = "rova ipcc",
                            .log = "rova-ipcc",
                            .comm = "ROVA IPCC Threa",
                            .result = "rova_ipcc_thread",
                            .start = start_ipcc,
                            .stop = rova_stop_ipcc,
                            .send = rova_ipcc_send};
const Served SERVED_APP = {.label = "app",
                           .channel = APP_CHANNEL,
                           .name = "rova app",
                           .already = "rova app thread",
                           .log = "rova-app",
                           .comm = "ROVA App Thread",
                           .result = "rova_app_thread",
                           .start = start_app,
                           .stop = rova_stop_app,
                           .send = rova_send_to_app};

int Served::queue() const
{
    return sys_msgget(sys_ftok("/tmp", channel.project), 0666);
}

bool Served::has_semaphore() const
{
    sem_t *semaphore = sys_sem_open(channel.semaphore, 0, 0, 0);
    if (semaphore == SEM_FAILED)
        return false;
    sem_close(semaphore);
    return true;
}

Application::Application(const Camera &camera, const Served &served)
    : camera_(camera), up_("/tmp/" + std::string(served.label) + ".up"),
      go_("/tmp/" + std::string(served.label) + ".go"), pid_(0)
{
    camera_.remove(up_);
    camera_.remove(go_);
    pid_ = fork();
    if (pid_ < 0)
        throw std::runtime_error("fork failed");
    if (pid_ == 0)
        run(served);
    EXPECT_TRUE(wait_for([&] { return camera_.exists(up_); }));
}

Application::~Application()
{
    end(SIGKILL);
}

int Application::wait()
{
    int status = 0;
    if (pid_ <= 0 || waitpid(std::exchange(pid_, -1), &status, 0) < 0)
        return -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int Application::end(int signal_number)
{
    if (pid_ > 0)
        send_signal(pid_, signal_number);
    return wait();
}

int Application::stop()
{
    camera_.write(go_, "");
    return wait();
}

void Application::run(const Served &served) const
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGABRT, SIG_DFL);
    if (served.start() != 1)
        _exit(2);
    camera_.write(up_, "");
    if (!wait_for([&] { return camera_.exists(go_); }, 100))
        _exit(3);
    _exit(served.stop() == 1 ? 0 : 4);
}

} // namespace test
