#include "Network/XNetEndpointImp.h"

#include "Threads/XThread.h"

#include <algorithm>

XNetEndpointImp::~XNetEndpointImp() = default;

void XNetEndpointImp::WaitForMoreData( std::uint32_t, std::uint32_t inTimeoutMS )
{
    constexpr std::uint32_t kWhileMS = 10;
    XThread::SleepCurrentThread( std::min( inTimeoutMS, kWhileMS ), true );
}

XNetAddress XNetEndpointImp::GetLocalAddress()
{
    return Resolve( itsLocalPlace );
}

void XNetEndpointImp::BindToAddress( const XNetAddress& inAddress, std::uint32_t inBacklog )
{
    Bind( inAddress.GetPort(), inBacklog );
}

std::int32_t XNetEndpointImp::GetLocalPort()
{
    const XThreadLock lock( itsPlacesMutex );
    return itsLocalPlace.address.GetPort();
}

XNetAddress XNetEndpointImp::GetRemoteAddress()
{
    return Resolve( itsRemotePlace );
}

void XNetEndpointImp::SetLocalPlace( const XPlace& inPlace )
{
    const XThreadLock lock( itsPlacesMutex );
    itsLocalPlace = inPlace;
}

void XNetEndpointImp::SetRemotePlace( const XPlace& inPlace )
{
    const XThreadLock lock( itsPlacesMutex );
    itsRemotePlace = inPlace;
}

/// Looks up without the mutex; the place may have changed when the look-up ends.
XNetAddress XNetEndpointImp::Resolve( XPlace& ioPlace )
{
    XPlace place;
    {
        const XThreadLock lock( itsPlacesMutex );
        place = ioPlace;
    }
    if ( !place.isThisMachine )
        return place.address;
    const std::int32_t port = place.address.GetPort();
    place = { XNetAddress::GetLocalAddress( port ) };
    const XThreadLock lock( itsPlacesMutex );
    if ( ioPlace.isThisMachine && ioPlace.address.GetPort() == port )
        ioPlace = place;
    return place.address;
}
