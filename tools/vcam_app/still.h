// Stills of the scene.
#pragma once

namespace vcam_app
{

// Takes a still of the next picture of the scene, if there is one, and waits until all clients of
// the capture service have seen it.  False when there is a picture and it cannot be taken.
bool take_still();

// The file name of the latest still, for the inspection, which adds one while it is given the next:
// IMG_0001.JPG, counted over the life of the camera; IMG_0000.JPG before the first.  The text is
// good for one caller, until the next call.
const char *still_name();

} // namespace vcam_app
