#include "platform/virtual/objects.h"

#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <semaphore.h>
#include <sys/msg.h>
#include <unistd.h>

namespace virt
{

namespace
{

std::string queue_note(int queue)
{
    return file("ipc/queue." + std::to_string(queue));
}

const char *without_slash(const char *name)
{
    return *name == '/' ? name + 1 : name;
}

std::string semaphore_note(const char *name)
{
    return file("ipc/semaphore.").append(without_slash(name));
}

// The kernel gives a number anew once its queue is gone: only one with the noted key is ours.
void remove_queue(int queue, const std::string &note)
{
    std::optional<long long> key = read_number(note);
    msqid_ds status = {};
    if (key && msgctl(queue, IPC_STAT, &status) == 0 && status.msg_perm.__key == *key)
        msgctl(queue, IPC_RMID, nullptr);
}

template <typename Object> bool is_one_of(const std::vector<Object> &objects, const Object &object)
{
    return std::find(objects.begin(), objects.end(), object) != objects.end();
}

bool is_kept(const std::string &note, const KeptObjects &kept)
{
    if (note.starts_with("queue."))
        return is_one_of(kept.queues, std::atoi(note.c_str() + 6));
    return note.starts_with("semaphore.") && is_one_of(kept.semaphores, note.substr(10));
}

void remove_object(const std::filesystem::path &note)
{
    std::string name = note.filename().string();
    if (name.starts_with("queue."))
        remove_queue(std::atoi(name.c_str() + 6), note.string());
    if (name.starts_with("semaphore."))
        sem_unlink(semaphore_name(name.c_str() + 10).c_str());
    unlink(note.c_str());
}

} // namespace

void note_queue(int queue, key_t key)
{
    int before = errno;
    std::string note = queue_note(queue);
    if (read_number(note) != key)
        write_number(note, key);
    errno = before;
}

void forget_queue(int queue)
{
    unlink(queue_note(queue).c_str());
}

std::string semaphore_name(const char *name)
{
    char text[300];
    std::snprintf(text, sizeof(text), "/rova.%016llx.%s", hash(root()), without_slash(name));
    return text;
}

void note_semaphore(const char *name)
{
    int before = errno;
    std::string note = semaphore_note(name);
    if (access(note.c_str(), F_OK) != 0)
        write_value(note, semaphore_name(name));
    errno = before;
}

void forget_semaphore(const char *name)
{
    unlink(semaphore_note(name).c_str());
}

void clear_kernel_objects(const KeptObjects &kept)
{
    if (root().empty())
        return;
    std::error_code error;
    std::filesystem::directory_iterator notes(file("ipc"), error), end;
    for (; !error && notes != end; notes.increment(error)) {
        if (!is_kept(notes->path().filename(), kept))
            remove_object(notes->path());
    }
}

} // namespace virt
