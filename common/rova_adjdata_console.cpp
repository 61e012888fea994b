#include "common/rova_adjdata_console.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_log.h"
#include "common/rova_util.h"
#include "platform/pref.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace
{

struct Free {
    void operator()(uint8_t *bytes) const { std::free(bytes); }
};
using Bytes = std::unique_ptr<uint8_t, Free>;

// Zeroed; NULL when there is no memory.
Bytes zeroed(std::size_t size)
{
    return Bytes(static_cast<uint8_t *>(std::calloc(size, 1)));
}

const char *shown(const char *text)
{
    return text != nullptr ? text : "(null)";
}

// The item's id, or 0 when the person has been told that there is none.
uint64_t id_of(const char *name, uint32_t &size)
{
    uint64_t id = rova_get_adjdata_id(name, &size);
    if (id == 0)
        std::printf("Unknown id (%s) \n", shown(name));
    return id;
}

void show_rule()
{
    for (int column = 0; column < 78; column++)
        std::putchar('-');
    std::putchar('\n');
}

void show_heading()
{
    show_rule();
    std::printf(" %8s  %30s  %8s   %8s \n", "PREF", "NAME", "SIZE", "VALUE");
    show_rule();
}

// Both forms of a negative number have its 32 bits.
void show_number(const char *part, const char *name, uint32_t size, int32_t value)
{
    const int digits = static_cast<int>(2 * size);
    std::printf(" %8s  %30s  %8d   %8d (0x%0*x) \n", part, name, static_cast<int>(size), value,
                digits, static_cast<uint32_t>(value));
}

void show_bytes(const char *part, const char *name, uint32_t size, const void *bytes)
{
    std::printf(" %8s  %30s  %8d   \n", part, name, static_cast<int>(size));
    show_rule();
    rova_dump_stdout(bytes, 0, size, 0);
}

// Until the item is full, the input ends or something is no number.
void read_bytes(uint8_t *bytes, uint32_t size)
{
    unsigned int byte = 0;
    for (uint32_t i = 0; i < size && std::scanf("%02x", &byte) == 1; i++)
        bytes[i] = static_cast<uint8_t>(byte);
}

int store_number(uint64_t id, const char *name, uint32_t size, int value)
{
    if (rova_set_adjdata(id, &value, size, 1) != 0)
        return 1;
    std::printf("set failed (id=%s, value=%d) \n", name, value);
    rova_log_raw(", set failed (val=%d), NG \n", value);
    return 0;
}

int store_bytes(uint64_t id, const char *name, uint32_t size, int value)
{
    const Bytes bytes = zeroed(size);
    if (bytes == nullptr) {
        std::printf("not enough memory (size = %d) \n", static_cast<int>(size));
        rova_log_raw(", not enough memory, NG \n");
        return 0;
    }
    std::printf("Enter value in hex format without '0x'. (e.g. 00 0a 1a 2b) \n");
    read_bytes(bytes.get(), size);
    if (rova_set_adjdata(id, bytes.get(), size, 1) != 0)
        return 1;
    std::printf("set failed (id=%s, size=%d) \n", name, static_cast<int>(size));
    rova_log_raw(", set failed (val=%d), NG \n", value);
    return 0;
}

} // namespace

int rova_show_adjdata(const char *name)
{
    uint32_t size = 0;
    const uint64_t id = id_of(name, size);
    const void *bytes = id != 0 ? rova_get_adjdata(id) : nullptr;
    if (bytes == nullptr)
        return 0;
    const char *part = shown(pref_get_name(rova_adjdata_pref_id(id)));
    show_heading();
    if (rova_adjdata_is_number(size))
        show_number(part, name, size, rova_adjdata_number(bytes, size));
    else
        show_bytes(part, name, size, bytes);
    show_rule();
    std::putchar('\n');
    return 1;
}

int rova_show_adjdata_string(const char *name)
{
    uint32_t size = 0;
    const uint64_t id = id_of(name, size);
    const void *bytes = id != 0 ? rova_get_adjdata(id) : nullptr;
    if (bytes == nullptr)
        return 0;
    const Bytes text = zeroed(std::size_t{size} + 1);
    if (text == nullptr) {
        std::printf("memory is not enough ! (size=%d) \n", static_cast<int>(size));
        return 0;
    }
    std::memcpy(text.get(), bytes, size);
    if (*text == '\0') {
        ROVA_LOG_ERR("empty string data \n");
        return 0;
    }
    std::printf("%s\n", reinterpret_cast<const char *>(text.get()));
    return 1;
}

int rova_store_adjdata(const char *name, uint32_t size, int value)
{
    rova_log("store_adjdata: %s, size=%d", shown(name), static_cast<int>(size));
    uint32_t adj_size = 0;
    const uint64_t id = id_of(name, adj_size);
    if (id == 0) {
        rova_log_raw(", Unknown id, NG \n");
        return 0;
    }
    if (size != adj_size) {
        std::printf("Invalid size [%s, %d] size=%d \n", name, static_cast<int>(adj_size),
                    static_cast<int>(size));
        rova_log_raw(", invalid size (%d), NG \n", static_cast<int>(size));
        return 0;
    }
    const auto store = rova_adjdata_is_number(size) ? store_number : store_bytes;
    return store(id, name, size, value) != 0 ? rova_show_adjdata(name) : 0;
}
