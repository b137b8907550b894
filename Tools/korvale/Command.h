#pragma once

#include "CommandFiles.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

class CommandOptions;
class Session;

/// The exit statuses of the program.
enum ExitStatus
{
    kSuccess = 0,
    kFailure = 1,
    kWrongUsage = 2,
    kInterrupted = 130
};

/// How long work goes on before its progress is shown, so that short work shows none.
constexpr std::uint32_t kProgressDelayMs = 500;

/// A subcommand of the program.
class Command
{
public:
    virtual ~Command() = default;
    Command( const Command& ) = delete;
    Command& operator=( const Command& ) = delete;

    /// What the user types for it, and what it does in one sentence.
    virtual const char* GetName() const = 0;
    virtual const char* GetSummary() const = 0;

    /// Adds its options, whose values are then stored in this object.
    virtual void Declare( const CommandOptions& inOptions ) = 0;

    /// Checks what the options cannot check one by one. Throws WrongUsage.
    virtual void Check() const {}

    /// The files that the options name; before anything is done the program checks that none of them is another.
    virtual CommandFiles GetFiles() const = 0;

    /// Does the work, on a thread of the program's own, and returns the exit status. Failures of which there is no more
    /// to say are thrown, and so are WrongUsage and the user's abort (1001).
    virtual int Run( Session& ioSession ) = 0;

protected:
    Command() = default;
};

std::filesystem::path PathFromUTF8( const std::string& inText );
std::string PathToUTF8( const std::filesystem::path& inPath );

/// For options that name a file: what is wrong with the name, empty if nothing.
std::string CheckFileName( const std::string& inText );

/// For options that take a whole number: what is wrong with the text, empty if nothing.
std::string CheckWholeNumber( const std::string& inText );

/// What went wrong, on one line of UTF-8, and its error number where it has one.
struct Failure
{
    std::string text;
    std::uint32_t number = 0;

    bool IsUserAbort() const;
    bool operator==( const Failure& ) const = default;
};

/// Of the exception that is being handled.
Failure DescribeCurrentException();

/// Does work that writes a file or a folder. What it throws, but for the user's abort, becomes a runtime_error that names
/// what was to be written.
void WriteOutput( const std::string& inName, const std::function<void()>& inWork );

/// To be called when all that a command writes is complete, in one hold of WUnfinishedFiles with its finishing: obeys an
/// interrupt for the last time (1001). Later ones find the work done.
void CheckLastAbort();
