#include "Process/WEventLog.h"

#include <algorithm>
#include <string>

#include <windows.h>

namespace
{

constexpr wchar_t kSourceName[] = L"Korvale Core";

/// The system refuses longer entries.
constexpr std::size_t kLongestMessage = 31000;

/// Converts byte by byte, because entries are written when little else works any more. Characters other than
/// ASCII are shown as '?'.
std::wstring MakeEntry( std::string_view inMessage )
{
    std::wstring entry;
    for ( const char character : inMessage.substr( 0, kLongestMessage ) )
        entry += character > 0 ? static_cast<wchar_t>( character ) : L'?';
    return entry;
}

WORD GetEventType( WEventLog::Type inType )
{
    return static_cast<WORD>( inType );
}

} // namespace

void WEventLog::AddMsgToSystemEventLog(
    std::string_view inMessage, Type inType, std::uint32_t inEventID ) noexcept
try
{
    const auto entry = MakeEntry( inMessage );
    const HANDLE log = ::RegisterEventSourceW( nullptr, kSourceName );
    if ( !log )
        return;
    const wchar_t* strings[] = { entry.c_str() };
    ::ReportEventW( log, GetEventType( inType ), 0, inEventID, nullptr, 1, 0, strings, nullptr );
    ::DeregisterEventSource( log );
}
catch ( ... )
{
}
