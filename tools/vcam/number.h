// Numbers as people write them: decimal or 0x..., with or without a sign.
#pragma once

#include <optional>
#include <string>

namespace vcam
{

// A 32-bit word: from -2147483648, and up to 4294967295 as its bit pattern.  Nothing, or a failure
// that names the text, when it is no such number.
std::optional<int> to_word32(const std::string &text);
int read_word32(const std::string &text);

} // namespace vcam
