// Identifiers and timers beside their peers: *_Ours and *_<Peer> do the same work.

#include "Core/Identifiers/XUUID.h"
#include "Core/Strings/XString.h"
#include "Core/Times/XTime.h"
#include "Core/Times/XTimer.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QUuid>
#include <benchmark/benchmark.h>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <chrono>

namespace
{

const char* const kSampleText = "f81d4fae-7dec-11d0-a765-00a0c91e6bf6";

template<class Action>
void Measure( benchmark::State& ioState, Action inAction )
{
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( inAction() );
}

XUUID MakeID()
{
    XUUID id;
    id.GenerateNewID();
    return id;
}

} // namespace

// A new random identifier from the system's random source.
static void UUIDGenerate_Ours( benchmark::State& ioState )
{
    Measure( ioState, MakeID );
}
static void UUIDGenerate_Qt( benchmark::State& ioState )
{
    Measure( ioState, QUuid::createUuid );
}
static void UUIDGenerate_Boost( benchmark::State& ioState )
{
    boost::uuids::random_generator_pure generator;
    Measure( ioState, [&] { return generator(); } );
}
BENCHMARK( UUIDGenerate_Ours );
BENCHMARK( UUIDGenerate_Qt );
BENCHMARK( UUIDGenerate_Boost );

// To text.
static void UUIDToText_Ours( benchmark::State& ioState )
{
    Measure( ioState, [id = XUUID( XString( kSampleText ) )] { return id.UUIDToString(); } );
}
static void UUIDToText_Qt( benchmark::State& ioState )
{
    Measure( ioState, [id = QUuid( kSampleText )] { return id.toByteArray( QUuid::WithoutBraces ); } );
}
static void UUIDToText_Boost( benchmark::State& ioState )
{
    const auto id = boost::uuids::string_generator()( kSampleText );
    Measure( ioState, [&] { return boost::uuids::to_string( id ); } );
}
BENCHMARK( UUIDToText_Ours );
BENCHMARK( UUIDToText_Qt );
BENCHMARK( UUIDToText_Boost );

// From text.
static void UUIDFromText_Ours( benchmark::State& ioState )
{
    Measure( ioState, [text = XString( kSampleText )] { return XUUID( text ); } );
}
static void UUIDFromText_Qt( benchmark::State& ioState )
{
    Measure( ioState, [text = QByteArray( kSampleText )] { return QUuid( text ); } );
}
static void UUIDFromText_Boost( benchmark::State& ioState )
{
    Measure(
        ioState, [text = std::string( kSampleText )] { return boost::uuids::string_generator()( text ); } );
}
BENCHMARK( UUIDFromText_Ours );
BENCHMARK( UUIDFromText_Qt );
BENCHMARK( UUIDFromText_Boost );

// Asking a running timer whether its limit has passed: one reading of the clock.
static void Timer_Ours( benchmark::State& ioState )
{
    Measure( ioState, [timer = XTimer( 1000000 )] { return timer.HasExpired(); } );
}
static void Timer_Qt( benchmark::State& ioState )
{
    QElapsedTimer timer;
    timer.start();
    Measure( ioState, [&] { return timer.hasExpired( 1000000 ); } );
}
static void Timer_SteadyClock( benchmark::State& ioState )
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::hours( 1 );
    Measure( ioState, [&] { return std::chrono::steady_clock::now() >= end; } );
}
BENCHMARK( Timer_Ours );
BENCHMARK( Timer_Qt );
BENCHMARK( Timer_SteadyClock );

// A time as ISO 8601, and back.
static void TimeToText_Ours( benchmark::State& ioState )
{
    Measure( ioState, [time = XTime()] { return time.GetAbsoluteTimeString(); } );
}
static void TimeToText_Qt( benchmark::State& ioState )
{
    Measure(
        ioState, [time = QDateTime::currentDateTimeUtc()] { return time.toString( Qt::ISODateWithMs ); } );
}
static void TimeFromText_Ours( benchmark::State& ioState )
{
    Measure( ioState, [text = XString( "2026-03-05T16:07:08.901Z" )] { return XTime( text, "" ); } );
}
static void TimeFromText_Qt( benchmark::State& ioState )
{
    const QString text( "2026-03-05T16:07:08.901Z" );
    Measure( ioState, [&] { return QDateTime::fromString( text, Qt::ISODateWithMs ).toMSecsSinceEpoch(); } );
}
BENCHMARK( TimeToText_Ours );
BENCHMARK( TimeToText_Qt );
BENCHMARK( TimeFromText_Ours );
BENCHMARK( TimeFromText_Qt );

BENCHMARK_MAIN();
