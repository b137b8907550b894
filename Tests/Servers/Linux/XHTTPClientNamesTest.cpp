#include "Servers/OddServer.h"

#include <dlfcn.h>
#include <netdb.h>

namespace
{

WEvent& GetEndOfLookUp()
{
    static WEvent sEvent;
    return sEvent;
}

} // namespace

/// In place of the system's: one name takes as long to be found as the test wants.
extern "C" [[gnu::visibility( "default" )]] int
getaddrinfo( const char* inName, const char* inService, const addrinfo* inHints, addrinfo** outFound )
{
    if ( inName && std::string( inName ) == "slow.invalid" )
    {
        GetEndOfLookUp().Wait( kPatience );
        return EAI_AGAIN;
    }
    static const auto sSystem =
        reinterpret_cast<decltype( &getaddrinfo )>( dlsym( RTLD_NEXT, "getaddrinfo" ) );
    return sSystem( inName, inService, inHints, outFound );
}

/// The name of the host is still being looked up when the request is given up.
TEST( XHTTPClientNamesTest, DoesNotWaitForNames )
{
    const XTimer patience( kPatience );
    XHTTPClient::XSettings settings = MakePatientSettings();
    settings.totalMS = 100;
    EXPECT_EQ( ErrorOf( [&] { XHTTPClient( settings ).Get( "http://slow.invalid/" ); } ), 3105u );
    EXPECT_FALSE( patience.HasExpired() );
    GetEndOfLookUp().Set();
}
