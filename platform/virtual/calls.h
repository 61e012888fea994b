// virtual/calls.jsonl: what the platform was told.
#pragma once

#include <nlohmann/json.hpp>

namespace virt
{

// Appends one line.  `args` is a JSON array, strings in it may be any bytes; `result` a number or
// null for calls without one.
void record(const char *call, const nlohmann::json &args, const nlohmann::json &result = nullptr);

} // namespace virt
