// A sensor service of a test's own: a thread on both queues, which answers what it is told to.
#pragma once

#include "common/rova_sensor.h"

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test
{

using SensorMessages = std::vector<rova_sensor_data>;

// The queue for the replies; -1 when there is none.  `flags` as for msgget().
int sensor_reply_queue(int flags = 0);

class SensorStandIn
{
public:
    SensorStandIn();  // makes the queue of the requests
    ~SensorStandIn(); // removes it
    SensorStandIn(const SensorStandIn &) = delete;
    SensorStandIn &operator=(const SensorStandIn &) = delete;

    // From now on a request of this name is answered by these messages, in order.
    void answer(const std::string &request, const SensorMessages &messages);
    // From now on it is answered by the removal of the queue for the replies.
    void leave_at(const std::string &request);

    // The requests so far, each as "rollpitch 0 0".
    std::vector<std::string> requests();

private:
    void serve();
    void take(const rova_sensor_data &request);

    int queue_;
    std::mutex lock_;
    std::map<std::string, SensorMessages> answers_;
    std::string leaving_at_;
    std::vector<std::string> requests_;
    std::thread thread_;
};

} // namespace test
