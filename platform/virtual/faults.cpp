#include "platform/virtual/faults.h"

#include "platform/virtual/guard.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace virt
{

namespace
{

struct Fault {
    long result = 0;
    long at = 0; // 0: every call
    int error = 0;
    std::string text;
};

// 0: no such error name.
int error_number(const std::string &name)
{
    for (int number = 1; number < 200; number++)
        if (const char *known = strerrorname_np(number); known && name == known)
            return number;
    return 0;
}

bool number_of(const std::string &word, long &number)
{
    char *end = nullptr;
    const bool hexadecimal = word.find_first_of("xX") != std::string::npos;
    number = std::strtol(word.c_str(), &end, hexadecimal ? 16 : 10);
    return end != word.c_str() && !*end;
}

// TEXT is the rest of the line: a path or a name may hold blanks.
bool parse_clause(const std::string &word, std::istringstream &line, Fault &fault)
{
    std::string value;
    if (word == "on") {
        std::getline(line >> std::ws, fault.text);
        return !fault.text.empty();
    }
    if (!(line >> value))
        return false;
    if (word == "at")
        return number_of(value, fault.at) && fault.at > 0;
    if (word != "errno")
        return false;
    fault.error = error_number(value);
    return fault.error != 0;
}

bool parse(const std::string &how, Fault &fault)
{
    std::istringstream line(how.substr(0, how.find('\n')));
    std::string word;
    if (!(line >> word) || !number_of(word, fault.result))
        return false;
    while (line >> word)
        if (!parse_clause(word, line, fault))
            return false;
    return true;
}

void complain(const std::string &call, const std::string &how)
{
    std::fprintf(stderr, "virtual/fail/%s: not understood: %s\n", call.c_str(), how.c_str());
}

std::string place_of(const std::string &call)
{
    return file("fail/" + call);
}
std::string count_place(const std::string &call)
{
    return file("fail/." + call + ".count");
}

// Counts this call for all processes.  The count belongs to one setting of the fault, told by the
// fault file's identity and time.
long count(const std::string &call, const struct stat &setting)
{
    Descriptor fd(open(count_place(call).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!fd.lock())
        return 0;
    struct Record {
        unsigned long long inode;
        long long seconds, nanoseconds, calls;
    } record = {};
    if (pread(fd.get(), &record, sizeof(record), 0) != static_cast<ssize_t>(sizeof(record)) ||
        record.inode != setting.st_ino || record.seconds != setting.st_mtim.tv_sec ||
        record.nanoseconds != setting.st_mtim.tv_nsec)
        record = {setting.st_ino, setting.st_mtim.tv_sec, setting.st_mtim.tv_nsec, 0};
    record.calls++;
    if (pwrite(fd.get(), &record, sizeof(record), 0) != static_cast<ssize_t>(sizeof(record)))
        return 0;
    return static_cast<long>(record.calls);
}

bool concerns(const Fault &fault, std::initializer_list<const char *> texts)
{
    if (fault.text.empty())
        return true;
    for (const char *text : texts)
        if (text && std::strstr(text, fault.text.c_str()))
            return true;
    return false;
}

std::optional<Fault> fault_of(const std::string &call, struct stat &setting)
{
    std::string place = place_of(call);
    if (stat(place.c_str(), &setting) != 0)
        return std::nullopt;
    Fault found;
    std::string how = read_file(place);
    if (parse(how, found))
        return found;
    complain(call, how.substr(0, how.find('\n')));
    return std::nullopt;
}

std::optional<long> apply(const char *call, const Fault &fault, const struct stat &setting)
{
    if (fault.at > 0 && count(call, setting) != fault.at)
        return std::nullopt;
    if (fault.error)
        errno = fault.error;
    return fault.result;
}

// A program without a camera has no faults, and a call that works must leave errno alone.
bool set_for(const char *call)
{
    const char *top = std::getenv("ROVA_SYSROOT");
    if (!top || !*top)
        return false;
    int before = errno;
    bool there = access(place_of(call).c_str(), F_OK) == 0;
    errno = before;
    return there;
}

} // namespace

std::optional<long> fault(const char *call, std::initializer_list<const char *> texts)
{
    if (!set_for(call))
        return std::nullopt;
    int before = errno;
    struct stat setting = {};
    std::optional<Fault> found = fault_of(call, setting);
    errno = before;
    if (!found || !concerns(*found, texts))
        return std::nullopt;
    return apply(call, *found, setting);
}

std::optional<long> fault_on(const char *call, int fd)
{
    if (!set_for(call))
        return std::nullopt;
    return fault(call, {name_behind(fd).c_str()});
}

bool set_fault(const std::string &call, const std::string &how)
{
    Fault parsed;
    if (!parse(how, parsed)) {
        complain(call, how);
        return false;
    }
    unlink(count_place(call).c_str());
    return write_value(place_of(call), how);
}

bool clear_fault(const std::string &call)
{
    unlink(count_place(call).c_str());
    return unlink(place_of(call).c_str()) == 0;
}

} // namespace virt
