#include "Core/Errors/WLastErrorException.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "System/WSystemError.h"

namespace
{

std::uint32_t TakeLastSystemError()
{
    const auto code = WSystemError::GetLast();
    WSystemError::Clear();
    return code;
}

} // namespace

WLastErrorException::WLastErrorException() : WLastErrorException( TakeLastSystemError() ) {}

WLastErrorException::WLastErrorException( std::uint32_t inWin32ErrorCode )
    : WSystemException(
          MapWin32ErrorCodeToKorvaleError( inWin32ErrorCode ), inWin32ErrorCode, inWin32ErrorCode )
{
}

WLastErrorException::~WLastErrorException() = default;

std::uint32_t WLastErrorException::MapWin32ErrorCodeToKorvaleError( std::uint32_t inWin32ErrorCode )
{
    switch ( inWin32ErrorCode )
    {
    case 5: // ERROR_ACCESS_DENIED
        return kErrorAccessDenied;
    case 14: // ERROR_OUTOFMEMORY
        return kErrorOutOfMemory;
    case 31:   // ERROR_GEN_FAILURE
    case 1167: // ERROR_DEVICE_NOT_CONNECTED
        return kErrorDeviceNotConnected;
    case 86: // ERROR_INVALID_PASSWORD
        return kErrorWrongPassword;
    case 109:   // ERROR_BROKEN_PIPE
    case 232:   // ERROR_NO_DATA
    case 10004: // WSAEINTR
    case 10009: // WSAEBADF
    case 10038: // WSAENOTSOCK
    case 10053: // WSAECONNABORTED
    case 10054: // WSAECONNRESET
        return kErrorDisconnected;
    case 112: // ERROR_DISK_FULL
        return kErrorDiskFull;
    case 1351: // ERROR_CANT_ACCESS_DOMAIN_INFO
        return kErrorNoDomainInfo;
    case 1450: // ERROR_NO_SYSTEM_RESOURCES
        return kErrorNoSystemResources;
    case 2221: // NERR_UserNotFound
        return kErrorUnknownUser;
    case 2226: // NERR_NotPrimary
        return kErrorNotPrimaryController;
    case 2245: // NERR_PasswordTooShort
        return kErrorPasswordNotPermitted;
    case 10060: // WSAETIMEDOUT
        return kErrorTimedOut;
    default:
        return inWin32ErrorCode;
    }
}

void XThrowLastSystemError()
{
    throw WLastErrorException();
}
