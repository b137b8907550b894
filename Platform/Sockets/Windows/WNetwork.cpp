#include "Sockets/WNetwork.h"

#include "Sockets/Internal/WSocketHeaders.h"

#include <windows.h>

/// The system's codes are the library's.
std::uint32_t WNetwork::ToErrorCode( int inResult )
{
    WSASetLastError( 0 );
    return static_cast<std::uint32_t>( inResult );
}

/// The library is loaded when it is asked for first and stays: it takes long, and most programs never ask.
bool WNetwork::IsConnectedToInternet()
{
    using GetState = BOOL( WINAPI* )( LPDWORD, DWORD );
    static const auto getState = []() -> GetState
    {
        const HMODULE module = LoadLibraryW( L"wininet.dll" );
        if ( !module )
            return nullptr;
        return reinterpret_cast<GetState>(
            reinterpret_cast<void*>( GetProcAddress( module, "InternetGetConnectedState" ) ) );
    }();
    DWORD flags = 0;
    return getState && getState( &flags, 0 );
}
