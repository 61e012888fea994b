// Numbers to build cases of.  Given bytes are what decides first, a fuzzer's for one; all that
// comes after follows from them or from a seed, the same each time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>

namespace test
{

class Choices
{
public:
    explicit Choices(uint32_t seed) : random_(seed) {}
    explicit Choices(std::span<const uint8_t> bytes) : bytes_(bytes)
    {
        std::seed_seq seed(bytes.begin(), bytes.end());
        random_.seed(seed);
    }

    // Of at most 65536 numbers while there are bytes, two for each.
    int number(int from, int to)
    {
        if (bytes_.size() < 2)
            return any(from, to);
        const int value = bytes_[0] | bytes_[1] << 8;
        bytes_ = bytes_.subspan(2);
        return from + value % (to - from + 1);
    }
    bool chance(int percent) { return number(1, 100) <= percent; }
    // A number without a say of the bytes: for what there is much of.
    int any(int from, int to) { return std::uniform_int_distribution(from, to)(random_); }

private:
    std::span<const uint8_t> bytes_;
    std::mt19937 random_;
};

} // namespace test
