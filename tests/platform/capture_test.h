// What the tests of the capture service share: pictures, clients, and what these were told.
#pragma once

#include "platform/capture.h"

#include "platform/virtual/capture.h"
#include "tests/support/camera.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <gmock/gmock.h>
#include <mutex>
#include <pthread.h>
#include <string>
#include <vector>

namespace test
{

using Rgb = std::array<uint8_t, 3>;
using Colour = std::function<Rgb(int x, int y)>;

// The colours' bytes row by row; the same as a PPM file; such a file of one grey.
std::string pixels(int width, int height, const Colour &colour);
std::string ppm(int width, int height, const Colour &colour);
std::string grey(int width, int height, uint8_t value);

// Without order, so that a mean of other pixels gives other numbers.
uint8_t mixed(int x, int y);

uint8_t byte_at(uint32_t address, int offset = 0);
struct SeenStill {
    char client;
    uint32_t id;
    bool has_set;
    capture_image_set set;
    capture_still data;
    pthread_t thread;
};

struct SeenFrame {
    uint32_t id;
    capture_live_view record;
    uint8_t first;
    pthread_t thread;
};

// What the clients were told.  Callbacks are plain functions, so this is one for the program.
struct Seen {
    std::mutex lock;
    std::vector<SeenStill> stills;
    std::vector<SeenFrame> frames;
    std::function<void()> in_still, in_frame; // set before a client registers
    std::atomic<int> inside{0}, most_inside{0};
};

extern Seen seen;

// Clients that write down in `seen` what they are told.
void still_a(uint32_t id, const capture_still *still);
void still_b(uint32_t id, const capture_still *still);
void receive_frame(uint32_t id, const capture_live_view *frame);

// A place where a callback stands until the test lets it go on.
class Gate
{
public:
    void pass()
    {
        std::unique_lock guard(lock_);
        waiting_++;
        changed_.notify_all();
        changed_.wait(guard, [&] { return open_; });
    }
    bool wait_until_reached()
    {
        return wait_for([&] {
            std::lock_guard guard(lock_);
            return waiting_ > 0;
        });
    }
    void open()
    {
        std::lock_guard guard(lock_);
        open_ = true;
        changed_.notify_all();
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    int waiting_ = 0;
    bool open_ = false;
};

class CaptureTest : public ::testing::Test
{
protected:
    CaptureTest() { clear(); }
    ~CaptureTest() override;

    void picture(const std::string &name, const std::string &contents) const
    {
        camera_.write("/virtual/scene/" + name, contents);
    }
    void set(const std::string &name, const std::string &value) const
    {
        camera_.write("/virtual/capture/" + name, value + "\n");
    }

    static int client_for_stills(capture_still_callback callback = still_a);
    static int client_for_live_view();
    // One still of the scene, as the client got it.
    static SeenStill take();
    static int release_all(const capture_image_set &set);
    static size_t stills_seen();
    static size_t frames_seen();
    static SeenFrame frame(size_t number); // waits for it

    Camera camera_;

private:
    static void clear();
};

} // namespace test
