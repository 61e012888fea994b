#include "tools/vcam/background.h"

#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/verb.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vcam
{
namespace
{

constexpr std::size_t LAST_LINES = 10;

bool is_program(const fs::path &path)
{
    std::error_code error;
    return fs::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

fs::path search_path(const program_place &place)
{
    const char *path = std::getenv("PATH");
    std::string rest = path != nullptr ? path : "";
    while (!rest.empty()) {
        const std::size_t end = rest.find(':');
        const fs::path program = fs::path(rest.substr(0, end)) / place.file;
        if (is_program(program))
            return fs::absolute(program);
        rest.erase(0, end == std::string::npos ? end : end + 1);
    }
    const std::string option = place.option != nullptr ? std::string("; ") + place.option : "";
    throw failure(std::string(place.file) + " is neither beside vcam nor in $PATH" + option +
                  (option.empty() ? "" : " names it"));
}

// Child of the fork: only plain system calls.
[[noreturn]] void become(const char *program, const char *folder, const char *output,
                         char *const argv[])
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    setsid();
    const int in = open("/dev/null", O_RDONLY);
    const int out = open(output, O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (in < 0 || out < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(out, 2) < 0 ||
        chdir(folder) != 0)
        _exit(127);
    closefrom(3);
    execv(program, argv);
    perror("the program cannot be started");
    _exit(127);
}

pid_t launch(const fs::path &program, const std::vector<std::string> &words, const fs::path &folder,
             const fs::path &output)
{
    std::vector<char *> argv;
    for (const std::string &word : words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0)
        become(program.c_str(), folder.c_str(), output.c_str(), argv.data());
    if (pid < 0)
        throw failure("no process for " + words.front());
    return pid;
}

} // namespace

fs::path find_program(const program_place &place, const fs::path &given)
{
    if (!given.empty() && !is_program(given))
        throw failure("'" + given.string() + "' is no program");
    if (!given.empty())
        return fs::canonical(given);
    const fs::path own = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char *folder : place.folders) {
        const fs::path program = own / folder / place.file;
        if (is_program(program))
            return fs::canonical(program);
    }
    return search_path(place);
}

background_process::background_process(const fs::path &program,
                                       const std::vector<std::string> &words,
                                       const fs::path &folder, const char *output)
    : output_file_(virt::file(output)), output_start_(size_of(output_file_)),
      pid_(launch(program, words, folder, output_file_))
{
}

bool background_process::has_ended()
{
    int status = 0;
    if (!ended_)
        ended_ = waitpid(pid_, &status, WNOHANG) != 0;
    return ended_;
}

std::string background_process::output() const
{
    const std::string text = read_file(output_file_).value_or("");
    return text.size() > output_start_ ? text.substr(output_start_) : "";
}

std::uintmax_t size_of(const fs::path &path)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    return error ? 0 : size;
}

void print_output(const std::string &output)
{
    const std::vector<std::string> lines = split_lines(output);
    const std::size_t first = lines.size() > LAST_LINES ? lines.size() - LAST_LINES : 0;
    for (std::size_t i = first; i < lines.size(); i++)
        std::fprintf(stderr, "%s\n", lines[i].c_str());
}

} // namespace vcam
