#pragma once

#include <stdexcept>

/// The user's request is invalid; the text is the reason. Ends the program with kWrongUsage, like errors in
/// the command line.
class WrongUsage : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
