#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The terminal and the command line of a program.
class WConsole
{
public:
    /// The arguments after the program's name, as UTF-8.
    static std::vector<std::string> GetArguments( int inArgCount, char** inArgs );

    /// Makes sure that no file or connection opened later takes the place of a standard stream that was closed
    /// when the program started: reading it and writing to it fail. Call it first.
    static void ReserveClosedStreams();

    /// Makes std::cout and std::cerr write bytes unchanged, and display UTF-8 on a terminal.
    static void PrepareOutput();

    /// Restores the mode that the terminal had before PrepareOutput. A second call does nothing. Any thread
    /// may call it.
    static void RestoreOutput();

    static bool IsOutputTerminal();

    /// True if standard error is a terminal that supports control sequences. Call it after PrepareOutput.
    static bool IsErrorTerminal();

    struct Size
    {
        std::uint32_t columns = 0;
        std::uint32_t rows = 0;
    };

    /// The current size of the terminal of standard error; 80 x 24 if not known.
    static Size GetErrorSize();

    /// Writes to standard error directly, without its buffer, but only as far as that does not block.
    static void WriteErrorUnlessBlocked( std::string_view inText );
};
