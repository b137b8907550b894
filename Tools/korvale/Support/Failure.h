#pragma once

#include <cstdint>
#include <string>

/// A description of a failure in one line of UTF-8, with its error number if it has one.
struct Failure
{
    std::string text;
    std::uint32_t number = 0;

    bool IsUserAbort() const;
    bool operator==( const Failure& ) const = default;
};

/// Describes the exception that is being handled.
Failure DescribeCurrentException();

/// Describes the exception of this number.
Failure DescribeError( std::uint32_t inNumber );
