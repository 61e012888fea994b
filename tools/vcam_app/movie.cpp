#include "tools/vcam_app/movie.h"

#include "platform/virtual/calls.h"
#include "platform/virtual/picture.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <rova/rova.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace vcam_app
{
namespace
{

namespace fs = std::filesystem;
using nlohmann::json;
using steady = std::chrono::steady_clock;

// Where the movie stands.  It goes on by camera time while it plays.
class player
{
public:
    void seek(int ms) { change(std::max(ms, 0), playing_); }
    void play() { change(now(), true); }
    void pause() { change(now(), false); }
    void stop() { change(0, false); }

    double now() const // milliseconds
    {
        using milliseconds = std::chrono::duration<double, std::milli>;
        const double played = milliseconds(steady::now() - since_).count() * virt::speed();
        return playing_ ? position_ + played : position_;
    }

private:
    void change(double position, bool playing)
    {
        position_ = position;
        playing_ = playing;
        since_ = steady::now();
    }

    double position_ = 0;
    bool playing_ = false;
    steady::time_point since_ = steady::now();
};

// Called on the channel's thread alone.
player movie;

int set_pos(int ms)
{
    movie.seek(ms);
    virt::record("app_movie_set_pos", {ms}, 1);
    return 1;
}

int resume()
{
    movie.play();
    virt::record("app_movie_resume", json::array(), 1);
    return 1;
}

int pause()
{
    movie.pause();
    virt::record("app_movie_pause", json::array(), 1);
    return 1;
}

constexpr long long USUAL_FRAME_MS = 33;

std::vector<std::string> frame_files(const std::string &folder)
{
    std::vector<std::string> files;
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, error)) {
        if (virt::is_picture(entry.path().filename()))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The file of the frame that the movie stands at, the last one behind its end; "" without a movie.
std::string current_frame()
{
    const std::vector<std::string> files = frame_files(virt::file("movie"));
    const long long length =
        virt::read_number(virt::file("movie/frame_ms")).value_or(USUAL_FRAME_MS);
    if (files.empty() || length <= 0)
        return "";
    const auto number = static_cast<std::size_t>(movie.now() / static_cast<double>(length));
    return files[std::min(number, files.size() - 1)];
}

// Without gaps, as the inspection expects a frame, and so with even sides.
std::optional<virt::Picture> read_frame(const std::string &file)
{
    const virt::Layout packed = {.pitch_align = 1};
    std::string error;
    const std::optional<virt::Picture> full = virt::read_picture(file, packed, error);
    if (!full) {
        std::fprintf(stderr, "vcam-app: %s: %s\n", file.c_str(), error.c_str());
        return std::nullopt;
    }
    virt::Picture frame =
        virt::scale_picture(*full, virt::even_part(full->width), virt::even_part(full->height),
                            virt::Chroma::EVERY_SECOND_LINE, packed);
    if (frame.memory.data() == nullptr)
        return std::nullopt;
    return frame;
}

// The planes stay until the next frame.
int deliver_frame()
{
    static virt::Picture shown;
    const std::string file = current_frame();
    std::optional<virt::Picture> frame = file.empty() ? std::nullopt : read_frame(file);
    virt::record("app_movie_frame", {fs::path(file).filename().string()}, frame ? 1 : 0);
    if (!frame)
        return 0;
    shown = std::move(*frame);
    const rova_pim_frame_info info = {shown.y_address(), shown.c_address(), shown.width,
                                      shown.height};
    return rova_pim_movie_set_frame_info(&info);
}

int deliver_audio()
{
    const std::map<std::string, std::string> notes = virt::read_notes(virt::file("movie/audio"));
    const auto number = [&](const char *name) {
        const auto found = notes.find(name);
        return found == notes.end() ? 0.0F : std::strtof(found->second.c_str(), nullptr);
    };
    const rova_pim_aframe_info info = {static_cast<int32_t>(number("left_frequency")),
                                       static_cast<int32_t>(number("right_frequency")),
                                       number("left_peak"),
                                       number("right_peak"),
                                       number("left_rms"),
                                       number("right_rms"),
                                       number("left_loudness"),
                                       number("right_loudness")};
    virt::record("app_movie_audio", json::array(), 1);
    return rova_pim_aframe_set_frame_info(&info);
}

int stop()
{
    movie.stop();
    virt::record("app_movie_stop", json::array(), 1);
    return 1;
}

struct function_row {
    rova_app_func_id id;
    rova_app_func function;
};

template <typename Function> rova_app_func lent(Function *function)
{
    return reinterpret_cast<rova_app_func>(function);
}

} // namespace

void register_movie_functions()
{
    const function_row functions[] = {
        {ROVA_APP_MOVIE_SET_POS, lent(set_pos)},     {ROVA_APP_MOVIE_RESUME, lent(resume)},
        {ROVA_APP_MOVIE_PAUSE, lent(pause)},         {ROVA_APP_MOVIE_STOP, lent(stop)},
        {ROVA_APP_VIDEO_FRAME, lent(deliver_frame)}, {ROVA_APP_AUDIO_FRAME, lent(deliver_audio)},
    };
    for (const function_row &row : functions)
        rova_register_app_func(row.id, row.function);
}

} // namespace vcam_app
