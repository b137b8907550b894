#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What a command-line program has of the terminal and of its command line.
class WConsole
{
public:
    /// The arguments after the program's name, as UTF-8.
    static std::vector<std::string> GetArguments( int inArgCount, char** inArgs );

    /// Makes std::cout and std::cerr pass bytes as they are written, and show UTF-8 on a terminal.
    static void PrepareOutput();

    /// Gives the terminal the mode back that it had before PrepareOutput. Does nothing the second time. Any thread.
    static void RestoreOutput();

    static bool IsOutputTerminal();

    /// True when standard error goes to a terminal that obeys control sequences. After PrepareOutput.
    static bool IsErrorTerminal();

    struct Size
    {
        std::uint32_t columns = 0;
        std::uint32_t rows = 0;
    };

    /// The present size of the terminal that standard error goes to; 80 x 24 where that is not known.
    static Size GetErrorSize();

    /// Writes to standard error past its buffer, but not where that would have to wait.
    static void WriteErrorUnlessBlocked( std::string_view inText );
};
