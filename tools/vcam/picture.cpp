#include "tools/vcam/picture.h"

#include "tools/vcam/verb.h"

#include <Ecore.h>

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

picture canvas::draw() const
{
    picture image = {};
    ecore_evas_geometry_get(window_, nullptr, nullptr, &image.width, &image.height);
    ecore_evas_manual_render(window_);
    const auto *pixels = static_cast<const uint32_t *>(ecore_evas_buffer_pixels_get(window_));
    if (pixels == nullptr)
        throw failure("the canvas has no pixels");
    image.pixels.assign(pixels, pixels + image.width * image.height);
    return image;
}

void canvas::save_png(const picture &image, const std::filesystem::path &path) const
{
    Evas_Object *object = evas_object_image_add(evas());
    evas_object_image_size_set(object, image.width, image.height);
    evas_object_image_alpha_set(object, EINA_FALSE);
    void *data = evas_object_image_data_get(object, EINA_TRUE);
    if (data != nullptr)
        std::memcpy(data, image.pixels.data(), image.pixels.size() * sizeof(uint32_t));
    evas_object_image_data_set(object, data);
    const bool saved = data != nullptr && evas_object_image_save(object, path.c_str(), nullptr,
                                                                 "compress=6") != EINA_FALSE;
    evas_object_del(object);
    if (!saved)
        throw failure("'" + path.string() + "' cannot be written");
}

} // namespace vcam
