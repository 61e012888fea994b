#include "lib/pim/mot/rova_pim_boxes.h"

#include "tests/support/camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

struct Walked {
    std::vector<std::pair<int32_t, int32_t>> hits; // x, y
    rova_pim_histogram histogram = {};
};

bool operator==(const Walked &one, const Walked &other)
{
    return one.hits == other.hits &&
           std::ranges::equal(one.histogram.counts, other.histogram.counts);
}

// Every box value by value.
class PlainWalk : public Walked
{
public:
    PlainWalk(const rova_pim_strip &strip, const rova_pim_box_rules &rules)
        : strip_(strip), rules_(rules)
    {
        for (int32_t y = 0; y < strip.h - rules.h;)
            y += row_is_followed(y) ? 1 : rules.h;
    }

private:
    bool row_is_followed(int32_t y)
    {
        const std::size_t hits_before = hits.size();
        int32_t in_range = 0;
        for (int32_t x = 0; x < strip_.w - rules_.w; x += in_range == 0 ? rules_.w : 1)
            in_range = look(x, y);
        return rules_.step == rova_pim_row_step::AFTER_HIT ? hits.size() > hits_before
                                                           : in_range != 0;
    }
    int32_t look(int32_t x, int32_t y)
    {
        int32_t sum = 0, in_range = 0;
        for (int32_t j = y; j < y + rules_.h; j++) {
            for (int32_t i = x; i < x + rules_.w; i++) {
                const uint8_t value = strip_.pixels[static_cast<std::size_t>(j * strip_.w + i)];
                sum += value;
                in_range += value >= rules_.min && value <= rules_.max;
                histogram.counts[value]++;
            }
        }
        const int32_t mean = sum / (rules_.w * rules_.h);
        if (mean >= rules_.min && mean <= rules_.max && in_range >= rules_.count)
            hits.emplace_back(x, y);
        return in_range;
    }

    const rova_pim_strip &strip_;
    const rova_pim_box_rules &rules_;
};

rova_pim_hit_function hits_to(Walked &walked)
{
    return [&walked](const rova_pim_hits &found) {
        for (int32_t x = found.from; x < found.to; x++)
            walked.hits.emplace_back(x, found.y);
    };
}

// With and without a histogram.
Walked walk(const rova_pim_strip &strip, rova_pim_box_rules rules, bool portable)
{
    Walked walked;
    rules.portable = portable;
    EXPECT_EQ(rova_pim_walk_boxes(strip, rules, &walked.histogram, hits_to(walked)), 0);
    Walked uncounted;
    EXPECT_EQ(rova_pim_walk_boxes(strip, rules, nullptr, hits_to(uncounted)), 0);
    EXPECT_EQ(uncounted.hits, walked.hits);
    return walked;
}

rova_pim_box_rules any_rules(int32_t w, int32_t h)
{
    return {.w = w,
            .h = h,
            .min = 0,
            .max = 255,
            .count = 0,
            .step = rova_pim_row_step::AFTER_HIT,
            .trace = false};
}

struct PimBoxes : testing::Test {
    test::Camera camera;
    std::mt19937 random{1};
    std::vector<uint8_t> values;

    int32_t number(int32_t from, int32_t to)
    {
        return std::uniform_int_distribution(from, to)(random);
    }
    // Noise, sometimes with much that is out of any range.
    rova_pim_strip draw(int32_t w, int32_t h)
    {
        const int32_t level = number(0, 255), noise = number(0, 90), blank = number(0, 99);
        values.resize(static_cast<std::size_t>(w * h));
        for (uint8_t &value : values)
            value = static_cast<uint8_t>(std::clamp(level + number(-noise, noise), 0, 255));
        for (int32_t y = 0; y < h; y++) {
            if (number(0, 99) < blank)
                std::fill_n(values.begin() + y * w, number(0, w), uint8_t{0});
        }
        return {values, w, h};
    }
    rova_pim_box_rules draw_rules()
    {
        rova_pim_box_rules rules = any_rules(number(1, 30), number(1, 30));
        rules.min = number(-5, 260);
        rules.max = rules.min + number(-5, 120);
        rules.count = number(-1, rules.w * rules.h + 1) / number(1, 6);
        if (number(0, 1) == 1)
            rules.step = rova_pim_row_step::AFTER_IN_RANGE;
        return rules;
    }
};

} // namespace

// On a processor with wide instructions too, the loops for all others have to be right.
TEST_F(PimBoxes, BothSetsOfInstructionsWalkAsThePlainLoopsDo)
{
    std::size_t hits = 0;
    for (int round = 0; round < 600; round++) {
        const rova_pim_strip strip = draw(number(1, 110), number(1, 70));
        const rova_pim_box_rules rules = draw_rules();
        const Walked plain = PlainWalk(strip, rules);
        ASSERT_TRUE(walk(strip, rules, false) == plain) << round;
        ASSERT_TRUE(walk(strip, rules, true) == plain) << round;
        hits += plain.hits.size();
    }
    EXPECT_GT(hits, 10000u);
}

// Around the most that the narrow numbers hold: counts of 8 bits, and sums of 16.
TEST_F(PimBoxes, TheBrightestBoxesOfAnySizeFitTheirSums)
{
    values.assign(300 * 20, 255);
    const rova_pim_strip strip = {values, 300, 20};
    for (auto [w, h] : {std::pair(254, 1),
                        {127, 2},
                        {255, 1},
                        {256, 1},
                        {257, 1},
                        {16, 16},
                        {43, 6},
                        {17, 17},
                        {299, 19}}) {
        rova_pim_box_rules rules = any_rules(w, h);
        rules.min = 255;
        rules.count = w * h;
        const Walked plain = PlainWalk(strip, rules);
        EXPECT_EQ(plain.hits.size(), static_cast<std::size_t>((300 - w) * (20 - h)));
        EXPECT_TRUE(walk(strip, rules, false) == plain) << w;
        EXPECT_TRUE(walk(strip, rules, true) == plain) << w;
    }
}

TEST_F(PimBoxes, NoValueLiesInARangeBesideAllValues)
{
    values.assign(20 * 20, 0);
    std::fill_n(values.begin(), 200, uint8_t{255});
    const rova_pim_strip strip = {values, 20, 20};
    for (auto [min, max] : {std::pair(-3, -1), {256, 300}, {200, 100}}) {
        rova_pim_box_rules rules = any_rules(4, 4);
        rules.min = min;
        rules.max = max;
        const Walked plain = PlainWalk(strip, rules);
        EXPECT_TRUE(plain.hits.empty());
        EXPECT_TRUE(walk(strip, rules, false) == plain) << min;
        EXPECT_TRUE(walk(strip, rules, true) == plain) << min;
    }
}

TEST_F(PimBoxes, BoxesTooLargeForASumOf32BitsAreRefused)
{
    values.assign(2904 * 2904, 255);
    const rova_pim_strip strip = {values, 2904, 2904};
    rova_pim_box_rules rules = any_rules(2903, 2901); // 8421603 values, INT32_MAX / 255 = 8421504
    rova_pim_histogram histogram = {};
    int32_t hits = 0;
    const auto count = [&](const rova_pim_hits &found) { hits += found.to - found.from; };
    EXPECT_EQ(rova_pim_walk_boxes(strip, rules, &histogram, count), -1);
    EXPECT_TRUE(camera.logged("no sums of boxes of 2903 x 2901"));
    EXPECT_EQ(hits, 0);
    rules.w = 2902;
    rules.min = 255;
    EXPECT_EQ(rova_pim_walk_boxes(strip, rules, &histogram, count), 0);
    EXPECT_EQ(hits, 2 * 3);
}
