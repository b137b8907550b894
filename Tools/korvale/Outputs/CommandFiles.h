#pragma once

#include <string>
#include <vector>

/// The files that the user has named for a command, as UTF-8.
struct CommandFiles
{
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
};

/// Throws WrongUsage if an output is also an input or another output, or if the log (empty if there is none)
/// is one of them, would be when it is rotated, or is a pipe. Existing files are compared regardless of links
/// and paths, missing ones by folder and name, ignoring case.
void CheckCommandFiles( const CommandFiles& inFiles, const std::string& inLog );
