#pragma once

#include "Outputs/CommandFiles.h"

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
