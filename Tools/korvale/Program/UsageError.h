#pragma once

#include <string>

namespace CLI
{
class App;
class Error;
} // namespace CLI

/// What is wrong with the command line that the program could not parse, on one line, with the nearest command or option
/// for one that is not known, and where to read on.
std::string DescribeUsageError( const CLI::App& inProgram, const CLI::Error& inError );
