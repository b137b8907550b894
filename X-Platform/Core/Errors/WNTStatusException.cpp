#include "Core/Errors/WNTStatusException.h"

#include "Core/Errors/WLastErrorException.h"
#include "Ground/XErrorNumbers.h"

#include <algorithm>
#include <iterator>

namespace
{

struct StatusMapping
{
    std::uint32_t status;
    std::uint32_t win32Code;
    std::uint32_t errorNumber; // 0: what the Win32 code maps to
};

constexpr StatusMapping kStatusMappings[] = {
    { 0x00000000, 0, 0 },                             // STATUS_SUCCESS
    { 0x00000102, 1460, kErrorTimedOut },             // STATUS_TIMEOUT
    { 0xC0000005, 998, kErrorBadPointer },            // STATUS_ACCESS_VIOLATION
    { 0xC0000008, 6, 0 },                             // STATUS_INVALID_HANDLE
    { 0xC000000D, 87, kErrorBadParameters },          // STATUS_INVALID_PARAMETER
    { 0xC000000F, 2, 0 },                             // STATUS_NO_SUCH_FILE
    { 0xC0000011, 38, kErrorEndOfFile },              // STATUS_END_OF_FILE
    { 0xC0000017, 8, kErrorOutOfMemory },             // STATUS_NO_MEMORY
    { 0xC0000022, 5, 0 },                             // STATUS_ACCESS_DENIED
    { 0xC0000034, 2, 0 },                             // STATUS_OBJECT_NAME_NOT_FOUND
    { 0xC0000035, 183, 0 },                           // STATUS_OBJECT_NAME_COLLISION
    { 0xC000003A, 3, 0 },                             // STATUS_OBJECT_PATH_NOT_FOUND
    { 0xC0000043, 32, 0 },                            // STATUS_SHARING_VIOLATION
    { 0xC0000044, 1816, kErrorNoSystemResources },    // STATUS_QUOTA_EXCEEDED
    { 0xC0000064, 1317, kErrorUnknownUser },          // STATUS_NO_SUCH_USER
    { 0xC000006A, 86, 0 },                            // STATUS_WRONG_PASSWORD
    { 0xC000006C, 1325, kErrorPasswordNotPermitted }, // STATUS_PASSWORD_RESTRICTION
    { 0xC000007F, 112, 0 },                           // STATUS_DISK_FULL
    { 0xC000009A, 1450, 0 },                          // STATUS_INSUFFICIENT_RESOURCES
    { 0xC000009D, 1167, 0 },                          // STATUS_DEVICE_NOT_CONNECTED
    { 0xC00000A2, 19, 0 },                            // STATUS_MEDIA_WRITE_PROTECTED
    { 0xC00000B0, 233, kErrorDisconnected },          // STATUS_PIPE_DISCONNECTED
    { 0xC00000B1, 232, 0 },                           // STATUS_PIPE_CLOSING
    { 0xC00000B5, 121, kErrorTimedOut },              // STATUS_IO_TIMEOUT
    { 0xC00000DA, 1351, 0 },                          // STATUS_CANT_ACCESS_DOMAIN_INFO
    { 0xC00000DE, 1354, kErrorNotPrimaryController }, // STATUS_INVALID_DOMAIN_ROLE
    { 0xC0000120, 995, kErrorCancelled },             // STATUS_CANCELLED
    { 0xC000012D, 1455, kErrorOutOfMemory },          // STATUS_COMMITMENT_LIMIT
    { 0xC0000135, 126, kErrorLibraryNotFound },       // STATUS_DLL_NOT_FOUND
    { 0xC0000138, 182, kErrorFunctionNotFound },      // STATUS_ORDINAL_NOT_FOUND
    { 0xC0000139, 127, kErrorFunctionNotFound },      // STATUS_ENTRYPOINT_NOT_FOUND
    { 0xC000014B, 109, 0 },                           // STATUS_PIPE_BROKEN
    { 0xC000020C, 64, kErrorDisconnected },           // STATUS_CONNECTION_DISCONNECTED
    { 0xC000020D, 64, kErrorDisconnected },           // STATUS_CONNECTION_RESET
    { 0xC0000236, 1225, kErrorConnectionRefused },    // STATUS_CONNECTION_REFUSED
    { 0xC000023A, 1229, kErrorDisconnected },         // STATUS_CONNECTION_INVALID
    { 0xC0000241, 1236, kErrorDisconnected },         // STATUS_CONNECTION_ABORTED
};
static_assert( std::ranges::is_sorted( kStatusMappings, std::less(), &StatusMapping::status ) );

const StatusMapping* FindMapping( std::uint32_t inStatus )
{
    const auto* found =
        std::ranges::lower_bound( kStatusMappings, inStatus, std::less(), &StatusMapping::status );
    return found != std::end( kStatusMappings ) && found->status == inStatus ? found : nullptr;
}

std::uint32_t MapToWin32( std::uint32_t inStatus )
{
    const auto* mapping = FindMapping( inStatus );
    return mapping ? mapping->win32Code : inStatus;
}

} // namespace

WNTStatusException::WNTStatusException( std::uint32_t inStatus )
    : WSystemException( MapNTStatusToKorvaleError( inStatus ), inStatus, MapToWin32( inStatus ) )
{
}

WNTStatusException::~WNTStatusException() = default;

std::uint32_t WNTStatusException::MapNTStatusToWin32ErrorCode() const
{
    return MapToWin32( GetNTSTATUS() );
}

std::uint32_t WNTStatusException::MapNTStatusToKorvaleError( std::uint32_t inStatus )
{
    const auto* mapping = FindMapping( inStatus );
    if ( !mapping )
        return inStatus;
    if ( mapping->errorNumber != 0 )
        return mapping->errorNumber;
    return WLastErrorException::MapWin32ErrorCodeToKorvaleError( mapping->win32Code );
}
