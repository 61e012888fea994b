#include "tools/vcam/screen_program.h"

#include "tools/vcam/background.h"
#include "tools/vcam/verb.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace vcam
{
namespace
{

constexpr char NAME[] = "vcam-screen";

fs::path find_screen_program()
{
    static const program_place place = {NAME, {"."}, nullptr};
    return find_program(place, "");
}

} // namespace

void become_screen_program(std::vector<std::string> arguments)
{
    const fs::path program = find_screen_program();
    arguments.insert(arguments.begin(), NAME);
    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    throw failure("'" + program.string() + "' cannot be started (" + std::strerror(errno) + ")");
}

void save_screen(const fs::path &path)
{
    const pid_t pid = fork();
    if (pid == 0) {
        try {
            become_screen_program({"--png", path});
        } catch (const failure &error) {
            std::fprintf(stderr, "vcam: %s\n", error.what());
            _exit(TROUBLE);
        }
    }
    int status = 0;
    while (pid > 0 && waitpid(pid, &status, 0) < 0 && errno == EINTR)
        ;
    if (pid < 0 || status != 0)
        throw failure("the screen was not drawn");
}

} // namespace vcam
