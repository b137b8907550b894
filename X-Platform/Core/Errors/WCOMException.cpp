#include "Core/Errors/WCOMException.h"

#include "Core/Errors/WLastErrorException.h"
#include "Core/Errors/WNTStatusException.h"
#include "Ground/XErrorNumbers.h"

namespace
{

constexpr std::uint32_t kWin32Facility = 0x80070000u;
constexpr std::uint32_t kNTStatusBit = 0x10000000u;

/// 0 for results that have no number of their own.
std::uint32_t FindErrorNumber( std::uint32_t inResult )
{
    switch ( inResult )
    {
    case 0x80004003: // E_POINTER
        return kErrorBadPointer;
    case 0x80004004: // E_ABORT
    case 0x80010002: // RPC_E_CALL_CANCELED
        return kErrorCancelled;
    case 0x80070057: // E_INVALIDARG
    case 0x80030057: // STG_E_INVALIDPARAMETER
        return kErrorBadParameters;
    case 0x80070008: // ERROR_NOT_ENOUGH_MEMORY
    case 0x80030008: // STG_E_INSUFFICIENTMEMORY
        return kErrorOutOfMemory;
    case 0x80030005: // STG_E_ACCESSDENIED
        return kErrorAccessDenied;
    case 0x80030070: // STG_E_MEDIUMFULL
        return kErrorDiskFull;
    case 0x80040154: // REGDB_E_CLASSNOTREG
        return kErrorClassNotRegistered;
    case 0x80010006: // RPC_E_CONNECTION_TERMINATED
    case 0x80010007: // RPC_E_SERVER_DIED
    case 0x80010012: // RPC_E_SERVER_DIED_DNE
    case 0x80010108: // RPC_E_DISCONNECTED
    case 0x800401FD: // CO_E_OBJNOTCONNECTED
    case 0x800706BA: // RPC_S_SERVER_UNAVAILABLE
        return kErrorDisconnected;
    case 0x8001011F: // RPC_E_TIMEOUT
        return kErrorTimedOut;
    default:
        return 0;
    }
}

} // namespace

WCOMException::WCOMException( std::uint32_t inResult )
    : WSystemException( MapHRESULTToKorvaleError( inResult ), inResult, inResult )
{
}

WCOMException::~WCOMException() = default;

std::uint32_t WCOMException::MapHRESULTToKorvaleError( std::uint32_t inResult )
{
    if ( const auto number = FindErrorNumber( inResult ) )
        return number;
    if ( ( inResult & 0xFFFF0000u ) == kWin32Facility )
        return WLastErrorException::MapWin32ErrorCodeToKorvaleError( inResult & 0xFFFFu );
    if ( inResult & kNTStatusBit )
    {
        const auto status = inResult & ~kNTStatusBit;
        const auto number = WNTStatusException::MapNTStatusToKorvaleError( status );
        return number == status ? inResult : number;
    }
    return inResult;
}
