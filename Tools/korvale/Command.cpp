#include "Command.h"

#include "Core/XException.h"
#include "WCodePage.h"

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

std::string CheckWholeNumber( const std::string& inText )
{
    std::uint64_t number = 0;
    const auto* const end = inText.data() + inText.size();
    const auto [rest, error] = std::from_chars( inText.data(), end, number );
    return error == std::errc() && rest == end ? "" : inText + " is no whole number from 0 to 2^64 - 1";
}

std::string DescribeCurrentException()
{
    std::string text;
    try
    {
        throw;
    }
    catch ( const XException& exception )
    {
        text = WCodePage::AnsiToUTF8( exception.GetRawErrorMessage().GetStringView() );
    }
    catch ( const std::filesystem::filesystem_error& error )
    {
        text = error.code().message(); // Without the path, which the user gave in another form.
    }
    catch ( const std::bad_alloc& )
    {
        text = "there is not enough memory";
    }
    catch ( const std::exception& exception )
    {
        text = exception.what();
    }
    std::ranges::replace_if(
        text, []( char inCharacter ) { return inCharacter == '\r' || inCharacter == '\n'; }, ' ' );
    return text;
}

void WriteOutput( const std::string& inName, const std::function<void()>& inWork )
{
    try
    {
        inWork();
    }
    catch ( ... )
    {
        throw std::runtime_error( "cannot write " + inName + ": " + DescribeCurrentException() );
    }
}

void ReportFailure( Terminal& ioTerminal, const std::string& inSubject, const std::string& inText )
{
    ioTerminal.error << "korvale: " << inSubject << ": " << inText << '\n' << std::flush;
}
