#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

namespace CLI
{
class App;
}

/// The exit statuses of the program.
enum ExitStatus
{
    kSuccess = 0,
    kFailure = 1,
    kWrongUsage = 2
};

/// Where a command talks to its user. Text is UTF-8.
struct Terminal
{
    std::ostream& out;
    std::ostream& error;
    bool showsProgress = false;
};

/// A subcommand of the program.
class Command
{
public:
    virtual ~Command() = default;
    Command( const Command& ) = delete;
    Command& operator=( const Command& ) = delete;

    /// Adds the subcommand with its options, which are then stored in this object.
    virtual CLI::App* Declare( CLI::App& ioProgram ) = 0;

    /// Checks what the options cannot check one by one. Throws CLI::Error: wrong usage.
    virtual void Check() const {}

    /// Does the work and returns the exit status. Failures of which there is no more to say are thrown.
    virtual int Run( Terminal& ioTerminal ) = 0;

protected:
    Command() = default;
};

std::filesystem::path PathFromUTF8( const std::string& inText );
std::string PathToUTF8( const std::filesystem::path& inPath );

/// For options that take a whole number: what is wrong with the text, empty if nothing.
std::string CheckWholeNumber( const std::string& inText );

/// What the exception that is being handled says, on one line of UTF-8.
std::string DescribeCurrentException();

/// Does work that writes a file or a folder. What it throws becomes a runtime_error that names what was to be written.
void WriteOutput( const std::string& inName, const std::function<void()>& inWork );

/// Tells the user of a failure: "korvale: <subject>: <text>".
void ReportFailure( Terminal& ioTerminal, const std::string& inSubject, const std::string& inText );
