#pragma once

#include <string>
#include <vector>

/// What a command-line program has of the terminal and of its command line.
class WConsole
{
public:
    /// The arguments after the program's name, as UTF-8.
    static std::vector<std::string> GetArguments( int inArgCount, char** inArgs );

    /// Makes standard output and standard error pass bytes as they are written, and a terminal read them as UTF-8.
    static void PrepareOutput();

    /// True when standard error goes to a terminal.
    static bool IsErrorTerminal();
};
