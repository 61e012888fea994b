// Copies of partitions in files: archives, folders, single files.
#include "tools/vcam/adj_store.h"

#include "platform/pref.h"
#include "platform/virtual/guard.h"
#include "platform/virtual/pref.h"
#include "platform/virtual/values.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/verb.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace vcam
{
namespace
{

constexpr char FOLDER[] = "tmp/backup"; // in an archive
constexpr char ARCHIVE[] = "pref.zip";

// Ends of unzip that are none of a damaged archive.
constexpr int DONE = 0, WARNED = 1, NO_SUCH_FILE = 11;

class temporary_folder
{
public:
    temporary_folder() : path((fs::temp_directory_path() / "vcam-XXXXXX").string())
    {
        if (mkdtemp(path.data()) == nullptr)
            throw failure("no temporary folder can be made");
    }
    ~temporary_folder()
    {
        std::error_code error;
        fs::remove_all(path, error);
    }
    temporary_folder(const temporary_folder &) = delete;
    temporary_folder &operator=(const temporary_folder &) = delete;

    std::string path;
};

struct ending {
    int status;
    std::string output;
};

pid_t spawn(const std::vector<std::string> &words, const std::string &folder, int output)
{
    std::vector<char *> argv;
    for (const std::string &word : words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int error = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw failure(words.front() + " cannot be started: " + std::strerror(error));
    return pid;
}

// Up to `limit` bytes of what it says; it may end by the closed pipe when it has more to say.
std::string read_output(int fd, std::size_t limit)
{
    std::string output;
    char part[65536];
    for (ssize_t got; output.size() < limit && (got = read(fd, part, sizeof(part))) > 0;)
        output.append(part, static_cast<std::size_t>(got));
    return output;
}

ending run_program(const std::vector<std::string> &words, const std::string &folder,
                   std::size_t limit)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw failure("no pipe can be made");
    virt::Descriptor out(ends[0]), in(ends[1]);
    const pid_t pid = spawn(words, folder, in.get());
    in = virt::Descriptor();
    ending end = {-1, read_output(out.get(), limit)};
    out = virt::Descriptor();
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status))
        end.status = WEXITSTATUS(status);
    return end;
}

std::string quoted(const fs::path &path)
{
    return "'" + path.string() + "'";
}

bool is_known(int partition)
{
    return std::find(std::begin(ADJ_PARTITIONS), std::end(ADJ_PARTITIONS), partition) !=
           std::end(ADJ_PARTITIONS);
}

// The partition that the contents are, checked against the one that the name promises (-1: none).
int checked_partition(const std::string &what, const std::string &contents, int promised)
{
    const int partition = virt::partition_of(contents);
    if (partition < 0)
        throw failure(what + " is no whole file of a partition");
    if (promised >= 0 && partition != promised)
        throw failure(what + " holds the partition '" + partition_name(partition) + "'");
    if (!is_known(partition))
        throw failure(what + " holds '" + partition_name(partition) +
                      "', which is no partition of adj");
    return partition;
}

partition_map from_file(const fs::path &source, std::string contents)
{
    const int promised = virt::partition_number(source.stem().string());
    const int partition = checked_partition(quoted(source), contents, promised);
    return {{partition, std::move(contents)}};
}

// All that `read` finds under the partitions' names.
partition_map from_names(const std::string &what,
                         const std::function<std::optional<std::string>(const std::string &)> &read)
{
    partition_map partitions;
    for (const int partition : ADJ_PARTITIONS) {
        const std::string name = partition_name(partition) + ".bin";
        std::optional<std::string> contents = read(name);
        if (!contents)
            continue;
        checked_partition(what + ": " + name, *contents, partition);
        partitions[partition] = std::move(*contents);
    }
    if (partitions.empty())
        throw failure(what + " holds no partition");
    return partitions;
}

partition_map from_folder(const fs::path &source)
{
    return from_names(quoted(source), [&](const std::string &name) -> std::optional<std::string> {
        if (!fs::exists(source / name))
            return std::nullopt;
        std::optional<std::string> contents = read_file(source / name);
        if (!contents)
            throw failure(quoted(source / name) + " cannot be read");
        return contents;
    });
}

std::size_t longest_file()
{
    std::size_t longest = 0;
    for (const int partition : ADJ_PARTITIONS)
        longest = std::max<std::size_t>(longest, virt::partition(partition)->size);
    return PREF_HEADER_SIZE + longest;
}

partition_map from_archive(const fs::path &source)
{
    // Under a plain name, since unzip takes special characters in one for a pattern.
    const temporary_folder folder;
    fs::create_symlink(fs::absolute(source), fs::path(folder.path) / ARCHIVE);
    return from_names(quoted(source), [&](const std::string &name) -> std::optional<std::string> {
        const std::string member = std::string(FOLDER) + "/" + name;
        // A password that is none keeps unzip from asking for one.
        const std::size_t limit = longest_file() + 1;
        ending end =
            run_program({"unzip", "-P", "none", "-p", ARCHIVE, member}, folder.path, limit);
        if (end.status == NO_SUCH_FILE)
            return std::nullopt;
        if (end.status != DONE && end.status != WARNED && end.output.size() < limit)
            throw failure(quoted(source) + " is damaged (unzip ended with " +
                          std::to_string(end.status) + ")");
        return std::move(end.output);
    });
}

partition_map from_camera(const fs::path &source)
{
    const std::string own = camera_root(); // which changes with the next line
    open_camera(source);
    partition_map partitions = camera_partitions();
    open_camera(own);
    return partitions;
}

} // namespace

partition_map read_backup(const fs::path &source)
{
    if (is_camera(source))
        return from_camera(source);
    if (fs::is_directory(source))
        return from_folder(source);
    std::optional<std::string> contents = read_file(source);
    if (!contents)
        throw failure(quoted(source) + " cannot be read");
    return contents->starts_with("PK") ? from_archive(source)
                                       : from_file(source, std::move(*contents));
}

void write_backup(const fs::path &archive, const partition_map &partitions)
{
    if (fs::exists(archive) && !fs::is_regular_file(archive))
        throw failure(quoted(archive) + " is no file");
    const temporary_folder folder;
    for (const auto &[partition, contents] : partitions)
        write_file(fs::path(folder.path) / FOLDER / (partition_name(partition) + ".bin"), contents);
    const ending end = run_program({"zip", "-q", "-r", ARCHIVE, FOLDER}, folder.path, 1);
    const std::optional<std::string> packed = read_file(fs::path(folder.path) / ARCHIVE);
    if (end.status != DONE || !packed)
        throw failure("the archive cannot be made (zip ended with " + std::to_string(end.status) +
                      ")");
    if (!virt::replace_file(fs::absolute(archive), *packed))
        throw failure(quoted(archive) + " cannot be written");
}

} // namespace vcam
