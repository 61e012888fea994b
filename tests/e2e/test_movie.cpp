// The movie station: movies are drawn with known colours and a known tone, the real daemon and
// application play and judge them, and what a person at the station sees must agree with what was
// drawn.
#include "tests/e2e/inspection_station.h"
#include "tests/support/text.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using e2e::InspectionStation;
using e2e::says;

namespace
{

using Texts = std::vector<std::string>;

const std::string SCRIPT = std::string(EXAMPLES) + "/movie.adj";
constexpr char RUN[] = "movie set pimode\n"
                       "movie read_config\n"
                       "movie movie_start 100\n"
                       "movie display_result on movie.csv\n";
constexpr char START[] = "movie movie_start 100";
constexpr char DISPLAY[] = "movie display_result on movie.csv";

// Columns of a row.
enum { TOTAL, FRAME, RESULT, COLOUR, P1, V1 = 7, SOUND = 12, LEFT = 14, RIGHT, LEFT_LEVEL = 18 };

class MovieStation : public InspectionStation
{
public:
    // The example's, for small frames that are shown for a second each: a slow PC makes the movie
    // play on, and it must not leave its colour by that.
    MovieStation() : InspectionStation("movie"), config(e2e::example_config("movie"))
    {
        config.line(10, "2 0 0 0 0 0 0 1");
        for (const int chroma : {16, 17, 18, 19})
            config.line(chroma, "19200");
        speed(20);
    }

    e2e::ConfigFile config;

    void write_config() const override { InspectionStation::write_config(config); }

    nlohmann::json draw(const Texts &options) const
    {
        Texts words{"chart", "movie", "--out", path("/virtual/movie")};
        words.insert(words.end(), options.begin(), options.end());
        const test::Outcome drawing = vcam(words);
        EXPECT_EQ(drawing.status, 0) << drawing.err;
        return nlohmann::json::parse(drawing.out);
    }
    nlohmann::json draw_small(const Texts &options) const
    {
        Texts words{"--size", "160x120", "--rate", "1"};
        words.insert(words.end(), options.begin(), options.end());
        return draw(words);
    }

    // Behind the index and the serial number of the first, each row of the table.
    std::vector<Texts> rows() const
    {
        Texts lines = test::lines_of(read("/sdcard/movie.csv"));
        EXPECT_GE(lines.size(), 2U);
        if (lines.size() < 2)
            return {};
        EXPECT_TRUE(lines[0].starts_with("Index,CIS S/N,Tot. Result, Frame #,")) << lines[0];
        EXPECT_TRUE(lines[1].starts_with("1,0,")) << lines[1];
        lines[1].erase(0, 4);
        for (std::size_t i = 2; i < lines.size(); i++) {
            EXPECT_TRUE(lines[i].starts_with(",,")) << "below index and number: " << lines[i];
            lines[i].erase(0, 2);
        }
        std::vector<Texts> rows;
        for (std::size_t i = 1; i < lines.size(); i++)
            rows.push_back(e2e::result_cells(lines[i]));
        return rows;
    }
    // A column of all rows.
    Texts column(std::size_t number) const
    {
        Texts cells;
        for (const Texts &row : rows())
            cells.push_back(row.at(number));
        return cells;
    }

    // Runs a movie in which this fails.
    void run_ng(const std::string &what) const
    {
        const test::Outcome run = run_lines(RUN);
        EXPECT_TRUE(says(run, "OK", START)) << run.out << run.err;
        expect_ng(run, DISPLAY, what);
    }
    // Numbers of the frames that the application delivered.
    std::vector<int> frames() const
    {
        std::vector<int> numbers;
        for (const nlohmann::json &call : calls("app_movie_frame"))
            numbers.push_back(std::stoi(call["args"][0].get<std::string>()));
        return numbers;
    }
};

bool lie_in(const nlohmann::json &part, std::vector<int>::const_iterator frame)
{
    const int first = part["first"], count = part["count"];
    return std::all_of(frame, frame + 4,
                       [&](int number) { return number >= first && number < first + count; });
}

// Red frames from 10 on and blue ones from 35 on, 15 of each, are usual; here they are elsewhere.
const Texts NO_RED = {"--red", "2,5"};
const Texts NO_BLUE = {"--blue", "53,5"};

Texts both(const Texts &one, const Texts &other)
{
    Texts all = one;
    all.insert(all.end(), other.begin(), other.end());
    return all;
}

const Texts GOOD(4, "OK"), BAD(4, "NG");

} // namespace

TEST(Movie, AGoodMoviePassesInTheExampleScript)
{
    MovieStation station;
    const nlohmann::json movie = station.draw_small({});
    station.expect_ok(station.run(SCRIPT));
    EXPECT_EQ(station.column(TOTAL), both(GOOD, GOOD));
    EXPECT_EQ(station.column(FRAME), (Texts{"12", "14", "16", "18", "37", "39", "41", "43"}));
    EXPECT_EQ(station.column(RESULT), both(GOOD, GOOD));
    EXPECT_EQ(station.column(COLOUR), both(Texts(4, "RED"), Texts(4, "BLUE")));
    EXPECT_EQ(station.column(P1), Texts(8, "(0, 0)"));
    EXPECT_EQ(station.column(SOUND), both(GOOD, GOOD));
    for (const std::size_t frequency : {LEFT, RIGHT})
        EXPECT_EQ(station.column(frequency), Texts(8, "1.00"));
    EXPECT_EQ(station.column(LEFT_LEVEL), Texts(8, "-20.00"));
    EXPECT_FALSE(station.exists("/sdcard/movie_result.txt")) << "kept for the CSV file";

    const std::vector<int> frames = station.frames();
    ASSERT_EQ(frames.size(), 9U) << "the last one is not looked at";
    EXPECT_TRUE(lie_in(movie["red"], frames.begin()));
    EXPECT_TRUE(lie_in(movie["blue"], frames.begin() + 4));
    EXPECT_EQ(station.calls("app_movie_audio").size(), 4U) << "with the red frames alone";
    EXPECT_EQ(station.calls("app_movie_stop").size(), 1U);
}

TEST(Movie, WithoutRedFramesRedIsNamed)
{
    MovieStation station;
    station.draw_small(NO_RED);
    station.run_ng("Red");
    EXPECT_EQ(station.column(TOTAL), both(BAD, BAD));
    EXPECT_EQ(station.column(RESULT), both(BAD, GOOD));
    EXPECT_EQ(station.column(V1), both(Texts(4, "128"), Texts(4, "0"))) << "grey";
    EXPECT_TRUE(station.tells("ERROR ::: RED COLOR Mis-Matching"));
}

TEST(Movie, WithoutBlueFramesBlueIsNamed)
{
    MovieStation station;
    station.draw_small(NO_BLUE);
    station.run_ng("Blue");
    EXPECT_EQ(station.column(RESULT), both(GOOD, BAD));
}

TEST(Movie, ABadToneIsNamedAndShownInEachRow)
{
    MovieStation station;
    station.draw_small({"--tone", "500"});
    station.run_ng("Audio");
    EXPECT_EQ(station.column(TOTAL), both(BAD, BAD));
    EXPECT_EQ(station.column(RESULT), both(GOOD, GOOD));
    EXPECT_EQ(station.column(SOUND), both(BAD, BAD));
    EXPECT_EQ(station.column(LEFT), Texts(8, "0.50"));
}

TEST(Movie, ALowSoundIsNamed)
{
    MovieStation station;
    station.draw_small({"--loudness", "-40"});
    station.run_ng("Audio");
    EXPECT_EQ(station.column(LEFT_LEVEL), Texts(8, "-40.00"));
}

TEST(Movie, AllThatFailsIsNamed)
{
    MovieStation station;
    station.draw_small(both(both(NO_RED, NO_BLUE), {"--tone", "2000"}));
    station.run_ng("Red,BlueAudio");
}

TEST(Movie, NoiseOfAllColoursAlikeIsNoFault)
{
    MovieStation station;
    station.draw_small({"--noise", "5"});
    station.expect_ok(station.run_lines(RUN));
}

TEST(Movie, TheResultFileHoldsTheTableAndTheCsvNone)
{
    MovieStation station;
    station.draw_small({});
    station.config.line(3, "1");
    station.expect_ok(station.run_lines(RUN));
    const Texts lines = test::lines_of(station.read("/sdcard/movie_result.txt"));
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_TRUE(lines[0].starts_with("Tot. Result, Frame #,"));
    EXPECT_TRUE(lines[8].starts_with(",,OK,43,OK,BLUE,")) << lines[8];
    EXPECT_EQ(station.read("/sdcard/movie.csv"), "Index,CIS S/N,\r\n1,0,\r\n");
}

TEST(Movie, WithoutAMovieTheRunIsNgAndTheScriptEnds)
{
    MovieStation station;
    const test::Outcome run = station.run_lines(RUN);
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(says(run, "NG", START)) << run.out;
    EXPECT_TRUE(station.tells("ERROR :  no frame 43 of 0 x 0 at 0x00000000"));
    EXPECT_FALSE(station.exists("/sdcard/movie.csv"));
}

TEST(Movie, FramesOfAnotherSizeThanConfiguredAreRefused)
{
    MovieStation station;
    station.draw_small({});
    station.config.line(16, "921600");
    station.config.line(17, "921600");
    const test::Outcome run = station.run_lines(RUN);
    EXPECT_TRUE(says(run, "NG", START)) << run.out;
    EXPECT_TRUE(station.tells("ERROR :  the frame of 160 x 120 has no field"));
}

TEST(Movie, FramesAreDumpedAsTheConfigurationSays)
{
    MovieStation station;
    station.draw_small(NO_BLUE);
    station.config.line(8, "1");
    station.run_ng("Blue");
    EXPECT_EQ(station.read("/sdcard/MovieErrRawDump037C.raw").size(), 160U * 120 * 3 / 2);
    EXPECT_FALSE(station.exists("/sdcard/MovieErrRawDump012C.raw"));
}

TEST(Movie, TheConfigurationOfAnotherModelIsRefused)
{
    MovieStation station;
    station.config.line(1, "LUMEN2");
    const test::Outcome run = station.run_lines(RUN);
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(says(run, "NG", "movie read_config")) << run.out;
    EXPECT_TRUE(station.tells("MisMatch Model Name :"));
    EXPECT_TRUE(station.calls("app_movie_resume").empty());
}

TEST(Movie, ThePcIsAnsweredAndTheScreenShowsTheVerdictUntilItIsCleared)
{
    MovieStation station;
    station.draw_small(NO_RED);
    station.write_config();
    station.start();
    EXPECT_EQ(station.pc("movie movie_start 0"), e2e::PC_NG) << "without a configuration";
    EXPECT_EQ(station.pc(DISPLAY), e2e::PC_NG);
    EXPECT_EQ(station.drawings(), Texts{"drawing 20: read config"});
    EXPECT_EQ(station.pc("movie display_result off"), e2e::PC_OK);
    for (const char *words : {"movie set pimode", "movie read_config", START})
        EXPECT_EQ(station.pc(words), e2e::PC_OK) << words;
    const std::string told = station.pc(DISPLAY);
    EXPECT_EQ(told, "0x10000002 0x00000001 0x00010000 NG\n/sdcard/movie.csv\n" +
                        station.read("/sdcard/movie.csv"));
    EXPECT_EQ(station.drawings(), Texts{"drawing 20: Red"});
    EXPECT_EQ(station.pc("movie display_result off"), e2e::PC_OK);
    EXPECT_TRUE(station.drawings().empty());
    station.stop();
}

// The example is for the movie as vcam draws it when it is told nothing.
TEST(Movie, TheExampleConfigurationFitsTheUsualMovie)
{
    MovieStation station;
    station.config = e2e::ConfigFile(e2e::example_config("movie"));
    station.draw({});
    station.speed(1);
    station.expect_ok(station.run(SCRIPT));
    EXPECT_EQ(station.column(RESULT), both(GOOD, GOOD));
}
