#include "tests/support/serving_end.h"

#include "platform/sys.h"
#include "tests/support/process.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/msg.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test
{
namespace
{

constexpr off_t COMMAND_AREA = 0x85c20000;
constexpr std::size_t COMMAND_AREA_SIZE = 4096;
constexpr off_t ANSWER_AREA = 0x85c21000;
constexpr std::size_t ANSWER_AREA_SIZE = 0xff000;

char *map(int memory, off_t address, std::size_t size)
{
    void *area = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, memory, address);
    if (area == MAP_FAILED)
        _exit(3);
    return static_cast<char *>(area);
}

// Each channel of a camera has notes of its own.
std::string note_of(const Channel &channel, const char *what, int nth = 0)
{
    return "/tmp/" + std::string(channel.semaphore) + "." + what + "." + std::to_string(nth);
}

// Appears at once, with its whole contents.
void write_note(const Camera &camera, const std::string &name, const std::string &contents)
{
    std::ofstream(camera.path(name + ".new"), std::ios::binary) << contents;
    std::filesystem::rename(camera.path(name + ".new"), camera.path(name));
}

void post(const char *name)
{
    sem_t *semaphore = sys_sem_open(name, O_CREAT, 0666, 0);
    if (semaphore == SEM_FAILED || sem_post(semaphore) != 0)
        _exit(4);
    sem_close(semaphore);
}

std::string number_bytes(uint32_t number, int size)
{
    std::string bytes;
    for (int i = 0; i < size; i++)
        bytes += static_cast<char>(number >> (8 * i) & 0xff);
    return bytes;
}

} // namespace

ServingEnd::ServingEnd(const Camera &camera, const Answer &answer, const Channel &channel)
    : camera_(camera), channel_(channel), pid_(fork())
{
    if (pid_ < 0)
        throw std::runtime_error("fork failed");
    if (pid_ == 0)
        serve(answer);
    EXPECT_TRUE(wait_for([&] { return camera_.exists(note_of(channel_, "serving")); }));
}

ServingEnd::~ServingEnd()
{
    send_signal(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

bool ServingEnd::received(int nth) const
{
    return camera_.exists(note_of(channel_, "received", nth));
}

bool ServingEnd::answered(int nth) const
{
    return camera_.exists(note_of(channel_, "answered", nth));
}

ServingEnd::Command ServingEnd::command(int nth) const
{
    EXPECT_TRUE(wait_for([&] { return received(nth); }));
    const std::string note = camera_.read(note_of(channel_, "received", nth));
    Command seen = {};
    if (note.size() <= sizeof(seen.type) + 1 + COMMAND_AREA_SIZE)
        return seen;
    std::memcpy(&seen.type, note.data(), sizeof(seen.type));
    seen.answer_area_is_clear = note[sizeof(seen.type)] != 0;
    seen.command_area = note.substr(sizeof(seen.type) + 1, COMMAND_AREA_SIZE);
    seen.message = note.substr(sizeof(seen.type) + 1 + COMMAND_AREA_SIZE);
    return seen;
}

void ServingEnd::serve(const Answer &answer) const
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int queue = sys_msgget(sys_ftok("/tmp", channel_.project), 03666);
    const int memory = sys_open("/dev/mem", O_RDWR, 0);
    if (queue < 0 || memory < 0)
        _exit(2);
    const char *command_area = map(memory, COMMAND_AREA, COMMAND_AREA_SIZE);
    char *answer_area = map(memory, ANSWER_AREA, ANSWER_AREA_SIZE);
    write_note(camera_, note_of(channel_, "serving"), "");

    for (int nth = 1;; nth++) {
        struct {
            long type;
            char bytes[64];
        } message = {};
        const ssize_t size = msgrcv(queue, &message, channel_.message_size, 0, 0);
        if (size < 0)
            _exit(5);
        const std::string area(command_area, COMMAND_AREA_SIZE);
        const bool clear = std::all_of(answer_area, answer_area + ANSWER_AREA_SIZE,
                                       [](char byte) { return byte == 0; });
        std::string note(reinterpret_cast<const char *>(&message.type), sizeof(message.type));
        note += static_cast<char>(clear);
        note += area;
        note.append(message.bytes, static_cast<std::size_t>(size));
        write_note(camera_, note_of(channel_, "received", nth), note);

        const std::optional<std::string> bytes = answer(nth, area);
        if (!bytes)
            continue;
        std::memcpy(answer_area, bytes->data(), std::min(bytes->size(), ANSWER_AREA_SIZE));
        post(channel_.semaphore);
        write_note(camera_, note_of(channel_, "answered", nth), "");
    }
}

std::string answer_bytes(uint8_t response_type, uint8_t result, uint32_t param1, uint32_t param2,
                         uint32_t param3, uint16_t stream_type, const std::string &text)
{
    std::string padded = text;
    padded.resize(510, '\0');
    return number_bytes(response_type, 1) + number_bytes(result, 1) + number_bytes(param1, 4) +
           number_bytes(param2, 4) + number_bytes(param3, 4) + number_bytes(stream_type, 2) +
           padded;
}

std::optional<std::string> plain_ok(int /*nth*/, const std::string & /*command_area*/)
{
    return answer_bytes(0, 0);
}

} // namespace test
