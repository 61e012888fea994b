#include "platform/virtual/calls.h"

#include "platform/virtual/guard.h"
#include "platform/virtual/root.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <time.h>
#include <unistd.h>

namespace virt
{

namespace
{

struct Log {
    std::string root;
    Descriptor fd;
};

// The file stays open: the next camera of this process gets its own.
std::shared_ptr<Log> open_log()
{
    static std::mutex lock;
    static auto &log = *new std::shared_ptr<Log>; // never destroyed: threads may outlive main()

    std::string now = root();
    std::lock_guard guard(lock);
    if (!log || log->root != now) {
        int fd = open(file("calls.jsonl").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        log = std::make_shared<Log>(Log{now, Descriptor(fd)});
    }
    return log;
}

double seconds_now()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const long microseconds = now.tv_nsec / 1000;
    return static_cast<double>(now.tv_sec) + static_cast<double>(microseconds) / 1e6;
}

} // namespace

void record(const char *call, const nlohmann::json &args, const nlohmann::json &result)
{
    using nlohmann::ordered_json;
    if (root().empty())
        return;
    int before = errno;
    ordered_json line = {{"time", seconds_now()},
                         {"pid", getpid()},
                         {"call", call},
                         {"args", args},
                         {"result", result}};
    std::string text = line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    std::shared_ptr<Log> log = open_log();
    ssize_t put = write(log->fd.get(), text.data(), text.size());
    (void)put; // a full disk loses the line, not the call
    errno = before;
}

void record(const char *call, const nlohmann::json &args)
{
    record(call, args, nullptr);
}

} // namespace virt
