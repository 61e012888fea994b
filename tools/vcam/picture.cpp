#include "tools/vcam/picture.h"

#include "tools/vcam/verb.h"

#include <Ecore.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace vcam
{

void quiet_efl()
{
    setenv("EINA_LOG_LEVEL", "0", 0);
    setenv("EINA_LOG_BACKTRACE", "-1", 0);
    // Without it EFL makes a folder in HOME, and aborts where it cannot.
    std::error_code error;
    setenv("XDG_RUNTIME_DIR", std::filesystem::temp_directory_path(error).c_str(), 0);
    ecore_app_no_system_modules();
}

canvas::canvas(int width, int height) : window_(nullptr)
{
    quiet_efl();
    if (ecore_evas_init() > 0)
        window_ = ecore_evas_buffer_new(width, height);
    if (window_ == nullptr)
        throw failure("no canvas to draw on: EFL's buffer engine is missing");
}

canvas::~canvas()
{
    ecore_evas_free(window_);
    ecore_evas_shutdown();
}

Evas *canvas::evas() const
{
    return ecore_evas_get(window_);
}

void canvas::save_png(const std::filesystem::path &path) const
{
    int width = 0, height = 0;
    ecore_evas_geometry_get(window_, nullptr, nullptr, &width, &height);
    ecore_evas_manual_render(window_);
    const void *pixels = ecore_evas_buffer_pixels_get(window_);
    if (pixels == nullptr)
        throw failure("the canvas has no pixels");
    Evas_Object *image = evas_object_image_add(evas());
    evas_object_image_size_set(image, width, height);
    evas_object_image_alpha_set(image, EINA_FALSE);
    void *data = evas_object_image_data_get(image, EINA_TRUE);
    if (data != nullptr)
        std::memcpy(data, pixels, sizeof(uint32_t) * static_cast<std::size_t>(width * height));
    evas_object_image_data_set(image, data);
    const bool saved = data != nullptr && evas_object_image_save(image, path.c_str(), nullptr,
                                                                 "compress=6") != EINA_FALSE;
    evas_object_del(image);
    if (!saved)
        throw failure("'" + path.string() + "' cannot be written");
}

} // namespace vcam
