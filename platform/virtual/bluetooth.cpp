// The Bluetooth service: its state lies below virtual/radio/bluetooth, where others change it too.
#include "platform/bluetooth.h"

#include "platform/virtual/guard.h"
#include "platform/virtual/later.h"
#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <glib-unix.h>
#include <memory>
#include <sstream>
#include <string>
#include <sys/inotify.h>
#include <utility>
#include <vector>

using nlohmann::json;

namespace
{

std::string place(const char *name)
{
    return virt::file(std::string("radio/bluetooth/") + name);
}

int adapter_state()
{
    return virt::read_number(place("adapter")).value_or(0) != 0 ? 1 : 0;
}

virt::Delay delay()
{
    return virt::read_delay(place("delay"));
}

bool parse_device(const std::string &line, bluetooth_device &device)
{
    int taken = 0;
    uint8_t *at = device.address;
    if (std::sscanf(line.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", at, at + 1, at + 2,
                    at + 3, at + 4, at + 5, &taken) != 6)
        return false;
    const std::size_t name = line.find_first_not_of(' ', static_cast<std::size_t>(taken));
    if (name != std::string::npos)
        line.copy(device.name, sizeof(device.name) - 1, name);
    return true;
}

// A line that is no device is left out.
std::vector<bluetooth_device> devices_in_range()
{
    std::vector<bluetooth_device> devices;
    std::istringstream lines(virt::read_file(place("devices")));
    for (std::string line; std::getline(lines, line);)
        if (bluetooth_device device = {}; parse_device(line, device))
            devices.push_back(device);
    return devices;
}

// Who registered a callback, and what it will be told.  Whatever is to come goes with it.
class Client
{
public:
    Client(bluetooth_event_callback callback, void *user_data);
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    void switch_adapter(int on);
    void start_discovery();
    bool cancel_discovery();
    bool discovering() const { return discovering_; }

private:
    static gboolean state_changed(gint, GIOCondition, gpointer self);
    void watch();
    void serve(const std::string &file);
    void look_at_adapter();
    void tell_written_event();
    void finish_switch(int on);
    void find(std::size_t index);
    void tell(int number, int result = 0, const bluetooth_device *device = nullptr);

    const bluetooth_event_callback callback_;
    void *const user_data_;
    virt::Later adapter_events_;
    virt::Later search_events_;
    virt::Descriptor changes_;
    GSource *source_ = nullptr;
    int adapter_ = 0; // as the client knows it
    bool discovering_ = false;
};

Client::Client(bluetooth_event_callback callback, void *user_data)
    : callback_(callback), user_data_(user_data)
{
    watch();
    adapter_ = adapter_state(); // what changes from now on is seen
}

Client::~Client()
{
    if (source_) {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
}

void Client::tell(int number, int result, const bluetooth_device *device)
{
    const bluetooth_event event = {number, result, device};
    callback_(&event, user_data_);
}

// ------------------------------------------------------------------------- adapter

void Client::finish_switch(int on)
{
    const int result = static_cast<int>(virt::read_number(place("result")).value_or(0));
    if (result == 0) {
        adapter_ = on;
        virt::write_number(place("adapter"), on);
    }
    tell(on ? BLUETOOTH_EVENT_ENABLED : BLUETOOTH_EVENT_DISABLED, result);
}

void Client::switch_adapter(int on)
{
    adapter_events_.after(delay(), [this, on] { finish_switch(on); });
}

// ------------------------------------------------------------------------- search

void Client::find(std::size_t index)
{
    const std::vector<bluetooth_device> devices = devices_in_range();
    if (index >= devices.size())
        return;
    search_events_.after(delay(), [this, index] { find(index + 1); });
    tell(BLUETOOTH_EVENT_DEVICE_FOUND, 0, &devices[index]);
}

void Client::start_discovery()
{
    discovering_ = true;
    search_events_.cancel();
    search_events_.after(delay(), [this] {
        search_events_.after(delay(), [this] { find(0); });
        tell(BLUETOOTH_EVENT_DISCOVERY_STARTED);
    });
}

bool Client::cancel_discovery()
{
    if (!std::exchange(discovering_, false))
        return false;
    search_events_.cancel();
    search_events_.after(delay(), [this] { tell(BLUETOOTH_EVENT_DISCOVERY_FINISHED); });
    return true;
}

// ------------------------------------------------------------------------- changes by others

void Client::watch()
{
    std::error_code error;
    std::filesystem::create_directories(place(""), error);
    changes_ = virt::Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (inotify_add_watch(changes_.get(), place("").c_str(), IN_MOVED_TO | IN_CLOSE_WRITE) < 0)
        return;
    source_ = g_unix_fd_source_new(changes_.get(), G_IO_IN);
    g_source_set_callback(source_, G_SOURCE_FUNC(state_changed), this, nullptr);
    g_source_attach(source_, adapter_events_.context());
}

// The callback may end the client: it is told from events of their own only.
gboolean Client::state_changed(gint fd, GIOCondition, gpointer self)
{
    alignas(inotify_event) char events[4096];
    const ssize_t got = read(fd, events, sizeof(events));
    for (ssize_t at = 0; at < got;) {
        const auto *event = reinterpret_cast<const inotify_event *>(events + at);
        static_cast<Client *>(self)->serve(event->len > 0 ? event->name : "");
        at += static_cast<ssize_t>(sizeof(*event) + event->len);
    }
    return G_SOURCE_CONTINUE;
}

void Client::serve(const std::string &file)
{
    if (file == "adapter")
        look_at_adapter();
    if (file == "event")
        adapter_events_.after(0, [this] { tell_written_event(); });
}

void Client::look_at_adapter()
{
    const int now = adapter_state();
    if (now == std::exchange(adapter_, now))
        return;
    adapter_events_.after(
        delay(), [this, now] { tell(now ? BLUETOOTH_EVENT_ENABLED : BLUETOOTH_EVENT_DISABLED); });
}

void Client::tell_written_event()
{
    int number = 0, result = 0;
    std::istringstream(virt::read_file(place("event"))) >> number >> result;
    const bool found =
        number == BLUETOOTH_EVENT_DEVICE_FOUND || number == BLUETOOTH_EVENT_DEVICE_FOUND_2;
    const std::vector<bluetooth_device> devices = devices_in_range();
    tell(number, result, found && !devices.empty() ? &devices.front() : nullptr);
}

// ------------------------------------------------------------------------- calls

std::unique_ptr<Client> &client()
{
    static std::unique_ptr<Client> one;
    return one;
}

int switch_adapter(int on)
{
    if (!virt::present())
        return -1;
    if (client())
        client()->switch_adapter(on);
    else
        virt::write_number(place("adapter"), on);
    return 0;
}

int register_callback(bluetooth_event_callback callback, void *user_data)
{
    if (!callback || !virt::present())
        return -1;
    client() = std::make_unique<Client>(callback, user_data);
    return 0;
}

int unregister_callback()
{
    const bool registered = client() != nullptr;
    client().reset();
    return registered ? 0 : -1;
}

int start_discovery()
{
    if (!client() || client()->discovering() || adapter_state() == 0)
        return -1;
    client()->start_discovery();
    return 0;
}

} // namespace

int bluetooth_register_callback(bluetooth_event_callback callback, void *user_data)
{
    return virt::told("bluetooth_register_callback", json::array(), {},
                      [=] { return register_callback(callback, user_data); });
}

int bluetooth_unregister_callback(void)
{
    return virt::told("bluetooth_unregister_callback", json::array(), {}, unregister_callback);
}

int bluetooth_check_adapter(void)
{
    if (auto failure = virt::fault("bluetooth_check_adapter"))
        return static_cast<int>(*failure);
    return virt::present() ? adapter_state() : -1;
}

int bluetooth_enable_adapter(void)
{
    return virt::told("bluetooth_enable_adapter", json::array(), {},
                      [] { return switch_adapter(1); });
}

int bluetooth_disable_adapter(void)
{
    return virt::told("bluetooth_disable_adapter", json::array(), {},
                      [] { return switch_adapter(0); });
}

int bluetooth_set_discoverable_mode(int mode, int option)
{
    return virt::told("bluetooth_set_discoverable_mode", {mode, option}, {}, [=] {
        return adapter_state() && virt::write_number(place("discoverable"), mode) ? 0 : -1;
    });
}

int bluetooth_start_custom_discovery(int mode, int option1, int option2, int option3)
{
    return virt::told("bluetooth_start_custom_discovery", {mode, option1, option2, option3}, {},
                      start_discovery);
}

int bluetooth_cancel_discovery(void)
{
    return virt::told("bluetooth_cancel_discovery", json::array(), {},
                      [] { return client() && client()->cancel_discovery() ? 0 : -1; });
}

int bluetooth_is_discovering(void)
{
    if (auto failure = virt::fault("bluetooth_is_discovering"))
        return static_cast<int>(*failure);
    return client() && client()->discovering() ? 1 : 0;
}
