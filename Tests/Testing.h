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

/// The same; fails if the call throws none.
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
