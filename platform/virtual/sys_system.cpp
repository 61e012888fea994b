// Programs of the camera: commands are mapped so that nothing outside its directory can be reached
// by the paths of a command line, and nothing that switches the PC off is found.
#include "platform/sys.h"

#include "platform/virtual/calls.h"
#include "platform/virtual/faults.h"
#include "platform/virtual/root.h"
#include "platform/virtual/shell.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

// What a PC may have in its bin folders that a virtual camera must not start.
constexpr const char *forbidden[] = {
    "chroot", "dmesg",  "halt",     "hostnamectl", "losetup",     "mount",  "poweroff",
    "reboot", "rfkill", "shutdown", "systemctl",   "timedatectl", "umount", "sudo",
};

// zip keeps the names it is given, and on the camera those count from the root.
constexpr const char *zip_function = R"(zip() (
for word do
shift
case $word in "$ROVA_SYSROOT"/*) word=${word#"$ROVA_SYSROOT"/};; esac
set -- "$@" "$word"
done
cd "$ROVA_SYSROOT" && command zip "$@"
)
)";

bool stands_in(const char *program)
{
    return access(virt::path(std::string("/usr/bin/") + program).c_str(), X_OK) == 0;
}

std::string prelude()
{
    std::string text = "exec </dev/null\n"; // a program that asks must not wait for a person
    if (!stands_in("zip"))
        text += zip_function;
    for (const char *program : forbidden)
        if (!stands_in(program))
            text += std::string(program) + "() { echo '" + program +
                    ": not on this camera' >&2; return 127; }\n";
    return text;
}

// A path may begin at the start of a word, behind an operator, an opening quote or "name=".
bool may_begin(char before)
{
    return std::strchr(" \t\n;|&()<>='\"`", before) != nullptr;
}

bool is_word(const std::string &command, size_t at, const char *word)
{
    size_t size = std::strlen(word);
    if (command.compare(at, size, word) != 0)
        return false;
    return at + size >= command.size() || std::strchr(" \t\n;|&()<>'\"`", command[at + size]);
}

// A component ".." of a path.
bool leads_up(const std::string &command, size_t at)
{
    return is_word(command, at, "/..") || command.compare(at, 4, "/../") == 0;
}

bool ends_word(char letter)
{
    return std::strchr(" \t\n;|&()<>", letter) != nullptr;
}

// As at the camera's own root, ".." behind it stays there.
void leave_folder(std::string &path, std::vector<size_t> &components)
{
    if (components.empty())
        return;
    path.resize(components.back());
    components.pop_back();
}

// The root for the shell, which may hold any character.  Inside the command's own quotes those are
// closed, and opened again behind the root.
std::string quoted_root(char quote)
{
    std::string text = "'";
    for (char letter : virt::root())
        text += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    text += "'";
    return quote ? std::string(1, quote) + text + quote : text;
}

// The quote that holds from the next letter on.
char quote_behind(char letter, char quote, bool escaped)
{
    if (escaped || (letter != '\'' && letter != '"'))
        return quote;
    if (!quote)
        return letter;
    return quote == letter ? '\0' : quote;
}

// What `given` holds, but for the camera's own root and folder of programs.
std::vector<std::string> environment(char *const given[])
{
    std::vector<std::string> list;
    for (char *const *entry = given; entry && *entry; entry++)
        if (std::strncmp(*entry, "PATH=", 5) != 0 && std::strncmp(*entry, "ROVA_SYSROOT=", 13) != 0)
            list.emplace_back(*entry);
    list.push_back("PATH=" + virt::path("/usr/bin") + ":/usr/bin:/bin");
    list.push_back("ROVA_SYSROOT=" + virt::root());
    return list;
}

// Recorded ahead, since it does not come back.
std::optional<long> told_ahead(const char *call, const char *file, char *const argv[])
{
    nlohmann::json words = nlohmann::json::array();
    for (char *const *word = argv; word && *word; word++)
        words.push_back(*word);
    const std::optional<long> failure = virt::fault(call, {file});
    const int error = errno;
    if (failure)
        virt::record(call, {file, words}, *failure);
    else
        virt::record(call, {file, words});
    errno = error;
    return failure;
}

int wait_for_end(pid_t child)
{
    int status = -1;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return status;
}

std::vector<char *> pointers_to(std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

int run(const std::string &script)
{
    std::vector<std::string> variables = environment(environ);
    std::vector<char *> pointers = pointers_to(variables);
    pid_t child = fork();
    if (child == 0) {
        execle("/bin/sh", "sh", "-c", script.c_str(), nullptr, pointers.data());
        _exit(127);
    }
    return child < 0 ? -1 : wait_for_end(child);
}

} // namespace

namespace virt
{

std::string map_command(const std::string &command)
{
    std::string mapped;
    std::vector<size_t> components; // of the path that is being copied: where they begin in mapped
    bool in_path = false, escaped = false;
    char quote = '\0', before = ' ';
    for (size_t at = 0; at < command.size(); at++) {
        char letter = command[at];
        if (letter == '/' && !escaped && may_begin(before) && !is_word(command, at, "/dev/null")) {
            mapped += quoted_root(quote);
            components.clear();
            in_path = true;
        }
        in_path = in_path && (quote || !ends_word(letter));
        if (in_path && leads_up(command, at)) {
            leave_folder(mapped, components);
            at += 2;
            before = '.';
            continue;
        }
        if (in_path && letter == '/')
            components.push_back(mapped.size());
        mapped += letter;
        quote = quote_behind(letter, quote, escaped);
        escaped = letter == '\\' && !escaped && quote != '\'';
        before = letter;
    }
    return mapped;
}

} // namespace virt

int sys_system(const char *command)
{
    if (auto failure = virt::fault("sys_system", {command})) {
        virt::record("sys_system", {command ? command : ""}, *failure);
        return static_cast<int>(*failure);
    }
    if (!virt::present())
        return -1;
    if (!command)
        return 1;
    int status = run(prelude() + virt::map_command(command));
    virt::record("sys_system", {command}, status);
    return status;
}

int sys_execvp(const char *file, char *const argv[])
{
    if (auto failure = told_ahead("sys_execvp", file, argv))
        return static_cast<int>(*failure);
    if (virt::root().empty())
        return execvp(file, argv);
    std::string name = file;
    std::string place = name.find('/') == std::string::npos ? "/usr/bin/" + name : name;
    return execv(virt::path(place).c_str(), argv);
}

int sys_execve(const char *path, char *const argv[], char *const envp[])
{
    if (auto failure = told_ahead("sys_execve", path, argv))
        return static_cast<int>(*failure);
    if (virt::root().empty())
        return execve(path, argv, envp);
    std::vector<std::string> variables = environment(envp);
    return execve(virt::path(path).c_str(), argv, pointers_to(variables).data());
}
