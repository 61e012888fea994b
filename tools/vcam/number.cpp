#include "tools/vcam/number.h"

#include "tools/vcam/verb.h"

#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace vcam
{

static std::size_t sign_length(const std::string &text)
{
    return text.starts_with('-') || text.starts_with('+') ? 1 : 0;
}

bool is_hex(const std::string &text)
{
    const std::size_t digits = sign_length(text);
    return text.compare(digits, 2, "0x") == 0 || text.compare(digits, 2, "0X") == 0;
}

std::optional<long long> to_number(const std::string &text)
{
    const std::size_t digits = sign_length(text);
    if (digits == text.size() || std::isdigit(static_cast<unsigned char>(text[digits])) == 0)
        return std::nullopt;
    char *end = nullptr;
    const long long number = std::strtoll(text.c_str(), &end, is_hex(text) ? 16 : 10);
    if (*end != '\0')
        return std::nullopt;
    return number;
}

std::optional<int> to_word32(const std::string &text)
{
    const std::optional<long long> number = to_number(text);
    if (!number || *number < INT32_MIN || *number > UINT32_MAX)
        return std::nullopt;
    return static_cast<int>(static_cast<uint32_t>(*number));
}

std::string check_seconds(const std::string &text)
{
    char *end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (end != text.c_str() && *end == '\0' && std::isfinite(seconds) && seconds >= 0)
        return "";
    return "'" + text + "' is no number of seconds";
}

std::string check_count(const std::string &text)
{
    const std::optional<int> number = to_word32(text);
    return number && *number > 0 ? "" : "'" + text + "' is no whole number above 0";
}

int read_word32(const std::string &text)
{
    const std::optional<int> number = to_word32(text);
    if (!number)
        throw failure("'" + text + "' is no 32-bit number");
    return *number;
}

} // namespace vcam
