#include "tests/core/callbacks.h"

#include "common/rova_cmd_data.h"

#include <map>

namespace
{

std::map<std::string, test::Callback> &registered()
{
    static std::map<std::string, test::Callback> all;
    return all;
}

bool no_strings = false;
bool no_parsing = false;

} // namespace

namespace test
{

Callback callback_of(const std::string &key)
{
    return registered()[key];
}

NoKeyStrings::NoKeyStrings()
{
    no_strings = true;
}

NoKeyStrings::~NoKeyStrings()
{
    no_strings = false;
}

NoParsing::NoParsing()
{
    no_parsing = true;
}

NoParsing::~NoParsing()
{
    no_parsing = false;
}

} // namespace test

extern "C" {

int __real_vconf_notify_key_changed(const char *key, vconf_callback_fn callback, void *user_data);
int __wrap_vconf_notify_key_changed(const char *key, vconf_callback_fn callback, void *user_data);
int __wrap_vconf_notify_key_changed(const char *key, vconf_callback_fn callback, void *user_data)
{
    registered()[key] = {callback, user_data};
    return __real_vconf_notify_key_changed(key, callback, user_data);
}

char *__real_vconf_keynode_get_str(const keynode_t *node);
char *__wrap_vconf_keynode_get_str(const keynode_t *node);
char *__wrap_vconf_keynode_get_str(const keynode_t *node)
{
    return no_strings ? nullptr : __real_vconf_keynode_get_str(node);
}

int __real__Z19rova_parse_cmd_dataPcjP8cmd_data(char *line, uint32_t size, cmd_data *record);
int __wrap__Z19rova_parse_cmd_dataPcjP8cmd_data(char *line, uint32_t size, cmd_data *record);
int __wrap__Z19rova_parse_cmd_dataPcjP8cmd_data(char *line, uint32_t size, cmd_data *record)
{
    return no_parsing ? -3 : __real__Z19rova_parse_cmd_dataPcjP8cmd_data(line, size, record);
}
}
