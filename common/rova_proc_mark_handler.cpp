#include "common/rova_proc_mark_handler.h"

#include "common/rova_log.h"

#include <cinttypes>
#include <cstring>
#include <iterator>
#include <platform/pref.h>

// The marks in the order of their bytes: the list is the layout.
// clang-format off
#define ROVA_PROC_MARKS(X) \
    X(STEP_LABEL) X(SNAPSHOT) X(KEY) X(POPUP) X(JOG1) X(JOG2) X(WHEEL) X(MODE_DIAL) \
    X(DRIVE_DIAL) X(HDMI) X(EXT_RELEASE) X(EARJACK) X(USB) X(PROXIMITY) X(NFC) X(SWIVEL) \
    X(ROTATION) X(RTC) X(BATTERY_LEVEL) X(TOUCH) X(DR) X(SHIPMENT_COUNTRY) X(WIFI) X(ISO) \
    X(AWB) X(DEFECT_PIXEL) X(VFPN) X(HOTSHOE) X(MOT) X(DUST) X(NOISE) X(MOVIE) X(ACCELOMETER) \
    X(PAF) X(EFS) X(GYROSCOPE) X(STROBE) X(FLANGEBACK) X(CAPTURE) X(XSW) X(SHUTTER) X(CIS_DATA) \
    X(SHUTTER_SPEED) X(LENS_MOUNT) X(LOOPBACK) X(LCD) X(SPEAKER) X(PBA) X(BLUETOOTH) \
    X(SHUTTER_HORIZON) X(COLOR_SHADING) X(VGRIP) X(STLCD) X(EVF) X(SDCARD) X(TILT) \
    X(IMG_SENSOR) X(AFLED) X(MIC) X(CUR_CHARGE) X(CUR_CONSUMPTION) X(CUR_LEAKAGE) \
    X(MAC_ADDRESS) X(FUNC_LED) X(FWVERSION_BODY) X(FWVERSION_MICOM) X(ADJ_DATA) X(MR)
// clang-format on

namespace
{

constexpr char END_NAME[] = "end";

enum class mark_offset : uint32_t {
#define ROVA_MARK_OFFSET(mark) mark,
    ROVA_PROC_MARKS(ROVA_MARK_OFFSET)
#undef ROVA_MARK_OFFSET
};

constexpr uint64_t mark_id(mark_offset offset)
{
    return ROVA_PROC_MARK_STEP_LABEL | static_cast<uint32_t>(offset);
}

// By value.
constexpr const char *letters[] = {"N", "E", "P"};
constexpr char OTHER_VALUE[] = "U";

bool is_end(const proc_mark_info *row)
{
    return std::strcmp(row->name, END_NAME) == 0;
}

// The byte at the id's offset, or NULL where the partition has ended before it.
const uint8_t *mark_address(const void *image, uint32_t size, uint64_t id)
{
    auto offset = static_cast<uint32_t>(id);
    if (offset < size)
        return static_cast<const uint8_t *>(image) + PREF_HEADER_SIZE + offset;
    ROVA_LOG_ERR("offset is beyond the partition (id=0x%" PRIx64 ") \n", id);
    return nullptr;
}

} // namespace

constexpr proc_mark_info rova_proc_mark_info[] = {
#define ROVA_MARK_ROW(mark) {.id = mark_id(mark_offset::mark), .name = #mark},
    ROVA_PROC_MARKS(ROVA_MARK_ROW)
#undef ROVA_MARK_ROW
        {.id = UINT64_MAX, .name = "end"},
};

static_assert(std::size(rova_proc_mark_info) == 68 + 1);
static_assert(mark_id(mark_offset::KEY) == 0x8550000000000002);
static_assert(mark_id(mark_offset::MR) == 0x8550000000000043);

const proc_mark_info *rova_find_proc_mark(const char *name)
{
    for (const proc_mark_info *row = rova_proc_mark_info; !is_end(row); row++)
        if (std::strcmp(row->name, name) == 0)
            return row;
    return nullptr;
}

const proc_mark_info *rova_get_proc_mark_info(uint64_t id)
{
    for (const proc_mark_info *row = rova_proc_mark_info; !is_end(row); row++)
        if (row->id == id)
            return row;
    return nullptr;
}

const char *rova_get_proc_mark_name(uint64_t id)
{
    const proc_mark_info *row = rova_get_proc_mark_info(id);
    if (row != nullptr)
        return row->name;
    ROVA_LOG_ERR("Not found id=0x%" PRIx64 " on proc_mark list \n", id);
    return nullptr;
}

// The line of the file log that is begun first is ended by the one raw text of the outcome.
int rova_set_proc_mark_value(uint64_t id, int value)
{
    if (id == 0) {
        ROVA_LOG_ERR("Invalid id (id=0x%" PRIx64 ")\n", id);
        return 0;
    }
    rova_log("set_proc_mark: 0x%" PRIx64 ", value=%d", id, value);
    void *image = pref_get_addr(ROVA_PREF_ID_LINE, nullptr);
    if (image == nullptr) {
        ROVA_LOG_ERR("pref_addr is NULL (id=0x%" PRIx64 ") \n", id);
        rova_log_raw(", pref_addr is NULL, NG \n");
        return 0;
    }
    const proc_mark_info *mark = rova_get_proc_mark_info(id);
    if (mark == nullptr) {
        ROVA_LOG_ERR("Not found on proc_mark table (id=0x%" PRIx64 ") \n", id);
        rova_log_raw(", Not found on proc_mark table, NG \n");
        return 0;
    }
    static_cast<uint8_t *>(image)[PREF_HEADER_SIZE + static_cast<uint32_t>(id)] =
        static_cast<uint8_t>(value);
    if (pref_save(ROVA_PREF_ID_LINE) < 0) {
        ROVA_LOG_ERR("pref_save(PREF_ID_LINE) failed \n");
        rova_log_raw(", pref_save(PREF_ID_LINE) failed, NG \n");
        return 0;
    }
    rova_log_raw(", %s, OK \n", mark->name);
    return 1;
}

void rova_clear_proc_marks()
{
    for (const proc_mark_info *row = rova_proc_mark_info; !is_end(row); row++)
        rova_set_proc_mark_value(row->id, 0);
}

int rova_get_proc_mark_value(uint64_t id)
{
    if (id == 0) {
        ROVA_LOG_ERR("Invalid id (id=0x%" PRIx64 ") \n", id);
        return 0;
    }
    uint32_t size = 0;
    const void *image = pref_get_addr(ROVA_PREF_ID_LINE, &size);
    if (image == nullptr) {
        ROVA_LOG_ERR("pref_addr is NULL (id=0x%" PRIx64 ") \n", id);
        rova_log("get_proc_mark: pref_addr is NULL (id=0x%" PRIx64 ") \n", id);
        return 0;
    }
    const char *name = rova_get_proc_mark_name(id);
    ROVA_LOG_INFO("id=%s \n", name != nullptr ? name : "(null)");
    const uint8_t *byte = mark_address(image, size, id);
    return byte != nullptr ? *byte : 0;
}

int rova_proc_mark_value(const char *text)
{
    int value = 0;
    for (const char *letter : letters) {
        if (std::strcmp(letter, text) == 0)
            return value;
        value++;
    }
    return -1;
}

const char *rova_proc_mark_text(int value)
{
    bool has_letter = value >= 0 && value < static_cast<int>(std::size(letters));
    return has_letter ? letters[value] : OTHER_VALUE;
}
