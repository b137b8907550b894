#include "Network/XPipeEndpointImp.h"

#include "Core/Errors/WLastErrorException.h"
#include "Ground/XErrorNumbers.h"
#include "Network/Internal/XWaitWithCheckpoints.h"

// The state machine of a connection is in XConnectionEndpointImp; here are only the ways into it: a new pipe
// is put in use (Use), so that Close on another thread can end the attempt, then connected or bound, and its
// state is set (TakeOver). Failures take the pipe out of use again (Drop) and get the path of the pipe, since
// pipes have no address.

namespace
{

/// Names the pipe that could not be opened.
class PipeException : public WLastErrorException
{
public:
    PipeException( const XString& inName, std::uint32_t inError )
        : WLastErrorException( inError ), itsPath( WPipe::GetPath( inName ) )
    {
    }
    XString GetRawErrorMessage() const override
    {
        return "pipe " + XString::FromUTF8( itsPath ) + ": " + WLastErrorException::GetRawErrorMessage();
    }

private:
    std::string itsPath;
};

XNetAddress GetPlace()
{
    return XNetAddress::GetLoopBackAddress( 0 );
}

} // namespace

XPipeEndpointImp::XPipeEndpointImp( const XString& inName ) : itsName( inName )
{
    if ( !WPipe::IsValidName( inName ) )
        XThrow( kErrorBadParameters );
    SetLocalPlace( { GetPlace() } );
    SetRemotePlace( { GetPlace() } );
}

XPipeEndpointImp::~XPipeEndpointImp() = default;

XNetEndpoint XPipeEndpointImp::ConnectTo( const XString& inName, std::uint32_t inTimeoutMS )
{
    XNetEndpoint endpoint( std::make_unique<XPipeEndpointImp>( inName ) );
    endpoint.Connect( GetPlace(), inTimeoutMS );
    return endpoint;
}

XNetEndpoint XPipeEndpointImp::BindTo( const XString& inName, std::uint32_t inBacklog )
{
    XNetEndpoint endpoint( std::make_unique<XPipeEndpointImp>( inName ) );
    endpoint.Bind( 0, inBacklog );
    return endpoint;
}

/// Starts to use a new pipe; exceptions end its use.
template<class TBegin>
void XPipeEndpointImp::BeginUse( TBegin inBegin )
{
    const auto pipe = std::make_shared<WPipe>( itsName );
    Use( pipe );
    const auto end = [&]
    {
        Drop( pipe, XNetEndpoint::kStateClosed );
        itsState = XNetEndpoint::kStateClosed; // also where another thread has ended the attempt
    };
    try
    {
        inBegin( pipe );
    }
    catch ( const WLastErrorException& error )
    {
        end();
        // The same error, with the path: pipes have no address that callers could show.
        throw PipeException( itsName, error.GetWin32ErrorCode() );
    }
    catch ( ... )
    {
        end();
        throw;
    }
}

void XPipeEndpointImp::Connect( const XNetAddress&, std::uint32_t inTimeoutMS )
{
    BeginUse(
        [&]( const std::shared_ptr<WPipe>& inPipe )
        {
            const WDeadline deadline( inTimeoutMS );
            WPipe::Outcome outcome = inPipe->StartConnecting();
            if ( outcome.error == WPipe::kErrorWouldBlock )
                outcome = XWaitWithCheckpoints( [&] { return inPipe->FinishConnecting( deadline ); } );
            Check( inPipe, outcome );
            TakeOver( inPipe, XNetEndpoint::kStateConnected );
        } );
}

/// Without a progress: a pipe connects at once, or its server is too busy to show anything.
void XPipeEndpointImp::ConnectWithProgress( const XNetAddress& inAddress, std::uint32_t inTimeoutMS )
{
    Connect( inAddress, inTimeoutMS );
}

void XPipeEndpointImp::Bind( std::int32_t, std::uint32_t inBacklog )
{
    BeginUse(
        [&]( const std::shared_ptr<WPipe>& inPipe )
        {
            if ( const std::uint32_t error = inPipe->Listen( inBacklog ).error )
                throw PipeException( itsName, error );
            TakeOver( inPipe, XNetEndpoint::kStateDisconnected );
        } );
}

XNetEndpoint* XPipeEndpointImp::MakeEndpoint( const WConnectionPtr& inConnection )
{
    auto imp = std::make_unique<XPipeEndpointImp>( itsName );
    imp->SetConnected( inConnection );
    return new XNetEndpoint( std::move( imp ) );
}

std::uint32_t XPipeEndpointImp::GetKeepAliveTimeMS()
{
    return kNoTimeout;
}

void XPipeEndpointImp::SetKeepAliveTimeMS( std::uint32_t ) {}
