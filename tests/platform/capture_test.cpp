#include "tests/platform/capture_test.h"

#include "tests/support/wrap.h"

namespace test
{

std::string pixels(int width, int height, const Colour &colour)
{
    std::string bytes;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            for (uint8_t part : colour(x, y))
                bytes += static_cast<char>(part);
    return bytes;
}

static std::string size_text(int width, int height)
{
    return std::to_string(width) + " " + std::to_string(height);
}

std::string ppm(int width, int height, const Colour &colour)
{
    return "P6\n" + size_text(width, height) + "\n255\n" + pixels(width, height, colour);
}

std::string grey(int width, int height, uint8_t value)
{
    return ppm(width, height, [=](int, int) { return Rgb{value, value, value}; });
}

uint8_t mixed(int x, int y)
{
    return static_cast<uint8_t>((x * 37 + y * 101 + x * y * 7) % 251);
}

uint8_t byte_at(uint32_t address, int offset)
{
    return *(reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(address)) + offset);
}

Seen seen;

namespace
{

class Inside
{
public:
    Inside()
    {
        const int now = ++seen.inside;
        if (now > seen.most_inside)
            seen.most_inside = now;
    }
    ~Inside() { --seen.inside; }
};

void receive(char client, uint32_t id, const capture_still *still)
{
    Inside inside;
    {
        std::lock_guard guard(seen.lock);
        const bool has_set = still->image_set != nullptr;
        seen.stills.push_back({client, id, has_set,
                               has_set ? *still->image_set : capture_image_set(), *still,
                               pthread_self()});
    }
    if (seen.in_still)
        seen.in_still();
}

} // namespace

void still_a(uint32_t id, const capture_still *still)
{
    receive('a', id, still);
}

void still_b(uint32_t id, const capture_still *still)
{
    receive('b', id, still);
}

void receive_frame(uint32_t id, const capture_live_view *frame)
{
    Inside inside;
    {
        std::lock_guard guard(seen.lock);
        const uint8_t first = frame->y_address > 4096 ? byte_at(frame->y_address) : 0;
        seen.frames.push_back({id, *frame, first, pthread_self()});
    }
    if (seen.in_frame)
        seen.in_frame();
}

CaptureTest::~CaptureTest()
{
    virt::stop_capture();
    wrap_clear();
    clear();
}

void CaptureTest::clear()
{
    seen.stills.clear();
    seen.frames.clear();
    seen.in_still = seen.in_frame = nullptr;
    seen.most_inside = 0;
}

int CaptureTest::client_for_stills(capture_still_callback callback)
{
    const int handle = RegCallbackClient("pimode", 0, receive_frame, callback);
    EXPECT_GT(handle, 0);
    EXPECT_EQ(RegImageSetCallbackId(handle, CAPTURE_STILL_ID), 0);
    return handle;
}

int CaptureTest::client_for_live_view()
{
    const int handle = RegCallbackClient("pimode", 0, receive_frame, still_a);
    EXPECT_GT(handle, 0);
    EXPECT_EQ(RegImageCallbackId(handle, CAPTURE_LIVE_VIEW_ID), 0);
    return handle;
}

SeenStill CaptureTest::take()
{
    EXPECT_TRUE(virt::take_still());
    virt::finish_stills();
    std::lock_guard guard(seen.lock);
    EXPECT_FALSE(seen.stills.empty());
    return seen.stills.empty() ? SeenStill() : seen.stills.back();
}

int CaptureTest::release_all(const capture_image_set &set)
{
    return ReleaseCaptureBuffer(CAPTURE_BUFFER_MAIN, set.mainYAddress) +
           ReleaseCaptureBuffer(CAPTURE_BUFFER_SCREEN, set.screenYAddress) +
           ReleaseCaptureBuffer(CAPTURE_BUFFER_THUMB, set.thumbYAddress);
}

size_t CaptureTest::stills_seen()
{
    std::lock_guard guard(seen.lock);
    return seen.stills.size();
}

size_t CaptureTest::frames_seen()
{
    std::lock_guard guard(seen.lock);
    return seen.frames.size();
}

SeenFrame CaptureTest::frame(size_t number)
{
    EXPECT_TRUE(wait_for([=] { return frames_seen() > number; }));
    std::lock_guard guard(seen.lock);
    return seen.frames.size() > number ? seen.frames[number] : SeenFrame();
}

} // namespace test
