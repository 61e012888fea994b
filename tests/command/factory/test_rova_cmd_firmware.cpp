#include "command/rova_cmd_result.h"
#include "tests/command/command_test.h"
#include "tests/support/serving_end.h"

#include <filesystem>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class FirmwareCheck : public CommandTest
{
protected:
    void set(const std::string &name, const std::string &value) const
    {
        camera.write("/virtual/firmware/" + name, value + "\n");
    }

    // The mismatches so far, in order: "value(...) != ...check_val(...)".
    std::vector<std::string> mismatches() const
    {
        std::vector<std::string> lines;
        const std::string log = camera.platform_log();
        for (std::size_t at = log.find("value("); at != std::string::npos;
             at = log.find("value(", at + 1)) {
            const std::size_t end = log.find(") ", log.find("check_val(", at));
            lines.push_back(log.substr(at, end + 1 - at));
        }
        return lines;
    }
};

TEST_F(FirmwareCheck, TheBodyPassesByAnyOfTheValues)
{
    set("version", "1.01");
    EXPECT_EQ(run("firmware check body 1.01"), OK);
    EXPECT_EQ(run("firmware check body 1.00 1.01"), OK);
    EXPECT_EQ(run("FIRMWARE Check BODY 1.01 1.00", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(run("firmware check body 1.00 1.02 1.01"), OK);
    EXPECT_THAT(mismatches(), IsEmpty());
}

TEST_F(FirmwareCheck, TheBodysVersionIsComparedAsText)
{
    set("version", "1.1");
    EXPECT_EQ(run("firmware check body 1.10"), NG);
    EXPECT_EQ(run("firmware check body 1."), NG);
    set("version", "1.1a");
    EXPECT_EQ(run("firmware check body 1.1A", ROVA_CMD_PTP), PTP_NG);
}

TEST_F(FirmwareCheck, OneTextThatDiffersIsToldWithoutANumber)
{
    EXPECT_EQ(run("firmware check body 2.%s"), NG);
    EXPECT_THAT(mismatches(), ElementsAre("value(1.00) != check_val(2.%s)"));
}

TEST_F(FirmwareCheck, TwoTextsThatDifferAreToldInOrder)
{
    EXPECT_EQ(run("firmware check lens 2.00 3.00"), NG);
    EXPECT_THAT(mismatches(), ElementsAre("value(1.00) != 1st check_val(2.00)",
                                          "value(1.00) != 2nd check_val(3.00)"));
}

TEST_F(FirmwareCheck, ThreeTextsThatDifferAreToldInOrder)
{
    EXPECT_EQ(run("firmware check body 2.00 3.00 4.00"), NG);
    EXPECT_THAT(mismatches(), ElementsAre("value(1.00) != 1st check_val(2.00)",
                                          "value(1.00) != 2nd check_val(3.00)",
                                          "value(1.00) != 3rd check_val(4.00)"));
}

TEST_F(FirmwareCheck, NumbersThatDifferAreToldInOrder)
{
    set("micom_version", "0x20");
    EXPECT_EQ(run("firmware check micom 20"), NG);
    EXPECT_EQ(run("firmware check micom 1 x"), NG);
    EXPECT_EQ(run("firmware check micom 1 2 -3"), NG);
    EXPECT_THAT(mismatches(),
                ElementsAre("value(32) != check_val(20)", "value(32) != 1st check_val(1)",
                            "value(32) != 2nd check_val(0)", "value(32) != 1st check_val(1)",
                            "value(32) != 2nd check_val(2)", "value(32) != 3rd check_val(-3)"));
}

TEST_F(FirmwareCheck, TheLensPassesByAnyOfTheValues)
{
    set("lens_version", "01.17");
    EXPECT_EQ(run("firmware check lens 01.17"), OK);
    EXPECT_EQ(run("firmware check Lens 01.16 01.17"), OK);
    EXPECT_EQ(run("firmware check lens 01.15 01.16 01.17", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(times_logged("lens firmware_ver = 01.17, size=5"), 3U);
    EXPECT_THAT(mismatches(), IsEmpty());
}

TEST_F(FirmwareCheck, ALensThatTellsNoVersionIsNg)
{
    camera.fault("GetCaptureData", "-5");
    EXPECT_EQ(run("firmware check lens 1.00"), NG);
    EXPECT_TRUE(camera.logged("failed to GetCaptureData(16) (ret=-5) "));
    EXPECT_FALSE(camera.logged("lens firmware_ver"));
}

TEST_F(FirmwareCheck, ALensVersionThatIsTooLongIsNg)
{
    set("lens_version", std::string(62, '1'));
    EXPECT_EQ(run("firmware check lens 1.00"), NG);
    EXPECT_TRUE(camera.logged("lens firmware_ver = " + std::string(62, '1') + ", size=62"));
    set("lens_version", std::string(63, '1'));
    EXPECT_EQ(run("firmware check lens 1.00"), NG);
    EXPECT_TRUE(camera.logged("failed to GetCaptureData(16) (ret=-1) "));
}

TEST_F(FirmwareCheck, TheMicroControllersVersionIsDecimalInTheScript)
{
    set("micom_version", "0x11");
    set("micom_status", "0xa0");
    EXPECT_EQ(run("firmware check micom 17"), OK);
    EXPECT_TRUE(camera.logged("micom ver=11, status=a0"));
    EXPECT_EQ(run("firmware check micom 11"), NG);
    EXPECT_EQ(run("firmware check micom 0x11"), NG);
    EXPECT_EQ(run("firmware check MICOM 1 2 17x", ROVA_CMD_PTP), PTP_OK);
}

TEST_F(FirmwareCheck, TheMicroControllersVersionHas32Bits)
{
    set("micom_version", "0xffffffff");
    EXPECT_EQ(run("firmware check micom 4294967295"), OK);
    EXPECT_EQ(run("firmware check micom -1"), NG);
    EXPECT_THAT(mismatches(), ElementsAre("value(-1) != check_val(-1)"));
}

TEST_F(FirmwareCheck, AMicroControllerThatFailsIsNg)
{
    camera.fault("get_micom_version", "-1");
    EXPECT_EQ(run("firmware check micom 1"), NG);
    EXPECT_TRUE(camera.logged("failed ot get_micom_version()"));
    EXPECT_FALSE(camera.logged("micom ver="));
}

TEST_F(FirmwareCheck, ALineWithoutAValueIsNg)
{
    for (const char *line : {"firmware check", "firmware check body", "firmware check lens",
                             "firmware check micom", "firmware check foo"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_THAT(mismatches(), IsEmpty());
}

TEST_F(FirmwareCheck, AnotherTargetIsOk)
{
    EXPECT_EQ(run("firmware check strobe 9"), OK);
    EXPECT_EQ(run("firmware check bodyy 9 9 9 9", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(mismatches(), IsEmpty());
}

TEST_F(FirmwareCheck, MoreThanThreeValuesFailForTheBodyOnly)
{
    for (const char *values : {" 1.00 1 1 1", " 9 8 7 6", " 1 2 3 4 5 6 7 8"}) {
        EXPECT_EQ(run(std::string("firmware check body") + values), NG) << values;
        EXPECT_EQ(run(std::string("firmware check lens") + values), OK) << values;
        EXPECT_EQ(run(std::string("firmware check micom") + values), OK) << values;
    }
    EXPECT_THAT(mismatches(), IsEmpty());
    camera.fault("GetCaptureData", "-1");
    camera.fault("get_micom_version", "-1");
    EXPECT_EQ(run("firmware check lens 1 2 3 4"), NG);
    EXPECT_EQ(run("firmware check micom 1 2 3 4"), NG);
}

TEST_F(FirmwareCheck, AnotherWordIsNotFound)
{
    EXPECT_EQ(run("firmware"), NO_ANSWER);
    EXPECT_EQ(run("firmware verify body", ROVA_CMD_PTP), NO_ANSWER);
    EXPECT_EQ(times_logged("Not found on firmware command table "), 2U);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
}

class FirmwareUpdate : public CommandTest
{
protected:
    FirmwareUpdate() { camera.write("/sdcard/lumen1.bin", "LUMEN1 1.01\n"); }

    // What the camera was told, in order.
    std::vector<std::string> steps() const
    {
        return told({"factory_osd_text_size_set", "factory_osd_text_color_set",
                     "factory_osd_text_set", "fw_start_upgrade", "sys_system"});
    }
};

TEST_F(FirmwareUpdate, TheBodyStartsAnotherVersion)
{
    EXPECT_EQ(run("firmware update body"), OK);
    EXPECT_THAT(steps(), ElementsAre(R"(fw_start_upgrade["lumen1.bin"])"));
    EXPECT_TRUE(camera.logged("project_name = LUMEN1, small=lumen1 "));
}

TEST_F(FirmwareUpdate, AnOlderVersionIsAnotherOne)
{
    camera.write("/virtual/firmware/version", "1.02\n");
    EXPECT_EQ(run("Firmware Update Body", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(steps(), ElementsAre(R"(fw_start_upgrade["lumen1.bin"])"));
}

TEST_F(FirmwareUpdate, TheBodyIsCompleteWithTheSameVersionAndStopsTheScript)
{
    camera.write("/virtual/firmware/version", "1.01\n");
    EXPECT_EQ(run("firmware update body"), NG);
    EXPECT_THAT(steps(),
                ElementsAre("factory_osd_text_size_set[80]", "factory_osd_text_color_set[9]",
                            R"(factory_osd_text_set[4,"UPGRADE"])",
                            R"(factory_osd_text_set[5,"COMPLETE!!"])"));
    EXPECT_TRUE(camera.logged("value(1.01) == check_val(1.01) "));
    EXPECT_EQ(run("firmware update body", ROVA_CMD_PTP), PTP_NG);
}

TEST_F(FirmwareUpdate, TheSecondTryTellsThatTheFirstIsDone)
{
    EXPECT_EQ(run("firmware update body"), OK);
    EXPECT_EQ(run("firmware update body"), NG);
    EXPECT_TRUE(camera.logged("value(1.01) == check_val(1.01) "));
}

TEST_F(FirmwareUpdate, TheFileIsNamedAfterTheProject)
{
    camera.write("/virtual/firmware/project", "NX-Pro%s\n");
    camera.write("/sdcard/nx-pro%s.bin", "NX-Pro%s 3.0\n");
    EXPECT_EQ(run("firmware update body"), OK);
    EXPECT_THAT(steps(), ElementsAre(R"(fw_start_upgrade["nx-pro%s.bin"])"));
    EXPECT_TRUE(camera.logged("project_name = NX-Pro%s, small=nx-pro%s "));
}

TEST_F(FirmwareUpdate, AFileThatIsNotValidIsNg)
{
    camera.write("/sdcard/lumen1.bin", "OTHER 1.01\n");
    EXPECT_EQ(run("firmware update body"), NG);
    EXPECT_TRUE(camera.logged("firmware(/mnt/mmc/lumen1.bin) is not valid !! "));
    camera.remove("/sdcard/lumen1.bin");
    EXPECT_EQ(run("firmware update body", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(times_logged("firmware(/mnt/mmc/lumen1.bin) is not valid !! "), 2U);
    EXPECT_THAT(steps(), IsEmpty());
}

TEST_F(FirmwareUpdate, AFileWithoutInformationIsNg)
{
    camera.fault("fw_get_info", "-1");
    EXPECT_EQ(run("firmware update body"), NG);
    EXPECT_TRUE(camera.logged("fw_get_info(/mnt/mmc/lumen1.bin) failed "));
    EXPECT_THAT(steps(), IsEmpty());
}

TEST_F(FirmwareUpdate, AnUpgradeThatDoesNotStartIsNg)
{
    camera.fault("fw_start_upgrade", "-6");
    EXPECT_EQ(run("firmware update body"), NG);
    EXPECT_TRUE(camera.logged("fw_start_upgrade(lumen1.bin) failed (ret=-6) "));
}

TEST_F(FirmwareUpdate, AProjectNameOfAnyLengthIsCut)
{
    camera.write("/virtual/firmware/project", std::string(300, 'P') + "\n");
    EXPECT_EQ(run("firmware update body"), NG);
    EXPECT_TRUE(camera.logged("firmware(/mnt/mmc/" + std::string(63, 'p') + ".bin) is not valid"));
}

// An update takes a while: the screen tells of it before the application has the command.
TEST_F(FirmwareUpdate, TheLensIsUpdatedByTheCameraApplication)
{
    const ServingEnd app(camera, [this](int, const std::string &) {
        return answer_bytes(0, steps().empty() ? 1 : 0);
    });
    EXPECT_EQ(run("firmware update LENS a", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(app.command(1).command_area.substr(0, 500),
              bytes_of(record_of("firmware update LENS a")));
    EXPECT_THAT(steps(), ElementsAre(R"(factory_osd_text_set[1,"lens upgrade"])"));
    EXPECT_TRUE(camera.logged("project_name = LUMEN1, small=lumen1 "));
}

TEST_F(FirmwareUpdate, TheLensIsNgWithoutACameraApplication)
{
    EXPECT_EQ(run("firmware update lens"), NG);
    EXPECT_TRUE(camera.logged("rova_ipcc_send() failed (firmware) "));
}

TEST_F(FirmwareUpdate, TheMicroControllersUpdaterIsStoppedThenRun)
{
    EXPECT_EQ(run("firmware update Micom"), OK);
    EXPECT_THAT(steps(), ElementsAre(R"(factory_osd_text_set[1,"micom upgrade"])",
                                     R"(sys_system["micom_updater tstop"])",
                                     R"(sys_system["micom_updater update /sdcard/micom.hex"])"));
}

TEST_F(FirmwareUpdate, TheMicroControllersUpdaterMayFail)
{
    camera.fault("sys_system", "-1");
    EXPECT_EQ(run("firmware update micom", ROVA_CMD_PTP), PTP_OK);
}

TEST_F(FirmwareUpdate, AnotherTargetIsOkAndChangesNothing)
{
    EXPECT_EQ(run("firmware update strobe"), OK);
    EXPECT_THAT(steps(), IsEmpty());
    EXPECT_TRUE(camera.logged("project_name = LUMEN1, small=lumen1 "));
}

TEST_F(FirmwareUpdate, ALineWithoutATargetIsNg)
{
    EXPECT_EQ(run("firmware update"), NG);
    EXPECT_FALSE(camera.logged("project_name"));
    EXPECT_THAT(steps(), IsEmpty());
}
