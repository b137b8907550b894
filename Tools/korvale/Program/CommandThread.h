#pragma once

#include "Commands/Command.h"
#include "Threads/XThread.h"

#include <exception>

/// Runs a command on its own thread, so that the main thread can show progress and deliver messages.
class CommandThread : public XThread
{
public:
    CommandThread( Command& ioCommand, Session& ioSession );
    ~CommandThread() override;

    /// Runs the main thread's loop until the command has ended, and returns its exit status. Throws a failure
    /// that the thread could not report, for instance for lack of memory.
    int RunWithMainLoop();

protected:
    std::int32_t RunThreadSelf() override;

private:
    Command& itsCommand;
    Session& itsSession;
    int itsStatus = kFailure;
    std::exception_ptr itsFailure; // a failure that could not be reported

    int RunCommand();
};
