#include "platform/virtual/memory.h"

#include "platform/virtual/guard.h"

#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace virt
{

static constexpr off_t MEMORY_SIZE = off_t{1} << 32;

void make_memory(const std::string &place)
{
    if (access(place.c_str(), F_OK) == 0)
        return;
    int before = errno;
    std::string name = place + ".XXXXXX";
    Descriptor fresh(mkstemp(name.data()));
    if (fresh) {
        // A link appears at once, and leaves the file of a quicker process alone.
        if (ftruncate(fresh.get(), MEMORY_SIZE) == 0 && link(name.c_str(), place.c_str()) != 0)
            before = errno;
        unlink(name.c_str());
    }
    errno = before;
}

} // namespace virt
