#include "Network/TestConnection.h"

#include "Servers/XNetResponder.h"
#include "Servers/XNetServer.h"

#include <sys/resource.h>
#include <unistd.h>

namespace
{

class SilentResponder : public XNetResponder
{
public:
    SilentResponder() : XNetResponder( "silent" ) {}
    ~SilentResponder() override { StopResponding(); }

protected:
    void RespondSelf() override
    {
        XNetEndpoint endpoint = GetEndpoint();
        endpoint.SendData( "!", 1, kPatience );
        for ( char byte = 0;; )
            endpoint.ReceiveData( &byte, 1, kNoTimeout );
    }
};

/// Limits the descriptors of the process for a scope.
class DescriptorLimit
{
public:
    explicit DescriptorLimit( rlim_t inMost )
    {
        getrlimit( RLIMIT_NOFILE, &itsBefore );
        const rlimit limit{ inMost, itsBefore.rlim_max };
        setrlimit( RLIMIT_NOFILE, &limit );
    }
    ~DescriptorLimit() { setrlimit( RLIMIT_NOFILE, &itsBefore ); }

private:
    rlimit itsBefore{};
};

} // namespace

/// Connections that come while there are no descriptors wait, and are served when others have ended.
TEST( ServerLimitsTest, AcceptsAgainWhenThereAreDescriptorsAgain )
{
    XNetServer server( "test", { kNoTimeout, 1000 } );
    server.SetOnlyResponder( [] { return std::make_unique<SilentResponder>(); } );
    server.Start( 0 );
    const XNetAddress address = XNetAddress::GetLoopBackAddress( server.GetPort() );
    std::list<XNetEndpoint> clients( 40 );
    const int next = dup( 0 );
    close( next );
    const DescriptorLimit limit( static_cast<rlim_t>( next ) + 60 ); // clients alone need 40
    std::uint32_t error = 0;
    for ( XNetEndpoint& client : clients )
        try
        {
            client.Connect( address, kPatience );
        }
        catch ( const XException& exception )
        {
            error = exception.GetErrorNumber(); // a client itself found no descriptor
        }
    EXPECT_TRUE( error == 0 || error == 4 ) << error;
    char byte = 0;
    std::list<XNetEndpoint> waiting;
    for ( XNetEndpoint& client : clients )
        if ( client.GetState() == XNetEndpoint::kStateConnected )
            waiting.push_back( client );
    clients.clear();
    while ( !waiting.empty() ) // each is served at last, as those before it end
    {
        waiting.front().ReceiveData( &byte, 1, kPatience );
        EXPECT_EQ( byte, '!' );
        waiting.pop_front();
    }
}
