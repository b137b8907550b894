#pragma once

#include <cstdint>
#include <string>

/// What went wrong, on one line of UTF-8, and its error number where it has one.
struct Failure
{
    std::string text;
    std::uint32_t number = 0;

    bool IsUserAbort() const;
    bool operator==( const Failure& ) const = default;
};

/// Of the exception that is being handled.
Failure DescribeCurrentException();
