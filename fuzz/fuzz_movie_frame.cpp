// Judging a small frame by a configuration of any bytes: the verdict and its record are those of
// the plain search.
#include "fuzz/config_input.h"
#include "lib/pim/movie/rova_pim_movie_test.h"
#include "tests/lib/pim/movie/plain_movie.h"

#include <algorithm>
#include <vector>

namespace
{

constexpr int32_t FRAME = 10;
constexpr std::size_t HEAD = 10; // bytes of the configuration; the rest are the planes

rova_pim_movie_config configuration(const uint8_t *head)
{
    rova_pim_movie_config cfg = {};
    cfg.testField = static_cast<float>(head[0]) / 230.0F;
    cfg.redStart = FRAME;
    cfg.redNum = 1;
    cfg.redOffY = head[1];
    cfg.redMin = head[2];
    cfg.redMax = head[3];
    cfg.redDiffX = head[4];
    cfg.redDiffY = head[5];
    cfg.tableDone = 1; // no table
    return cfg;
}

rova_pim_image picture(const uint8_t *head, std::span<const uint8_t> bytes)
{
    constexpr int32_t SPACES[] = {CS420_Y_CbCr, CS420_Y_CrCb, CS422_Y_CbCr};
    const int32_t width = head[6] % 40 + 1;
    return {bytes, width, head[7] % 40 + 1, width + head[8] % 4, SPACES[head[9] % 3]};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    if (size < HEAD)
        return -1;
    const fuzz::Camera camera;
    const std::vector<uint8_t> bytes(data + HEAD, data + size);
    const rova_pim_image image = picture(data, bytes);
    rova_pim_movie_config cfg = configuration(data);
    cfg.crOffset = std::min(image.pitch * image.height, static_cast<int32_t>(bytes.size() / 2));
    rova_pim_movie_done[0] = 0;
    const test::PlainMovie plain = test::plain_movie(FRAME, image, cfg);
    fuzz::expect(rova_pim_movie_test_frame(FRAME, image, cfg) == plain.result);
    fuzz::expect(cfg.refused == (plain.refused ? 1 : 0));
    fuzz::expect(test::movie_text(cfg.frame[0]) == test::movie_text(plain.record));
    return 0;
}
