// virtual/calls.jsonl: what the platform was told.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace virt
{

// Appends one line.  `args` is a JSON array, strings in it may be any bytes; `result` a number.
void record(const char *call, const nlohmann::json &args, const nlohmann::json &result);
// The same for a call without a result, noted as null.
void record(const char *call, const nlohmann::json &args);

} // namespace virt
