#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_property.h"
#include "common/rova_log.h"

#include <platform/production.h>
#include <span>
#include <strings.h>

namespace
{

constexpr int LAMP_CLASS = 3;
constexpr int BLINK_MS = 500;

constexpr int CHARGE_LAMP_OFF = 1;
constexpr int CHARGE_LAMP_ON = 2;

struct lamp_state {
    const char *word;
    int property;
    int value;
};

constexpr lamp_state af_states[] = {{"on", 4, 1}, {"off", 4, 0}, {"blink", 5, BLINK_MS}};
constexpr lamp_state card_states[] = {{"on", 0, 1}, {"off", 0, 0}, {"blink", 1, BLINK_MS}};

int answer_unknown_word(uint32_t cmd_type)
{
    ROVA_LOG_ERR("Not found on led command table\n");
    return rova_cmd_ng(cmd_type);
}

int set_lamp(uint32_t cmd_type, const cmd_data *record, std::span<const lamp_state> states)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    for (const lamp_state &state : states)
        if (strcasecmp(state.word, record->p[1]) == 0)
            return rova_cmd_answer(cmd_type,
                                   rova_property_set(LAMP_CLASS, state.property, state.value));
    return answer_unknown_word(cmd_type);
}

int rova_cmd_led_af(uint32_t cmd_type, cmd_data *record)
{
    return set_lamp(cmd_type, record, af_states);
}

int rova_cmd_led_card(uint32_t cmd_type, cmd_data *record)
{
    return set_lamp(cmd_type, record, card_states);
}

int set_charge_lamp(uint32_t cmd_type, int state)
{
    bool set = rova_cmd_succeeded("set_charge_led", set_charge_led(state));
    return rova_cmd_answer(cmd_type, set);
}

// The production service has this lamp; it does not blink.
int rova_cmd_led_charge(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    if (strcasecmp(record->p[1], "on") == 0)
        return set_charge_lamp(cmd_type, CHARGE_LAMP_ON);
    if (strcasecmp(record->p[1], "off") == 0)
        return set_charge_lamp(cmd_type, CHARGE_LAMP_OFF);
    return answer_unknown_word(cmd_type);
}

constexpr rova_cmd_entry led_table[] = {
    {"af", rova_cmd_led_af},
    {"card", rova_cmd_led_card},
    {"charge", rova_cmd_led_charge},
};
static_assert(rova_cmd_table_is_sound(led_table));

} // namespace

int rova_cmd_led(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(led_table, "led", cmd_type, record);
}
