#include "Core/Errors/XException.h"

#include "Ground/XErrorNumbers.h"
#include "System/WStringTable.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

// The text of an error is looked up when it is asked for, not when the exception is made: registered texts
// first, then the string table. what() keeps the text in the object, since it returns a pointer; two threads
// that ask at once race by a compare-and-swap, and the loser's text is deleted.
//
// The last error number is stored through a thread-local pointer, so that this room need not know about
// threads (docs/architecture.md). Without a slot the number is not recorded.

namespace
{

/// The registered message texts of the process. Made on first use, so that exceptions work before and after
/// the lifetime of every other static object.
struct ErrorStrings
{
    std::mutex mutex;
    std::map<std::uint32_t, XString> texts; // guarded by mutex
};

ErrorStrings& GetErrorStrings()
{
    static auto* sErrorStrings = new ErrorStrings;
    return *sErrorStrings;
}

thread_local std::uint32_t* tLastErrorSlot = nullptr;

/// Error numbers of another platform in old files and logs, and the resources with their texts.
std::uint32_t TranslateOldErrorNumber( std::uint32_t inErrorNumber )
{
    switch ( static_cast<std::int32_t>( inErrorNumber ) )
    {
    case -2095:
        return kErrorNetworkService;
    case -108:
        return kErrorOutOfMemory;
    case -54:
        return kErrorAccessDenied;
    default:
        return inErrorNumber;
    }
}

std::optional<std::string> FindErrorText( std::uint32_t inErrorNumber )
{
    auto& strings = GetErrorStrings();
    const std::lock_guard lock( strings.mutex );
    const auto found = strings.texts.find( inErrorNumber );
    if ( found != strings.texts.end() )
        return std::string( found->second.GetConstCharPtr() );
    if ( auto text = WStringTable::Load( inErrorNumber ) )
        return text;
    return WStringTable::Load( TranslateOldErrorNumber( inErrorNumber ) );
}

} // namespace

XException::XException( std::uint32_t inErrorNumber ) : itsErrorNumber( inErrorNumber )
{
    SetLastError( inErrorNumber );
}

XException::~XException() = default;

XString XException::GetErrorMessage() const
{
    XString message( "The command could not be completed because " );
    message += GetRawErrorMessage();
    return message;
}

XString XException::GetRawErrorMessage() const
{
    auto text = FindErrorText( itsErrorNumber ).value_or( "an error occurred" );
    text.erase( 0, text.find_first_not_of( '.' ) );
    return XString( text + " (" + std::to_string( itsErrorNumber ) + ")" );
}

const char* XException::what() const noexcept
{
    if ( const std::string* const text = itsText.itsText.load() )
        return text->c_str();
    try
    {
        auto text = std::make_unique<const std::string>( GetRawErrorMessage().GetConstCharPtr() );
        const std::string* others = nullptr; // another thread's, which may have been first
        if ( itsText.itsText.compare_exchange_strong( others, text.get() ) )
            return text.release()->c_str();
        return others->c_str();
    }
    catch ( ... )
    {
        return "an error occurred";
    }
}

bool XException::ShouldLogError() const
{
    return !IsSilentErrorCode();
}

bool XException::ShouldReportError() const
{
    return !IsSilentErrorCode();
}

bool XException::IsCrashError() const
{
    return false;
}

void XException::GetCrashDump( XString& ) const {}

bool XException::IsSilentErrorCode() const
{
    return itsErrorNumber == kErrorCancelled || itsErrorNumber == kErrorProcessExiting ||
        itsErrorNumber == kErrorThreadStopped;
}

void XException::SetErrorNumber( std::uint32_t inErrorNumber )
{
    itsErrorNumber = inErrorNumber;
    itsText.Reset();
    SetLastError( inErrorNumber );
}

void XException::AddErrorStringToMap( std::uint32_t inErrorNumber, const XString& inText )
{
    auto& strings = GetErrorStrings();
    const std::lock_guard lock( strings.mutex );
    strings.texts.insert_or_assign( inErrorNumber, inText );
}

void XException::Initialise()
{
    AddErrorStringToMap( 1265, "none of the selected files could be imported" );
    AddErrorStringToMap( 1266, "some of the selected files could not be imported" );
    AddErrorStringToMap( 1358, "the primary network adapter could not be found" );
    AddErrorStringToMap( 1359, "there is no image data" );
    AddErrorStringToMap( 3251, "built in settings cannot be deleted" );
    AddErrorStringToMap( 3252, "built in settings cannot be edited" );
}

std::uint32_t XException::GetLastError()
{
    return tLastErrorSlot ? *tLastErrorSlot : 0;
}

void XException::SetLastError( std::uint32_t inErrorNumber )
{
    if ( tLastErrorSlot )
        *tLastErrorSlot = inErrorNumber;
}

void XException::ResetLastError()
{
    SetLastError( 0 );
}

std::uint32_t* XException::SetLastErrorSlot( std::uint32_t* inSlot )
{
    auto* previous = tLastErrorSlot;
    tLastErrorSlot = inSlot;
    return previous;
}
