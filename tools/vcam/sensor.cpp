// vcam sensord and turn-camera: the sensor service, and the camera's position that it tells.
#include "tools/vcam/sensor.h"

#include "command/system/rova_accel_driver.h"
#include "command/system/rova_sensor_service.h"
#include "platform/pref.h"
#include "platform/sys.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/number.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <sys/msg.h>
#include <unistd.h>
#include <utility>

namespace vcam
{
namespace
{

using camera_clock = std::chrono::steady_clock;

// ------------------------------------------------------------------------- positions

constexpr int G = 1024; // what the driver tells of the earth's pull

// The axes of the driver, roll and pitch in degrees; in the order of ROVA_SENSOR_POSITIONS.
struct posture {
    int x, y, z;
    int roll, pitch;
};

constexpr posture POSTURES[] = {
    {0, G, 0, 0, 0},    {G, 0, 0, 90, 0}, {0, -G, 0, 180, 0},
    {-G, 0, 0, -90, 0}, {0, 0, G, 0, 90}, {0, 0, -G, 0, -90},
};
static_assert(std::size(POSTURES) == std::size(ROVA_SENSOR_POSITIONS));

std::string sensor_file(const char *name)
{
    return virt::file("sensor/") + name;
}

void not_understood(const char *name, const std::string &text)
{
    std::fprintf(stderr, "vcam: virtual/sensor/%s: '%s' is not understood\n", name, text.c_str());
}

int32_t sensor_number(const char *name)
{
    const std::string text = virt::read_value(sensor_file(name)).value_or("0");
    const std::optional<int> number = to_word32(text);
    if (!number)
        not_understood(name, text);
    return number.value_or(0);
}

std::string position_word()
{
    return virt::read_value(sensor_file("position")).value_or(ROVA_SENSOR_POSITIONS[0].name);
}

// 0: no position.
int32_t position_code(const std::string &word)
{
    for (const rova_sensor_position &position : ROVA_SENSOR_POSITIONS)
        if (word == position.name)
            return position.code;
    return 0;
}

// Scripted values would take its place.
void write_sensor_file(const std::string &place, const std::string &text)
{
    virt::end_play(place);
    if (!virt::write_value(place, text))
        throw failure("'" + place + "' cannot be written");
}

void turn_to(std::size_t position)
{
    const posture &p = POSTURES[position];
    write_sensor_file(on_pc(ROVA_ACCEL_RAW_DATA_PATH), accel_raw_data(position));
    write_sensor_file(sensor_file("roll"), std::to_string(p.roll));
    write_sensor_file(sensor_file("pitch"), std::to_string(p.pitch));
    write_sensor_file(sensor_file("position"), ROVA_SENSOR_POSITIONS[position].name);
}

// ------------------------------------------------------------------------- how it answers

enum class manner { normal, silent, late, wrong_name, wrong_code, gone };

struct behaviour {
    manner how = manner::normal;
    double late_ms = 0;
};

struct manner_row {
    const char *text;
    manner how;
};

constexpr manner_row MANNERS[] = {
    {"normal", manner::normal},
    {"silent", manner::silent},
    {"wrong name", manner::wrong_name},
    {"wrong code", manner::wrong_code},
    {"gone", manner::gone},
};

std::optional<behaviour> understood(const std::string &text)
{
    for (const manner_row &row : MANNERS)
        if (text == row.text)
            return behaviour{row.how};
    if (!text.starts_with("late "))
        return std::nullopt;
    const std::optional<long long> ms = to_number(text.substr(5));
    if (!ms || *ms < 0)
        return std::nullopt;
    return behaviour{manner::late, static_cast<double>(*ms)};
}

behaviour read_behaviour()
{
    const std::string text = virt::read_value(sensor_file("answer")).value_or(MANNERS[0].text);
    const std::optional<behaviour> found = understood(text);
    if (!found)
        not_understood("answer", text);
    return found.value_or(behaviour{});
}

// ------------------------------------------------------------------------- the service

rova_sensor_data message_of(const char *name, int32_t value1, int32_t value2)
{
    rova_sensor_data data = {{}, value1, value2};
    std::strncpy(data.cmd, name, sizeof(data.cmd) - 1);
    return data;
}

void remove_queue(int queue)
{
    if (queue >= 0)
        sys_msgctl(queue, IPC_RMID, nullptr);
}

int queue_of(int project, int flags)
{
    const key_t key = sys_ftok(ROVA_SENSOR_KEY_PATH, project);
    return key == -1 ? -1 : sys_msgget(key, flags);
}

int replies()
{
    return queue_of(ROVA_SENSOR_REPLY_PROJECT, 0);
}

struct basis_row {
    const char *request;
    int key;
};

constexpr basis_row BASIS[] = {
    {ROVA_SENSOR_BASIS_R, ROVA_SENSOR_BASIS_R_KEY},
    {ROVA_SENSOR_BASIS_P, ROVA_SENSOR_BASIS_P_KEY},
};

void keep_basis(const rova_sensor_data &request)
{
    for (const basis_row &row : BASIS) {
        if (std::strcmp(request.cmd, row.request) == 0 &&
            (pref_set_long(ROVA_SENSOR_PARTITION, row.key, request.value1) < 0 ||
             pref_save(ROVA_SENSOR_PARTITION) < 0))
            std::fprintf(stderr, "vcam: %s cannot be kept\n", row.request);
    }
}

// Answers the latest request, message by message: a new one ends the answer to the one before,
// whose sender waits no more.
class sensor_service
{
public:
    explicit sensor_service(int requests) : requests_(requests) {}

    // Takes a request, or sends what is due.  False: it is at its end.
    bool work();

private:
    bool take(rova_sensor_data request);
    void answer();
    bool send_next();
    std::optional<rova_sensor_data> next_message();
    std::optional<rova_sensor_data> rotation();
    rova_sensor_data calibration();
    void wait(double ms);

    const int requests_;
    std::optional<rova_sensor_data> request_; // being answered
    std::optional<rova_sensor_data> message_; // on its way
    behaviour behaviour_;
    camera_clock::time_point due_;
    int64_t sent_ = 0;
    int sample_[3] = {};
    std::string position_; // read last for this request
};

bool sensor_service::work()
{
    rova_sensor_msg message = {};
    if (msgrcv(requests_, &message, sizeof(message.data), 0, IPC_NOWAIT | MSG_NOERROR) >= 0)
        return take(message.data);
    const bool there = errno == ENOMSG || errno == EINTR;
    if (request_ && camera_clock::now() >= due_)
        answer();
    return there && is_camera(camera_root());
}

bool sensor_service::take(rova_sensor_data request)
{
    request.cmd[sizeof(request.cmd) - 1] = '\0';
    std::printf("%s %d %d\n", request.cmd, request.value1, request.value2);
    behaviour_ = read_behaviour();
    request_.reset();
    message_.reset();
    sent_ = 0;
    position_ = ROVA_SENSOR_POSITIONS[0].name;
    if (behaviour_.how == manner::gone) {
        remove_queue(replies());
        return false;
    }
    keep_basis(request);
    if (behaviour_.how != manner::silent)
        request_ = request;
    wait(behaviour_.late_ms);
    return true;
}

void sensor_service::wait(double ms)
{
    due_ = camera_clock::now() + std::chrono::duration_cast<camera_clock::duration>(
                                     std::chrono::duration<double, std::milli>(ms / virt::speed()));
}

void sensor_service::answer()
{
    while (request_ && send_next())
        sent_++;
}

// False: not now.
bool sensor_service::send_next()
{
    if (!message_)
        message_ = next_message();
    if (!message_)
        return false;
    if (behaviour_.how == manner::wrong_name)
        *message_ = message_of("wrong", message_->value1, message_->value2);
    const rova_sensor_msg message = {ROVA_SENSOR_MSG_TYPE, *message_};
    if (msgsnd(replies(), &message, sizeof(message.data), IPC_NOWAIT) == 0) {
        message_.reset();
        return true;
    }
    if (errno != EAGAIN)
        request_.reset(); // nobody waits
    return false;
}

std::optional<rova_sensor_data> sensor_service::next_message()
{
    const std::string name = request_->cmd;
    if (name == ROVA_SENSOR_CALIBRATION && sent_ <= 2 * int64_t{std::max(request_->value1, 0)})
        return calibration();
    if (name == ROVA_SENSOR_ROLLPITCH && sent_ == 0)
        return message_of(ROVA_SENSOR_ROLLPITCH, sensor_number("roll"), sensor_number("pitch"));
    if (name == ROVA_SENSOR_ROTATION && sent_ == 0) {
        constexpr double look_ms = 100;
        wait(look_ms);
        return rotation();
    }
    request_.reset();
    return std::nullopt;
}

// Not before the camera is in the position that is waited for.
std::optional<rova_sensor_data> sensor_service::rotation()
{
    const int32_t wanted = request_->value1;
    if (behaviour_.how == manner::wrong_code)
        return message_of(ROVA_SENSOR_ROTATION, wanted + 1, 0);
    const std::string before = std::exchange(position_, position_word());
    const int32_t code = position_code(position_);
    if (code == 0 && position_ != before)
        not_understood("position", position_);
    if (code == 0 || code != wanted)
        return std::nullopt;
    return message_of(ROVA_SENSOR_ROTATION, wanted, 0);
}

// A reading of the driver's file is one round.
rova_sensor_data sensor_service::calibration()
{
    if (sent_ == 2 * int64_t{std::max(request_->value1, 0)})
        return message_of(ROVA_SENSOR_DONE, 0, 0);
    if (sent_ % 2 != 0)
        return message_of(ROVA_SENSOR_SAMPLE_Z, sample_[2], 0);
    const std::string text = virt::read_value(on_pc(ROVA_ACCEL_RAW_DATA_PATH)).value_or("");
    if (std::sscanf(text.c_str(), "%d, %d, %d", &sample_[0], &sample_[1], &sample_[2]) != 3)
        std::fprintf(stderr, "vcam: %s: '%s' is no sample\n", ROVA_ACCEL_RAW_DATA_PATH,
                     text.c_str());
    return message_of(ROVA_SENSOR_SAMPLE_XY, sample_[0], sample_[1]);
}

// The service is found by the name that its process has.
[[noreturn]] void become_service()
{
    char *const argv[] = {const_cast<char *>(SENSOR_SERVICE), const_cast<char *>("sensord"),
                          nullptr};
    execv("/proc/self/exe", argv);
    throw failure(std::string("the service cannot be started (") + std::strerror(errno) + ")");
}

int serve()
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (const int stale = sensor_requests(); stale >= 0) {
        remove_queue(stale);
        std::puts("cleared the queue of a killed service");
    }
    const int requests = queue_of(ROVA_SENSOR_REQUEST_PROJECT, IPC_CREAT | IPC_EXCL | 0666);
    if (requests < 0)
        throw failure(std::string("the queue of the requests cannot be made (") +
                      std::strerror(errno) + ")");
    catch_interrupts();
    std::puts("sensor service: up");
    sensor_service service(requests);
    wait_until([&] { return !service.work(); }, 1e9);
    remove_queue(requests);
    return OK;
}

} // namespace

const companion_kind &sensor_kind()
{
    static const companion_kind kind = {
        .what = "the sensor service",
        .words = {SENSOR_SERVICE, "sensord"},
        .output = "sensord.out",
        .pid = sensor_pid,
        .is_up = [] { return sensor_requests() >= 0; },
        .clear = [] { remove_queue(sensor_requests()); },
    };
    return kind;
}

int sensor_requests()
{
    return queue_of(ROVA_SENSOR_REQUEST_PROJECT, 0);
}

std::string accel_raw_data(std::size_t position)
{
    const posture &p = POSTURES[position];
    return std::to_string(p.x) + ", " + std::to_string(p.y) + ", " + std::to_string(p.z);
}

int verb_sensord(const invocation &in, CLI::App &app)
{
    in.open(app);
    if (runs_as(SENSOR_SERVICE))
        return serve();
    refuse_second(sensor_kind());
    become_service();
}

int verb_turn_camera(const invocation &in, CLI::App &app)
{
    std::vector<std::string> names;
    for (const rova_sensor_position &position : ROVA_SENSOR_POSITIONS)
        names.emplace_back(position.name);
    std::string wanted;
    app.add_option("POSITION", wanted, "up, right, down, left, top or bottom")
        ->required()
        ->check(CLI::IsMember(names));
    in.open(app);
    const auto found = std::find(names.begin(), names.end(), wanted);
    turn_to(static_cast<std::size_t>(std::distance(names.begin(), found)));
    return OK;
}

} // namespace vcam
