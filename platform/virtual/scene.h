// What the camera looks at: the pictures of virtual/scene/, made into the records of the capture
// service as virtual/capture/ says.
#pragma once

#include "platform/capture.h"
#include "platform/virtual/picture.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace virt
{

// A still before it is delivered.  The records are filled; only data.image_set stays open, since
// it is an address within this object.
struct Still {
    std::string name;
    Picture main, screen, thumb;
    capture_image_set image_set = {};
    capture_still data = {};
    bool has_image_set = true; // false: a NULL is to be handed over
};

// The picture of a folder whose turn it is after `last`: the next one by name, the first one behind
// the last.  nullopt: there is none.
std::optional<std::string> next_picture(const std::string &place, const std::string &last);

// The picture that the next still takes; the one that the last still took.
std::optional<std::string> picture_in_front();
std::string picture_taken();

// Takes `name`, a picture in virtual/scene/.  NULL: `error` says why.
std::unique_ptr<Still> make_still(const std::string &name, std::string &error);

// Live view, one frame after the other.  Used by one thread.
class LiveView
{
public:
    // A frame and its record; the planes are valid until the next call.  NULL: `error` says why.
    const capture_live_view *next(std::string &error);
    void forget(); // frames made so far

private:
    struct Frame {
        std::string state; // of the file and the settings, when it was made
        Picture picture;
    };

    const Picture *frame(const std::string &place, bool own_size, std::string &error);

    std::map<std::string, Frame> frames_;
    std::string last_;
    capture_live_view record_ = {};
};

// Milliseconds of camera time between two frames; 0 while none are to come.
unsigned int live_view_period();

} // namespace virt
