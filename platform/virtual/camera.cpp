#include "platform/camera.h"

#include "platform/virtual/app.h"
#include "platform/virtual/guard.h"
#include "platform/virtual/memory.h"
#include "platform/virtual/root.h"
#include "platform/virtual/told.h"

#include <array>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <new>
#include <thread>
#include <unistd.h>

using nlohmann::json;

namespace
{

constexpr size_t command_size = 500;
constexpr size_t answer_size = 526;
constexpr off_t answer_address = 0x85c21000; // of the board's memory map

using Command = std::array<char, command_size>;
using Answer = std::array<char, answer_size>;

// The stack of this process.  Never destroyed: its threads may outlive main().
struct Stack {
    std::mutex lock;
    mm_camera_done_callback done = nullptr;
    std::map<uint32_t, virt::AppService> services;
};

Stack &stack()
{
    static Stack &only = *new Stack;
    return only;
}

mm_camera_done_callback done_callback()
{
    std::lock_guard guard(stack().lock);
    return stack().done;
}

virt::Descriptor open_memory()
{
    const std::string place = virt::path("/dev/mem");
    virt::make_memory(place);
    return virt::Descriptor(open(place.c_str(), O_RDWR | O_CLOEXEC));
}

// False behind the end of the memory.
bool read_command(uint32_t address, Command &command)
{
    const virt::Descriptor memory = open_memory();
    return pread(memory.get(), command.data(), command.size(), address) ==
           static_cast<ssize_t>(command.size());
}

bool write_answer(const Answer &answer)
{
    const virt::Descriptor memory = open_memory();
    return pwrite(memory.get(), answer.data(), answer.size(), answer_address) ==
           static_cast<ssize_t>(answer.size());
}

// On a thread of its own.
void carry_out(const Command &command)
{
    Answer answer = {};
    if (virt::app_answer("ipcc", command.data(), answer.data()) == virt::AppAnswer::never)
        return;
    const mm_camera_done_callback done = done_callback();
    if (write_answer(answer) && done != nullptr)
        done(answer.data());
}

int run_command(uint32_t address)
{
    Command command = {};
    if (!read_command(address, command))
        return -1;
    try {
        std::thread(carry_out, command).detach();
    } catch (const std::exception &) {
        return -1;
    }
    return 0;
}

int set_done_callback(mm_camera_done_callback callback)
{
    std::lock_guard guard(stack().lock);
    stack().done = callback;
    return 0;
}

int set_service(const mm_camera_service &service)
{
    std::lock_guard guard(stack().lock);
    stack().services[service.number] = service.function;
    return 0;
}

bool is_sound(mm_camera_handle handle, int request, const void *data, int size)
{
    if (handle == nullptr || !virt::present())
        return false;
    if (data == nullptr && request != MM_CAMERA_SET_DONE_CALLBACK) // NULL takes it back
        return false;
    switch (request) {
    case MM_CAMERA_RUN_COMMAND:
        return size == sizeof(uint32_t);
    case MM_CAMERA_SET_DONE_CALLBACK:
        return size == sizeof(void *);
    case MM_CAMERA_SET_SERVICE:
        return size == sizeof(mm_camera_service);
    }
    return false;
}

int carry_out_request(int request, void *data)
{
    switch (request) {
    case MM_CAMERA_RUN_COMMAND:
        return run_command(*static_cast<uint32_t *>(data));
    case MM_CAMERA_SET_DONE_CALLBACK:
        return set_done_callback(reinterpret_cast<mm_camera_done_callback>(data));
    case MM_CAMERA_SET_SERVICE:
        return set_service(*static_cast<mm_camera_service *>(data));
    }
    return -1;
}

} // namespace

namespace virt
{

AppService app_service(uint32_t number)
{
    std::lock_guard guard(stack().lock);
    auto found = stack().services.find(number);
    return found != stack().services.end() ? found->second : nullptr;
}

} // namespace virt

int mm_camera_ioctl(mm_camera_handle handle, int request, void *data, int size, int, int)
{
    const bool sound = is_sound(handle, request, data, size);
    json args = json::array({request});
    if (sound && request == MM_CAMERA_SET_SERVICE)
        args.push_back(static_cast<mm_camera_service *>(data)->number);
    return virt::told("mm_camera_ioctl", args, {},
                      [=] { return sound ? carry_out_request(request, data) : -1; });
}
