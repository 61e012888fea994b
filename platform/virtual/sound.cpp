#include "platform/sound.h"

#include "platform/sys.h"
#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

using nlohmann::json;

namespace
{

constexpr long long usual_levels = 16;

std::atomic<int> last_handle{0};

uint32_t word_at(const std::string &data, size_t at)
{
    uint32_t word = 0;
    std::memcpy(&word, data.data() + at, sizeof(word));
    return word;
}

// The chunk's first data byte and size, cut at the end of the file.
std::optional<std::pair<size_t, size_t>> chunk(const std::string &wav, const char *name)
{
    for (size_t at = 12; at + 8 <= wav.size();) {
        size_t size = word_at(wav, at + 4);
        if (wav.compare(at, 4, name) == 0)
            return std::pair(at + 8, std::min(size, wav.size() - at - 8));
        at += 8 + size + size % 2;
    }
    return std::nullopt;
}

// nullopt: not a WAV file.
std::optional<unsigned int> milliseconds_of(const std::string &wav)
{
    if (wav.size() < 12 || wav.compare(0, 4, "RIFF") != 0 || wav.compare(8, 4, "WAVE") != 0)
        return std::nullopt;
    auto format = chunk(wav, "fmt "), samples = chunk(wav, "data");
    if (!format || !samples || format->second < 16)
        return std::nullopt;
    uint32_t bytes_per_second = word_at(wav, format->first + 8);
    if (bytes_per_second == 0)
        return std::nullopt;
    return static_cast<unsigned int>(samples->second * 1000ULL / bytes_per_second);
}

void wait_to_the_end(unsigned int milliseconds)
{
    for (unsigned int piece; milliseconds > 0; milliseconds -= piece) {
        piece = std::min(milliseconds, 500U);
        sys_usleep(piece * 1000);
    }
}

std::optional<unsigned int> sound_length(const char *path)
{
    if (!path || !virt::present())
        return std::nullopt;
    return milliseconds_of(virt::read_file(virt::path(path)));
}

int start(const char *path, int *handle, unsigned int &milliseconds)
{
    std::optional<unsigned int> length = sound_length(path);
    if (!length)
        return -1;
    milliseconds = *length;
    if (handle)
        *handle = ++last_handle;
    return 0;
}

long long levels()
{
    return virt::read_number(virt::file("sound/volume_max")).value_or(usual_levels);
}

int set_volume(unsigned int value)
{
    if (!virt::present() || value >= levels())
        return -1;
    return virt::write_number(virt::file("sound/volume"), value) ? 0 : -1;
}

} // namespace

int mm_sound_qz_volume_get_max(int, unsigned int *max)
{
    if (auto failure = virt::fault("mm_sound_qz_volume_get_max"))
        return static_cast<int>(*failure);
    if (!max || !virt::present())
        return -1;
    *max = static_cast<unsigned int>(levels());
    return 0;
}

int mm_sound_qz_volume_set_value(int type, unsigned int value)
{
    return virt::told("mm_sound_qz_volume_set_value", {type, value}, {},
                      [=] { return set_volume(value); });
}

// The line is written when the sound begins, as it is for a sound that is only started.
int mm_sound_qz_play_sound_sync(const char *path, int type, mm_sound_qz_callback callback,
                                void *user_data, int *handle)
{
    unsigned int milliseconds = 0;
    int result = virt::told("mm_sound_qz_play_sound_sync", {path ? path : "", type}, {path},
                            [&] { return start(path, handle, milliseconds); });
    if (result < 0)
        return result;
    wait_to_the_end(milliseconds);
    if (callback)
        callback(user_data);
    return result;
}

int mm_sound_qz_play_sound(const char *path, int type, mm_sound_qz_callback, void *, int *handle)
{
    unsigned int milliseconds = 0;
    return virt::told("mm_sound_qz_play_sound", {path ? path : "", type}, {path},
                      [&] { return start(path, handle, milliseconds); });
}

int mm_sound_qz_stop_sound(int handle)
{
    return virt::told("mm_sound_qz_stop_sound", json::array({handle}), {},
                      [] { return virt::present() ? 0 : -1; });
}
