#pragma once

#include "Process/Linux/WStackCapture.h"
#include "Process/WCrashHandler.h"

#include <atomic>
#include <string>
#include <thread>

#include <semaphore.h>
#include <sys/types.h>

/// The data that a signal handler leaves for the report of a crash.
struct WCrash
{
    int signal = 0;
    void* address = nullptr;
    WStackCapture stack;
};

/// Reports a crash from a separate thread, because a signal handler must not allocate memory. Internal to the
/// platform layer.
class WCrashReporter
{
public:
    /// Starts the thread, which waits for a crash. `inCrash` must outlive it.
    WCrashReporter( const WCrash& inCrash, const std::atomic<WCrashHandler::Report>& inReport );
    WCrashReporter( const WCrashReporter& ) = delete;
    WCrashReporter& operator=( const WCrashReporter& ) = delete;
    ~WCrashReporter();

    /// Requests the report and waits for its end, at most half a minute. For signal handlers. Does nothing in
    /// a forked child, which does not have the thread.
    void ReportAndWait();

    /// For signal handlers: if the reporter itself has crashed, releases the thread that waits for the
    /// report.
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
