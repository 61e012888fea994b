// The course of a script, as the daemon's lines in the platform log tell it.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vcam
{

enum class command_verdict { ok, ng, skipped };

struct command_result {
    int number;
    command_verdict verdict;
    double seconds; // of camera time; 0 for skipped ones
    std::string text;
};

struct run_counts {
    std::size_t ok = 0;
    std::size_t ng = 0;
    std::size_t skipped = 0;

    std::size_t ended() const { return ok + ng + skipped; }
};

class run_log
{
public:
    // `commands` outlives the log.
    run_log(const std::vector<std::string> &commands, double speed)
        : commands_(commands), speed_(speed)
    {
    }

    // One line of the platform log; gives the command that ended with it.  `script` is the path
    // that the client thread opens.
    std::optional<command_result> take(const std::string &line, const std::string &script);

    const run_counts &counts() const { return counts_; }
    const std::string &running() const { return running_; } // "" between commands
    const std::string &last() const { return last_; }       // that ended, "" before the first
    bool client_has_ended() const { return client_ended_; }
    bool client_gave_up() const { return client_gave_up_; } // not all commands will come
    bool script_missing() const { return script_missing_; }

private:
    std::string text_of_next(const std::string &line);
    void take_client_line(const std::string &line, const std::string &script);
    command_result end(int number, command_verdict verdict, double seconds,
                       const std::string &text);

    const std::vector<std::string> &commands_;
    const double speed_;
    run_counts counts_;
    std::size_t next_ = 0;
    std::string running_;
    std::string last_;
    double started_ = 0;
    bool client_ended_ = false;
    bool client_gave_up_ = false;
    bool script_missing_ = false;
};

} // namespace vcam
