#pragma once

#include <string>
#include <vector>

/// A command line that could not be parsed. Free of the types of CLI11, whose headers are compiled once, in
/// CommandLine.cpp.
struct UsageError
{
    using Names = std::vector<std::string>;

    std::string message;         // of the parser
    std::string command;         // that was given; empty if there was none
    Names commands;              // that there are
    Names options;               // of the program and the command
    Names unknown;               // arguments that nothing takes
    bool isAboutUnknown = false; // the parser has failed for these
};

/// Describes it in one line: the problem, the nearest command or option for an unknown one, and the help to
/// read.
std::string DescribeUsageError( const UsageError& inError );
