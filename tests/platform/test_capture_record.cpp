#include "platform/capture.h"

#include "platform/virtual/capture.h"
#include "tests/platform/capture_test.h"

#include <cstring>
#include <gtest/gtest.h>

using test::CaptureTest;
using test::grey;
using test::SeenStill;

namespace
{

class CaptureRecord : public CaptureTest
{
};

TEST_F(CaptureRecord, ShootingDataHasUsualValues)
{
    picture("a.ppm", grey(8, 8, 0));
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(still.data.ExposureTimeNum, 1U);
    EXPECT_EQ(still.data.ExposureTimeDen, 125U);
    EXPECT_EQ(still.data.FNumberNum, 28U);
    EXPECT_EQ(still.data.FNumberDen, 10U);
    EXPECT_EQ(still.data.FocalLengthIn35mmFilm, 50);
    EXPECT_EQ(still.data.ISOValue, 100U);
    EXPECT_EQ(still.data.afStep, 0);
}

TEST_F(CaptureRecord, ShootingDataComesFromFilesThatCanBeScripted)
{
    picture("a.ppm", grey(8, 8, 0));
    set("exposure", "2");
    set("f_number", "56/10");
    set("focal_length", "200");
    set("iso", "3200");
    camera_.write("/virtual/capture/af_step.play", "11\n65535\n");
    client_for_stills();
    const SeenStill first = take();
    EXPECT_EQ(first.data.ExposureTimeNum, 2U);
    EXPECT_EQ(first.data.ExposureTimeDen, 1U);
    EXPECT_EQ(first.data.FNumberNum, 56U);
    EXPECT_EQ(first.data.FNumberDen, 10U);
    EXPECT_EQ(first.data.FocalLengthIn35mmFilm, 200);
    EXPECT_EQ(first.data.ISOValue, 3200U);
    EXPECT_EQ(first.data.afStep, 11);
    EXPECT_EQ(take().data.afStep, 65535);
}

TEST_F(CaptureRecord, APicturesOwnShootingDataGoesBeforeTheCameras)
{
    picture("a.ppm", grey(8, 8, 0));
    picture("a.ppm.txt", "# wide\niso 400\naf_step 7\nexposure 1/30\nnonsense\n\n");
    set("iso", "3200");
    set("focal_length", "24");
    client_for_stills();
    const SeenStill still = take();
    EXPECT_EQ(still.data.ISOValue, 400U);
    EXPECT_EQ(still.data.afStep, 7);
    EXPECT_EQ(still.data.ExposureTimeDen, 30U);
    EXPECT_EQ(still.data.FocalLengthIn35mmFilm, 24);
}

TEST_F(CaptureRecord, AnyFieldOfTheRecordsCanBeSet)
{
    picture("a.ppm", grey(16, 16, 1));
    struct Row {
        const char *name;
        std::function<long long(const SeenStill &)> field;
    };
#define SET(NAME)                                                                                  \
    {                                                                                              \
#NAME, [](const SeenStill &still) { return still.set.NAME; }                               \
    }
#define DATA(NAME)                                                                                 \
    {                                                                                              \
#NAME, [](const SeenStill &still) { return still.data.NAME; }                              \
    }
    const std::vector<Row> rows = {SET(mainGWidth),
                                   SET(mainGHeight),
                                   SET(mainWidth),
                                   SET(mainHeight),
                                   SET(mainYAddress),
                                   SET(mainCAddress),
                                   SET(screenGWidth),
                                   SET(screenGHeight),
                                   SET(screenWidth),
                                   SET(screenHeight),
                                   SET(screenYAddress),
                                   SET(screenCAddress),
                                   SET(thumbYAddress),
                                   DATA(ISOValue),
                                   DATA(ExposureTimeNum),
                                   DATA(ExposureTimeDen),
                                   DATA(FNumberNum),
                                   DATA(FNumberDen),
                                   DATA(FocalLengthIn35mmFilm),
                                   DATA(afStep)};
#undef SET
#undef DATA
    client_for_stills();
    const SeenStill before = take();
    for (const Row &row : rows) {
        const std::string name = std::string("record/") + row.name;
        set(name, "54321");
        const SeenStill after = take();
        EXPECT_EQ(row.field(after), 54321) << row.name;
        camera_.remove("/virtual/capture/" + name);
        for (const Row &other : rows) {
            if (&other == &row || std::strstr(other.name, "Address"))
                continue;
            EXPECT_EQ(other.field(after), other.field(before)) << row.name << other.name;
        }
    }
}

TEST_F(CaptureRecord, FieldsMayBeAbsurdForOneStillOnly)
{
    picture("a.ppm", grey(16, 16, 1));
    camera_.write("/virtual/capture/record/mainWidth.play", "0\n-1\n");
    client_for_stills();
    EXPECT_EQ(take().set.mainWidth, 0);
    EXPECT_EQ(take().set.mainWidth, -1);
    camera_.remove("/virtual/capture/record/mainWidth");
    EXPECT_EQ(take().set.mainWidth, 16);
}

TEST_F(CaptureRecord, AnImageSetCanBeLeftOut)
{
    picture("a.ppm", grey(16, 16, 1));
    set("record/image_set", "0");
    client_for_stills();
    EXPECT_FALSE(take().has_set);
}

} // namespace
