#include "lib/pim/rova_pim_sink.h"

#include "common/rova_log.h"
#include "lib/pim/rova_pim_debug.h"
#include "platform/sys.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{

// A piece that no empty buffer holds goes to the file by itself.
void print_buffered(const rova_pim_text_sink &sink, const char *fmt, va_list args)
    __attribute__((format(printf, 2, 0)));
void print_buffered(const rova_pim_text_sink &sink, const char *fmt, va_list args)
{
    va_list again;
    va_copy(again, args);
    if (rova_pim_sink_append(sink.buffer, sink.held, fmt, args) != 0) {
        rova_pim_sink_flush(sink.buffer, sink.held, sink.stream);
        va_list direct;
        va_copy(direct, again);
        if (rova_pim_sink_append(sink.buffer, sink.held, fmt, again) != 0)
            std::vfprintf(sink.stream, fmt, direct);
        va_end(direct);
    }
    va_end(again);
}

} // namespace

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

int rova_pim_text_open(const rova_pim_text_sink &sink, const char *path)
{
    rova_pim_sink_flush(sink.buffer, sink.held, sink.stream);
    return rova_pim_sink_open(path, sink.stream, sink.state);
}

void rova_pim_text_print(const rova_pim_text_sink &sink, const char *fmt, va_list args)
{
    if (sink.mode == PIM_DEBUG_STDOUT)
        std::vprintf(fmt, args);
    else if (sink.mode == PIM_DEBUG_BUFFERED && sink.state != 0)
        print_buffered(sink, fmt, args);
    else if (sink.mode == PIM_DEBUG_DIRECT && sink.state != 0)
        std::vfprintf(sink.stream, fmt, args);
}

void rova_pim_text_close(const rova_pim_text_sink &sink)
{
    rova_pim_sink_flush(sink.buffer, sink.held, sink.stream);
    rova_pim_sink_close(sink.stream, sink.state);
}
