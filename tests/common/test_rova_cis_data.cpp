#include "common/rova_cis_data.h"

#include "tests/support/camera.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::IsEmpty;
using Pixels = std::vector<rova_cis_pixel>;

void PrintTo(const rova_cis_pixel &pixel, std::ostream *out);
void PrintTo(const rova_cis_pixel &pixel, std::ostream *out)
{
    *out << pixel.x << " " << pixel.y;
}

// ------------------------------------------------------------------------- parsing

namespace
{

rova_cis_dots refused(const std::string &text)
{
    rova_cis_dots dots;
    EXPECT_EQ(rova_cis_data_parse(text, &dots), 0);
    return dots;
}

rova_cis_dots parsed(const std::string &text)
{
    rova_cis_dots dots;
    EXPECT_EQ(rova_cis_data_parse(text, &dots), 1) << dots.refused;
    return dots;
}

std::vector<int> counts(const rova_cis_data &data)
{
    return {data.pixel_num_b, data.pixel_num_o, data.pixel_num_t,
            data.pixel_num_w, data.pixel_num_c, data.pixel_num_x,
            data.pixel_num_s, data.pixel_num_p, data.pixel_num_l};
}

std::string repeated(const std::string &text, int times)
{
    std::string all;
    for (int i = 0; i < times; i++)
        all += text;
    return all;
}

} // namespace

TEST(CisDataParse, AWholeFileGivesNumbersCountsAndPixels)
{
    rova_cis_dots dots = parsed("LOT= A17\nNO= 123456\nVer= 3\nCIS CLAMP 64\n"
                                "B\n1 2\n3 4\nO\n5 6\nT\n7 8\nW\n9 10\nC\n11 12\n"
                                "X\n13 14\nS\n15 16\nP\n17 18\nL\n19 20\n#\n");
    EXPECT_EQ(dots.data.serial, 123456);
    EXPECT_EQ(dots.data.chip_ver, 3);
    EXPECT_EQ(dots.data.clamp_level, 64);
    EXPECT_THAT(counts(dots.data), ElementsAre(2, 1, 1, 1, 1, 1, 1, 1, 1));
    EXPECT_EQ(dots.data.dot_data_size, 40);
    EXPECT_EQ(dots.skipped, 0);
    EXPECT_THAT(dots.pixels,
                ElementsAre(rova_cis_pixel{1, 2}, rova_cis_pixel{3, 4}, rova_cis_pixel{5, 6},
                            rova_cis_pixel{7, 8}, rova_cis_pixel{9, 10}, rova_cis_pixel{11, 12},
                            rova_cis_pixel{13, 14}, rova_cis_pixel{15, 16}, rova_cis_pixel{17, 18},
                            rova_cis_pixel{19, 20}));
}

TEST(CisDataParse, ThePixelsOfASectionStandTogetherInTheOrderOfTheSections)
{
    rova_cis_dots dots = parsed("L\n1 1\nB\n2 2\nL\n3 3\nB\n4 4\n");
    EXPECT_THAT(dots.pixels, ElementsAre(rova_cis_pixel{2, 2}, rova_cis_pixel{4, 4},
                                         rova_cis_pixel{1, 1}, rova_cis_pixel{3, 3}));
    EXPECT_THAT(counts(dots.data), ElementsAre(2, 0, 0, 0, 0, 0, 0, 0, 2));
}

TEST(CisDataParse, PixelsAheadOfASectionAreOfTheFirst)
{
    EXPECT_THAT(counts(parsed("1 2\nT\n3 4\n").data), ElementsAre(1, 0, 1, 0, 0, 0, 0, 0, 0));
}

TEST(CisDataParse, EveryResultBeginsWithZeros)
{
    rova_cis_dots dots = parsed("NO= 5\nX\n1 2\n70000 1\n");
    ASSERT_EQ(rova_cis_data_parse(std::string("Ver= 2"), &dots), 1);
    EXPECT_EQ(dots.data.serial, 0);
    EXPECT_EQ(dots.data.pixel_num_x, 0);
    EXPECT_EQ(dots.data.dot_data_size, 0);
    EXPECT_EQ(dots.skipped, 0);
    EXPECT_THAT(dots.pixels, IsEmpty());
}

TEST(CisDataParse, LinesEndInEitherLineEndOrBoth)
{
    for (const char *end : {"\r", "\n", "\r\n", "\n\r", "\r\r\n"}) {
        std::string e = end;
        rova_cis_dots dots = parsed("NO= 7" + e + "X" + e + "1 2" + e + e + "3 4" + e);
        EXPECT_EQ(dots.data.serial, 7);
        EXPECT_EQ(dots.data.pixel_num_x, 2);
    }
}

TEST(CisDataParse, TheLastLineNeedsNoEnd)
{
    EXPECT_THAT(parsed("1 2\n3 4").pixels, ElementsAre(rova_cis_pixel{1, 2}, rova_cis_pixel{3, 4}));
    EXPECT_EQ(parsed("NO= 9").data.serial, 9);
}

TEST(CisDataParse, BlanksAndTabsAheadOfALineAreSkipped)
{
    rova_cis_dots dots = parsed(" \t NO= 8\n\t X\n \t1\t 2\n  # 3\n4 5\n");
    EXPECT_EQ(dots.data.serial, 8);
    EXPECT_EQ(dots.data.pixel_num_x, 1);
    EXPECT_EQ(dots.data.dot_data_size, 4);
}

TEST(CisDataParse, NothingBehindTheHashCounts)
{
    rova_cis_dots dots = parsed("1 2\n#END\n3 4\nNO= 99999999999\n");
    EXPECT_EQ(dots.data.dot_data_size, 4);
    EXPECT_EQ(dots.data.serial, 0);
    EXPECT_EQ(parsed("1 2\n\f#\n3 4\n").data.dot_data_size, 4) << "the first of the first word";
    EXPECT_EQ(parsed("1 2 # 3\nB # 4\n4 5\n").data.dot_data_size, 8) << "only the first";
}

TEST(CisDataParse, AnEmptyFileIsAllZero)
{
    for (const char *text : {"", "\n", "#", "  \t"}) {
        rova_cis_dots dots = parsed(text);
        EXPECT_EQ(dots.data.serial, 0);
        EXPECT_EQ(dots.data.dot_data_size, 0);
        EXPECT_THAT(dots.pixels, IsEmpty());
    }
}

TEST(CisDataParse, WordsAreComparedExactly)
{
    rova_cis_dots dots = parsed("no= 1\nNO=2\nNO 3\nver= 4\nCIS 5\nCLAMP 6\nCIS clamp 7\n"
                                "b\nxx\nX,\n1 2\nQ\n");
    EXPECT_EQ(dots.data.serial, 0);
    EXPECT_EQ(dots.data.chip_ver, 0);
    EXPECT_EQ(dots.data.clamp_level, 0);
    EXPECT_THAT(counts(dots.data), ElementsAre(1, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(CisDataParse, ASectionsWordMayBeFollowedByOthers)
{
    EXPECT_EQ(parsed("P 17 pixels\n1 2\n").data.pixel_num_p, 1);
    EXPECT_EQ(parsed("P \t \n1 2\n").data.pixel_num_p, 1) << "or by blanks";
}

TEST(CisDataParse, ANumberMayBeFollowedByOtherWords)
{
    rova_cis_dots dots = parsed("NO= 12 13\nVer= 3 x\nCIS CLAMP 64 65\n");
    EXPECT_EQ(dots.data.serial, 12);
    EXPECT_EQ(dots.data.chip_ver, 3);
    EXPECT_EQ(dots.data.clamp_level, 64);
}

TEST(CisDataParse, AnyWhiteSpaceStandsBetweenWordsAndNumbers)
{
    rova_cis_dots dots = parsed("\fNO=\v\f9\n\vX\f\n1\f\v2\n\f3 4\n");
    EXPECT_EQ(dots.data.serial, 9);
    EXPECT_EQ(dots.data.pixel_num_x, 2);
}

TEST(CisDataParse, TheLotLineIsSkipped)
{
    rova_cis_dots dots = parsed("LOT= 17\nLOT= B\n1 2\n");
    EXPECT_EQ(dots.data.serial, 0);
    EXPECT_THAT(counts(dots.data), ElementsAre(1, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(CisDataParse, ALaterNumberReplacesAnEarlierOne)
{
    EXPECT_EQ(parsed("NO= 1\nNO= 2\n").data.serial, 2);
}

TEST(CisDataParse, WhatIsNoNumberBehindAWordCountsAsZero)
{
    rova_cis_dots dots = parsed("NO= abc\nVer= 12b\nCIS CLAMP\n");
    EXPECT_EQ(dots.data.serial, 0);
    EXPECT_EQ(dots.data.chip_ver, 12);
    EXPECT_EQ(dots.data.clamp_level, 0);
}

TEST(CisDataParse, CoordinatesHaveSixteenBits)
{
    EXPECT_THAT(parsed("65535 0\n0 65535\n").pixels,
                ElementsAre(rova_cis_pixel{65535, 0}, rova_cis_pixel{0, 65535}));
}

TEST(CisDataParse, CoordinatesMayHaveASignAndZerosAhead)
{
    EXPECT_THAT(parsed("+1 -0\n00065535 +02\n").pixels,
                ElementsAre(rova_cis_pixel{1, 0}, rova_cis_pixel{65535, 2}));
}

TEST(CisDataParse, APairThatIsNoPixelIsSkippedAndCounted)
{
    for (const char *line : {"70000 1", "1 65536", "-1 5", "5 -1", "17", "12abc", "1,2", "0x10 5",
                             "99999999999999999999999 1"}) {
        rova_cis_dots dots = parsed(std::string(line) + "\n3 4\n");
        EXPECT_THAT(dots.pixels, ElementsAre(rova_cis_pixel{3, 4})) << line;
        EXPECT_EQ(dots.skipped, 1) << line;
    }
}

TEST(CisDataParse, TextBehindAPixelDoesNotCount)
{
    EXPECT_THAT(parsed("1 2 3\n4 5x\n").pixels,
                ElementsAre(rova_cis_pixel{1, 2}, rova_cis_pixel{4, 5}));
}

TEST(CisDataParse, NumbersAreTakenUpToWhatTheStoreHolds)
{
    rova_cis_dots dots = parsed("NO= 2147483647\nVer= 32767\nCIS CLAMP -32768\n");
    EXPECT_EQ(dots.data.serial, 2147483647);
    EXPECT_EQ(dots.data.chip_ver, 32767);
    EXPECT_EQ(dots.data.clamp_level, -32768);
}

TEST(CisDataParse, NumbersThatTheStoreDoesNotHoldAreRefused)
{
    EXPECT_EQ(refused("NO= 2147483648").refused, "NO= 2147483648 is out of range");
    EXPECT_EQ(refused("NO= -2147483649").refused, "NO= -2147483649 is out of range");
    EXPECT_EQ(refused("Ver= 32768").refused, "Ver= 32768 is out of range");
    EXPECT_EQ(refused("CIS CLAMP -32769").refused, "CIS -32769 is out of range");
    refused("NO= 99999999999999999999999999999999");
}

TEST(CisDataParse, ASectionHoldsAsManyPixelsAsItsCount)
{
    rova_cis_dots dots = parsed("S\n" + repeated("1 2\n", 32767) + "P\n3 4\n");
    EXPECT_EQ(dots.data.pixel_num_s, 32767);
    EXPECT_EQ(dots.data.dot_data_size, 4 * 32768);
    EXPECT_EQ(refused("S\n" + repeated("1 2\n", 32768)).refused, "too many pixels in section S");
}

TEST(CisDataParse, ALineIsCutAt127CharactersAndItsRestIgnored)
{
    rova_cis_dots dots = parsed("NO= 1" + std::string(122, 'x') + "9\nVer= 4\n");
    EXPECT_EQ(dots.data.chip_ver, 4);
    // 3 + 124 characters, then a section and a pixel that would each be a line of their own
    dots = parsed("7 8" + std::string(124, ' ') + "9 10\n");
    EXPECT_THAT(dots.pixels, ElementsAre(rova_cis_pixel{7, 8}));
    dots = parsed(std::string(127, 'y') + "X\r" + std::string(127, 'y') + "5 6\n1 2\n");
    EXPECT_THAT(dots.pixels, ElementsAre(rova_cis_pixel{1, 2}));
    EXPECT_EQ(dots.data.pixel_num_b, 1);
}

TEST(CisDataParse, TheLastOf127CharactersCountsAndTheNextDoesNot)
{
    std::string gap(122, ' ');
    EXPECT_EQ(parsed("NO= " + gap.substr(0, 122) + "12").data.serial, 1);
    EXPECT_EQ(parsed("NO= " + gap.substr(0, 121) + "12").data.serial, 12);
    EXPECT_EQ(parsed(std::string(300, ' ') + "NO= 12").data.serial, 12) << "blanks do not count";
}

TEST(CisDataParse, ANulEndsItsLineOnly)
{
    rova_cis_dots dots = parsed(std::string("NO= 1\0 2\nX\0\n1 2\n", 17));
    EXPECT_EQ(dots.data.serial, 1);
    EXPECT_EQ(dots.data.pixel_num_x, 1);
}

TEST(CisDataParse, AnyBytesAreReadWithoutHarm)
{
    std::string bytes;
    uint32_t state = 1;
    for (int i = 0; i < 100000; i++) {
        state = state * 1664525 + 1013904223;
        bytes += static_cast<char>(state >> 24);
    }
    rova_cis_dots dots;
    rova_cis_data_parse(bytes, &dots);
    EXPECT_EQ(dots.data.dot_data_size, static_cast<int>(4 * dots.pixels.size()));
}

// ------------------------------------------------------------------------- finding and reading

namespace
{

constexpr char LIST[] = "/sdcard/serial_sensor.csv";
constexpr char PC_DATA[] = "/var/run/memory/private/pmode_shutter_data";
constexpr char NO_DATA[] = "failed to access dot_data";

class CisDataRead : public testing::Test
{
protected:
    // What is read, or nullopt; the same by rova_cis_data_read_pc.
    static std::optional<std::string> read() { return text_of(rova_cis_data_read); }
    static std::optional<std::string> read_pc() { return text_of(rova_cis_data_read_pc); }

    void expect_nothing()
    {
        EXPECT_EQ(read(), std::nullopt);
        EXPECT_TRUE(camera.logged(NO_DATA));
    }

    test::Camera camera;

private:
    static std::optional<std::string> text_of(int (*read)(std::vector<char> *))
    {
        std::vector<char> text;
        if (read(&text) == 0)
            return std::nullopt;
        return std::string(text.begin(), text.end());
    }
};

} // namespace

TEST_F(CisDataRead, TheListOnTheCardNamesTheFile)
{
    camera.write(LIST, "LOT17,00123\n");
    camera.write("/sdcard/LOT17/00123.sn", "1 2\n");
    camera.write(PC_DATA, "from the PC");
    EXPECT_EQ(read(), "1 2\n");
    EXPECT_TRUE(camera.logged("total file size = 4 "));
    EXPECT_FALSE(camera.logged(NO_DATA));
}

TEST_F(CisDataRead, TheListIsRemovedAndTheFileStays)
{
    camera.write(LIST, "LOT17,00123\n");
    camera.write("/sdcard/LOT17/00123.sn", "1 2\n");
    ASSERT_TRUE(read());
    EXPECT_FALSE(camera.exists(LIST));
    EXPECT_TRUE(camera.exists("/sdcard/LOT17/00123.sn"));
}

TEST_F(CisDataRead, TheListIsRemovedAlsoWhenTheFileIsMissing)
{
    camera.write(LIST, "LOT17,00123\n");
    camera.write(PC_DATA, "from the PC");
    expect_nothing();
    EXPECT_FALSE(camera.exists(LIST));
    EXPECT_TRUE(camera.logged("failed to open /opt/storage/sdcard/LOT17/00123.sn (No such file"));
}

TEST_F(CisDataRead, OnlyTheFirstLineAndItsTwoFieldsCount)
{
    camera.write("/sdcard/a b/7.sn", "found");
    for (const char *list : {"a b,7", "a b,7\r\n", "\r\n \n a b\t, 7 \r\nother,8\r\n",
                             "a b,7,x,y\n", "a b,7\rother,8"}) {
        camera.write(LIST, list);
        EXPECT_EQ(read(), "found") << list;
    }
}

TEST_F(CisDataRead, AListThatNamesNoFileOfTheCardIsRefused)
{
    camera.write("/sdcard/7.sn", "x");
    camera.write("/opt/storage/7.sn", "x");
    for (const std::string &list :
         {std::string(), std::string("\n\n"), std::string("LOT17"), std::string("LOT17,"),
          std::string(",7"), std::string("..,7"), std::string(".,7"), std::string("a/../..,7"),
          std::string("LOT17,../7"), std::string("LOT\0,7", 6), std::string(65, 'a') + ",7",
          "LOT17," + std::string(65, '7'), std::string(100000, 'x')}) {
        camera.write(LIST, list);
        expect_nothing();
        EXPECT_TRUE(camera.logged("/sdcard/serial_sensor.csv names no dot file "));
        EXPECT_FALSE(camera.exists(LIST));
        camera.remove("/virtual/dlog");
    }
}

TEST_F(CisDataRead, NamesMayHave64Characters)
{
    std::string folder(64, 'a'), number(64, '7');
    camera.write(LIST, folder + "," + number);
    camera.write("/sdcard/" + folder + "/" + number + ".sn", "found");
    EXPECT_EQ(read(), "found");
}

TEST_F(CisDataRead, WithoutAListThePcsDataIsRead)
{
    std::string data("1 2\0\n", 5);
    camera.write(PC_DATA, data);
    EXPECT_EQ(read(), data);
    EXPECT_TRUE(camera.logged("total file size = 5 "));
    EXPECT_TRUE(camera.exists(PC_DATA));
}

TEST_F(CisDataRead, WithNeitherThereIsNothing)
{
    expect_nothing();
}

TEST_F(CisDataRead, WithoutACardThePcsDataIsRead)
{
    std::filesystem::remove_all(camera.path("/sdcard"));
    camera.write(PC_DATA, "x");
    EXPECT_EQ(read(), "x");
}

TEST_F(CisDataRead, ThePcsOwnReadingLeavesTheListAlone)
{
    camera.write(LIST, "LOT17,00123\n");
    EXPECT_EQ(read_pc(), std::nullopt);
    EXPECT_TRUE(camera.logged(NO_DATA));
    camera.write(PC_DATA, "x");
    EXPECT_EQ(read_pc(), "x");
    EXPECT_TRUE(camera.exists(LIST));
}

TEST_F(CisDataRead, AnEmptyFileIsRead)
{
    camera.write(PC_DATA, "");
    EXPECT_EQ(read(), "");
    EXPECT_TRUE(camera.logged("total file size = 0 "));
}

TEST_F(CisDataRead, AListThatCannotBeRemovedIsToldAndNothingIsRead)
{
    camera.write(LIST, "LOT17,00123\n");
    camera.write("/sdcard/LOT17/00123.sn", "x");
    camera.fault("sys_unlink", "-1 errno EROFS");
    expect_nothing();
    EXPECT_TRUE(
        camera.logged("failed to remove /sdcard/serial_sensor.csv (Read-only file system)"));
}

TEST_F(CisDataRead, AListThatCannotBeOpenedOrReadStays)
{
    camera.write(LIST, "LOT17,00123\n");
    camera.write(PC_DATA, "from the PC");
    camera.fault("sys_fopen", "0 errno EACCES on serial_sensor");
    expect_nothing();
    EXPECT_TRUE(camera.logged("failed to open /sdcard/serial_sensor.csv (Permission denied)"));
    EXPECT_TRUE(camera.exists(LIST));
    camera.clear_fault("sys_fopen");
    camera.remove(LIST);
    std::filesystem::create_directory(camera.path(LIST));
    EXPECT_EQ(read(), std::nullopt);
    EXPECT_TRUE(camera.logged("failed to read /sdcard/serial_sensor.csv (Is a directory)"));
}

TEST_F(CisDataRead, AFileMayHave16MegabytesAndNoByteMore)
{
    camera.write(PC_DATA, "");
    std::filesystem::resize_file(camera.path(PC_DATA), 16 << 20);
    EXPECT_EQ(read().value_or("").size(), 16U << 20);
    std::filesystem::resize_file(camera.path(PC_DATA), (16 << 20) + 1);
    expect_nothing();
    EXPECT_TRUE(camera.logged("pmode_shutter_data is larger than 16777216 bytes "));
}

// ------------------------------------------------------------------------- the pixel list

namespace
{

constexpr char DOT_BIN[] = "/opt/share/rova/CIS_DOT.bin";
constexpr char DOT_BIN_NEW[] = "/opt/share/rova/CIS_DOT.bin.new";

struct CisDataPixels : testing::Test {
    test::Camera camera;
};

} // namespace

TEST_F(CisDataPixels, AreWrittenAsPairsOfLittleEndianNumbers)
{
    EXPECT_EQ(rova_cis_data_write_pixels(Pixels{{0x0102, 0x0304}, {5, 65535}}), 1);
    EXPECT_EQ(camera.read(DOT_BIN), std::string("\x02\x01\x04\x03\x05\0\xff\xff", 8));
    EXPECT_FALSE(camera.exists(DOT_BIN_NEW));
}

TEST_F(CisDataPixels, AreReadAsTheyWereWritten)
{
    Pixels written = {{1, 2}, {0, 65535}, {4000, 3000}}, read = {{9, 9}};
    ASSERT_EQ(rova_cis_data_write_pixels(written), 1);
    ASSERT_EQ(rova_cis_data_read_pixels(&read), 1);
    EXPECT_EQ(read, written);
}

TEST_F(CisDataPixels, NoPixelsMakeAnEmptyFile)
{
    camera.write(DOT_BIN, "old.");
    Pixels read = {{9, 9}};
    EXPECT_EQ(rova_cis_data_write_pixels({}), 1);
    EXPECT_TRUE(camera.exists(DOT_BIN));
    EXPECT_EQ(camera.read(DOT_BIN), "");
    EXPECT_EQ(rova_cis_data_read_pixels(&read), 1);
    EXPECT_THAT(read, IsEmpty());
}

TEST_F(CisDataPixels, AListThatIsMissingOrEndsInsideAPixelIsNotRead)
{
    Pixels read = {{9, 9}};
    EXPECT_EQ(rova_cis_data_read_pixels(&read), 0);
    camera.write(DOT_BIN, "12345");
    EXPECT_EQ(rova_cis_data_read_pixels(&read), 0);
    EXPECT_TRUE(camera.logged("/opt/share/rova/CIS_DOT.bin ends inside a pixel "));
    EXPECT_EQ(read, (Pixels{{9, 9}}));
}

TEST_F(CisDataPixels, AWriteThatFailsLeavesTheOldList)
{
    const struct {
        const char *call, *how, *message;
    } faults[] = {
        {"sys_open", "-1 errno EROFS on CIS_DOT",
         "failed to open /opt/share/rova/CIS_DOT.bin.new (Read-only file system) "},
        {"sys_write", "-1 errno ENOSPC on CIS_DOT",
         "failed to write /opt/share/rova/CIS_DOT.bin.new (No space left on device) "},
        {"sys_write", "0 on CIS_DOT",
         "failed to write /opt/share/rova/CIS_DOT.bin.new (Input/output error) "},
        {"sys_fdatasync", "-1 errno EIO on CIS_DOT",
         "failed to sync /opt/share/rova/CIS_DOT.bin.new (Input/output error) "},
        {"sys_rename", "-1 errno EIO",
         "failed to replace /opt/share/rova/CIS_DOT.bin (Input/output error) "},
    };
    for (const auto &row : faults) {
        camera.write(DOT_BIN, "old.");
        camera.fault(row.call, row.how);
        EXPECT_EQ(rova_cis_data_write_pixels(Pixels{{1, 2}}), 0) << row.message;
        EXPECT_TRUE(camera.logged(row.message)) << row.message;
        EXPECT_EQ(camera.read(DOT_BIN), "old.") << row.message;
        EXPECT_FALSE(camera.exists(DOT_BIN_NEW)) << row.message;
        camera.clear_fault(row.call);
        camera.remove("/virtual/dlog");
    }
}

TEST_F(CisDataPixels, AnInterruptedWriteGoesOn)
{
    camera.fault("sys_write", "-1 at 1 errno EINTR on CIS_DOT");
    EXPECT_EQ(rova_cis_data_write_pixels(Pixels{{1, 2}}), 1);
    EXPECT_EQ(camera.read(DOT_BIN).size(), 4U);
}

TEST_F(CisDataPixels, AFolderThatCannotBeSyncedIsAFailure)
{
    camera.fault("sys_fdatasync", "-1 at 2 errno EIO");
    EXPECT_EQ(rova_cis_data_write_pixels(Pixels{{1, 2}}), 0);
    EXPECT_TRUE(camera.logged("failed to sync /opt/share/rova (Input/output error) "));
}

TEST_F(CisDataPixels, WhatAWriterThatWasKilledLeftIsOverwritten)
{
    camera.write(DOT_BIN_NEW, "half a list of a writer that is gone");
    EXPECT_EQ(rova_cis_data_write_pixels(Pixels{{1, 2}}), 1);
    EXPECT_EQ(camera.read(DOT_BIN).size(), 4U);
    EXPECT_FALSE(camera.exists(DOT_BIN_NEW));
}
