#include "Network/XNetServer.h"

#include "Network/Internal/XNetServerRun.h"
#include "Threads/XThreadLock.h"

#include <utility>

XNetServer::XNetServer( const XString& inName ) : XNetServer( inName, XLimits() ) {}

XNetServer::XNetServer( const XString& inName, const XLimits& inLimits )
    : itsSettings{ inName, inLimits, {}, {} }
{
}

XNetServer::~XNetServer()
{
    Stop();
}

void XNetServer::RegisterResponder( const XVersion& inPreamble, XMakeResponder inMake )
{
    itsSettings.makers[inPreamble] = std::move( inMake );
}

void XNetServer::SetOnlyResponder( XMakeResponder inMake )
{
    itsSettings.makeOnly = std::move( inMake );
}

void XNetServer::Start( std::int32_t inPort, std::uint32_t inBacklog )
{
    XAssert( !GetRun() );
    auto run = std::make_shared<XNetServerRun>( itsSettings, inPort, inBacklog );
    const XThreadLock lock( itsMutex );
    itsRun = std::move( run );
}

void XNetServer::Stop()
{
    if ( const auto run = GetRun() )
        run->Stop();
    const XThreadLock lock( itsMutex );
    itsRun.reset();
}

std::int32_t XNetServer::GetPort() const
{
    const auto run = GetRun();
    return run ? run->GetPort() : 0;
}

USize XNetServer::GetResponderCount() const
{
    const auto run = GetRun();
    return run ? run->GetResponderCount() : 0;
}

USize XNetServer::GetUnauthenticatedCount() const
{
    const auto run = GetRun();
    return run ? run->GetStrangerCount() : 0;
}

std::shared_ptr<XNetServerRun> XNetServer::GetRun() const
{
    const XThreadLock lock( itsMutex );
    return itsRun;
}
