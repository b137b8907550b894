#pragma once

#include "Core/Errors/XException.h"

#include <gtest/gtest.h>

// The standard headers that many tests use.
#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <iterator>
#include <limits>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

/// The number of the exception that a call throws, or 0.
template<class TCall>
std::uint32_t ErrorOrZero( const TCall& inCall )
{
    try
    {
        inCall();
    }
    catch ( const XException& error )
    {
        return error.GetErrorNumber();
    }
    return 0;
}

/// The number of the exception that a call throws, which fails the test if it throws none.
template<class TCall>
std::uint32_t ErrorOf( const TCall& inCall )
{
    const std::uint32_t error = ErrorOrZero( inCall );
    EXPECT_NE( error, 0u ) << "nothing was thrown";
    return error;
}

/// Expects the statements to throw the error of this number.
#define EXPECT_ERROR( inNumber, ... )                                                                        \
    EXPECT_EQ( ErrorOf( [&] { __VA_ARGS__; } ), static_cast<std::uint32_t>( inNumber ) )

inline std::string MessageOf( const XException& inException )
{
    return inException.GetRawErrorMessage().GetConstCharPtr();
}

/// The text of what a call throws; empty when it throws nothing.
template<class TCall>
std::string TextOfError( const TCall& inCall )
{
    try
    {
        inCall();
    }
    catch ( const std::exception& error )
    {
        return error.what();
    }
    return {};
}

inline bool Contains( const std::string& inText, const std::string& inPart )
{
    return inText.find( inPart ) != std::string::npos;
}
inline bool Lacks( const std::string& inText, const std::string& inPart )
{
    return !Contains( inText, inPart );
}
inline bool StartsWith( const std::string& inText, const std::string& inStart )
{
    return inText.starts_with( inStart );
}

// Expectations of a text that show it when they fail.
#define EXPECT_CONTAINS( inText, inPart ) EXPECT_PRED2( Contains, inText, inPart )
#define EXPECT_LACKS( inText, inPart ) EXPECT_PRED2( Lacks, inText, inPart )
#define EXPECT_STARTS( inText, inStart ) EXPECT_PRED2( StartsWith, inText, inStart )

/// The parts of a list that a separator parts.
inline std::vector<std::string> Split( const std::string& inList, char inSeparator = '|' )
{
    std::vector<std::string> parts( 1 );
    for ( const char character : inList )
        if ( character == inSeparator )
            parts.emplace_back();
        else
            parts.back() += character;
    return parts;
}

#ifdef KORVALE_SANITIZED
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

/// The rounds of a long test: fewer where a sanitizer slows each of them down.
constexpr int Rounds( int inRounds )
{
    return kIsSanitized ? ( inRounds + 9 ) / 10 : inRounds;
}

/// How long a test waits for what must happen, in milliseconds; passed only by a test that fails.
inline constexpr std::uint32_t kPatience = 60'000;

/// Runs a function on several threads, with the number of each, until all have returned. What one throws fails the test.
template<class Body>
void RunOnThreads( unsigned inCount, Body inBody )
{
    const auto run = [&]( unsigned inNumber )
    {
        try
        {
            inBody( inNumber );
        }
        catch ( const XException& error )
        {
            ADD_FAILURE() << "thread " << inNumber << ": error " << error.GetErrorNumber();
        }
    };
    std::vector<std::thread> threads;
    for ( unsigned i = 0; i < inCount; ++i )
        threads.emplace_back( run, i );
    for ( auto& thread : threads )
        thread.join();
}

/// Runs each function on a thread of its own, until all have returned.
template<class... Bodies>
void RunTogether( Bodies... inBodies )
{
    const std::function<void()> bodies[] = { inBodies... };
    RunOnThreads( sizeof...( Bodies ), [&]( unsigned inNumber ) { bodies[inNumber](); } );
}
