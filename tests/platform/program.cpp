// platform_program WORD ARGUMENTS: a process of the camera that does one thing.
#include "platform/device.h"
#include "platform/pref.h"
#include "platform/sys.h"
#include "platform/vconf.h"
#include "platform/virtual/pref.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <glib.h>
#include <string>
#include <unistd.h>

namespace
{

// set KEY FIRST COUNT
int set(char **args)
{
    int first = std::atoi(args[1]), count = std::atoi(args[2]);
    for (int number = first; number < first + count; number++)
        if (vconf_set_int(args[0], number) != 0)
            return 1;
    return 0;
}

// flip KEY: two long texts in turn, for ever
int flip(char **args)
{
    std::string texts[] = {std::string(5000, 'a'), std::string(5000, 'b')};
    for (int round = 0;; round++)
        if (vconf_set_str(args[0], texts[round % 2].c_str()) != 0)
            return 1;
}

void echo(keynode_t *node, void *)
{
    vconf_set_int("test/echo", vconf_keynode_get_int(node));
}

// echo KEY: each integer of KEY goes to test/echo
int serve_echo(char **args)
{
    if (vconf_notify_key_changed(args[0], echo, nullptr) != 0)
        return 1;
    vconf_set_int("test/ready", 1);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return 0;
}

// read PATH COUNT: the values of COUNT readings, a line each
int read_values(char **args)
{
    for (int count = std::atoi(args[1]); count > 0; count--)
        std::puts(virt::read_value(virt::path(args[0])).value_or("none").c_str());
    return 0;
}

// axes NODE COUNT: the first number of COUNT readings of the motion sensor, a line each
int axes(char **args)
{
    int fd = sys_open(args[0], O_RDONLY | O_CLOEXEC, 0);
    for (int count = std::atoi(args[1]); count > 0; count--) {
        int sample[3] = {};
        if (sys_ioctl(fd, 0x800c6c01, sample) != 0)
            return 1;
        std::printf("%d\n", sample[0]);
    }
    return 0;
}

// properties COUNT: the results of device_get_property, a line each
int properties(char **args)
{
    for (int count = std::atoi(args[0]); count > 0; count--) {
        int value = 0;
        std::printf("%d\n", device_get_property(1, 1, &value));
    }
    return 0;
}

// number PARTITION KEY
int number(char **args)
{
    std::printf("%d\n", pref_get_long(std::atoi(args[0]), std::atoi(args[1])));
    return 0;
}

// save PARTITION: 1, 2, 3 ... all over the partition, saved, for ever
int save(char **args)
{
    int partition = std::atoi(args[0]);
    uint32_t size = 0;
    void *image = pref_get_addr(partition, &size);
    for (int round = 1;; round++) {
        std::memset(static_cast<char *>(image) + PREF_HEADER_SIZE, round, size);
        if (pref_save(partition) != 0)
            return 1;
    }
}

// keep PARTITION KEY COUNT: 1, 2, 3 ... COUNT at KEY, each saved and then found in the flash
int keep(char **args)
{
    int partition = std::atoi(args[0]), key = std::atoi(args[1]), count = std::atoi(args[2]);
    for (int32_t value = 1; value <= count; value++) {
        if (pref_set_long(partition, key, value) != 0 || pref_save(partition) != 0)
            return 1;
        const std::string flash = virt::read_file(virt::partition_file(partition, "flash"));
        const std::size_t at = PREF_HEADER_SIZE + static_cast<std::size_t>(key);
        if (flash.size() < at + sizeof(value) ||
            std::memcmp(flash.data() + at, &value, sizeof(value)) != 0)
            return 3;
    }
    return 0;
}

int key_of(char **args)
{
    std::printf("%d\n", sys_ftok(args[0], 1));
    return 0;
}

int execute(char **args)
{
    return sys_execvp(args[0], args + 1);
}

// execute_alone PATH WORD...: with nothing in its environment but GREETING
int execute_alone(char **args)
{
    char greeting[] = "GREETING=hello";
    char *const variables[] = {greeting, nullptr};
    return sys_execve(args[0], args + 1, variables);
}

int command(char **args)
{
    int status = sys_system(args[0]);
    std::printf("%d\n", status);
    return 0;
}

int get(char **args)
{
    int value = 0, result = vconf_get_int(args[0], &value);
    result += vconf_get_int(args[0], &value);
    std::printf("%d\n", result);
    return 0;
}

constexpr struct {
    const char *name;
    int (*run)(char **args);
} words[] = {
    {"set", set},         {"flip", flip},
    {"echo", serve_echo}, {"read", read_values},
    {"number", number},   {"save", save},
    {"keep", keep},       {"ftok", key_of},
    {"execute", execute}, {"command", command},
    {"get", get},         {"properties", properties},
    {"axes", axes},       {"execute_alone", execute_alone},
};

} // namespace

int main(int, char **argv)
{
    for (auto &word : words)
        if (std::strcmp(word.name, argv[1]) == 0)
            return word.run(argv + 2);
    return 2;
}
