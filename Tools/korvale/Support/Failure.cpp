#include "Support/Failure.h"

#include "Core/Errors/XException.h"
#include "Ground/XErrorNumbers.h"
#include "Imaging/XImageReader.h"
#include "Services/XAppVersion.h"
#include "System/WSystemError.h"

#include <algorithm>
#include <exception>
#include <new>
#include <stdexcept>
#include <system_error>

namespace
{
Failure DescribeException( const XException& inException )
{
    if ( inException.GetErrorNumber() == kErrorClientTooNew )
        return {
            XAppVersion::GetCurrent().GetDescription().ToUTF8() +
                " is not compatible with the version of the service (" +
                std::to_string( kErrorClientTooNew ) + ")",
            kErrorClientTooNew };
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
            "there was not enough memory (" + std::to_string( kErrorOutOfMemory ) + ")", kErrorOutOfMemory };
    }
    catch ( const XNotTimePointsError& error )
    {
        failure.text =
            std::string( error.what() ) + " (--planes-as-times measures each page as a time point)";
    }
    catch ( const std::exception& exception )
    {
        failure.text = exception.what();
    }
    std::ranges::replace_if(
        failure.text, []( char inCharacter ) { return inCharacter == '\r' || inCharacter == '\n'; }, ' ' );
    return failure;
}

Failure DescribeError( std::uint32_t inNumber )
{
    return DescribeException( XException( inNumber ) );
}

Failure DescribeConnectionError( std::uint32_t inNumber )
{
    Failure failure = DescribeError( inNumber );
    if ( inNumber == kErrorAuthenticationFailed || inNumber == kErrorDisconnected )
        failure.text += "; the keys, ciphers or ports of both ends may differ";
    return failure;
}

void ConnectWithExplanation( const std::function<void()>& inConnect )
{
    try
    {
        inConnect();
    }
    catch ( const XException& error )
    {
        const Failure failure = DescribeConnectionError( error.GetErrorNumber() );
        if ( failure == DescribeError( error.GetErrorNumber() ) )
            throw;
        throw std::runtime_error( failure.text );
    }
}
