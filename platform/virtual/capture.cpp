#include "platform/virtual/capture.h"

#include "platform/capture.h"
#include "platform/dlog.h"
#include "platform/sys.h"
#include "platform/virtual/root.h"
#include "platform/virtual/scene.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <vector>

using nlohmann::json;
using virt::LiveView;
using virt::LowMemory;
using virt::Picture;
using virt::Still;

namespace
{

constexpr unsigned int LOOK_AGAIN = 100; // ms, while no frames are to come

enum Priority { INFORMATION = 4, ERROR = 6 };

void note(Priority priority, const std::string &text)
{
    __dlog_print(3, priority, "CAPTURE", "%s\n", text.c_str());
}

struct Client {
    std::string name;
    capture_live_view_callback live_view;
    capture_still_callback still;
    bool wants_stills = false;
    bool wants_live_view = false;
};

using Wants = bool Client::*;

// A picture that clients hold; it is theirs until each of them has given it back.
struct Buffer {
    LowMemory memory;
    std::string still;
    std::vector<int> given_to;
    size_t holders;
};

using Key = std::pair<int, uint32_t>; // kind, address

using Clock = std::chrono::system_clock;

Clock::time_point after(unsigned int milliseconds)
{
    timespec at = {};
    sys_deadline(milliseconds, &at);
    return Clock::time_point(std::chrono::duration_cast<Clock::duration>(
        std::chrono::seconds(at.tv_sec) + std::chrono::nanoseconds(at.tv_nsec)));
}

// No callback runs under the lock.  Only the service's thread makes them, one at a time.
class Service
{
public:
    int add_client(const char *name, int option, capture_live_view_callback live_view,
                   capture_still_callback still);
    int remove_client(int handle);
    int add_wish(int handle, Wants wants, bool right_id);
    int remove_wish(int handle, Wants wants, bool right_id);
    int release(int kind, uint32_t address);

    std::optional<std::string> take(const std::optional<std::string> &name);
    void finish_stills();
    bool start_live_view();
    void stop_live_view();
    size_t buffers_out();
    void stop();

private:
    using Lock = std::unique_lock<std::mutex>;

    bool start_thread();
    static void *thread_body(void *self);
    void run();
    void end_thread(Lock &lock);
    bool on_own_thread() const { return thread_ && pthread_equal(*thread_, pthread_self()); }
    void wait_for_callback(Lock &lock, int handle, Wants wants);

    std::vector<int> who(Wants wants) const;
    template <typename Call> bool call(Lock &lock, int handle, Wants wants, const Call &callback);
    void deliver_still(Lock &lock);
    void give(Still &still, const std::vector<int> &handles);
    void give_kind(int kind, Picture &picture, const Still &still, const std::vector<int> &handles);
    void take_back(const std::vector<Key> &keys);
    void deliver_frame(Lock &lock);
    void tell_held_by(int handle, const std::string &name) const;

    std::mutex taking_; // held while a still is made, so that they queue in order
    std::mutex lock_;
    std::condition_variable changed_;
    std::optional<pthread_t> thread_;
    std::map<int, Client> clients_;
    int last_handle_ = 0;
    std::deque<std::unique_ptr<Still>> stills_;
    std::map<Key, Buffer> buffers_;
    bool live_ = false;
    Clock::time_point next_frame_;
    LiveView view_;          // the thread's own while it runs
    std::string live_error_; // told last
    int called_ = 0;         // whose callback runs, and what for
    Wants called_for_ = nullptr;
    bool busy_with_still_ = false;
    bool ending_ = false, ended_ = false;
};

Service &service()
{
    static Service &only = *new Service; // never destroyed: its thread outlives main()
    return only;
}

// Signals are for the threads that wait for them.
bool Service::start_thread()
{
    if (thread_)
        return !ending_;
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    const int error = pthread_create(&thread, nullptr, thread_body, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error) {
        note(ERROR, std::string("thread not started: ") + strerrordesc_np(error));
        return false;
    }
    thread_ = thread;
    return true;
}

void *Service::thread_body(void *self)
{
    static_cast<Service *>(self)->run();
    return nullptr;
}

void Service::run()
{
    Lock lock(lock_);
    while (!ending_) {
        busy_with_still_ = !stills_.empty();
        if (busy_with_still_)
            deliver_still(lock);
        else if (live_ && Clock::now() >= next_frame_)
            deliver_frame(lock);
        busy_with_still_ = false;
        changed_.notify_all();
        if (!stills_.empty() || ending_)
            continue;
        if (live_ && !who(&Client::wants_live_view).empty())
            changed_.wait_until(lock, next_frame_);
        else
            changed_.wait(lock);
    }
    ended_ = true;
    changed_.notify_all();
}

// Joined under the lock: an ended thread takes it no more, and nobody can start the next one.
void Service::end_thread(Lock &lock)
{
    if (ending_)
        changed_.wait(lock, [&] { return !ending_; });
    if (!thread_)
        return;
    ending_ = true;
    changed_.notify_all();
    changed_.wait(lock, [&] { return ended_; });
    pthread_join(*thread_, nullptr);
    thread_.reset();
    ending_ = ended_ = false;
    changed_.notify_all();
}

std::vector<int> Service::who(Wants wants) const
{
    std::vector<int> handles;
    for (const auto &[handle, client] : clients_)
        if (client.*wants)
            handles.push_back(handle);
    return handles;
}

// False when the client has gone or wants it no longer.
template <typename Call>
bool Service::call(Lock &lock, int handle, Wants wants, const Call &callback)
{
    auto found = clients_.find(handle);
    if (found == clients_.end() || !(found->second.*wants))
        return false;
    const Client client = found->second;
    called_ = handle;
    called_for_ = wants;
    lock.unlock();
    callback(client);
    lock.lock();
    called_ = 0;
    changed_.notify_all();
    return true;
}

// A client that is called no more: not from now on, and the call under way has ended.
void Service::wait_for_callback(Lock &lock, int handle, Wants wants)
{
    if (!on_own_thread())
        changed_.wait(lock, [&] { return called_ != handle || (wants && called_for_ != wants); });
}

void Service::give_kind(int kind, Picture &picture, const Still &still,
                        const std::vector<int> &handles)
{
    const Key key(kind, picture.y_address());
    buffers_[key] = Buffer{std::move(picture.memory), still.name, handles, handles.size()};
}

void Service::give(Still &still, const std::vector<int> &handles)
{
    give_kind(CAPTURE_BUFFER_MAIN, still.main, still, handles);
    give_kind(CAPTURE_BUFFER_SCREEN, still.screen, still, handles);
    give_kind(CAPTURE_BUFFER_THUMB, still.thumb, still, handles);
}

// For a client that left before its turn came.
void Service::take_back(const std::vector<Key> &keys)
{
    for (const Key &key : keys)
        if (auto found = buffers_.find(key);
            found != buffers_.end() && --found->second.holders == 0)
            buffers_.erase(found);
}

void Service::deliver_still(Lock &lock)
{
    std::unique_ptr<Still> still = std::move(stills_.front());
    stills_.pop_front();
    const std::vector<int> handles = who(&Client::wants_stills);
    note(INFORMATION, still->name + " goes to " + std::to_string(handles.size()) + " clients");
    if (handles.empty())
        return;

    const std::vector<Key> keys = {{CAPTURE_BUFFER_MAIN, still->main.y_address()},
                                   {CAPTURE_BUFFER_SCREEN, still->screen.y_address()},
                                   {CAPTURE_BUFFER_THUMB, still->thumb.y_address()}};
    give(*still, handles);
    still->data.image_set = still->has_image_set ? &still->image_set : nullptr;
    for (int handle : handles)
        if (!call(lock, handle, &Client::wants_stills,
                  [&](const Client &client) { client.still(CAPTURE_STILL_ID, &still->data); }))
            take_back(keys);
}

// A client that takes longer than a frame misses those of that time.
void Service::deliver_frame(Lock &lock)
{
    const unsigned int period = virt::live_view_period();
    next_frame_ = after(period ? period : LOOK_AGAIN);
    const std::vector<int> handles = who(&Client::wants_live_view);
    if (!period || handles.empty())
        return;

    lock.unlock();
    std::string error;
    const capture_live_view *frame = view_.next(error);
    lock.lock();
    if (error != live_error_ && !error.empty())
        note(ERROR, "live view: " + error);
    live_error_ = error;
    for (int handle : handles)
        if (frame && live_)
            call(lock, handle, &Client::wants_live_view,
                 [&](const Client &client) { client.live_view(CAPTURE_LIVE_VIEW_ID, frame); });
}

int Service::add_client(const char *name, int option, capture_live_view_callback live_view,
                        capture_still_callback still)
{
    if (!name || option != 0)
        return -1;
    Lock lock(lock_);
    if (!start_thread())
        return -1;
    clients_[++last_handle_] = Client{name, live_view, still};
    return last_handle_;
}

void Service::tell_held_by(int handle, const std::string &name) const
{
    for (const auto &[key, buffer] : buffers_)
        if (std::find(buffer.given_to.begin(), buffer.given_to.end(), handle) !=
            buffer.given_to.end())
            note(ERROR, name + " leaves, and kind " + std::to_string(key.first) + " of " +
                            buffer.still + " was not released");
}

int Service::remove_client(int handle)
{
    Lock lock(lock_);
    auto found = clients_.find(handle);
    if (found == clients_.end())
        return -1;
    const std::string name = found->second.name;
    clients_.erase(found);
    wait_for_callback(lock, handle, nullptr);
    tell_held_by(handle, name);
    return 0;
}

int Service::add_wish(int handle, Wants wants, bool right_id)
{
    Lock lock(lock_);
    auto found = clients_.find(handle);
    if (found == clients_.end() || !right_id)
        return -1;
    Client &client = found->second;
    if (wants == &Client::wants_stills ? !client.still : !client.live_view)
        return -1;
    client.*wants = true;
    changed_.notify_all();
    return 0;
}

int Service::remove_wish(int handle, Wants wants, bool right_id)
{
    Lock lock(lock_);
    auto found = clients_.find(handle);
    if (found == clients_.end() || !right_id || !(found->second.*wants))
        return -1;
    found->second.*wants = false;
    wait_for_callback(lock, handle, wants);
    return 0;
}

int Service::release(int kind, uint32_t address)
{
    Lock lock(lock_);
    auto found = buffers_.find({kind, address});
    if (found == buffers_.end()) {
        char text[80];
        std::snprintf(text, sizeof(text), "released, but not given out: kind %d at 0x%08x", kind,
                      address);
        note(ERROR, text);
        return -1;
    }
    if (--found->second.holders == 0)
        buffers_.erase(found);
    return 0;
}

std::optional<std::string> Service::take(const std::optional<std::string> &name)
{
    if (!virt::present())
        return std::nullopt;
    std::lock_guard one_at_a_time(taking_);
    std::optional<std::string> chosen = name ? name : virt::picture_in_front();
    if (!chosen) {
        note(ERROR, "no still: virtual/scene holds no picture");
        return std::nullopt;
    }
    std::string error;
    std::unique_ptr<Still> still = virt::make_still(*chosen, error);
    virt::write_value(virt::file("capture/picture"), *chosen);
    if (!still) {
        note(ERROR, "no still: " + *chosen + ": " + error);
        return std::nullopt;
    }
    Lock lock(lock_);
    if (!start_thread())
        return std::nullopt;
    stills_.push_back(std::move(still));
    changed_.notify_all();
    return chosen;
}

void Service::finish_stills()
{
    Lock lock(lock_);
    if (!on_own_thread())
        changed_.wait(lock, [&] { return stills_.empty() && !busy_with_still_; });
}

bool Service::start_live_view()
{
    if (!virt::present())
        return false;
    Lock lock(lock_);
    if (!start_thread())
        return false;
    live_ = true;
    next_frame_ = Clock::now();
    changed_.notify_all();
    return true;
}

void Service::stop_live_view()
{
    Lock lock(lock_);
    live_ = false;
    changed_.notify_all();
    if (!on_own_thread())
        changed_.wait(lock, [&] { return called_for_ != &Client::wants_live_view || !called_; });
}

size_t Service::buffers_out()
{
    Lock lock(lock_);
    return buffers_.size();
}

void Service::stop()
{
    Lock lock(lock_);
    live_ = false;
    stills_.clear();
    clients_.clear();
    if (!on_own_thread())
        end_thread(lock);
    buffers_.clear();
    view_.forget();
    live_error_.clear();
}

bool is_still(uint32_t id)
{
    return id == CAPTURE_STILL_ID;
}
bool is_live_view(uint32_t id)
{
    return id == CAPTURE_LIVE_VIEW_ID;
}

// The frame of a call of the service: a refused one is told.
template <typename Work> int told(const char *call, const json &args, const Work &work)
{
    return virt::told(call, args, {}, [&] {
        const int result = virt::present() ? work() : -1;
        if (result < 0)
            note(ERROR, std::string(call) + args.dump() + " refused");
        return result;
    });
}

} // namespace

namespace virt
{

std::optional<std::string> take_still()
{
    return service().take(std::nullopt);
}

std::optional<std::string> take_still(const std::string &name)
{
    return service().take(name);
}

void finish_stills()
{
    service().finish_stills();
}

bool start_live_view()
{
    return service().start_live_view();
}

void stop_live_view()
{
    service().stop_live_view();
}

size_t capture_buffers_out()
{
    return service().buffers_out();
}

void stop_capture()
{
    service().stop();
}

} // namespace virt

int RegCallbackClient(const char *name, int option, capture_live_view_callback live_view,
                      capture_still_callback still)
{
    return told("RegCallbackClient", {name ? name : "", option},
                [=] { return service().add_client(name, option, live_view, still); });
}

int UnRegCallbackClient(int handle)
{
    return told("UnRegCallbackClient", json::array({handle}),
                [=] { return service().remove_client(handle); });
}

int RegImageSetCallbackId(int handle, uint32_t id)
{
    return told("RegImageSetCallbackId", json::array({handle, id}),
                [=] { return service().add_wish(handle, &Client::wants_stills, is_still(id)); });
}

int UnRegImageSetCallbackId(int handle, uint32_t id)
{
    return told("UnRegImageSetCallbackId", json::array({handle, id}),
                [=] { return service().remove_wish(handle, &Client::wants_stills, is_still(id)); });
}

int RegImageCallbackId(int handle, uint32_t id)
{
    return told("RegImageCallbackId", json::array({handle, id}), [=] {
        return service().add_wish(handle, &Client::wants_live_view, is_live_view(id));
    });
}

int UnRegImageCallbackId(int handle, uint32_t id)
{
    return told("UnRegImageCallbackId", json::array({handle, id}), [=] {
        return service().remove_wish(handle, &Client::wants_live_view, is_live_view(id));
    });
}

int ReleaseCaptureBuffer(int kind, uint32_t address)
{
    return told("ReleaseCaptureBuffer", json::array({kind}),
                [=] { return service().release(kind, address); });
}
