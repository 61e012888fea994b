// A camera with a Bluetooth radio, and commands that wait for its events.
#pragma once

#include "platform/virtual/keys.h"
#include "tests/command/command_test.h"

#include <filesystem>
#include <future>

namespace test
{

class BluetoothTest : public CommandTest
{
protected:
    // "delay" is virtual/radio/bluetooth/delay.
    void radio(const std::string &name, const std::string &value) const
    {
        camera.write("/virtual/radio/bluetooth/" + name, value + "\n");
    }
    std::string radio(const std::string &name) const
    {
        return camera.read("/virtual/radio/bluetooth/" + name);
    }

    void add_script(const std::string &name, const std::string &text) const
    {
        const std::string path = "/usr/etc/bluetooth/" + name;
        camera.write(path, text);
        std::filesystem::permissions(camera.path(path), std::filesystem::perms::owner_all);
    }

    // A script that sets the adapter.
    std::string sets_adapter(int on) const
    {
        return "#!/bin/sh\necho " + std::to_string(on) + " >" +
               camera.path("/virtual/radio/bluetooth/adapter").string() + "\n";
    }

    // Runs the command on a thread of its own, as the server does.
    std::future<std::string> start(const std::string &line)
    {
        return std::async(std::launch::async, [this, line] { return run(line); });
    }
    bool hears(const std::string &text, std::size_t times = 1) const
    {
        return wait_for([&] { return times_logged(text) >= times; });
    }
    static void ask_to_stop() { virt::set_int("memory/rova/stop_cmd", 1); }
};

} // namespace test
