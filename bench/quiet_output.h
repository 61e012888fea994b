#pragma once

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace bench
{

// What is printed on the way goes nowhere, and the benchmark's table stays readable.
class QuietOutput
{
public:
    QuietOutput() : output_(dup(STDOUT_FILENO)), nowhere_(open("/dev/null", O_WRONLY))
    {
        turn_to(nowhere_);
    }
    ~QuietOutput()
    {
        turn_to(output_);
        close(nowhere_);
        close(output_);
    }
    QuietOutput(const QuietOutput &) = delete;
    QuietOutput &operator=(const QuietOutput &) = delete;

private:
    static void turn_to(int target)
    {
        std::fflush(stdout);
        dup2(target, STDOUT_FILENO);
    }
    int output_;
    int nowhere_;
};

} // namespace bench
