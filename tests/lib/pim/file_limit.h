// A full card, as far as the files of this process go.
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace test
{

// Files of this process grow no further than this while it lives.
class FileLimit
{
public:
    explicit FileLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_ = {};
};

} // namespace test
