#pragma once

#include <stdexcept>

/// What the user asked for makes no sense; the text says why. Ends the program with kWrongUsage, as the command
/// line's own errors do.
class WrongUsage : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
