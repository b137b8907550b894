#include "Command.h"

#include "Core/XException.h"
#include "WCodePage.h"

#include <algorithm>
#include <exception>
#include <new>

std::filesystem::path PathFromUTF8( const std::string& inText )
{
    return std::filesystem::path( std::u8string( inText.begin(), inText.end() ) );
}

std::string PathToUTF8( const std::filesystem::path& inPath )
{
    const auto text = inPath.u8string();
    return std::string( text.begin(), text.end() );
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

void ReportFailure( Terminal& ioTerminal, const std::string& inSubject, const std::string& inText )
{
    ioTerminal.error << "korvale: " << inSubject << ": " << inText << '\n' << std::flush;
}
