// Numbers as people write them: decimal or 0x..., with or without a sign.
#pragma once

#include <optional>
#include <string>

namespace vcam
{

// Any whole number; nothing when the text is none.  One beyond 64 bits gives the largest of its
// sign.
std::optional<long long> to_number(const std::string &text);
bool is_hex(const std::string &text); // begins with 0x, behind a sign or not

// A 32-bit word: from -2147483648, and up to 4294967295 as its bit pattern.  Nothing, or a failure
// that names the text, when it is no such number.
std::optional<int> to_word32(const std::string &text);
int read_word32(const std::string &text);

// For options: "" when the text is such a number, otherwise what it should be.
std::string check_seconds(const std::string &text); // 0 or more
std::string check_count(const std::string &text);   // a whole number, 1 or more

} // namespace vcam
