// The kernel's message queues and semaphores that belong to this camera, noted in virtual/ipc.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace virt
{

void note_queue(int queue, key_t key);
void forget_queue(int queue);

// The kernel's name of a semaphore of this camera; noted while it exists.
std::string semaphore_name(const char *name);
void note_semaphore(const char *name);
void forget_semaphore(const char *name);

struct KeptObjects {
    std::vector<int> queues;
    std::vector<std::string> semaphores;
};

// Remove all that are noted, but for those to keep: a camera that is switched on starts without
// any.
void clear_kernel_objects(const KeptObjects &kept = {});

} // namespace virt
