// A family that tests single stills, by its word.
#pragma once

#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_result.h"
#include "tests/lib/pim/handler/handler_test.h"

#include <cstring>
#include <string>
#include <vector>

namespace test
{

class StillFamilyTest : public HandlerTest
{
protected:
    // In the family's mode, with nothing loaded.
    explicit StillFamilyTest(const std::string &word) : word_(word)
    {
        run(word_ + " set pimode");
        run(word_ + " read_config");
        new_calls();
        new_drawings();
    }

    std::string config_path() const { return "/mnt/mmc/" + word_ + "_lumen1.cfg"; }

    // A configuration of zeros only: the test's records are filled by hand.
    void load_config()
    {
        std::string lines = "LUMEN1\n";
        for (int i = 0; i < 60; i++)
            lines += "0 0 0 0 0 0 0 0\n";
        camera.write(config_path(), lines);
        ASSERT_EQ(run(word_ + " read_config"), OK) << printed << camera.platform_log();
    }

    // As a test leaves it.
    static void leave_result(const char *title, const char *data)
    {
        std::strcpy(pPtpTile, title);
        std::strcpy(pRstData, data);
        gCaptureDone = 1;
    }

    // Those since the last call.
    std::vector<std::string> capture_calls()
    {
        std::vector<std::string> calls;
        for (const std::string &call : new_calls())
            if (call.starts_with("Reg") || call.starts_with("UnReg"))
                calls.push_back(call);
        return calls;
    }

    // The ending, with the client that was registered.
    void expect_end(int handle)
    {
        const std::string client = std::to_string(handle);
        EXPECT_THAT(capture_calls(),
                    testing::ElementsAre("UnRegImageSetCallbackId(" + client + ", 67174401)",
                                         "UnRegCallbackClient(" + client + ")"));
        EXPECT_EQ(regPim, 0);
        EXPECT_EQ(callbackFlag, 0);
        EXPECT_EQ(gCaptureDone, 0);
    }

private:
    std::string word_;
};

} // namespace test
