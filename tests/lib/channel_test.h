// What the tests of the channels to the camera application share.
#pragma once

#include "common/rova_cmd_data.h"
#include "lib/rova_cmd_response.h"
#include "tests/support/camera.h"
#include "tests/support/serving_end.h"

#include <csignal>
#include <optional>
#include <string>
#include <sys/types.h>

namespace test
{

cmd_data record_of(const std::string &cmd, const std::string &p0 = "");

std::string bytes_of(const auto &value)
{
    return {reinterpret_cast<const char *>(&value), sizeof(value)};
}

// How much of a channel this process holds: descriptors, areas, semaphores.
// The camera stack's thread of an earlier command may just be letting go of some.
std::size_t things_held();

// The answer of one that never acknowledges.
std::optional<std::string> never(int nth, const std::string &command_area);

// One of the two channels, as it is served and used by the library.
struct Served {
    const char *label;
    Channel channel;
    const char *name;    // in messages about the thread
    const char *already; // in messages of a second start or stop
    const char *log;     // of the thread
    const char *comm;    // its name, as long as the kernel keeps names
    const char *result;  // of the thread
    int (*start)();      // answers as the files below virtual/app/answer say
    int (*stop)();
    int (*send)(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer);

    int queue() const; // -1 and ENOENT when it is not there
    bool has_semaphore() const;
};
extern const Served SERVED_IPCC;
extern const Served SERVED_APP;

// The camera application as a process of its own, with one channel served by the library.
class Application
{
public:
    // It serves when the constructor returns.  No other thread may run meanwhile.
    Application(const Camera &camera, const Served &served);
    ~Application();
    Application(const Application &) = delete;
    Application &operator=(const Application &) = delete;

    int wait();                 // for its end: exit status, or 128 + signal
    int end(int signal_number); // sends it and waits
    int stop();                 // has it stop the channel and waits

private:
    [[noreturn]] void run(const Served &served) const;

    const Camera &camera_;
    const std::string up_;
    const std::string go_;
    pid_t pid_;
};

} // namespace test
