#include "platform/dlog.h"

#include "platform/virtual/faults.h"
#include "platform/virtual/guard.h"
#include "platform/virtual/root.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <time.h>
#include <unistd.h>

namespace
{

std::string head(int priority, const char *tag)
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    char text[128];
    std::snprintf(text, sizeof(text), "%ld.%06ld %d %d %d %s ", static_cast<long>(now.tv_sec),
                  now.tv_nsec / 1000, getpid(), gettid(), priority, tag ? tag : "-");
    return text;
}

// One call is one line: the text's own line feed ends it, those within are shown.
std::string one_line(std::string text)
{
    if (text.ends_with('\n'))
        text.pop_back();
    for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
        text.replace(at, 1, "\\n");
    return text + "\n";
}

std::string formatted(const char *format, va_list args)
{
    char text[4096];
    int length = std::vsnprintf(text, sizeof(text), format, args);
    return length < 0 ? "" : text;
}

int append(const std::string &line)
{
    virt::Descriptor fd(
        open(virt::file("dlog").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    if (!fd)
        return -1;
    return static_cast<int>(write(fd.get(), line.data(), line.size()));
}

} // namespace

int __dlog_print(int, int priority, const char *tag, const char *format, ...)
{
    if (auto failure = virt::fault("__dlog_print", {tag, format}))
        return static_cast<int>(*failure);
    if (!virt::present())
        return -1;
    int error = errno;
    va_list args;
    va_start(args, format);
    std::string text = formatted(format, args);
    va_end(args);
    int result = append(head(priority, tag) + one_line(text));
    errno = error;
    return result;
}
