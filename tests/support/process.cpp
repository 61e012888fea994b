#include "tests/support/process.h"

#include "tests/support/camera.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace test
{
namespace
{

int decode(int status)
{
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::vector<char *> pointers(const std::vector<std::string> &words)
{
    std::vector<char *> result;
    for (const std::string &word : words)
        result.push_back(const_cast<char *>(word.c_str()));
    result.push_back(nullptr);
    return result;
}

struct Pipe {
    int read_end = -1;
    int write_end = -1;
    Pipe()
    {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("pipe2 failed");
        read_end = ends[0];
        write_end = ends[1];
    }
};

// Reads both ends until they close; false when the time is up first.
bool drain(int out_fd, int err_fd, Outcome &outcome, double seconds)
{
    std::array<pollfd, 2> fds{{{out_fd, POLLIN, 0}, {err_fd, POLLIN, 0}}};
    std::array<std::string *, 2> texts{&outcome.out, &outcome.err};
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
        if (poll(fds.data(), fds.size(), static_cast<int>(seconds * 1000)) <= 0)
            return false;
        for (std::size_t i = 0; i < fds.size(); i++) {
            if (fds[i].revents == 0)
                continue;
            std::array<char, 4096> buffer{};
            const ssize_t got = read(fds[i].fd, buffer.data(), buffer.size());
            if (got > 0)
                texts[i]->append(buffer.data(), static_cast<std::size_t>(got));
            else
                fds[i].fd = -1;
        }
    }
    return true;
}

} // namespace

Outcome run(const std::vector<std::string> &command, const std::string &input, double seconds)
{
    Pipe in;
    Pipe out;
    Pipe err;
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("fork failed");
    if (child == 0) {
        dup2(in.read_end, 0);
        dup2(out.write_end, 1);
        dup2(err.write_end, 2);
        execvp(command[0].c_str(), pointers(command).data());
        _exit(127);
    }
    close(in.read_end);
    close(out.write_end);
    close(err.write_end);
    std::signal(SIGPIPE, SIG_IGN);
    (void)!write(in.write_end, input.data(), input.size());
    close(in.write_end);

    Outcome outcome{};
    if (!drain(out.read_end, err.read_end, outcome, seconds))
        send_signal(child, SIGKILL);
    close(out.read_end);
    close(err.read_end);
    int status = 0;
    waitpid(child, &status, 0);
    outcome.status = decode(status);
    return outcome;
}

void send_signal(pid_t pid, int number)
{
    if (pid <= 1)
        throw std::invalid_argument("no process to send a signal to");
    kill(pid, number);
}

Process::Process(const std::vector<std::string> &command, const std::string &name,
                 const std::string &output)
    : pid_(fork())
{
    if (pid_ < 0)
        throw std::runtime_error("fork failed");
    if (pid_ != 0)
        return;
    const int in = open("/dev/null", O_RDONLY);
    const int out =
        open(output.empty() ? "/dev/null" : output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    dup2(in, 0);
    dup2(out, 1);
    dup2(out, 2);
    std::vector<std::string> words = command;
    if (!name.empty())
        words[0] = name;
    execvp(command[0].c_str(), pointers(words).data());
    _exit(127);
}

Process::~Process()
{
    if (running())
        send_signal(pid_, SIGKILL);
    wait();
}

void Process::signal(int number)
{
    sent_ = number;
    send_signal(pid_, number);
}

bool Process::running()
{
    if (!ended_ && waitpid(pid_, &status_, WNOHANG) == pid_)
        ended_ = true;
    return !ended_;
}

int Process::wait(double seconds)
{
    const auto ended = [this] { return !running(); };
#ifdef ROVA_SANITIZE_THREAD
    // Its run time loses a signal now and then: taken from the kernel, and no handler called.
    constexpr double PATIENCE = 5;
    for (; sent_ != 0 && seconds > PATIENCE && !wait_for(ended, PATIENCE); seconds -= PATIENCE)
        send_signal(pid_, sent_);
#endif
    return wait_for(ended, seconds) ? decode(status_) : -1;
}

} // namespace test
