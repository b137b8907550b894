#pragma once

#include "Process/Linux/WStackCapture.h"
#include "Process/WCrashHandler.h"

#include <atomic>
#include <string>
#include <thread>

#include <semaphore.h>
#include <sys/types.h>

/// What a signal handler leaves for the report of a crash.
struct WCrash
{
    int itsSignal = 0;
    void* itsAddress = nullptr;
    WStackCapture itsStack;
};

/// Reports a crash from a thread of its own: a signal handler must not allocate, and so it can write no report. Internal
/// to the platform layer.
class WCrashReporter
{
public:
    /// Starts the thread, which waits until there is a crash to report. `inCrash` outlives it.
    WCrashReporter( const WCrash& inCrash, const std::atomic<WCrashHandler::Report>& inReport );
    WCrashReporter( const WCrashReporter& ) = delete;
    WCrashReporter& operator=( const WCrashReporter& ) = delete;
    ~WCrashReporter();

    /// Has the crash reported and waits for the end of that, half a minute at most. For signal handlers. Does nothing in
    /// a child that was forked, which has no such thread.
    void ReportAndWait();

    /// For signal handlers when the reporter itself crashes: lets the thread go that waits for the report.
    void GiveUpIfReporter();

private:
    const WCrash& itsCrash;
    const std::atomic<WCrashHandler::Report>& itsReport;
    const pid_t itsProcess;
    sem_t itsWakeUp;
    std::atomic<pid_t> itsReportingThread = 0;
    std::atomic<bool> itsIsWanted = false;
    std::atomic<bool> itsIsDone = false;
    std::thread itsThread;

    void Run();
    std::string DescribeCrash() const;
};
