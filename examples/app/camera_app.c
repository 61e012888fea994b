/*
 * A camera application in its smallest form: it serves both channels of the factory daemon, answers
 * two commands of its own, and ends by Ctrl-C or SIGTERM.
 */
#define _POSIX_C_SOURCE 200809L
#include <rova/rova.h>

#include <signal.h>
#include <stdio.h>
#include <strings.h>

static uint32_t changes; /* of parameters, so far */

/* exposure ...: an answer with a text for the PC. */
static void exposure(const struct cmd_data *record, struct rova_cmd_response *answer)
{
    answer->stream.stream_type = 2;
    snprintf(answer->stream.text, sizeof(answer->stream.text), "exposure %s is done", record->p[0]);
}

/* sys_param ...: an answer with three numbers; NG without a value. */
static void sys_param(const struct cmd_data *record, struct rova_cmd_response *answer)
{
    if (record->p_count < 2) {
        answer->result = 1;
        return;
    }
    answer->response_type = 1;
    answer->param1 = ++changes;
    answer->param2 = record->p_count;
}

static const struct {
    const char *cmd;
    void (*run)(const struct cmd_data *record, struct rova_cmd_response *answer);
} commands[] = {
    {"exposure", exposure},
    {"sys_param", sys_param},
};

/* On the thread of the channel.  0: the library may look whether the command is one of its own. */
static int run_command(const struct cmd_data *record, struct rova_cmd_response *answer)
{
    for (size_t i = 0; i < sizeof(commands) / sizeof(commands[0]); i++) {
        if (strcasecmp(record->cmd, commands[i].cmd) != 0)
            continue;
        commands[i].run(record, answer);
        return 1;
    }
    return 0;
}

static const char *still_name(void)
{
    return "IMG_0001.JPG";
}

int main(void)
{
    static int camera; /* stands for the handle that the camera stack gives */
    sigset_t ending;
    int number;

    /* Before the library starts its threads, so that they do not take the signals either. */
    sigemptyset(&ending);
    sigaddset(&ending, SIGINT);
    sigaddset(&ending, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ending, NULL);

    rova_register_app_func(ROVA_APP_STILL_NAME, (rova_app_func)still_name);
    if (!rova_start_ipcc(&camera))
        return 1;
    if (!rova_start_app(run_command)) {
        rova_stop_ipcc();
        return 1;
    }
    sigwait(&ending, &number);
    rova_stop_app();
    rova_stop_ipcc();
    return 0;
}
