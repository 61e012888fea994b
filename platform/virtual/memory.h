// The camera's physical memory as a file.
#pragma once

#include <string>

namespace virt
{

// Makes the file `place` with the size of a 32-bit address space, all zeros and sparse, unless
// there is one already.  Other processes see it with its full size or not at all.
void make_memory(const std::string &place);

} // namespace virt
