// A good configuration file of the resolution test, for the chart that `vcam chart mot` draws, in
// which single lines can be said otherwise.
#pragma once

#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace test
{

// The values of a line, by its name: that of the record's first field that it fills, behind the
// chart's in a chart's group ("WIDE.cm[0]").  Lines that fill none are "fiSearch", "fiArray" and
// "fiArrayCount".
using MotLine = std::pair<std::string, std::string>;

inline constexpr std::pair<const char *, const char *> MOT_HEAD[] = {
    {"strModelName", "LUMEN1"},
    {"argMode", "0"},
    {"dbgPrint", "0"},
    {"rstPrint", "2"},
    {"debugFile", "/mnt/mmc/mot_debug.txt"},
    {"resultFile", "/mnt/mmc/mot_result.csv"},
    {"resultType", "1"},
    {"developMode", "1"},
    {"avcsMode", "0"},
    {"saveJpeg", "0"},
    {"saveRaw", "0"},
    {"writeDefocus", "0"},
    {"orgResultData", "0"},
    {"cmWindowDrawing", "0"},
    {"pimaWindowDrawing", "0"},
    {"dbgLevel", "0 0 0 0 0 0 0 0"},
    {"dbgOption", "0 0 0 0 0 0 0 0"},
    {"testMode", "0"},
    {"qaPicNum", "1"},
    {"pixelSize", "4.3"},
    {"effectivePixel", "1.0"},
    {"chartHeight[0]", "3648.0"},
    {"chartHeight[1]", "3648.0"},
    {"chartHeight[2]", "3648.0"},
    {"centerPimaHeight[0]", "874.5"},
    {"centerPimaHeight[1]", "874.5"},
    {"centerPimaHeight[2]", "874.5"},
    {"imageW", "5472 3648"},
    {"screenW", "684 456"},
    {"liveTvW", "640 480"},
    {"liveLcdW", "720 480"},
    {"lcdW", "800 480"},
    {"screenOutType", "0"},
    {"meadLoop", "2"},
    {"sucValleyDepth", "20"},
    {"sucValleyN", "8"},
    {"failCnt", "3"},
    {"binaryTreeLevel", "0"},
    {"lineDataOffset", "0"},
    {"mainCbOffset", "20078592"},
    {"mainCrOffset", "20078592"},
    {"scrCbOffset", "321024"},
    {"scrCrOffset", "321024"},
    {"liveLcdCbOffset", "368640"},
    {"liveLcdCrOffset", "368640"},
    {"liveTvCbOffset", "307200"},
    {"liveTvCrOffset", "307200"},
    {"lvSearchW", "640 480"},
    {"scrSearchW", "600 480"},
    {"arrayW", "5 5"},
    {"arrayCount", "20"},
    {"avcsOkDelay", "500"},
    {"motOkDelay", "300"},
    {"fiSearch", "400 300"},
    {"fiArray", "9 7"},
    {"fiArrayCount", "40"},
    {"alpha", "50"},
    {"beta", "30"},
    {"chartUsage", "1 1 1"},
};

inline constexpr std::pair<const char *, const char *> MOT_GROUP[] = {
    {"afStart", "-2 2 4 5"},
    {"remappedAfLevel", "-20 -10 0 10 20"},
    {"dir[0]", "0 0"},
    {"dir[2]", "0 0 0 1 1 0 1 1"},
    {"pos[0]", "0 0"},
    {"pos[2]", "1 1 1 1 1 1 1 1"},
    {"reversedPima", "0"},
    {"colorMin", "160 255"},
    {"cm[0]", "437 364"},
    {"cm[1]", "437 3283"},
    {"cm[2]", "5034 364"},
    {"cm[3]", "5034 3283"},
    {"orgWin[0]", "-363 987 729 364"},
    {"orgWin[1]", "2117 74 364 729"},
    {"orgWin[2]", "182 -182 729 364"},
    {"orgWin[3]", "-182 182 364 729"},
    {"orgWin[4]", "182 -182 729 364"},
    {"orgWin[5]", "-182 -910 364 729"},
    {"orgWin[6]", "-910 -182 729 364"},
    {"orgWin[7]", "-182 182 364 729"},
    {"orgWin[8]", "-910 -182 729 364"},
    {"orgWin[9]", "-182 -910 364 729"},
    {"ref", "1000 3000 1000 3000"},
    {"okLevel[0]", "1500 1500"},
    {"okLevel[2]", "1400 1400 1400 1400 1400 1400 1400 1400"},
    {"okCntCondition", "1"},
    {"bestDefocusAlgorithm", "2"},
};

// The lines in the file's order, those of `said` with other values.  Charts whose usage is not 1
// have no group.
inline std::vector<MotLine> mot_lines(const std::map<std::string, std::string> &said = {})
{
    std::vector<MotLine> lines(std::begin(MOT_HEAD), std::end(MOT_HEAD));
    std::map<std::string, std::string> left = said;
    const auto say = [&](MotLine &line) {
        if (auto node = left.extract(line.first); !node.empty())
            line.second = node.mapped();
    };
    for (MotLine &line : lines)
        say(line);
    const std::string usage = lines.back().second + "      ";
    const char *const charts[] = {"WIDE.", "TELE.", "MID."};
    for (std::size_t i = 0; i < 3; i++) {
        for (MotLine line : MOT_GROUP) {
            if (usage[2 * i] != '1')
                break;
            line.first = charts[i] + line.first;
            say(line);
            lines.push_back(line);
        }
    }
    if (!left.empty())
        throw std::invalid_argument("no line " + left.begin()->first);
    return lines;
}

inline std::string mot_text(const std::vector<MotLine> &lines, const std::string &line_end = "\n")
{
    std::string text = "// resolution test" + line_end + line_end;
    for (const auto &[name, values] : lines)
        text += values + "   // " + name + line_end;
    return text;
}

// The text of a good file: mot_file({{"dbgPrint", "1"}, {"WIDE.cm[0]", "400 300"}}).
inline std::string mot_file(const std::map<std::string, std::string> &said = {})
{
    return mot_text(mot_lines(said));
}

} // namespace test
