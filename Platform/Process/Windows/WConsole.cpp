#include "Process/WConsole.h"

#include "Ground/XFail.h"
#include "System/WCodePage.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <iostream>
#include <streambuf>
#include <windows.h>

#include <shellapi.h> // needs the header above

// The program writes UTF-8. A console gets it converted to UTF-16 (ConsoleBuffer), files and pipes get the
// bytes as they are, without conversion of line ends. Output that ends within a character is kept until the
// rest of the character follows. Control sequences are enabled for the console of standard error and disabled
// again at the end, because the mode belongs to the console, which other programs use afterwards.

namespace
{

std::atomic<DWORD> sAddedMode = 0; // of standard error's console, to be taken away again

bool IsConsole( HANDLE inHandle )
{
    DWORD mode = 0;
    return GetConsoleMode( inHandle, &mode ) != 0;
}

/// How many of the bytes do not belong to a character whose end is still to come.
std::size_t CountCompleteBytes( std::string_view inText )
{
    constexpr std::size_t kMostFollowers = 3;
    const auto isFollower = []( char inByte ) { return ( inByte & 0xC0 ) == 0x80; };
    std::size_t followers = 0;
    while ( followers < std::min( kMostFollowers, inText.size() ) &&
            isFollower( inText.rbegin()[followers] ) )
        ++followers;
    if ( followers == inText.size() )
        return inText.size();
    const auto first = static_cast<unsigned char>( inText.rbegin()[followers] );
    const std::size_t wanted = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : first >= 0xC0 ? 1 : 0;
    return followers < wanted ? inText.size() - followers - 1 : inText.size();
}

/// Writes UTF-8 to a console whatever its code page is, which belongs to all programs that use the console.
class ConsoleBuffer : public std::streambuf
{
public:
    explicit ConsoleBuffer( HANDLE inConsole ) : itsConsole( inConsole ) {}

protected:
    int_type overflow( int_type inCharacter ) override
    {
        if ( traits_type::eq_int_type( inCharacter, traits_type::eof() ) )
            return traits_type::not_eof( inCharacter );
        const auto byte = traits_type::to_char_type( inCharacter );
        return xsputn( &byte, 1 ) == 1 ? inCharacter : traits_type::eof();
    }

    std::streamsize xsputn( const char* inText, std::streamsize inCount ) override
    {
        for ( std::streamsize done = 0; done < inCount; )
        {
            const auto count = std::min( inCount - done, kLongestPiece );
            itsPending.append( inText + done, static_cast<std::size_t>( count ) );
            done += count;
            if ( itsPending.size() >= kLongestPiece && !Write() )
                return 0;
        }
        return inCount;
    }

    int sync() override { return Write() ? 0 : -1; }

private:
    static constexpr std::streamsize kLongestPiece = 4096; // All consoles take that many at once.

    const HANDLE itsConsole;
    std::string itsPending;

    bool Write()
    {
        const auto count = CountCompleteBytes( itsPending );
        const auto wide = WCodePage::UTF8ToWide( std::string_view( itsPending ).substr( 0, count ) );
        // The beginning of a character waits for its end.
        itsPending.erase( 0, count );
        std::wstring_view rest = wide;
        for ( DWORD written = 0; !rest.empty(); rest.remove_prefix( written ) )
            if ( !WriteConsoleW(
                     itsConsole, rest.data(), static_cast<DWORD>( rest.size() ), &written, nullptr ) ||
                 written == 0 )
                return false;
        return true;
    }
};

/// The stream may be flushed by the last destructors of the process, so its buffer stays.
void DivertToConsole( std::ostream& ioStream, HANDLE inHandle )
{
    if ( IsConsole( inHandle ) )
        ioStream.rdbuf( new ConsoleBuffer( inHandle ) );
}

} // namespace

std::vector<std::string> WConsole::GetArguments( int, char** )
{
    // The arguments of main are ANSI; the command line knows every character.
    int count = 0;
    auto** const wide = CommandLineToArgvW( GetCommandLineW(), &count );
    if ( !wide )
        XThrowLastSystemError();
    std::vector<std::string> arguments;
    for ( int i = 1; i < count; ++i )
        arguments.push_back( WCodePage::WideToUTF8( wide[i] ) );
    LocalFree( wide );
    return arguments;
}

void WConsole::ReserveClosedStreams() {} // handles are not reused as standard streams

void WConsole::PrepareOutput()
{
    _setmode( _fileno( stdout ), _O_BINARY );
    _setmode( _fileno( stderr ), _O_BINARY );
    const HANDLE error = GetStdHandle( STD_ERROR_HANDLE );
    DivertToConsole( std::cout, GetStdHandle( STD_OUTPUT_HANDLE ) );
    DivertToConsole( std::cerr, error );
    constexpr DWORD kWanted = ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING;
    DWORD mode = 0;
    if ( GetConsoleMode( error, &mode ) && SetConsoleMode( error, mode | kWanted ) )
        sAddedMode = kWanted & ~mode;
}

void WConsole::RestoreOutput()
{
    const auto added = sAddedMode.exchange( 0 );
    const HANDLE error = GetStdHandle( STD_ERROR_HANDLE );
    DWORD mode = 0;
    if ( added != 0 && GetConsoleMode( error, &mode ) )
        SetConsoleMode( error, mode & ~added );
}

bool WConsole::IsOutputTerminal()
{
    return IsConsole( GetStdHandle( STD_OUTPUT_HANDLE ) );
}

bool WConsole::IsErrorTerminal()
{
    DWORD mode = 0;
    return GetConsoleMode( GetStdHandle( STD_ERROR_HANDLE ), &mode ) &&
        ( mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING ) != 0;
}

WConsole::Size WConsole::GetErrorSize()
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if ( !GetConsoleScreenBufferInfo( GetStdHandle( STD_ERROR_HANDLE ), &info ) )
        return { 80, 24 };
    const auto& window = info.srWindow;
    return {
        static_cast<std::uint32_t>( window.Right - window.Left + 1 ),
        static_cast<std::uint32_t>( window.Bottom - window.Top + 1 ) };
}

void WConsole::WriteErrorUnlessBlocked( std::string_view inText )
{
    DWORD written = 0;
    WriteFile(
        GetStdHandle( STD_ERROR_HANDLE ), inText.data(), static_cast<DWORD>( inText.size() ), &written,
        nullptr );
}
