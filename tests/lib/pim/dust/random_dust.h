// Pictures and configurations of any numbers that the tests of dust do not refuse, and what a run
// of them leaves.
#pragma once

#include "lib/pim/dust/rova_pim_dust.h"
#include "tests/lib/pim/choices.h"
#include "tests/lib/pim/dust/dust_search_run.h"
#include "tests/lib/pim/dust/plain_dust.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace test
{

class RandomDust : public Choices
{
public:
    using Choices::Choices;

    void configure(rova_pim_dust_config &cfg)
    {
        width_ = number(1, chance(20) ? 700 : 90);
        height_ = number(1, std::clamp(MOST_PIXELS / width_, 1, 70));
        cfg.iBlockX = number(1, std::min(width_, chance(80) ? 8 : 40));
        cfg.iBlockY = number(1, std::min(height_, chance(80) ? 8 : 40));
        cfg.iSmallOffset = number(0, chance(90) ? 3 : 60);
        cfg.iBigOffset = number(0, chance(90) ? 5 : 60);
        cfg.iImgX = chance(60) ? std::max(width_, 2) : number(2, 2 * width_ + 1);
        cfg.iImgY = chance(60) ? std::max(height_, 4) : number(4, 2 * height_ + 4);
        switches(cfg);
        areas(cfg);
        shading(cfg);
    }

    // With all blocks inside of the bytes, and a little more.
    rova_pim_image picture(const rova_pim_dust_config &cfg)
    {
        constexpr int32_t SPACES[] = {CS420_Y_CbCr, CS422_Y_CbCr, CS422_YCbYCr, CS422_CbYCrY};
        const int32_t iCS = SPACES[chance(80) ? number(0, 1) : number(2, 3)];
        const int step = iCS == CS422_YCbYCr || iCS == CS422_CbYCrY ? 2 : 1;
        const int columns = (width_ + cfg.iBlockX - 1) / cfg.iBlockX * cfg.iBlockX;
        const int rows = (height_ + cfg.iBlockY - 1) / cfg.iBlockY * cfg.iBlockY;
        const int pitch = width_ * step + (chance(50) ? 0 : number(0, 40));
        bytes_.assign(static_cast<std::size_t>((rows - 1) * pitch + columns * step + number(0, 40)),
                      0);
        fill(pitch);
        return {bytes_, width_, height_, pitch, iCS};
    }

private:
    void switches(rova_pim_dust_config &cfg)
    {
        cfg.iDustOn = chance(95) ? 1 : 0;
        cfg.iShadingOn = chance(50) ? 1 : 0;
        cfg.i4xOn = chance(50) ? 1 : 0;
        cfg.iExpOn = chance(50) ? 1 : 0;
        cfg.iDbgLevel[1] = number(0, 1);
        cfg.iDbgOption[2] = chance(30) ? number(1, 2) : 0;
        cfg.iLogSave = number(0, 2);
        cfg.iPixelSave = chance(30) ? 1 : 0;
        cfg.iPixelFrom = number(-5, height_);
        cfg.iPixelTo = number(0, height_ + 5);
        cfg.iBmpSave = chance(30) ? 1 : 0;
        std::snprintf(cfg.strPixelFile, sizeof(cfg.strPixelFile), "/mnt/mmc/pixels.csv");
        std::snprintf(cfg.strBmpFile, sizeof(cfg.strBmpFile), "/mnt/mmc/marks_0000.bmp");
    }
    template <class AREA> void place(AREA &area, int percent)
    {
        if (!chance(percent))
            return;
        area.x1 = number(-5, width_);
        area.y1 = number(-5, height_);
        area.x2 = area.x1 + number(0, width_);
        area.y2 = area.y1 + number(0, height_);
    }
    void areas(rova_pim_dust_config &cfg)
    {
        const int greatest = chance(80) ? 3000 : 26000;
        for (rova_pim_search_area &area : cfg.tSearchArea) {
            place(area, 70);
            area.iSmallRef100 = number(chance(95) ? 1 : -10, greatest);
            area.iBigRef100 = number(chance(95) ? 1 : -10, greatest);
        }
        if (chance(60)) {
            cfg.tSearchArea[4].x1 = cfg.tSearchArea[4].y1 = 0;
            cfg.tSearchArea[4].x2 = width_;
            cfg.tSearchArea[4].y2 = height_;
        }
        for (rova_pim_corners &area : cfg.tExceptArea)
            place(area, 20);
        for (rova_pim_corners &area : cfg.BlurArea)
            place(area, 30);
        cfg.iBlurRef100 = number(-10, 3000);
    }
    void shading(rova_pim_dust_config &cfg)
    {
        for (rova_pim_corners &area : cfg.tShadingArea)
            place(area, 70);
        cfg.iShadingRef = number(0, 260);
        cfg.iShadingDiff100 = number(0, chance(40) ? 2000 : 26000);
        cfg.i4xDiff100 = number(0, chance(30) ? 3000 : 26000);
        cfg.iExpLow = number(0, chance(80) ? 50 : 255);
        cfg.iExpHigh = number(chance(80) ? 150 : 0, 255);
    }
    // A flat grey with some noise, and specks, which may be black or white.
    void fill(int pitch)
    {
        const int grey = number(0, 255), noise = number(0, chance(70) ? 3 : 255);
        for (uint8_t &byte : bytes_)
            byte = static_cast<uint8_t>(std::clamp(grey + any(-noise, noise), 0, 255));
        const auto size = static_cast<int>(bytes_.size());
        for (int specks = number(0, chance(80) ? 6 : 60); specks > 0; specks--) {
            const int from = number(0, size - 1), w = number(1, 30), h = number(1, 20);
            const auto value = static_cast<uint8_t>(chance(20) ? 0 : number(0, 255));
            for (int at = from; at < std::min(size, from + h * pitch); at += pitch)
                for (int k = at; k < std::min(size, at + w); k++)
                    bytes_[static_cast<std::size_t>(k)] = value;
        }
    }

    static constexpr int MOST_PIXELS = 1500; // all that can go wrong has room in these

    std::vector<uint8_t> bytes_;
    int width_ = 0;
    int height_ = 0;
};

// All that a run leaves behind.
struct DustOutcome {
    int result = 1;
    rova_pim_dust_config cfg = {};
    std::string text;
    std::string pixels;
    std::string bitmap;

    bool operator==(const DustOutcome &other) const
    {
        return result == other.result && std::memcmp(&cfg, &other.cfg, sizeof(cfg)) == 0 &&
               text == other.text && pixels == other.pixels && bitmap == other.bitmap;
    }
};

// The camera and the sinks that outcomes are taken from.
class DustComparison : public DustSearchRun
{
protected:
    DustOutcome run(const rova_pim_dust_config &before,
                    const std::function<int(rova_pim_dust_config &)> &judge)
    {
        DustOutcome after;
        after.cfg = before;
        after.text = sunk([&] { after.result = judge(after.cfg); });
        after.pixels = camera.read(cfg.strPixelFile);
        const std::string bitmap = bitmap_of(after.text);
        if (!bitmap.empty()) {
            after.bitmap = camera.read(bitmap);
            camera.remove(bitmap);
        }
        camera.remove(cfg.strPixelFile);
        return after;
    }
    // What `action` prints into either sink, which costs a file of its own on the standard output.
    static std::string sunk(const std::function<void()> &action)
    {
        char *text = nullptr;
        std::size_t size = 0;
        gDbgFp = gLogFp = open_memstream(&text, &size);
        gDbgFpState = gLogFpState = 1;
        gDbgPrintOnOff = gLogPrintOnOff = PIM_DEBUG_DIRECT;
        action();
        gDbgPrintOnOff = gLogPrintOnOff = PIM_DEBUG_STDOUT;
        gDbgFpState = gLogFpState = 0;
        std::fclose(gLogFp);
        gDbgFp = gLogFp = nullptr;
        const std::string copy(text, size);
        std::free(text);
        return copy;
    }
    // The number of the last bitmap of a path.
    int32_t last_number(int (*path)(const rova_pim_image &, rova_pim_dust_config &))
    {
        cfg.iBmpSave = 1;
        check(path);
        return number_of(bitmap_of(text));
    }
};

} // namespace test
