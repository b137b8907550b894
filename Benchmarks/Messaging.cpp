// Messages at once and messages queued, beside the signals of three libraries and the event queues of two.
// Handlers add a number to a sum, so that what is timed is the way to them.

#include "Messaging/XListener.h"
#include "Messaging/XMainLoop.h"
#include "Messaging/XMessage.h"
#include "Messaging/XSpeaker.h"
#include "Startup/WInitCore.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/signals2/signal.hpp>
#include <sigc++/sigc++.h>

#include <deque>
#include <memory>
#include <thread>

namespace
{

constexpr std::int64_t kQueued = 1000;
constexpr std::int64_t kSpeakers = 100;
constexpr std::int64_t kFromWorker = 100'000;

/// Unlike messages have unlike numbers.
class NumberMessage : public XMessage
{
public:
    NumberMessage( XSpeaker* inSpeaker, std::int64_t inNumber ) : XMessage( inSpeaker ), number( inNumber ) {}
    NumberMessage* Clone() const override { return new NumberMessage( *this ); }
    bool operator==( const XMessage& inOther ) const override
    {
        return XMessage::operator==( inOther ) &&
            static_cast<const NumberMessage&>( inOther ).number == number;
    }
    std::uint64_t GetCoalesceKey() const noexcept override { return static_cast<std::uint64_t>( number ); }

    std::int64_t number;
};

/// The same without a key: the queue asks every queued message of the speaker.
class KeylessMessage : public NumberMessage
{
public:
    using NumberMessage::NumberMessage;
    KeylessMessage* Clone() const override { return new KeylessMessage( *this ); }
    std::uint64_t GetCoalesceKey() const noexcept override { return 0; }
};

class Listener : public XListener
{
public:
    ~Listener() override { StopListening(); }
    void HandleMessage( const XMessage& inMessage ) override
    {
        sum += static_cast<const NumberMessage&>( inMessage ).number;
    }

    std::int64_t sum = 0;
};

/// Ends the main loop when it has heard the last of the messages.
class LastListener : public XListener
{
public:
    ~LastListener() override { StopListening(); }
    void HandleMessage( const XMessage& inMessage ) override
    {
        if ( static_cast<const NumberMessage&>( inMessage ).number == kFromWorker )
            XMainLoop::RequestEnd();
    }
};

struct Called
{
    virtual ~Called() = default;
    virtual void Call( const NumberMessage& inMessage ) { sum += inMessage.number; }
    std::int64_t sum = 0;
};

} // namespace

class QtSender : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    void Spoken( qint64 inNumber );
};

class QtReceiver : public QObject
{
    Q_OBJECT
public:
    bool event( QEvent* inEvent ) override
    {
        if ( inEvent->type() != QEvent::User )
            return QObject::event( inEvent );
        ++sum;
        isDirty = false;
        return true;
    }

    qint64 sum = 0;
    bool isDirty = false;

public Q_SLOTS:
    void Hear( qint64 inNumber ) { sum += inNumber; }
};

namespace
{

// ---- At once

void BroadcastByVirtualCalls( benchmark::State& ioState )
{
    std::vector<std::unique_ptr<Called>> called;
    for ( std::int64_t i = 0; i < ioState.range( 0 ); ++i )
        called.push_back( std::make_unique<Called>() );
    const NumberMessage message( nullptr, 1 );
    for ( auto _ : ioState )
        for ( const auto& each : called )
            each->Call( message );
}

void BroadcastByXSpeaker( benchmark::State& ioState )
{
    XSpeaker speaker;
    std::deque<Listener> listeners( static_cast<std::size_t>( ioState.range( 0 ) ) );
    for ( Listener& listener : listeners )
        listener.Subscribe( speaker );
    const NumberMessage message( &speaker, 1 );
    for ( auto _ : ioState )
        speaker.SpeakMessage( message );
}

void BroadcastBySigc( benchmark::State& ioState )
{
    sigc::signal<void( std::int64_t )> signal;
    std::deque<Called> called( static_cast<std::size_t>( ioState.range( 0 ) ) );
    for ( Called& each : called )
        signal.connect( [&each]( std::int64_t inNumber ) { each.sum += inNumber; } );
    for ( auto _ : ioState )
        signal.emit( 1 );
}

void BroadcastByQt( benchmark::State& ioState )
{
    QtSender sender;
    std::deque<QtReceiver> receivers( static_cast<std::size_t>( ioState.range( 0 ) ) );
    for ( QtReceiver& receiver : receivers )
        QObject::connect( &sender, &QtSender::Spoken, &receiver, &QtReceiver::Hear, Qt::DirectConnection );
    for ( auto _ : ioState )
        Q_EMIT sender.Spoken( 1 );
}

void BroadcastByBoost( benchmark::State& ioState )
{
    boost::signals2::signal<void( std::int64_t )> signal;
    std::deque<Called> called( static_cast<std::size_t>( ioState.range( 0 ) ) );
    for ( Called& each : called )
        signal.connect( [&each]( std::int64_t inNumber ) { each.sum += inNumber; } );
    for ( auto _ : ioState )
        signal( 1 );
}

BENCHMARK( BroadcastByVirtualCalls )->Name( "broadcast/virtual calls" )->Arg( 1 )->Arg( 10 )->Arg( 100 );
BENCHMARK( BroadcastByXSpeaker )->Name( "broadcast/XSpeaker" )->Arg( 1 )->Arg( 10 )->Arg( 100 );
BENCHMARK( BroadcastBySigc )->Name( "broadcast/libsigc++" )->Arg( 1 )->Arg( 10 )->Arg( 100 );
BENCHMARK( BroadcastByQt )->Name( "broadcast/Qt direct signal" )->Arg( 1 )->Arg( 10 )->Arg( 100 );
BENCHMARK( BroadcastByBoost )->Name( "broadcast/Boost.Signals2" )->Arg( 1 )->Arg( 10 )->Arg( 100 );

// ---- Subscribing

void SubscribeByXSpeaker( benchmark::State& ioState )
{
    XSpeaker speaker;
    Listener listener;
    for ( auto _ : ioState )
    {
        listener.Subscribe( speaker );
        listener.Unsubscribe( speaker );
    }
}

void SubscribeByQt( benchmark::State& ioState )
{
    QtSender sender;
    QtReceiver receiver;
    for ( auto _ : ioState )
    {
        const auto connection = QObject::connect(
            &sender, &QtSender::Spoken, &receiver, &QtReceiver::Hear, Qt::DirectConnection );
        QObject::disconnect( connection );
    }
}

void SubscribeByBoost( benchmark::State& ioState )
{
    boost::signals2::signal<void( std::int64_t )> signal;
    Called called;
    for ( auto _ : ioState )
        signal.connect( [&called]( std::int64_t inNumber ) { called.sum += inNumber; } ).disconnect();
}

BENCHMARK( SubscribeByXSpeaker )->Name( "subscribe and unsubscribe/XSpeaker" );
BENCHMARK( SubscribeByQt )->Name( "subscribe and unsubscribe/Qt" );
BENCHMARK( SubscribeByBoost )->Name( "subscribe and unsubscribe/Boost.Signals2" );

// ---- Queued on the main thread

void CountMessages( benchmark::State& ioState, std::int64_t inMessages )
{
    ioState.counters["per_message"] = benchmark::Counter(
        static_cast<double>( inMessages ),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert );
}

void QueueByXSpeaker( benchmark::State& ioState )
{
    std::deque<XSpeaker> speakers( kSpeakers );
    Listener listener;
    for ( XSpeaker& speaker : speakers )
        listener.Subscribe( speaker );
    for ( auto _ : ioState )
    {
        for ( std::int64_t i = 0; i < kQueued; ++i )
        {
            XSpeaker& speaker = speakers[static_cast<std::size_t>( i % kSpeakers )];
            speaker.SpeakMessage( NumberMessage( &speaker, i ), XSpeaker::kWhenNextEvent );
        }
        XSpeaker::ProcessAllNextEventMessages();
    }
    CountMessages( ioState, kQueued );
}

void QueueByQt( benchmark::State& ioState )
{
    std::deque<QtReceiver> receivers( kSpeakers );
    for ( auto _ : ioState )
    {
        for ( std::int64_t i = 0; i < kQueued; ++i )
            QCoreApplication::postEvent(
                &receivers[static_cast<std::size_t>( i % kSpeakers )], new QEvent( QEvent::User ) );
        QCoreApplication::processEvents();
    }
    CountMessages( ioState, kQueued );
}

template<class Message>
void QueueByOneSpeaker( benchmark::State& ioState )
{
    XSpeaker speaker;
    Listener listener;
    listener.Subscribe( speaker );
    for ( auto _ : ioState )
    {
        for ( std::int64_t i = 0; i < ioState.range( 0 ); ++i )
            speaker.SpeakMessage( Message( &speaker, i ), XSpeaker::kWhenNextEvent );
        XSpeaker::ProcessAllNextEventMessages();
    }
    CountMessages( ioState, ioState.range( 0 ) );
}

void CoalesceByXSpeaker( benchmark::State& ioState )
{
    XSpeaker speaker;
    Listener listener;
    listener.Subscribe( speaker );
    for ( auto _ : ioState )
    {
        for ( std::int64_t i = 0; i < kQueued; ++i )
            speaker.SpeakMessage( NumberMessage( &speaker, 1 ), XSpeaker::kWhenNextEvent );
        XSpeaker::ProcessAllNextEventMessages();
    }
    CountMessages( ioState, kQueued );
}

void CoalesceByQt( benchmark::State& ioState )
{
    QtReceiver receiver;
    for ( auto _ : ioState )
    {
        for ( std::int64_t i = 0; i < kQueued; ++i )
        {
            benchmark::DoNotOptimize( receiver.isDirty );
            if ( !receiver.isDirty )
                QCoreApplication::postEvent( &receiver, new QEvent( QEvent::User ) );
            receiver.isDirty = true;
        }
        QCoreApplication::processEvents();
    }
    CountMessages( ioState, kQueued );
}

BENCHMARK( QueueByXSpeaker )->Name( "1000 unlike messages of 100 speakers/XSpeaker" );
BENCHMARK( QueueByQt )->Name( "1000 unlike messages of 100 speakers/Qt postEvent" );
BENCHMARK( QueueByOneSpeaker<NumberMessage> )
    ->Name( "unlike messages of one speaker" )
    ->Arg( 100 )
    ->Arg( 10'000 );
BENCHMARK( QueueByOneSpeaker<KeylessMessage> )
    ->Name( "unlike messages of one speaker, without a key" )
    ->Arg( 100 )
    ->Arg( 1'000 );
BENCHMARK( CoalesceByXSpeaker )->Name( "1000 equal changes/XSpeaker" );
BENCHMARK( CoalesceByQt )->Name( "1000 equal changes/Qt dirty flag and postEvent" );

// ---- From a worker to the main thread

void FromWorkerByXSpeaker( benchmark::State& ioState )
{
    for ( auto _ : ioState )
    {
        XSpeaker speaker;
        LastListener listener;
        listener.Subscribe( speaker );
        std::thread worker(
            [&]
            {
                for ( std::int64_t i = 1; i <= kFromWorker; ++i )
                    speaker.SpeakMessage( NumberMessage( &speaker, i ) );
            } );
        XMainLoop::Run();
        worker.join();
    }
    CountMessages( ioState, kFromWorker );
}

void FromWorkerByQt( benchmark::State& ioState )
{
    for ( auto _ : ioState )
    {
        QtSender sender;
        QtReceiver receiver;
        QObject::connect( &sender, &QtSender::Spoken, &receiver, &QtReceiver::Hear, Qt::QueuedConnection );
        std::thread worker(
            [&]
            {
                for ( std::int64_t i = 1; i <= kFromWorker; ++i )
                    Q_EMIT sender.Spoken( i );
            } );
        while ( receiver.sum < kFromWorker * ( kFromWorker + 1 ) / 2 )
            QCoreApplication::processEvents( QEventLoop::WaitForMoreEvents );
        worker.join();
    }
    CountMessages( ioState, kFromWorker );
}

void FromWorkerByAsio( benchmark::State& ioState )
{
    for ( auto _ : ioState )
    {
        boost::asio::io_context context;
        auto work = boost::asio::make_work_guard( context );
        std::int64_t sum = 0;
        std::thread worker(
            [&]
            {
                for ( std::int64_t i = 1; i <= kFromWorker; ++i )
                    boost::asio::post(
                        context,
                        [&sum, &work, i]
                        {
                            sum += i;
                            if ( i == kFromWorker )
                                work.reset();
                        } );
            } );
        context.run();
        worker.join();
        benchmark::DoNotOptimize( sum );
    }
    CountMessages( ioState, kFromWorker );
}

BENCHMARK( FromWorkerByXSpeaker )->Name( "100000 messages from a worker/XSpeaker" )->UseRealTime();
BENCHMARK( FromWorkerByQt )->Name( "100000 messages from a worker/Qt queued connection" )->UseRealTime();
BENCHMARK( FromWorkerByAsio )->Name( "100000 messages from a worker/Boost.Asio post" )->UseRealTime();

} // namespace

int main( int inArgCount, char** inArgs )
{
    const WInitCore core;
    QCoreApplication application( inArgCount, inArgs );
    benchmark::Initialize( &inArgCount, inArgs );
    benchmark::RunSpecifiedBenchmarks();
}

#include "Messaging.moc"
