// Calls that are to fail, as files virtual/fail/CALL say.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>

namespace virt
{

// Asked by each call of the seam before it does its work: what to return instead, with errno set;
// nullopt: do the work.  `texts` are the call's text arguments (NULL allowed).
std::optional<long> fault(const char *call, std::initializer_list<const char *> texts = {});

// The same for a call with a descriptor: its text is the camera path behind `fd`.
std::optional<long> fault_on(const char *call, int fd);

// Write and remove virtual/fail/CALL; `how` in the form of docs/virtual-camera.md, such as
// "-1 at 3 errno ENOSPC".  set_fault counts calls anew; false with a line on the error stream when
// `how` is not understood.
bool set_fault(const std::string &call, const std::string &how);
bool clear_fault(const std::string &call);

} // namespace virt
