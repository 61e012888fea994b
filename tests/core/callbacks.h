// Key callbacks of the code under test, for calling them as the key store never would.
#pragma once

#include "platform/vconf.h"

#include <string>

namespace test
{

// The callback last registered for `key`, with its user data; null when there is none.
struct Callback {
    vconf_callback_fn function = nullptr;
    void *user_data = nullptr;
};
Callback callback_of(const std::string &key);

// While one lives, every string of a key node reads as NULL.
struct NoKeyStrings {
    NoKeyStrings();
    ~NoKeyStrings();
};

// While one lives, no line can be parsed.
struct NoParsing {
    NoParsing();
    ~NoParsing();
};

} // namespace test
