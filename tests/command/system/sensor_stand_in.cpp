#include "tests/command/system/sensor_stand_in.h"

#include "platform/sys.h"

#include <gtest/gtest.h>
#include <sys/msg.h>

namespace test
{

static constexpr char KEY_FOLDER[] = "/tmp";
static constexpr int REQUESTS = 1048;
static constexpr int REPLIES = 1826;

int sensor_reply_queue(int flags)
{
    return sys_msgget(sys_ftok(KEY_FOLDER, REPLIES), flags);
}

SensorStandIn::SensorStandIn()
    : queue_(sys_msgget(sys_ftok(KEY_FOLDER, REQUESTS), IPC_CREAT | IPC_EXCL | 0666)),
      thread_([this] { serve(); })
{
    EXPECT_GE(queue_, 0);
}

SensorStandIn::~SensorStandIn()
{
    msgctl(queue_, IPC_RMID, nullptr);
    thread_.join();
}

void SensorStandIn::answer(const std::string &request, const SensorMessages &messages)
{
    const std::lock_guard guard(lock_);
    answers_[request] = messages;
}

void SensorStandIn::leave_at(const std::string &request)
{
    const std::lock_guard guard(lock_);
    leaving_at_ = request;
}

std::vector<std::string> SensorStandIn::requests()
{
    const std::lock_guard guard(lock_);
    return requests_;
}

void SensorStandIn::serve()
{
    rova_sensor_msg message = {};
    while (msgrcv(queue_, &message, sizeof(message.data), ROVA_SENSOR_MSG_TYPE, 0) >= 0)
        take(message.data);
}

void SensorStandIn::take(const rova_sensor_data &request)
{
    const std::lock_guard guard(lock_);
    const std::string name = request.cmd;
    requests_.push_back(name + " " + std::to_string(request.value1) + " " +
                        std::to_string(request.value2));
    const int replies = sensor_reply_queue();
    // Who got a wrong one waits for no more: the queue may be gone.
    for (const rova_sensor_data &data : answers_[name]) {
        const rova_sensor_msg message = {ROVA_SENSOR_MSG_TYPE, data};
        if (msgsnd(replies, &message, sizeof(message.data), 0) != 0)
            break;
    }
    if (name == leaving_at_)
        msgctl(replies, IPC_RMID, nullptr);
}

} // namespace test
