// The files, descriptors, kernel objects and clocks of the camera (sys_system.cpp: its programs).
#include "platform/sys.h"

#include "platform/virtual/calls.h"
#include "platform/virtual/faults.h"
#include "platform/virtual/memory.h"
#include "platform/virtual/motion.h"
#include "platform/virtual/objects.h"
#include "platform/virtual/processes.h"
#include "platform/virtual/root.h"
#include "platform/virtual/uninterrupted.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <sys/ioctl.h>
#include <sys/msg.h>
#include <unistd.h>

using virt::fault;

namespace
{

// A path's place on the PC; a null pointer is an empty path, which the C library refuses.
class Place
{
public:
    explicit Place(const char *path) : text_(virt::path(path ? path : "")) {}
    const char *get() const { return text_.c_str(); }
    const std::string &text() const { return text_; }

private:
    std::string text_;
};

bool has_camera()
{
    return !virt::root().empty();
}

// Opening an attribute file for reading is one reading of its value.
void play_before(const Place &place, bool reading)
{
    if (!reading || !has_camera())
        return;
    int before = errno;
    virt::play(place.text());
    errno = before;
}

std::string hexadecimal(unsigned long number)
{
    char text[20];
    std::snprintf(text, sizeof(text), "0x%08lx", number);
    return text;
}

// What a driver would be handed, as numbers: requests of odd sizes are told without.
nlohmann::json told(unsigned long request, const void *argument)
{
    nlohmann::json numbers = nlohmann::json::array();
    size_t size = _IOC_SIZE(request);
    if (!(_IOC_DIR(request) & _IOC_WRITE) || !argument || size % sizeof(int32_t) != 0)
        return numbers;
    for (size_t at = 0; at < size; at += sizeof(int32_t)) {
        int32_t number = 0;
        std::memcpy(&number, static_cast<const char *>(argument) + at, sizeof(number));
        numbers.push_back(number);
    }
    return numbers;
}

// A request that reads is answered with the numbers of virtual/ioctl/NODE.REQUEST, zeros behind
// them.
void answer(const std::string &node, unsigned long request, void *argument)
{
    if (!(_IOC_DIR(request) & _IOC_READ) || !argument)
        return;
    std::string name = node.substr(node.rfind('/') + 1) + "." + hexadecimal(request);
    std::istringstream numbers(virt::read_value(virt::file("ioctl/" + name)).value_or(""));
    char *out = static_cast<char *>(argument);
    std::memset(out, 0, _IOC_SIZE(request));
    int32_t number = 0;
    for (size_t left = _IOC_SIZE(request); left > 0 && numbers >> number;) {
        size_t piece = std::min(left, sizeof(number));
        std::memcpy(out, &number, piece);
        out += piece;
        left -= piece;
    }
}

int device_ioctl(const std::string &node, unsigned long request, void *argument)
{
    if (auto result = virt::motion_ioctl(node, request, argument))
        return *result;
    int before = errno;
    bool only_reads = _IOC_DIR(request) == _IOC_READ;
    if (!only_reads)
        virt::record("sys_ioctl", {node, hexadecimal(request), told(request, argument)}, 0);
    answer(node, request, argument);
    errno = before;
    return 0;
}

// Out of line for virt::uninterrupted.
[[gnu::noinline]] double camera_speed()
{
    return has_camera() ? virt::speed() : 1;
}

useconds_t real_microseconds(useconds_t microseconds)
{
    const double real = microseconds / virt::uninterrupted(camera_speed);
    if (microseconds > 0 && real < 1)
        return 1;
    return static_cast<useconds_t>(std::min(real, static_cast<double>(UINT_MAX)));
}

void add_camera_time(timespec *time, double nanoseconds)
{
    constexpr long billion = 1000000000;
    auto wait = static_cast<long long>(nanoseconds / camera_speed());
    time->tv_sec += static_cast<time_t>(wait / billion);
    time->tv_nsec += static_cast<long>(wait % billion);
    if (time->tv_nsec >= billion) {
        time->tv_sec++;
        time->tv_nsec -= billion;
    }
}

std::optional<long> sleep_fault()
{
    return virt::uninterrupted([] { return fault("sys_usleep"); });
}

} // namespace

int sys_open(const char *path, int flags, mode_t mode)
{
    if (auto failure = fault("sys_open", {path}))
        return static_cast<int>(*failure);
    Place place(path);
    if (has_camera() && place.text() == virt::path("/dev/mem"))
        virt::make_memory(place.text());
    play_before(place, (flags & O_ACCMODE) != O_WRONLY && !(flags & O_TRUNC));
    return open(place.get(), flags, mode);
}

FILE *sys_fopen(const char *path, const char *mode)
{
    if (fault("sys_fopen", {path}))
        return nullptr;
    Place place(path);
    play_before(place, *mode == 'r');
    return fopen(place.get(), mode);
}

int sys_access(const char *path, int mode)
{
    if (auto failure = fault("sys_access", {path}))
        return static_cast<int>(*failure);
    return access(Place(path).get(), mode);
}

int sys_stat(const char *path, struct stat *status)
{
    if (auto failure = fault("sys_stat", {path}))
        return static_cast<int>(*failure);
    return stat(Place(path).get(), status);
}

int sys_rename(const char *from, const char *to)
{
    if (auto failure = fault("sys_rename", {from, to}))
        return static_cast<int>(*failure);
    return rename(Place(from).get(), Place(to).get());
}

int sys_unlink(const char *path)
{
    if (auto failure = fault("sys_unlink", {path}))
        return static_cast<int>(*failure);
    return unlink(Place(path).get());
}

int sys_mkdir(const char *path, mode_t mode)
{
    if (auto failure = fault("sys_mkdir", {path}))
        return static_cast<int>(*failure);
    return mkdir(Place(path).get(), mode);
}

DIR *sys_opendir(const char *path)
{
    if (fault("sys_opendir", {path}))
        return nullptr;
    Place place(path);
    if (has_camera() &&
        (place.text() == virt::path("/proc") || place.text() == virt::path("/proc/")))
        virt::refresh_processes();
    return opendir(place.get());
}

ssize_t sys_write(int fd, const void *data, size_t size)
{
    if (auto failure = virt::fault_on("sys_write", fd))
        return *failure;
    return write(fd, data, size);
}

int sys_fdatasync(int fd)
{
    if (auto failure = virt::fault_on("sys_fdatasync", fd))
        return static_cast<int>(*failure);
    return fdatasync(fd);
}

int sys_ioctl(int fd, unsigned long request, void *argument)
{
    if (auto failure = virt::fault_on("sys_ioctl", fd)) {
        int error = errno;
        virt::record("sys_ioctl",
                     {virt::name_behind(fd), hexadecimal(request), told(request, argument)},
                     *failure);
        errno = error;
        return static_cast<int>(*failure);
    }
    std::string node = has_camera() ? virt::name_behind(fd) : "";
    if (node.starts_with("/dev/") && node != "/dev/null")
        return device_ioctl(node, request, argument);
    return ioctl(fd, request, argument);
}

// The camera's files are the PC's, which keeps them without being asked.
void sys_sync(void)
{
    if (fault("sys_sync"))
        return;
    if (!has_camera())
        return sync();
    virt::record("sys_sync", nlohmann::json::array());
}

// As with the C library's call, two names of one file give one key, and only the project's low
// eight bits count.
key_t sys_ftok(const char *path, int project)
{
    if (auto failure = fault("sys_ftok", {path}))
        return static_cast<key_t>(*failure);
    Place place(path);
    if (!has_camera())
        return ftok(place.get(), project);
    char found[PATH_MAX];
    if (!realpath(place.get(), found))
        return -1;
    std::string text = virt::root() + '\n' + found + '\n' + std::to_string(project & 0xff);
    unsigned long long sum = virt::hash(text);
    key_t key = static_cast<key_t>(sum ^ (sum >> 32));
    return key == -1 || key == IPC_PRIVATE ? 1 : key;
}

int sys_msgget(key_t key, int flags)
{
    if (auto failure = fault("sys_msgget"))
        return static_cast<int>(*failure);
    int queue = msgget(key, flags);
    if (queue >= 0 && has_camera())
        virt::note_queue(queue, key);
    return queue;
}

int sys_msgctl(int queue, int command, void *attributes)
{
    if (auto failure = fault("sys_msgctl"))
        return static_cast<int>(*failure);
    int result = msgctl(queue, command, static_cast<msqid_ds *>(attributes));
    if (result == 0 && command == IPC_RMID && has_camera())
        virt::forget_queue(queue);
    return result;
}

sem_t *sys_sem_open(const char *name, int flags, mode_t mode, unsigned int value)
{
    if (fault("sys_sem_open", {name}))
        return SEM_FAILED;
    if (!has_camera())
        return sem_open(name, flags, mode, value);
    sem_t *semaphore = sem_open(virt::semaphore_name(name).c_str(), flags, mode, value);
    if (semaphore != SEM_FAILED)
        virt::note_semaphore(name);
    return semaphore;
}

int sys_sem_unlink(const char *name)
{
    if (auto failure = fault("sys_sem_unlink", {name}))
        return static_cast<int>(*failure);
    if (!has_camera())
        return sem_unlink(name);
    virt::forget_semaphore(name);
    return sem_unlink(virt::semaphore_name(name).c_str());
}

int sys_usleep(useconds_t microseconds)
{
    if (auto failure = sleep_fault())
        return static_cast<int>(*failure);
    return usleep(real_microseconds(microseconds));
}

time_t sys_time(time_t *out)
{
    if (auto failure = fault("sys_time"))
        return *failure;
    return time(out);
}

void sys_deadline(unsigned int milliseconds, struct timespec *deadline)
{
    clock_gettime(CLOCK_REALTIME, deadline);
    add_camera_time(deadline, milliseconds * 1e6);
}

// Cutting the scaled deadline to full seconds would leave nothing of a short wait.
void sys_deadline_seconds(unsigned int seconds, struct timespec *deadline)
{
    clock_gettime(CLOCK_REALTIME, deadline);
    add_camera_time(deadline, seconds * 1e9 - static_cast<double>(deadline->tv_nsec));
}
