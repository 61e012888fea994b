// Pictures and configurations of any numbers for the noise test, and what a run of them leaves.
#pragma once

#include "lib/pim/noise/rova_pim_noise.h"
#include "tests/lib/pim/choices.h"
#include "tests/lib/pim/noise/noise_run.h"
#include "tests/lib/pim/noise/plain_noise.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace test
{

// A picture and a configuration of any numbers, good and bad.
class RandomNoise : public Choices
{
public:
    using Choices::Choices;

    float level(int from, int to) { return static_cast<float>(number(from * 8, to * 8)) / 8; }

    NoisePicture picture()
    {
        const int32_t width = chance(90) ? number(1, 90) : number(90, 400);
        const int32_t pitch = chance(90) ? width + number(0, 9) : std::max(1, width - number(0, 5));
        return {width, number(1, 60), pitch};
    }
    // Some noise around a level, with lines and spots.
    void draw(NoisePicture &picture)
    {
        static constexpr int32_t SPACES[] = {1, 2, 3, 8, 11, 12, 13};
        rova_pim_image &image = picture.image;
        const int base = chance(90) ? number(60, 200) : number(0, 255);
        const int spread = chance(60) ? number(0, 3) : number(0, 60);
        for (int32_t i = 0; i < static_cast<int32_t>(image.bytes.size()); i++) {
            const int middle = i < picture.chroma() ? base : 128;
            picture.byte(i) =
                static_cast<uint8_t>(std::clamp(middle + any(-spread, spread), 0, 255));
        }
        for (int lines = number(0, 4) / 3 * number(0, 20); lines > 0; lines--)
            picture.paint(number(0, std::min(image.width, image.pitch) - 1), 0, 1, image.height,
                          static_cast<uint8_t>(number(0, 255)));
        for (int spots = number(0, 5) / 4 * number(0, 30); spots > 0; spots--)
            picture.byte(number(0, 2 * picture.chroma() - 1)) =
                static_cast<uint8_t>(number(0, 255));
        if (chance(15))
            image.iCS = SPACES[number(0, static_cast<int>(std::size(SPACES)) - 1)];
        if (chance(5))
            image.bytes = image.bytes.first(image.bytes.size() -
                                            static_cast<std::size_t>(number(0, picture.chroma())));
    }
    void configure(const rova_pim_image &image, rova_pim_noise_config &cfg)
    {
        cfg.iIsoIdx = number(0, 1);
        cfg.iNX = number(chance(3) ? -1 : 1, std::min(9, image.width + 1));
        cfg.iNY = number(chance(3) ? -1 : 1, std::min(9, image.height + 1));
        const int cellX = image.width / std::max(1, cfg.iNX);
        const int cellY = image.height / std::max(1, cfg.iNY);
        cfg.iDivX = chance(30) ? 0 : number(chance(3) ? -1 : 1, std::max(1, cellX) + chance(3));
        cfg.iDivY = chance(30) ? 0 : number(chance(3) ? -1 : 1, std::max(1, cellY) + chance(3));
        cfg.iNormBase = number(0, 1);
        cfg.iDotOn = chance(70);
        cfg.iColorOn = chance(70);
        cfg.iLineOn = chance(90);
        set_limits(cfg);
        cfg.iCbOffset = cfg.iCrOffset = image.pitch * image.height;
        if (chance(20))
            cfg.iCbOffset += number(-20, 3);
        if (chance(20))
            cfg.iCrOffset += number(-20, 3);
    }

private:
    void set_limits(rova_pim_noise_config &cfg)
    {
        for (float &limit : cfg.fYSpec)
            limit = chance(80) ? level(0, 60) : level(60, 255);
        for (auto *spec : {&cfg.fRedSpec, &cfg.fGreenSpec, &cfg.fBlueSpec}) {
            for (float &limit : *spec)
                limit = chance(90) ? level(0, 40) : level(40, 255);
        }
        for (auto *spec : {&cfg.fYMaxMinSpec, &cfg.fNormMaxMinSpec, &cfg.fRGDiffSpec,
                           &cfg.fBGDiffSpec, &cfg.fRGMaxMinSpec, &cfg.fBGMaxMinSpec}) {
            for (float &limit : *spec)
                limit = chance(80) ? level(5, 90) : level(0, 5);
        }
        for (int i = 0; i < 2; i++) {
            cfg.fLineDiff[i] = chance(80) ? level(2, 50) : level(0, 1);
            cfg.iLineOffset[i] = chance(80) ? number(5, 150) : number(-5, 5);
        }
    }
};

// All that a run leaves behind.
struct NoiseOutcome {
    int result;
    std::string text, debug, file, title, data;

    bool operator==(const NoiseOutcome &) const = default;
};

class NoiseComparison : public NoiseRun
{
protected:
    NoiseOutcome gathered(const std::string &text)
    {
        NoiseOutcome all = {result, text, camera.read(NOISE_DEBUG), file(), pPtpTile, pRstData};
        camera.remove(NOISE_DEBUG);
        camera.remove(NOISE_RESULT);
        std::ranges::fill(pPtpTile, '\0');
        rova_pim_result_clear();
        return all;
    }
    NoiseOutcome plain(const rova_pim_image &image, rova_pim_noise_config &record)
    {
        PlainNoise noise{image, record, camera};
        const std::string text = captured_output([&] { result = noise.run(); });
        NoiseOutcome all = gathered(text);
        all.title = noise.title;
        all.data = noise.data;
        return all;
    }
    NoiseOutcome engine(const rova_pim_image &image)
    {
        const std::string text = captured_output([&] { result = RunNoise(image, cfg); });
        return gathered(text);
    }
};

} // namespace test
