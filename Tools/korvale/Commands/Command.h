#pragma once

#include "Outputs/CommandFiles.h"

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

/// A subcommand of the program.
class Command
{
public:
    virtual ~Command() = default;
    Command( const Command& ) = delete;
    Command& operator=( const Command& ) = delete;

    /// The name of the command, and a one-sentence summary.
    virtual const char* GetName() const = 0;
    virtual const char* GetSummary() const = 0;

    /// Declares its options, whose values are stored in this object.
    virtual void Declare( const CommandOptions& inOptions ) = 0;

    /// Checks combinations of options. Throws WrongUsage.
    virtual void Check() const {}

    /// The files named by options; the program checks beforehand that no two of them are the same.
    virtual CommandFiles GetFiles() const = 0;

    /// Does the work, on a thread of its own, and returns the exit status. Throws failures that it has not
    /// reported itself, WrongUsage and the user's abort (1001).
    virtual int Run( Session& ioSession ) = 0;

protected:
    Command() = default;

    /// Returns whether the action succeeded. A failure is reported with the subject; the user's abort (1001) is
    /// thrown.
    static bool
    Try( Session& ioSession, const std::string& inSubject, const std::function<void()>& inAction );
};
