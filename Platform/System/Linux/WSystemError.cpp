#include "System/WSystemError.h"

#include "System/WCodePage.h"

#include <algorithm>
#include <iterator>

namespace
{

thread_local std::uint32_t tLastError = WSystemError::kNoError;

struct CodeText
{
    std::uint32_t code;
    const char* text;
};

/// Codes from files, wires and other systems, and codes for which an errno has only one of the causes.
constexpr CodeText kCodeTexts[] = {
    { 8, "Not enough memory" },
    { 38, "The end of the file was reached" },
    { 64, "The network name is gone" },
    { 121, "The semaphore timed out" },
    { 126, "The module was not found" },
    { 127, "The function was not found in the module" },
    { 183, "The file exists already" },
    { 233, "No process is at the other end of the pipe" },
    { 995, "The operation was given up" },
    { 1225, "The connection was refused" },
    { 1326, "The user name or the password is wrong" },
    { WSystemError::kNoSystemResources, "Not enough system resources" },
    { 1455, "The page file is too small" },
    { 1460, "The wait timed out" },
    { 10009, "The socket is closed" },
    { 10013, "Access to the socket was denied" },
    { 10024, "There are too many open sockets" },
    { 11001, "The host does not exist" },
    { 11002, "The name server did not answer" },
    { 11003, "The name server failed" },
    { 11004, "The host has no address" },
    { 0x80004001, "Not implemented" },
    { 0x80004002, "No such interface" },
    { 0x80004003, "The pointer is invalid" },
    { 0x80004005, "Unspecified failure" },
    { 0x8000FFFF, "Unexpected failure" },
    { 0x887A0002, "The graphics object was not found" },
    { 0x887A0004, "The graphics device does not support this" },
    { 0x887A0005, "The graphics device was removed" },
    { 0x887A0006, "The graphics device does not respond" },
    { 0x887A0007, "The graphics device was reset" },
};

std::string GetOwnText( std::uint32_t inCode )
{
    const auto* found = std::ranges::find( kCodeTexts, inCode, &CodeText::code );
    return found == std::end( kCodeTexts ) ? std::string() : found->text;
}

/// The plain code of a result that only wraps one.
std::uint32_t Unwrap( std::uint32_t inCode )
{
    constexpr std::uint32_t kWin32Facility = 0x80070000u;
    return ( inCode & 0xFFFF0000u ) == kWin32Facility ? inCode & 0xFFFFu : inCode;
}

} // namespace

std::uint32_t WSystemError::GetLast()
{
    return tLastError;
}

void WSystemError::SetLast( std::uint32_t inCode )
{
    tLastError = inCode;
}

std::uint32_t WSystemError::FromErrorCode( const std::error_code& inError )
{
    return FromErrno( inError.value() );
}

std::string WSystemError::GetText( std::uint32_t inCode )
{
    const auto code = Unwrap( inCode );
    const int error = ToErrno( code );
    if ( const std::string text = GetOwnText( code ); error == 0 || !text.empty() )
        return text;
    // Where the program has chosen a language, the C library's texts come in UTF-8.
    return WCodePage::UTF8ToAnsi( std::generic_category().message( error ) );
}
