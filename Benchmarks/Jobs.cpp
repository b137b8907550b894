// Jobs beside the thread pools of Boost, Qt and oneTBB: trivial jobs, jobs whose completion the main thread
// hears, jobs of ten microseconds on all processors, and a million jobs that wait for their queue to start.
// Progress of a tight loop beside the clock that it has to read.

#include "Jobs/XJob.h"
#include "Jobs/XJobQueue.h"
#include "Jobs/XProgress.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Jobs/XThreadProgressStrategy.h"
#include "Startup/WInitCore.h"
#include "Threads/XThread.h"

#include <QCoreApplication>
#include <QFutureWatcher>
#include <QThreadPool>
#include <QtConcurrent>
#include <benchmark/benchmark.h>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <malloc.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <chrono>
#include <latch>
#include <memory>
#include <thread>

namespace
{

constexpr int kTrivialJobs = 100'000;
constexpr int kHeardJobs = 20'000;
constexpr int kShortJobs = 10'000;
constexpr int kWaitingJobs = 1'000'000;
constexpr std::chrono::microseconds kShortTime( 10 );

void WorkForAShortTime()
{
    const auto end = std::chrono::steady_clock::now() + kShortTime;
    while ( std::chrono::steady_clock::now() < end )
        ;
}

/// Counts down where it runs.
class TrivialJob : public XJob
{
public:
    explicit TrivialJob( std::latch& ioLeft ) : itsLeft( ioLeft ) {}
    bool CanCompleteInJobThread() override { return true; }

protected:
    void RunJobSelf() override { itsLeft.count_down(); }

private:
    std::latch& itsLeft;
};

class ShortJob : public TrivialJob
{
public:
    using TrivialJob::TrivialJob;

protected:
    void RunJobSelf() override
    {
        WorkForAShortTime();
        TrivialJob::RunJobSelf();
    }
};

class EmptyJob : public XJob
{
protected:
    void RunJobSelf() override {}
};

class CompletionCounter : public XListener
{
public:
    explicit CompletionCounter( const XSpeaker& inQueue ) { Subscribe( inQueue ); }
    void HandleMessage( const XMessage& ) override { ++count; }

    int count = 0;
};

// ---- Trivial jobs

/// `inPost` hands one job, which counts the latch down, to the pool.
template<class Post>
void RunTrivialJobs( benchmark::State& ioState, Post inPost )
{
    for ( auto _ : ioState )
    {
        std::latch left( kTrivialJobs );
        for ( int job = 0; job < kTrivialJobs; ++job )
            inPost( left );
        left.wait();
    }
    ioState.SetItemsProcessed( ioState.iterations() * kTrivialJobs );
}

void TrivialJobs_XJobQueue( benchmark::State& ioState )
{
    XJobQueue queue;
    queue.Start();
    RunTrivialJobs( ioState, [&]( std::latch& ioLeft ) { queue.AttachJob( new TrivialJob( ioLeft ) ); } );
    queue.WaitForQueueEmpty();
}

void TrivialJobs_BoostThreadPool( benchmark::State& ioState )
{
    boost::asio::thread_pool pool( XThread::GetProcessorCount() );
    RunTrivialJobs(
        ioState,
        [&]( std::latch& ioLeft ) { boost::asio::post( pool, [&ioLeft] { ioLeft.count_down(); } ); } );
    pool.join();
}

void TrivialJobs_QThreadPool( benchmark::State& ioState )
{
    QThreadPool pool;
    RunTrivialJobs(
        ioState, [&]( std::latch& ioLeft ) { pool.start( [&ioLeft] { ioLeft.count_down(); } ); } );
    pool.waitForDone();
}

void TrivialJobs_TBBArena( benchmark::State& ioState )
{
    const int workerCount = static_cast<int>( XThread::GetProcessorCount() );
    const tbb::global_control control(
        tbb::global_control::max_allowed_parallelism, XThread::GetProcessorCount() + 1 );
    tbb::task_arena arena( workerCount, 0 );
    RunTrivialJobs(
        ioState, [&]( std::latch& ioLeft ) { arena.enqueue( [&ioLeft] { ioLeft.count_down(); } ); } );
}

BENCHMARK( TrivialJobs_XJobQueue )->MeasureProcessCPUTime()->UseRealTime()->Unit( benchmark::kMillisecond );
BENCHMARK( TrivialJobs_BoostThreadPool )
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit( benchmark::kMillisecond );
BENCHMARK( TrivialJobs_QThreadPool )->MeasureProcessCPUTime()->UseRealTime()->Unit( benchmark::kMillisecond );
BENCHMARK( TrivialJobs_TBBArena )->MeasureProcessCPUTime()->UseRealTime()->Unit( benchmark::kMillisecond );

// ---- Completions heard on the main thread

void HeardJobs_XJobQueue( benchmark::State& ioState )
{
    XJobQueue queue;
    CompletionCounter counter( queue );
    queue.Start();
    for ( auto _ : ioState )
    {
        counter.count = 0;
        for ( int job = 0; job < kHeardJobs; ++job )
            queue.AttachJob( new EmptyJob );
        while ( counter.count < kHeardJobs )
            XSpeaker::ProcessAllNextEventMessages();
    }
    ioState.SetItemsProcessed( ioState.iterations() * kHeardJobs );
}

void HeardJobs_QThreadPoolQueuedCall( benchmark::State& ioState )
{
    QThreadPool pool;
    QObject receiver;
    int count = 0;
    for ( auto _ : ioState )
    {
        count = 0;
        for ( int job = 0; job < kHeardJobs; ++job )
            pool.start(
                [&]
                {
                    QMetaObject::invokeMethod(
                        &receiver, [&count] { ++count; }, Qt::QueuedConnection );
                } );
        while ( count < kHeardJobs )
            QCoreApplication::processEvents();
    }
    ioState.SetItemsProcessed( ioState.iterations() * kHeardJobs );
}

void HeardJobs_QtConcurrentWatcher( benchmark::State& ioState )
{
    for ( auto _ : ioState )
    {
        int count = 0;
        std::vector<std::unique_ptr<QFutureWatcher<void>>> watchers;
        for ( int job = 0; job < kHeardJobs; ++job )
        {
            watchers.push_back( std::make_unique<QFutureWatcher<void>>() );
            QObject::connect( watchers.back().get(), &QFutureWatcher<void>::finished, [&count] { ++count; } );
            watchers.back()->setFuture( QtConcurrent::run( [] {} ) );
        }
        while ( count < kHeardJobs )
            QCoreApplication::processEvents();
    }
    ioState.SetItemsProcessed( ioState.iterations() * kHeardJobs );
}

BENCHMARK( HeardJobs_XJobQueue )->MeasureProcessCPUTime()->UseRealTime()->Unit( benchmark::kMillisecond );
BENCHMARK( HeardJobs_QThreadPoolQueuedCall )
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit( benchmark::kMillisecond );
BENCHMARK( HeardJobs_QtConcurrentWatcher )
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit( benchmark::kMillisecond );

// ---- Jobs of ten microseconds

void ShortJobs_XJobQueue( benchmark::State& ioState )
{
    XJobQueue queue;
    queue.Start();
    for ( auto _ : ioState )
    {
        std::latch left( kShortJobs );
        for ( int job = 0; job < kShortJobs; ++job )
            queue.AttachJob( new ShortJob( left ) );
        left.wait();
    }
    ioState.SetItemsProcessed( ioState.iterations() * kShortJobs );
}

/// The same work shared out beforehand, one thread for each processor.
void ShortJobs_Ideal( benchmark::State& ioState )
{
    const int threadCount = static_cast<int>( XThread::GetProcessorCount() );
    for ( auto _ : ioState )
    {
        std::vector<std::jthread> threads;
        for ( int thread = 0; thread < threadCount; ++thread )
            threads.emplace_back(
                [=]
                {
                    for ( int job = 0; job < kShortJobs / threadCount; ++job )
                        WorkForAShortTime();
                } );
    }
    ioState.SetItemsProcessed( ioState.iterations() * kShortJobs );
}

BENCHMARK( ShortJobs_XJobQueue )->MeasureProcessCPUTime()->UseRealTime()->Unit( benchmark::kMillisecond );
BENCHMARK( ShortJobs_Ideal )->MeasureProcessCPUTime()->UseRealTime()->Unit( benchmark::kMillisecond );

// ---- Many jobs that wait

/// Attached, then run: the time for each job has to stay the same however many there are.
void WaitingJobs_XJobQueue( benchmark::State& ioState )
{
    const auto count = static_cast<int>( ioState.range( 0 ) );
    double bytes = 0.0;
    for ( auto _ : ioState )
    {
        ioState.PauseTiming();
        std::latch left( count );
        std::vector<XJob*> jobs;
        for ( int job = 0; job < count; ++job )
            jobs.push_back( new TrivialJob( left ) );
        auto queue = std::make_unique<XJobQueue>();
        const auto before = mallinfo2().uordblks;
        ioState.ResumeTiming();
        for ( XJob* const job : jobs )
            queue->AttachJob( job );
        ioState.PauseTiming();
        bytes = static_cast<double>( mallinfo2().uordblks - before ) / count;
        ioState.ResumeTiming();
        queue->Start();
        left.wait();
        queue.reset();
    }
    ioState.SetItemsProcessed( ioState.iterations() * count );
    ioState.counters["bytes_per_job"] = bytes;
}
BENCHMARK( WaitingJobs_XJobQueue )
    ->Arg( kWaitingJobs / 100 )
    ->Arg( kWaitingJobs / 10 )
    ->Arg( kWaitingJobs )
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit( benchmark::kMillisecond );

// ---- Progress

void Progress_SetProgress( benchmark::State& ioState )
{
    XThreadProgressStrategy strategy;
    const XProgressStrategyChanger changer( &strategy );
    XProgress progress( UINT64_MAX );
    double value = 0.0;
    for ( auto _ : ioState )
        progress.SetProgress( ++value );
}

void Progress_SteadyClock( benchmark::State& ioState )
{
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( std::chrono::steady_clock::now() );
}

BENCHMARK( Progress_SetProgress );
BENCHMARK( Progress_SteadyClock );

} // namespace

int main( int inArgCount, char** inArgs )
{
    const WInitCore core;
    const QCoreApplication application( inArgCount, inArgs );
    benchmark::Initialize( &inArgCount, inArgs );
    benchmark::RunSpecifiedBenchmarks();
}
