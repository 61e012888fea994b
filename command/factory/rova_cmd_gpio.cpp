#include "command/factory/rova_cmd_factory.h"
#include "command/factory/rova_pin_name_tbl.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_csv.h"
#include "common/rova_guard.h"
#include "common/rova_log.h"
#include "common/rova_util.h"
#include "platform/sys.h"

#include <array>
#include <cstdint>
#include <fcntl.h>
#include <sys/mman.h>

namespace
{

// One 32-bit control register a pin, one behind the other.
constexpr uint32_t PIN_REGISTER_BASE = 0x10401000;
constexpr std::size_t PIN_REGISTER_BYTES = ROVA_PIN_COUNT * sizeof(uint32_t);
static_assert(PIN_REGISTER_BYTES == 876);
// The mapping begins at the registers themselves, so their bytes are all there is to unmap.
static_assert(PIN_REGISTER_BASE % 4096 == 0);

enum pin_bit : uint32_t {
    PIN_RW = 0x10000,
    PIN_F4 = 0x800,
    PIN_F3 = 0x400,
    PIN_F2 = 0x200,
    PIN_F1 = 0x100,
    PIN_IE = 0x40,
    PIN_IS = 0x20,
    PIN_SR = 0x10,
    PIN_PE = 0x8,
    PIN_PS = 0x4,
    PIN_DS0 = 0x2,
    PIN_DS1 = 0x1,
};

// The highest select bit that is set decides; function 0 also when none is.
constexpr std::array<pin_bit, ROVA_PIN_FUNCTIONS> FUNCTION_SELECT = {PIN_F4, PIN_F3, PIN_F2,
                                                                     PIN_F1};

std::size_t active_function(uint32_t value)
{
    for (std::size_t function = 0; function < FUNCTION_SELECT.size(); function++)
        if ((value & FUNCTION_SELECT[function]) != 0)
            return function;
    return 0;
}

const char *active_name(std::size_t pin, uint32_t value)
{
    const char *name = rova_pin_name_tbl[pin][active_function(value)];
    return name[0] != '\0' ? name : "?";
}

// The registers in this process's memory, while the object lives; empty if that failed.
class pin_registers
{
public:
    pin_registers();
    ~pin_registers();
    pin_registers(const pin_registers &) = delete;
    pin_registers &operator=(const pin_registers &) = delete;

    explicit operator bool() const { return words_ != nullptr; }
    uint32_t operator[](std::size_t pin) const { return words_[pin]; }

private:
    rova_descriptor memory_;
    void *map_base_ = nullptr;
    const volatile uint32_t *words_ = nullptr;
};

pin_registers::pin_registers() : memory_(sys_open("/dev/mem", O_RDWR | O_CLOEXEC, 0))
{
    void *address = nullptr;
    if (memory_ && rova_mmap_region(memory_.get(), PIN_REGISTER_BASE, PIN_REGISTER_BYTES, &address,
                                    &map_base_) == 0)
        words_ = static_cast<const volatile uint32_t *>(address);
}

pin_registers::~pin_registers()
{
    if (words_ != nullptr)
        munmap(map_base_, PIN_REGISTER_BYTES);
}

void write_row(rova_csv_handle csv, std::size_t pin, uint32_t value)
{
    auto bit = [value](pin_bit mask) { return (value & mask) != 0 ? 1 : 0; };
    auto pointer = [](uintptr_t number) { return reinterpret_cast<void *>(number); };

    rova_csv_write(csv,
                   "%3d, %-15s, %p, %p,   %d,   %d,  %d,  %d,  %d,   %d,  %d,  %d,  %d,  %d,    "
                   "%d,   %d, %s\n",
                   static_cast<int>(pin + 1), active_name(pin, value),
                   pointer(PIN_REGISTER_BASE + pin * sizeof(uint32_t)), pointer(value), bit(PIN_RW),
                   bit(PIN_F4), bit(PIN_F3), bit(PIN_F2), bit(PIN_F1), bit(PIN_IE), bit(PIN_IS),
                   bit(PIN_SR), bit(PIN_PE), bit(PIN_PS), bit(PIN_DS0), bit(PIN_DS1), "OK");
}

// `csv` may be NULL: the registers are read all the same, so the answer tells whether they can be.
bool dump_pins(rova_csv_handle csv)
{
    pin_registers registers;
    if (!registers) {
        ROVA_LOG_ERR("failed to get_virtual_address\n");
        return false;
    }
    for (std::size_t pin = 0; pin < ROVA_PIN_COUNT; pin++) {
        uint32_t value = registers[pin];
        if (csv != nullptr)
            write_row(csv, pin, value);
    }
    return true;
}

int rova_cmd_gpio_pindump(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count == 0)
        return rova_cmd_ng(cmd_type);
    if (rova_cmd_is_ptp(cmd_type)) {
        ROVA_LOG_ERR("This cmd is not supported for PTP.");
        return rova_cmd_ng(cmd_type);
    }

    rova_csv_handle csv = rova_csv_create(
        "gpio_pindump.csv",
        "No, pin_name, register, value, RW, F4, F3, F2, F1, IE, IS, SR, PE, PS, DS0, DS1, Result");
    bool dumped = dump_pins(csv);
    rova_resp_stream stream = {};
    rova_csv_close(csv, dumped ? &stream : nullptr);
    return rova_cmd_answer(cmd_type, dumped, &stream);
}

constexpr rova_cmd_entry gpio_table[] = {
    {"pindump", rova_cmd_gpio_pindump},
};
static_assert(rova_cmd_table_is_sound(gpio_table));

} // namespace

int rova_cmd_gpio(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(gpio_table, "gpio", cmd_type, record);
}
