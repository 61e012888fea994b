#include "lib/pim/rova_pim_sink.h"

#include "common/rova_log.h"
#include "platform/sys.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

int rova_pim_sink_append(std::span<char> buffer, int32_t &held, const char *fmt, va_list args)
{
    const std::span<char> room = buffer.subspan(static_cast<std::size_t>(held));
    const int length = std::vsnprintf(room.data(), room.size(), fmt, args);
    if (length < 0 || static_cast<std::size_t>(length) >= room.size())
        return -1;
    held += length;
    return 0;
}

void rova_pim_sink_flush(std::span<char> buffer, int32_t &held, std::FILE *stream)
{
    if (stream != nullptr)
        std::fwrite(buffer.data(), 1, static_cast<std::size_t>(held), stream);
    std::ranges::fill(buffer, '\0');
    held = 0;
}

int rova_pim_sink_open(const char *path, std::FILE *&stream, int32_t &state)
{
    rova_pim_sink_close(stream, state);
    stream = sys_fopen(path, "a");
    state = stream != nullptr ? 1 : 0;
    return stream != nullptr ? 0 : -1;
}

void rova_pim_sink_close(std::FILE *&stream, int32_t &state)
{
    if (stream != nullptr) {
        const bool failed = std::fflush(stream) != 0;
        const int reason = errno;
        const bool lost = failed || std::ferror(stream) != 0;
        if (lost)
            ROVA_LOG_ERR("failed to write a text of the picture tests (%s)\n",
                         std::strerror(reason));
        std::fclose(stream);
    }
    stream = nullptr;
    state = 0;
}
