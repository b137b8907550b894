#include "Command.h"

#include "Core/XErrorNumbers.h"
#include "Core/XException.h"
#include "WCodePage.h"
#include "WInterrupt.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <new>
#include <stdexcept>

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
        failure.text = exception.GetRawErrorMessage().ToUTF8();
        failure.number = exception.GetErrorNumber();
    }
    catch ( const std::filesystem::filesystem_error& error )
    {
        // Without the path, which the user gave in another form. The system answers in its own code page.
        failure.text = WCodePage::AnsiToUTF8( error.code().message() );
    }
    catch ( const std::bad_alloc& )
    {
        failure.text = "there is not enough memory";
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
