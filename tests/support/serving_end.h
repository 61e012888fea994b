// The camera application at the other end of a channel, as a process of its own that knows the wire
// formats only: numbers and offsets, none of the tree's records.
#pragma once

#include "tests/support/camera.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace test
{

struct Channel {
    int project = 0x59843123;
    const char *semaphore = "sem_rova_resp";
    std::size_t message_size = 8;
};

// The channel of the application's own thread; without one it is the camera stack's.
inline constexpr Channel APP_CHANNEL = {0x59849173, "sem_rova_app_resp", 4};

class ServingEnd
{
public:
    // What the nth command (1: the first) is answered with, as the bytes at the start of the answer
    // area; none: it is never acknowledged.  Runs in the other process.
    using Answer =
        std::function<std::optional<std::string>(int nth, const std::string &command_area)>;

    struct Command {
        long type;
        std::string message;      // what came behind the type
        std::string command_area; // all of it
        bool answer_area_is_clear;
    };

    // The queue is there when the constructor returns.  No other thread may run meanwhile.
    ServingEnd(const Camera &camera, const Answer &answer, const Channel &channel = {});
    ~ServingEnd();
    ServingEnd(const ServingEnd &) = delete;
    ServingEnd &operator=(const ServingEnd &) = delete;

    bool received(int nth) const;
    bool answered(int nth) const;
    Command command(int nth) const; // waits for it

private:
    [[noreturn]] void serve(const Answer &answer) const;

    const Camera &camera_;
    const Channel channel_;
    pid_t pid_;
};

// The bytes of an answer: the numbers little-endian, `text` cut or filled with zeros to 510 bytes.
std::string answer_bytes(uint8_t response_type, uint8_t result, uint32_t param1 = 0,
                         uint32_t param2 = 0, uint32_t param3 = 0, uint16_t stream_type = 0,
                         const std::string &text = "");

// The answer of one that carries out everything.
std::optional<std::string> plain_ok(int nth, const std::string &command_area);

} // namespace test
