// A camera on a line: driven by vcam and rova, judged by what a person at it could see.
#pragma once

#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace e2e
{

class Line : public test::Camera
{
public:
    Line();  // vcam create, a hundred times faster than real time
    ~Line(); // kills what still runs

    // vcam -C <camera> words...
    test::Outcome vcam(const std::vector<std::string> &words, double seconds = 100) const;
    // rova words..., on this camera
    test::Outcome rova(const std::vector<std::string> &words) const;

    // Starts the daemon; a failure to come up fails the test.
    void start(const std::vector<std::string> &options = {"--test"}) const;
    // The same without a camera application and a sensor service.
    void start_alone(const std::vector<std::string> &options = {"--test"}) const;
    void stop() const; // by the stop key

    // A script on the card, and info.tg naming it.
    void card_script(const std::string &name, const std::string &text) const;
    void key(const std::string &name, int value) const;
    void key(const std::string &name, const std::string &value) const;

    // The process on this camera whose first argument is `path`, or -1.
    pid_t process(const std::string &path) const;
    // Of the daemon: the process number, or -1; a thread of it by name; the number of the system
    // call the thread waits in.
    pid_t daemon() const { return process("/usr/bin/rovad"); }
    pid_t app() const { return process("/usr/bin/camera-app"); }
    pid_t sensor_service() const { return process("/usr/bin/sensord"); }
    void signal(int number) const; // throws when the daemon is not up
    bool daemon_gone() const { return daemon() < 0; }
    pid_t thread(const std::string &name) const;
    long waiting_in(const std::string &thread_name) const;

    // How often the platform log tells `text`.
    int told(const std::string &text) const;
    bool tells(const std::string &text) const { return told(text) > 0; }
    // Waits for the text; false when it does not come.
    bool hears(const std::string &text, int times = 1) const;

    // The file log without its time stamps, from the line that tells the daemon's start on.
    std::vector<std::string> trace() const;

private:
    void start_by(std::vector<std::string> words, const std::vector<std::string> &options) const;
    void use() const;
};

} // namespace e2e
