// The movie player that the picture inspection drives.
#pragma once

namespace vcam_app
{

void register_movie_functions();

} // namespace vcam_app
