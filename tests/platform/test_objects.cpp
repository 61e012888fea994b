#include "platform/virtual/objects.h"

#include "platform/sys.h"
#include "platform/virtual/root.h"
#include "tests/support/camera.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <sys/msg.h>

namespace
{

bool queue_exists(int queue)
{
    msqid_ds status = {};
    return msgctl(queue, IPC_STAT, &status) == 0;
}

TEST(KernelObjects, AreNotedWhileTheyExist)
{
    test::Camera camera;
    int queue = sys_msgget(sys_ftok("/tmp", 1), IPC_CREAT | IPC_EXCL | 0600);
    ASSERT_GE(queue, 0);
    std::string note = "/virtual/ipc/queue." + std::to_string(queue);
    EXPECT_TRUE(camera.exists(note));
    EXPECT_EQ(sys_msgget(sys_ftok("/tmp", 1), 0600), queue);
    EXPECT_EQ(sys_msgctl(queue, IPC_RMID, nullptr), 0);
    EXPECT_FALSE(camera.exists(note));
    sem_close(sys_sem_open("sem", O_CREAT, 0600, 0));
    EXPECT_TRUE(camera.exists("/virtual/ipc/semaphore.sem"));
    sys_sem_unlink("sem");
    EXPECT_FALSE(camera.exists("/virtual/ipc/semaphore.sem"));
}

TEST(KernelObjects, GoWithTheCamera)
{
    int queue = -1, nameless = -1;
    std::string name;
    {
        test::Camera camera;
        queue = sys_msgget(sys_ftok("/tmp", 1), IPC_CREAT | 0600);
        nameless = sys_msgget(IPC_PRIVATE, 0600);
        sem_close(sys_sem_open("sem", O_CREAT, 0600, 0));
        name = virt::semaphore_name("sem");
        EXPECT_TRUE(queue_exists(queue) && queue_exists(nameless));
    }
    EXPECT_FALSE(queue_exists(queue));
    EXPECT_FALSE(queue_exists(nameless));
    EXPECT_EQ(sem_open(name.c_str(), 0), SEM_FAILED);
}

TEST(KernelObjects, AStrangersQueueOfANotedNumberIsLeftAlone)
{
    int queue = msgget(IPC_PRIVATE, 0600);
    ASSERT_GE(queue, 0);
    {
        test::Camera camera;
        camera.write("/virtual/ipc/queue." + std::to_string(queue), "12345\n");
    }
    EXPECT_TRUE(queue_exists(queue));
    msgctl(queue, IPC_RMID, nullptr);
}

} // namespace
