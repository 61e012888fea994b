// Other programs, as a person at a shell would run them.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace test
{

struct Outcome {
    int status;      // exit status, or 128 + signal
    std::string out; // standard output
    std::string err; // standard error
};

// Runs a program to its end with `input` as its standard input; `seconds` later it is killed.
Outcome run(const std::vector<std::string> &command, const std::string &input = "",
            double seconds = 100);

// kill(), but never with a number that would mean more than one process: a look-up that failed
// gives -1, and that would be all there are.  Throws then.
void send_signal(pid_t pid, int number);

// A program in the background; its output goes to /dev/null or, appended, to `output`.
class Process
{
public:
    // `name` is what the program sees as argv[0]; empty: the file itself.
    Process(const std::vector<std::string> &command, const std::string &name = "",
            const std::string &output = "");
    ~Process(); // kills it if it still runs
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    pid_t pid() const { return pid_; }
    void signal(int number);
    bool running();
    int wait(double seconds = 60); // exit status, 128 + signal, or -1 when it does not end

private:
    pid_t pid_;
    int sent_ = 0; // the last signal
    int status_ = -1;
    bool ended_ = false;
};

} // namespace test
