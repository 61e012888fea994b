#include "platform/virtual/scene.h"

#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <set>
#include <sys/stat.h>

namespace virt
{

namespace
{

constexpr int SCREEN_DIVISOR = 8;
constexpr int THUMB_DIVISOR = 16;
constexpr long long USUAL_RATE = 30;
constexpr long long HIGHEST_RATE = 1000;
constexpr size_t FRAMES_KEPT = 32;

// A field of a record, as virtual/capture/record/NAME sets it.
struct Field {
    const char *name;
    size_t offset;
    size_t size;
};

#define FIELD(RECORD, NAME)                                                                        \
    {                                                                                              \
#NAME, offsetof(RECORD, NAME), sizeof(RECORD::NAME)                                        \
    }

constexpr Field IMAGE_SET_FIELDS[] = {
    FIELD(capture_image_set, mainGWidth),     FIELD(capture_image_set, mainGHeight),
    FIELD(capture_image_set, mainWidth),      FIELD(capture_image_set, mainHeight),
    FIELD(capture_image_set, mainYAddress),   FIELD(capture_image_set, mainCAddress),
    FIELD(capture_image_set, screenGWidth),   FIELD(capture_image_set, screenGHeight),
    FIELD(capture_image_set, screenWidth),    FIELD(capture_image_set, screenHeight),
    FIELD(capture_image_set, screenYAddress), FIELD(capture_image_set, screenCAddress),
    FIELD(capture_image_set, thumbYAddress),
};

constexpr Field STILL_FIELDS[] = {
    FIELD(capture_still, ExposureTimeNum),
    FIELD(capture_still, ExposureTimeDen),
    FIELD(capture_still, FNumberNum),
    FIELD(capture_still, FNumberDen),
    FIELD(capture_still, FocalLengthIn35mmFilm),
    FIELD(capture_still, ISOValue),
    FIELD(capture_still, afStep),
};

constexpr Field LIVE_VIEW_FIELDS[] = {
    FIELD(capture_live_view, pitch),
    FIELD(capture_live_view, width),
    FIELD(capture_live_view, height),
    FIELD(capture_live_view, y_address),
};

// A number of the shooting data; a fraction has its denominator in the next field.
struct Shooting {
    const char *name;
    const char *usual;
    Field numerator;
    size_t denominator; // offset; 0: a plain number
};

constexpr Shooting SHOOTING[] = {
    {"exposure", "1/125", FIELD(capture_still, ExposureTimeNum),
     offsetof(capture_still, ExposureTimeDen)},
    {"f_number", "28/10", FIELD(capture_still, FNumberNum), offsetof(capture_still, FNumberDen)},
    {"focal_length", "50", FIELD(capture_still, FocalLengthIn35mmFilm), 0},
    {"iso", "100", FIELD(capture_still, ISOValue), 0},
    {"af_step", "0", FIELD(capture_still, afStep), 0},
};

#undef FIELD

std::string setting_place(const char *name)
{
    return file(std::string("capture/") + name);
}

int setting(const char *name, int usual, int lowest = 0)
{
    const long long number = read_number(setting_place(name)).value_or(usual);
    return static_cast<int>(std::clamp<long long>(number, lowest, LONGEST_SIDE));
}

Layout layout()
{
    return {setting("pitch_align", 64, 1), setting("pitch_padding", 0), setting("row_padding", 0)};
}

// Low bytes first, as the machine stores them.
void put(void *record, size_t offset, size_t size, long long number)
{
    std::memcpy(static_cast<uint8_t *>(record) + offset, &number, size);
}

// Whatever is written there goes out: a client has to stand it.
template <size_t N> void override_fields(void *record, const Field (&fields)[N])
{
    for (const Field &field : fields)
        if (auto number = read_number(setting_place("record/") + field.name))
            put(record, field.offset, field.size, *number);
}

void put_shooting(capture_still &record, const Shooting &row, const std::string &text)
{
    char *end = nullptr;
    put(&record, row.numerator.offset, row.numerator.size, std::strtoll(text.c_str(), &end, 10));
    if (row.denominator)
        put(&record, row.denominator, sizeof(uint32_t),
            *end == '/' ? std::strtoll(end + 1, nullptr, 10) : 1);
}

// The picture's own text, else the camera's setting, else the usual value.
void fill_shooting(capture_still &record, const std::string &place)
{
    const auto notes = read_notes(place + ".txt");
    for (const Shooting &row : SHOOTING) {
        auto own = notes.find(row.name);
        put_shooting(record, row,
                     own != notes.end() ? own->second
                                        : read_value(setting_place(row.name)).value_or(row.usual));
    }
}

void fill_image_set(capture_image_set &set, const Still &still)
{
    set.mainGWidth = still.main.pitch;
    set.mainGHeight = still.main.rows;
    set.mainWidth = still.main.width;
    set.mainHeight = still.main.height;
    set.mainYAddress = still.main.y_address();
    set.mainCAddress = still.main.c_address();
    set.screenGWidth = still.screen.pitch;
    set.screenGHeight = still.screen.rows;
    set.screenWidth = still.screen.width;
    set.screenHeight = still.screen.height;
    set.screenYAddress = still.screen.y_address();
    set.screenCAddress = still.screen.c_address();
    set.thumbYAddress = still.thumb.y_address();
}

Picture smaller(const Picture &main, int width, int height, const Layout &free)
{
    return scale_picture(main, width, height, Chroma::EVERY_LINE, free);
}

std::string scene_place(const std::string &name)
{
    return file("scene/" + name);
}

std::string live_folder()
{
    return scene_place("live");
}

// Changes when the file does, or what is asked of its frame; "" without a file.
std::string state_of(const std::string &place, std::initializer_list<int> asked)
{
    struct stat now = {};
    if (stat(place.c_str(), &now) != 0)
        return "";
    std::string state = std::to_string(now.st_ino) + ' ' + std::to_string(now.st_size) + ' ' +
                        std::to_string(now.st_mtim.tv_sec) + ' ' +
                        std::to_string(now.st_mtim.tv_nsec);
    for (int number : asked)
        state += ' ' + std::to_string(number);
    return state;
}

} // namespace

std::optional<std::string> next_picture(const std::string &place, const std::string &last)
{
    std::set<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator at(place, error), end; !error && at != end;
         at.increment(error))
        if (is_picture(at->path().filename().string()))
            names.insert(at->path().filename().string());
    if (names.empty())
        return std::nullopt;
    auto next = names.upper_bound(last);
    return next == names.end() ? *names.begin() : *next;
}

std::string picture_taken()
{
    std::string name = read_file(setting_place("picture"));
    return name.substr(0, name.find('\n'));
}

std::optional<std::string> picture_in_front()
{
    return next_picture(file("scene"), picture_taken());
}

std::unique_ptr<Still> make_still(const std::string &name, std::string &error)
{
    const Layout free = layout();
    const std::string place = scene_place(name);
    std::optional<Picture> main = read_picture(place, free, error);
    if (!main)
        return nullptr;

    auto still = std::make_unique<Still>();
    still->name = name;
    still->main = std::move(*main);
    const int width = still->main.width, height = still->main.height;
    still->screen =
        smaller(still->main, setting("screen_width", even_part(width, SCREEN_DIVISOR), 1),
                setting("screen_height", even_part(height, SCREEN_DIVISOR), 1), free);
    still->thumb = smaller(still->main, even_part(width, THUMB_DIVISOR),
                           even_part(height, THUMB_DIVISOR), free);
    if (!still->screen.memory.data() || !still->thumb.memory.data()) {
        error = "no memory below 4 GiB";
        return nullptr;
    }
    fill_image_set(still->image_set, *still);
    fill_shooting(still->data, place);
    override_fields(&still->image_set, IMAGE_SET_FIELDS);
    override_fields(&still->data, STILL_FIELDS);
    still->has_image_set = read_number(setting_place("record/image_set")) != 0;
    return still;
}

const Picture *LiveView::frame(const std::string &place, bool own_size, std::string &error)
{
    const Layout free = layout();
    const int asked_width = setting("live_width", 0), asked_height = setting("live_height", 0);
    const std::string state = state_of(place + ".txt", {}) + '/' +
                              state_of(place, {asked_width, asked_height, free.pitch_align,
                                               free.pitch_padding, free.row_padding, own_size});
    auto known = frames_.find(place);
    if (known != frames_.end() && known->second.state == state)
        return &known->second.picture;

    std::optional<Picture> full = read_picture(place, free, error);
    if (!full)
        return nullptr;
    const int divisor = own_size ? 1 : SCREEN_DIVISOR;
    const int width = asked_width ? asked_width : even_part(full->width, divisor);
    const int height = asked_height ? asked_height : even_part(full->height, divisor);
    if (frames_.size() >= FRAMES_KEPT)
        frames_.clear();
    Picture made = scale_picture(*full, width, height, Chroma::EVERY_SECOND_LINE, free);
    if (!made.memory.data()) {
        error = "no memory below 4 GiB";
        return nullptr;
    }
    Frame &kept = frames_[place];
    kept = Frame{state, std::move(made)};
    return &kept.picture;
}

const capture_live_view *LiveView::next(std::string &error)
{
    std::optional<std::string> live = next_picture(live_folder(), last_);
    std::optional<std::string> still = live ? std::nullopt : picture_in_front();
    if (!live && !still) {
        error = "virtual/scene holds no picture";
        return nullptr;
    }
    last_ = live.value_or("");
    const std::string place = live ? live_folder() + '/' + *live : scene_place(*still);
    const Picture *picture = frame(place, live.has_value(), error);
    if (!picture) {
        error = camera_path(place) + ": " + error;
        return nullptr;
    }
    record_ = {};
    record_.pitch = picture->pitch;
    record_.width = picture->width;
    record_.height = picture->height;
    record_.y_address = picture->y_address();
    override_fields(&record_, LIVE_VIEW_FIELDS);
    return &record_;
}

void LiveView::forget()
{
    frames_.clear();
    last_.clear();
}

unsigned int live_view_period()
{
    const long long rate = read_number(setting_place("live_rate")).value_or(USUAL_RATE);
    return rate <= 0 ? 0 : static_cast<unsigned int>(1000 / std::min(rate, HIGHEST_RATE));
}

} // namespace virt
