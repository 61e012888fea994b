// Loading one of the configuration files of the noise, dust and movie test.
#pragma once

#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"
#include "lib/pim/rova_pim_result.h"
#include "tests/lib/pim/config_files.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

namespace test
{

inline const std::string CONFIG_RULE = " " + std::string(80, '=') + "\n";
inline const std::string CONFIG_START =
    CONFIG_RULE + " <<<<< CONFIG. START.... >>>>>" + std::string(51, ' ') + "\n" + CONFIG_RULE;
inline const std::string CONFIG_END =
    CONFIG_RULE + " <<<<< CONFIG. END .... >>>>>" + std::string(52, ' ') + "\n" + CONFIG_RULE;

// Records have no gaps, and no two ways to write a float that is read from a text.
template <typename record> std::string_view bytes_of(const record &value)
{
    return {reinterpret_cast<const char *>(&value), sizeof(value)};
}

template <typename File> class ConfigRun : public testing::Test
{
protected:
    Camera camera;
    std::unique_ptr<typename File::Record> owned = std::make_unique<typename File::Record>();
    typename File::Record &cfg = *owned;
    const std::string file_name = std::string("/mnt/mmc/") + File::NAME + "_lumen1.cfg";
    const std::string debug_name = std::string("/mnt/mmc/") + File::NAME + "_debug.txt";

    ConfigRun() { forget(); }
    ~ConfigRun() override { forget(); }
    static void forget()
    {
        rova_pim_debug_close();
        gDbgPrintOnOff = 0;
        gRstPrintOpt = 0;
        gLogPrintOnOff = 0;
        gMotExifInfo = {};
    }
    int load_text(const std::string &text)
    {
        camera.write(file_name, text);
        return File::READ(file_name.c_str(), &cfg, "LUMEN1");
    }
    // A file of running numbers, but for its texts, the mode of the debug sink and the screen.
    void load_numbered(const std::string &screen)
    {
        ASSERT_EQ(load_text(lines_text(numbered(File::lines(), {line_of(2), screen}))), 0);
    }
    int load(const Said &said = {})
    {
        return load_text(lines_text(lines_with(File::lines(), said)));
    }
    // Names of lines differ by test in their first letters.
    static std::string line_of(int number)
    {
        return File::lines()[static_cast<std::size_t>(number) - 1].first;
    }
    // What a load of the file prints in the mode of the standard output.
    std::string printed(Said said = {})
    {
        said.try_emplace(line_of(2), "4");
        int result = -1;
        std::string text = captured_output([&] { result = load(said); });
        EXPECT_EQ(result, 0);
        return text;
    }
    void expect_label(const std::string &name, const std::string &values, const std::string &label)
    {
        EXPECT_THAT(printed({{name, values}}), testing::HasSubstr(label)) << name << " " << values;
    }
};

} // namespace test
