// A person at a station: reads what the screen asks for, and does it.
#pragma once

#include "tests/e2e/line.h"

#include <functional>
#include <string>
#include <vector>

namespace e2e
{

std::vector<std::string> words_of(const std::string &text);

class Operator
{
public:
    // The station asks in this row of the screen: of "text" or "grid", by its number.
    Operator(const Line &line, std::string kind, std::string row);

    std::string request() const; // "" while nothing is asked for

    // A key is pressed until the screen goes on; whatever else vcam can do is done once.  A request
    // of another word is none.
    void obey(const std::string &what) const;

    // Runs a script to its end; `hand` gets each request as it comes.
    test::Outcome work(const std::string &script,
                       const std::function<void(const std::string &)> &hand) const;

private:
    void press(const std::string &what, const std::string &key) const;
    bool holds_a_key() const;

    const Line &line_;
    std::string kind_;
    std::string row_;
};

} // namespace e2e
