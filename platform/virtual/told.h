// The frame of a call that changes something: its fault or its work, then its line in the call log.
#pragma once

#include "platform/virtual/calls.h"
#include "platform/virtual/faults.h"

#include <cerrno>
#include <nlohmann/json.hpp>

namespace virt
{

// `texts` are the call's text arguments, for faults that ask for one.
template <typename Work>
int told(const char *call, const nlohmann::json &args, std::initializer_list<const char *> texts,
         const Work &work)
{
    std::optional<long> failure = fault(call, texts);
    int result = failure ? static_cast<int>(*failure) : work();
    int error = errno;
    record(call, args, result);
    errno = error;
    return result;
}

} // namespace virt
