#pragma once

#include "Jobs/XFunctionJob.h"
#include "Jobs/XProgress.h"
#include "Jobs/XThreadProgressStrategy.h"
#include "Testing.h"
#include "Threads/XThread.h"

#include <condition_variable>

/// A job of a function that is set up where it is made.
struct TestJob : XFunctionJob
{
    explicit TestJob( XBody inBody, std::int64_t inTag = 0, XCompleted inCompleted = nullptr )
        : XFunctionJob( std::move( inBody ), std::move( inCompleted ) )
    {
        SetTag( inTag );
    }

    /// Completed on its worker.
    TestJob* OnWorker()
    {
        itsCompletesOnWorker = true;
        return this;
    }
    TestJob* InGroup( std::int64_t inGroup )
    {
        SetGroup( inGroup );
        return this;
    }

    bool CanCompleteInJobThread() override { return itsCompletesOnWorker; }

private:
    bool itsCompletesOnWorker = false;
};

/// Opens when it has been counted down. (A latch of the Windows runtime may miss its wake-up.)
struct Gate
{
    explicit Gate( std::uint32_t inCount ) : itsCount( inCount ) {}

    void CountDown()
    {
        const std::lock_guard lock( itsMutex );
        if ( --itsCount == 0 )
            itsIsOpen.notify_all();
    }
    void Wait()
    {
        std::unique_lock lock( itsMutex );
        itsIsOpen.wait( lock, [this] { return itsCount == 0; } );
    }

private:
    std::mutex itsMutex;
    std::condition_variable itsIsOpen;
    std::uint32_t itsCount;
};

/// Aborts what it is asked to show.
struct AbortingStrategy : XThreadProgressStrategy
{
    using XThreadProgressStrategy::XThreadProgressStrategy;
    void Yield() override { XProgress::Abort(); }
};

/// A body that ends only when it is stopped.
inline void RunUntilStopped()
{
    for ( ;; )
        XThread::SleepCurrentThread( 60'000, true );
}
