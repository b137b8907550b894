#include "Core/Errors/WDirectXException.h"

#include "Core/Errors/WCOMException.h"
#include "Ground/XErrorNumbers.h"
#include "System/WSystemError.h"

WDirectXException::WDirectXException( std::uint32_t inResult )
    : WSystemException( MapDirectXResultToKorvaleError( inResult ), inResult, inResult )
{
}

WDirectXException::~WDirectXException() = default;

XString WDirectXException::GetMsgFromSystem( std::uint32_t inResult )
{
    return XString( WSystemError::GetText( inResult ) );
}

std::uint32_t WDirectXException::MapDirectXResultToKorvaleError( std::uint32_t inResult )
{
    switch ( inResult )
    {
    case 0x8876017C: // D3DERR_OUTOFVIDEOMEMORY
        return kErrorOutOfMemory;
    case 0x88760868: // D3DERR_DEVICELOST
    case 0x88760870: // D3DERR_DEVICEREMOVED
    case 0x88760874: // D3DERR_DEVICEHUNG
    case 0x887A0005: // DXGI_ERROR_DEVICE_REMOVED
    case 0x887A0006: // DXGI_ERROR_DEVICE_HUNG
    case 0x887A0007: // DXGI_ERROR_DEVICE_RESET
        return kErrorDeviceNotConnected;
    case 0x8876086C: // D3DERR_INVALIDCALL
    case 0x887A0001: // DXGI_ERROR_INVALID_CALL
        return kErrorBadParameters;
    case 0x8876086A: // D3DERR_NOTAVAILABLE
    case 0x887A0022: // DXGI_ERROR_NOT_CURRENTLY_AVAILABLE
        return kErrorNoSystemResources;
    case 0x887A0027: // DXGI_ERROR_WAIT_TIMEOUT
        return kErrorTimedOut;
    case 0x887A0028: // DXGI_ERROR_SESSION_DISCONNECTED
        return kErrorDisconnected;
    case 0x887A002B: // DXGI_ERROR_ACCESS_DENIED
        return kErrorAccessDenied;
    default:
        return WCOMException::MapHRESULTToKorvaleError( inResult );
    }
}
