// Good configuration files of the noise, dust and movie test, in which single lines can be said
// otherwise.
#pragma once

#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/noise/rova_pim_noise.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test
{

// The values of each line, by the record's first field that it fills, in the file's order.
using ConfigLines = std::vector<std::pair<std::string, std::string>>;
using Said = std::map<std::string, std::string>; // lines with other values

inline ConfigLines lines_with(ConfigLines lines, Said said)
{
    for (auto &[name, values] : lines) {
        if (auto node = said.extract(name); !node.empty())
            values = node.mapped();
    }
    if (!said.empty())
        throw std::invalid_argument("no line " + said.begin()->first);
    return lines;
}

// With remarks, comments and empty lines.
inline std::string lines_text(const ConfigLines &lines, const std::string &line_end = "\n")
{
    std::string text = "// test" + line_end + "/* of" + line_end + "* pictures" + line_end;
    for (const auto &[name, values] : lines)
        text += line_end + values + "   // " + name + line_end;
    return text;
}

// The same lines with running numbers from 101 on; texts and those of `kept` as they are.
inline ConfigLines numbered(ConfigLines lines, const std::vector<std::string> &kept)
{
    int next = 101;
    for (auto &[name, values] : lines) {
        if (values.front() == '/' || std::isalpha(values.front()) != 0 ||
            std::ranges::find(kept, name) != kept.end())
            continue;
        const auto count = std::ranges::count(values, ' ') + 1;
        values.clear();
        for (int i = 0; i < count; i++)
            values += std::to_string(next++) + " ";
    }
    return lines;
}

inline const ConfigLines NOISE_LINES = {
    {"strModelName", "LUMEN1"},
    {"iDbgPrint", "0"},
    {"iRstPrint", "2"},
    {"strDbgFile", "/mnt/mmc/noise_debug.txt"},
    {"strOutFile", "/mnt/mmc/noise_result.txt"},
    {"RunNoiseFunc", "1"},
    {"iJpegSave", "0"},
    {"iRawSave", "2"},
    {"iDbgLevel", "1 2 3 4 5 6 7 8"},
    {"iDbgOption", "8 7 6 5 4 3 2 1"},
    {"iImgX", "5472 48"},
    {"iTvX", "640 481"},
    {"iLcdLiveX", "720 482"},
    {"iLcdX", "800 483"},
    {"iScreenOut", "0"},
    {"iCbOffset", "20078592"},
    {"iCrOffset", "20078593"},
    {"iNX", "24 16"},
    {"iDivX", "226 225"},
    {"iIsoLow", "100 1600"},
    {"iIso", "100"},
    {"iNormBase", "0"},
    {"iDotOn", "1"},
    {"fYSpec", "124.0 120.005"},
    {"fYMaxMinSpec", "4.25 8.5"},
    {"fNormMaxMinSpec", "4.5 8"},
    {"iColorOn", "0"},
    {"fRedSpec", "121 111"},
    {"fGreenSpec", "122 112"},
    {"fBlueSpec", "123 113"},
    {"fRGDiffSpec", "6 10"},
    {"fBGDiffSpec", "7 11"},
    {"fRGMaxMinSpec", "8 12"},
    {"fBGMaxMinSpec", "9 13"},
    {"iLineOn", "-1"},
    {"fLineDiff", "-2.5 4"},
    {"iLineOffset", "60 -80"},
};

inline const ConfigLines DUST_LINES = {
    {"strModelName", "LUMEN1"},
    {"iDbgPrint", "0"},
    {"iRstPrint", "2"},
    {"strDbgFile", "/mnt/mmc/dust_debug.txt"},
    {"strOutFile", "/mnt/mmc/dust_result.txt"},
    {"RunDustFunc", "1"},
    {"iJpegSave", "0"},
    {"iRawSave", "2"},
    {"iLogSave", "0"},
    {"strLogFile", "/mnt/mmc/dust_log.csv"},
    {"iPixelSave", "0"},
    {"iPixelFrom", "16 47"},
    {"strPixelFile", "/mnt/mmc/dust_pixels.csv"},
    {"iBmpSave", "1"},
    {"strBmpFile", "/mnt/mmc/dust_0000.bmp"},
    {"iDbgLevel", "1 2 3 4 5 6 7 8"},
    {"iDbgOption", "8 7 6 5 4 3 2 1"},
    {"iImgX", "1003 507"},
    {"iTvX", "640 481"},
    {"iLcdLiveX", "720 482"},
    {"iLcdX", "800 483"},
    {"iScreenOut", "0"},
    {"iCbOffset", "20078592"},
    {"iCrOffset", "20078593"},
    {"iBlockX", "16 8"},
    {"iShadingOn", "1"},
    {"iShadingU", "6 7 3 4"},
    {"iShadingRef", "180"},
    {"fShadingDiff", "8.25"},
    {"i4xOn", "0"},
    {"f4xDiff", "6.999"},
    {"iExpOn", "1"},
    {"iExpHigh", "240"},
    {"iExpLow", "200"},
    {"iDustOn", "1"},
    {"iPercent", "11 80 12 13 14"},
    {"iExceptU", "1 2 3 4"},
    {"iSmallOffset", "4"},
    {"fSmallRef", "4.1 4.2 4.3 4.4 4.5"},
    {"iBigOffset", "10"},
    {"fBigRef", "6.1 6.2 6.3 6.4 -6.5"},
    {"iBlurU", "5 6 7 8"},
    {"fBlurRef", "1.5"},
    {"iCsOn", "1"},
    {"iWinX[0]", "10 100 20 200"},
    {"iWinX[1]", "30 101 21 201"},
    {"iWinX[2]", "50 102 22 202"},
    {"fAlpha", "20.5"},
};

inline const ConfigLines MOVIE_LINES = {
    {"strModelName", "LUMEN1"},
    {"dbgPrint", "0"},
    {"rstPrint", "2"},
    {"debugFile", "/mnt/mmc/movie_debug.txt"},
    {"resultFile", "/mnt/mmc/movie_result.txt"},
    {"enableTest", "1"},
    {"enableSaveRaw", "0"},
    {"enableSaveErrRaw", "2"},
    {"dbgLevel", "1 2 3 4 5 6 7 8"},
    {"dbgOption", "8 7 6 5 4 3 2 30"},
    {"imageW", "1280 20"},
    {"liveTvW", "640 481"},
    {"liveLcdW", "720 482"},
    {"lcdW", "800 483"},
    {"screenOutType", "0"},
    {"cbOffset", "921600"},
    {"crOffset", "921601"},
    {"tvCbOffset", "345600"},
    {"tvCrOffset", "345601"},
    {"testField", "0.5"},
    {"redStart", "12"},
    {"redNum", "4"},
    {"redInc", "2"},
    {"redMin", "190 245"},
    {"redOffX", "8 9"},
    {"redDiffX", "6 7"},
    {"blueStart", "37"},
    {"blueNum", "5"},
    {"blueInc", "3"},
    {"blueMin", "191 246"},
    {"blueOffX", "10 11"},
    {"blueDiffX", "120 1210"},
    {"audioTest", "1"},
    {"freqSpec", "1.0 0.95 1.05"},
    {"dbfsSpec", "-20.0 -23.0 -17.0"},
};

// The text of a good file: noise_file({{"iIso", "1600"}}).
inline std::string noise_file(const Said &said = {})
{
    return lines_text(lines_with(NOISE_LINES, said));
}

inline std::string dust_file(const Said &said = {})
{
    return lines_text(lines_with(DUST_LINES, said));
}

inline std::string movie_file(const Said &said = {})
{
    return lines_text(lines_with(MOVIE_LINES, said));
}

// What the tests of all readers need of one.
struct NoiseFile {
    using Record = rova_pim_noise_config;
    static constexpr auto *READ = rova_pim_read_config_noise;
    static constexpr char NAME[] = "noise";
    static constexpr char RECORD_LABEL[] = " pNsCfg       = ";
    static const ConfigLines &lines() { return NOISE_LINES; }
};

struct DustFile {
    using Record = rova_pim_dust_config;
    static constexpr auto *READ = rova_pim_read_config_dust;
    static constexpr char NAME[] = "dust";
    static constexpr char RECORD_LABEL[] = " pDustCfg     = ";
    static const ConfigLines &lines() { return DUST_LINES; }
};

struct MovieFile {
    using Record = rova_pim_movie_config;
    static constexpr auto *READ = rova_pim_read_config_movie;
    static constexpr char NAME[] = "movie";
    static constexpr char RECORD_LABEL[] = " pCfgPm     = ";
    static const ConfigLines &lines() { return MOVIE_LINES; }
};

} // namespace test
