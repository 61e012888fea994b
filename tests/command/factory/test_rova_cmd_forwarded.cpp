// Families of the factory table that the camera application carries out.
#include "tests/command/forward_test.h"

namespace test
{

INSTANTIATE_TEST_SUITE_P(
    Factory, Forwarded,
    testing::Values(
        ForwardedFamily{"exposure", {}, {"av", "tv", "evc", "iso", "ael"}},
        ForwardedFamily{"factory_reset", {}, {"on", "off"}},
        ForwardedFamily{"image", {}, {"delete", "get"}}, ForwardedFamily{"model_name", {"get"}, {}},
        ForwardedFamily{
            "sys_param",
            {},
            {"system_reset",  "file_number",    "flash",          "metering",   "af",
             "face_detect",   "nolens",         "display_save",   "power_save", "efs",
             "watch_dog",     "select_display", "display_adjust", "wb",         "quickview_time",
             "iso_expansion", "release_count",  "capture",        "movie",      "bluetooth",
             "video_out",     "change_mode"}}),
    family_word);

} // namespace test
