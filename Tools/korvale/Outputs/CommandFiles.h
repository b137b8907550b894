#pragma once

#include <string>
#include <vector>

/// The files that the user names for a command, as UTF-8.
struct CommandFiles
{
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
};

/// Throws WrongUsage when an output is an input or another output, and when the log, empty for none, is any of them or
/// would become one when it is rotated, or a pipe. Files are the same whatever links and paths lead to them, and missing
/// ones when their names differ in the case of letters only.
void CheckCommandFiles( const CommandFiles& inFiles, const std::string& inLog );
