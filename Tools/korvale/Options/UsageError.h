#pragma once

#include <string>

namespace CLI
{
class App;
class Error;
} // namespace CLI

/// Describes a command line that could not be parsed in one line: the problem, the nearest command or option
/// for an unknown one, and the help to read.
std::string DescribeUsageError( const CLI::App& inProgram, const CLI::Error& inError );
