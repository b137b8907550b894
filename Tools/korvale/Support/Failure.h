#pragma once

#include <cstdint>
#include <functional>
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

/// The same for an exception of a connection to a service, with the likely cause: a peer with other keys or options only
/// closes the connection.
Failure DescribeConnectionError( std::uint32_t inNumber );

/// Connects to a service by calling the function. The message of an exception names the likely cause.
void ConnectWithExplanation( const std::function<void()>& inConnect );
