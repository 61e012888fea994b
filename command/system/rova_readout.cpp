#include "command/system/rova_readout.h"

#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "common/rova_thread.h"
#include "platform/factory_osd.h"
#include "platform/sys.h"

#include <sys/prctl.h>

int rova_readout_create(pthread_t *thread, const char *name, void *(*start)(void *))
{
    const pthread_t before = *thread;
    if (rova_thread_create(thread, name, ROVA_THREAD_PRIORITY, 1, 0, start, nullptr) != 0)
        return -1;
    if (before != 0)
        pthread_detach(before);
    return 0;
}

int rova_readout_cancel(pthread_t *thread)
{
    const pthread_t cancelled = *thread;
    *thread = 0;
    if (rova_thread_cancel(cancelled) != 0)
        return -1;
    return rova_thread_join(cancelled, nullptr);
}

static bool switch_on(rova_readout *readout)
{
    if (rova_readout_create(&readout->thread, readout->name, readout->start) == 0)
        return true;
    rova_log_line(rova_log_kind::err, {ROVA_LOG_TAG, __FILE__, readout->create_function, __LINE__},
                  stderr, "rova_sensor_read_thread_create() failed \n");
    return false;
}

static bool switch_off(rova_readout *readout)
{
    const auto thread = static_cast<unsigned int>(readout->thread);
    if (rova_readout_cancel(&readout->thread) != 0) {
        rova_log_line(rova_log_kind::err,
                      {ROVA_LOG_TAG, __FILE__, readout->cancel_function, __LINE__}, stderr,
                      "Thread cancel failed for thread [%u] \n", thread);
        return false;
    }
    factory_osd_text_clear();
    return true;
}

int rova_readout_osd(rova_readout *readout, uint32_t cmd_type, const cmd_data *record)
{
    const char *word = rova_cmd_param(record, 1);
    uint8_t on = 0;
    if (!rova_cmd_on_off(word, &on)) {
        ROVA_LOG_ERR("Wrong cmd_data->p[1] = %s\n", word);
        return rova_cmd_ng(cmd_type);
    }
    return rova_cmd_answer(cmd_type, on != 0 ? switch_on(readout) : switch_off(readout));
}

void rova_readout_begin(const char *name)
{
    rova_thread_make_cancellable();
    prctl(PR_SET_NAME, name, 0, 0, 0);
}

// Of deferred type, which only the sleep itself heeds: nothing on the way to it is cut between two
// calls.
void rova_readout_sleep(useconds_t microseconds)
{
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    pthread_testcancel();
    sys_usleep(microseconds);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
}
