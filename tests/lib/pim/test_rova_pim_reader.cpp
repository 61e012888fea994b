// What the readers of the noise, dust and movie test have in common.
#include "tests/lib/pim/config_run.h"

namespace
{

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

template <typename File> class Reader : public test::ConfigRun<File>
{
};

using Files = testing::Types<test::NoiseFile, test::DustFile, test::MovieFile>;

class FileNames
{
public:
    template <typename File> static std::string GetName(int) { return File::NAME; }
};

TYPED_TEST_SUITE(Reader, Files, FileNames);

template <typename File> class StillReader : public test::ConfigRun<File>
{
};

using StillFiles = testing::Types<test::NoiseFile, test::DustFile>;

TYPED_TEST_SUITE(StillReader, StillFiles, FileNames);

} // namespace

TYPED_TEST(Reader, ReadsAGoodFile)
{
    EXPECT_EQ(this->load(), 0);
    EXPECT_STREQ(this->cfg.strModelName, "LUMEN1");
    EXPECT_EQ(gDbgPrintOnOff, 0);
    EXPECT_EQ(gRstPrintOpt, 2);
}

TYPED_TEST(Reader, TheDebugFileHoldsWhatIsPrinted)
{
    for (const char *mode : {"1", "2"}) {
        this->forget();
        this->camera.write(this->debug_name, "before\n");
        ASSERT_EQ(this->load({{this->line_of(2), mode}}), 0);
        const std::string text = this->camera.read(this->debug_name);
        EXPECT_THAT(text, StartsWith("before\n" + test::CONFIG_START +
                                     " Model Name = LUMEN1 : Ver. = v3.12 \n Debug Print = " +
                                     mode + " [ ON ]  \n Result Print = 2  [ "));
        EXPECT_THAT(text, HasSubstr(" Debug File Name = " + this->debug_name + " \n"));
        EXPECT_THAT(text, EndsWith(test::CONFIG_END));
        EXPECT_EQ(gDbgFpState, 0);
        EXPECT_EQ(gDbgCnt, 0);
        EXPECT_EQ(gDbgPrintOnOff, *mode - '0');
    }
}

TYPED_TEST(Reader, ADebugPrintOfZeroOpensNoFile)
{
    EXPECT_EQ(test::captured_output([&] { EXPECT_EQ(this->load(), 0); }), "");
    EXPECT_FALSE(this->camera.exists(this->debug_name));
}

TYPED_TEST(Reader, OtherDebugPrintsOpenTheFileAndPrintNothing)
{
    for (const char *mode : {"3", "-1"}) {
        EXPECT_EQ(this->printed({{this->line_of(2), mode}}), "");
        EXPECT_TRUE(this->camera.exists(this->debug_name)) << mode;
        EXPECT_EQ(this->camera.read(this->debug_name), "");
        this->camera.remove(this->debug_name);
    }
}

TYPED_TEST(Reader, TheLoadGoesOnWithoutADebugFile)
{
    const std::string missing = "/mnt/mmc/missing/debug.txt";
    EXPECT_THAT(this->printed({{this->line_of(4), missing}}),
                StartsWith(" Can Not Open Debug File : " + missing + " \n" + test::CONFIG_START));
    EXPECT_TRUE(this->camera.logged("Can Not Open Debug File : " + missing));
    EXPECT_EQ(this->load({{this->line_of(2), "1"}, {this->line_of(4), missing}}), 0);
}

TYPED_TEST(Reader, TheSinksTakeTheirModesAtOnce)
{
    EXPECT_EQ(this->load_text("LUMEN1\n4\n"), -1);
    EXPECT_EQ(gDbgPrintOnOff, 4);
    EXPECT_EQ(gRstPrintOpt, 0);
    EXPECT_EQ(this->load_text("LUMEN1\n0\n1\n"), -1);
    EXPECT_EQ(gDbgPrintOnOff, 0);
    EXPECT_EQ(gRstPrintOpt, 1);
}

TYPED_TEST(Reader, AnotherModelsFileIsNotReadFurther)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_EQ(test::captured_output([&] {
                  EXPECT_EQ(this->load({{this->line_of(1), "LUMEN2"}}), -1);
              }),
              "MisMatch Model Name : LUMEN1 , LUMEN2 \n");
    EXPECT_TRUE(this->camera.logged("MisMatch Model Name : LUMEN1 , LUMEN2"));
    EXPECT_EQ(gRstPrintOpt, 0);
}

TYPED_TEST(Reader, AModelIsComparedWholeAndByCase)
{
    for (const char *name : {"lumen1", "LUMEN", "LUMEN11"})
        EXPECT_EQ(this->load({{this->line_of(1), name}}), -1) << name;
    EXPECT_EQ(this->load({{this->line_of(1), "LUMEN1 remark"}}), 0);
}

TYPED_TEST(Reader, AModelOfMoreThanTheRecordHoldsIsComparedWhole)
{
    this->camera.write(this->file_name,
                       test::lines_text(test::lines_with(
                           TypeParam::lines(), {{this->line_of(1), "LUMEN-0123456789"}})));
    const char *path = this->file_name.c_str();
    EXPECT_EQ(TypeParam::READ(path, &this->cfg, "LUMEN-012345678"), -1);
    EXPECT_EQ(TypeParam::READ(path, &this->cfg, "LUMEN-0123456789"), 0);
    EXPECT_STREQ(this->cfg.strModelName, "LUMEN-012345678");
}

TYPED_TEST(Reader, NamesAreCutToTheirFields)
{
    const std::string name = "/mnt/mmc/" + std::string(80, 'n');
    ASSERT_EQ(this->load({{this->line_of(2), "1"}, {this->line_of(4), name}}), 0);
    EXPECT_TRUE(this->camera.exists(name.substr(0, 63)));
}

TYPED_TEST(Reader, MissingArgumentsAreNamed)
{
    const std::string record = TypeParam::RECORD_LABEL;
    const char *path = this->file_name.c_str();
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_EQ(
        test::captured_output([&] { EXPECT_EQ(TypeParam::READ(nullptr, nullptr, nullptr), -1); }),
        " Read Config Error ~~~ !!! \n inCfg        = NULL \n" + record +
            "NULL \n strModelName = NULL \n");
    EXPECT_TRUE(this->camera.logged("Read Config Error ~~~ !!!"));
    EXPECT_EQ(
        test::captured_output([&] { EXPECT_EQ(TypeParam::READ(path, nullptr, "LUMEN1"), -1); }),
        " Read Config Error ~~~ !!! \n inCfg        = " + this->file_name + " \n" + record +
            "NULL \n strModelName = LUMEN1 \n");
    EXPECT_EQ(test::captured_output(
                  [&] { EXPECT_EQ(TypeParam::READ(nullptr, &this->cfg, "LUMEN1"), -1); }),
              " Read Config Error ~~~ !!! \n inCfg        = NULL \n" + record +
                  "OK \n strModelName = LUMEN1 \n");
}

TYPED_TEST(Reader, AFileWithCarriageReturnsIsTheSame)
{
    ASSERT_EQ(this->load(), 0);
    const typename TypeParam::Record plain = this->cfg;
    ASSERT_EQ(this->load_text(test::lines_text(TypeParam::lines(), "\r\n")), 0);
    EXPECT_TRUE(test::bytes_of(this->cfg) == test::bytes_of(plain));
    std::string bare = "\r\n";
    for (const auto &[name, values] : TypeParam::lines())
        bare += values + "\r\n";
    ASSERT_EQ(this->load_text(bare), 0);
    EXPECT_TRUE(test::bytes_of(this->cfg) == test::bytes_of(plain));
}

TYPED_TEST(Reader, AFileThatEndsEarlyFails)
{
    std::string text;
    for (const auto &[name, values] : TypeParam::lines()) {
        EXPECT_EQ(this->load_text(text + "// end\n"), -1) << name;
        EXPECT_TRUE(this->camera.logged("FILE SIZE ERROR : " + std::to_string(text.size() + 7) +
                                        " - " + this->file_name));
        text += values + "\n";
    }
    EXPECT_EQ(this->load_text(text), 0);
}

TYPED_TEST(Reader, AFailedLoadClosesTheDebugFile)
{
    EXPECT_EQ(this->load_text("LUMEN1\n1\n0\n" + this->debug_name + "\n"), -1);
    EXPECT_EQ(gDbgFpState, 0);
    EXPECT_THAT(this->camera.read(this->debug_name),
                testing::AllOf(StartsWith(test::CONFIG_START), Not(HasSubstr("CONFIG. END")),
                               EndsWith(" - " + this->file_name + " \n")));
}

TYPED_TEST(Reader, AnEmptyOrUnreadableFileIsReported)
{
    EXPECT_EQ(this->load_text(""), -1);
    EXPECT_TRUE(this->camera.logged("FILE SIZE ERROR : 0 - " + this->file_name));
    this->camera.remove(this->file_name);
    EXPECT_EQ(TypeParam::READ(this->file_name.c_str(), &this->cfg, "LUMEN1"), -1);
    EXPECT_TRUE(this->camera.logged("FILE OPEN ERROR : " + this->file_name));
    const auto cleared = std::make_unique<typename TypeParam::Record>();
    EXPECT_TRUE(test::bytes_of(this->cfg) == test::bytes_of(*cleared));
}

TYPED_TEST(Reader, ARemovedFileLeavesNothingOfTheLoadBefore)
{
    ASSERT_EQ(this->load(), 0);
    this->camera.remove(this->file_name);
    EXPECT_EQ(TypeParam::READ(this->file_name.c_str(), &this->cfg, "LUMEN1"), -1);
    EXPECT_STREQ(this->cfg.strModelName, "");
}

TYPED_TEST(StillReader, OnATelevisionTheLiveViewHasItsSize)
{
    for (const char *out : {"1", "2", "-1"}) {
        ASSERT_EQ(this->load({{"iScreenOut", out}}), 0);
        EXPECT_EQ(this->cfg.iLcdLiveX, 640);
        EXPECT_EQ(this->cfg.iLcdLiveY, 481);
        EXPECT_EQ(this->cfg.iLcdX, 800);
        EXPECT_EQ(this->cfg.iLcdY, 483);
    }
    ASSERT_EQ(this->load(), 0);
    EXPECT_EQ(this->cfg.iLcdLiveX, 720);
    EXPECT_EQ(this->cfg.iLcdLiveY, 482);
}
