#pragma once

#include "Program/Command.h"
#include "Threads/XThread.h"

#include <atomic>
#include <exception>

/// Runs a command, so that the main thread is free to show its progress and to deliver messages.
class CommandThread : public XThread
{
public:
    CommandThread( Command& ioCommand, Session& ioSession );
    ~CommandThread() override;

    /// Runs the main thread's loop until the command has ended, and returns its exit status. Throws what went
    /// wrong if the thread could not report it, for want of memory for instance.
    int RunWithMainLoop();

protected:
    std::int32_t RunThreadSelf() override;

private:
    Command& itsCommand;
    Session& itsSession;
    std::atomic<bool> itsIsDone = false;
    int itsStatus = kFailure;
    std::exception_ptr itsFailure; ///< That could not be reported.

    int RunCommand();
};
