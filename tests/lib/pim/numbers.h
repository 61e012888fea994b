// Takes running numbers, from 101 on, off a record.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

namespace test
{

class Numbers
{
public:
    void expect(int32_t value) { EXPECT_EQ(value, next_++); }
    void expect(float value) { EXPECT_EQ(value, static_cast<float>(next_++)); }
    template <typename T, std::size_t N> void expect(const T (&values)[N])
    {
        for (const T &value : values)
            expect(value);
    }
    template <typename T, typename... More> void expect(const T &value, const More &...more)
    {
        expect(value);
        expect(more...);
    }
    void skip(int count) { next_ += count; }
    int next() const { return next_; }

private:
    int next_ = 101;
};

} // namespace test
