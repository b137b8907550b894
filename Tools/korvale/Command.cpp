#include "Command.h"

#include "Core/XErrorNumbers.h"
#include "Core/XException.h"
#include "WInterrupt.h"
#include "WSystemError.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <new>
#include <stdexcept>
#include <system_error>

std::filesystem::path PathFromUTF8( const std::string& inText )
{
    return std::filesystem::path( std::u8string( inText.begin(), inText.end() ) );
}

std::string PathToUTF8( const std::filesystem::path& inPath )
{
    const auto text = inPath.u8string();
    return std::string( text.begin(), text.end() );
}

std::string CheckFileName( const std::string& inText )
{
    return inText.empty() ? "the file has no name" : "";
}

std::string CheckWholeNumber( const std::string& inText )
{
    std::uint64_t number = 0;
    const auto* const end = inText.data() + inText.size();
    const auto [rest, error] = std::from_chars( inText.data(), end, number );
    return error == std::errc() && rest == end ? "" : inText + " is no whole number from 0 to 2^64 - 1";
}

namespace
{
Failure DescribeException( const XException& inException )
{
    return { inException.GetRawErrorMessage().ToUTF8(), inException.GetErrorNumber() };
}

/// Without the path that a filesystem_error has, which the user gave in another form.
Failure DescribeSystemError( const std::error_code& inError )
{
    // Threads that cannot be started; elsewhere it is an empty socket.
    const bool lacksResources = inError == std::errc::resource_unavailable_try_again;
    WSystemError::SetLast(
        lacksResources ? WSystemError::kNoSystemResources : WSystemError::FromErrorCode( inError ) );
    try
    {
        XThrowLastSystemError();
    }
    catch ( const XException& exception )
    {
        return DescribeException( exception );
    }
}
} // namespace

bool Failure::IsUserAbort() const
{
    return number == kErrorCancelled;
}

Failure DescribeCurrentException()
{
    Failure failure;
    try
    {
        throw;
    }
    catch ( const XException& exception )
    {
        failure = DescribeException( exception );
    }
    catch ( const std::system_error& error )
    {
        failure = DescribeSystemError( error.code() );
    }
    catch ( const std::bad_alloc& )
    {
        failure = {
            "there is not enough memory (" + std::to_string( kErrorOutOfMemory ) + ")", kErrorOutOfMemory };
    }
    catch ( const std::exception& exception )
    {
        failure.text = exception.what();
    }
    std::ranges::replace_if(
        failure.text, []( char inCharacter ) { return inCharacter == '\r' || inCharacter == '\n'; }, ' ' );
    return failure;
}

void WriteOutput( const std::string& inName, const std::function<void()>& inWork )
{
    try
    {
        inWork();
    }
    catch ( ... )
    {
        const auto failure = DescribeCurrentException();
        if ( failure.IsUserAbort() )
            throw;
        throw std::runtime_error( "cannot write " + inName + ": " + failure.text );
    }
}

void CheckLastAbort()
{
    if ( WInterrupt::IsRequested() )
        XThrow( kErrorCancelled );
    WInterrupt::SetTooLate();
}
