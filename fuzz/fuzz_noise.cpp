// The noise test of a small picture, with good and with bad numbers: it leaves what the plain one
// leaves.
#include "tests/lib/pim/noise/random_noise.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace
{

constexpr int32_t DEBUG_MODES[] = {PIM_DEBUG_BUFFERED, PIM_DEBUG_DIRECT, PIM_DEBUG_STDOUT};

struct Run : test::NoiseComparison {
    void TestBody() override {}

    void compare(test::RandomNoise random)
    {
        test::NoisePicture drawn = random.picture();
        random.draw(drawn);
        random.configure(drawn.image, cfg);
        print_modes(DEBUG_MODES[random.number(0, 2)], random.number(0, 2));
        const rova_pim_noise_config given = cfg;
        const auto record = std::make_unique<rova_pim_noise_config>(cfg);
        const test::NoiseOutcome expected = plain(drawn.image, *record);
        for (const bool portable : {true, false}) {
            rova_pim_pixels_set_portable(portable);
            cfg = given;
            if (engine(drawn.image) != expected ||
                std::memcmp(record.get(), &cfg, sizeof(cfg)) != 0)
                std::abort();
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    Run().compare(test::RandomNoise(std::span(data, size)));
    return 0;
}
