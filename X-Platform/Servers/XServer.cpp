#include "Servers/XServer.h"

#include "Servers/Internal/XServerRun.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <utility>

XServer::XServer( const XString& inName, const XLimits& inLimits ) : itsSettings{ inName, inLimits, {}, {} }
{
    std::uint32_t& most = itsSettings.limits.mostUnauthenticated;
    most = std::max<std::uint32_t>( most, 1 );
}

XServer::~XServer()
{
    Stop();
}

void XServer::RegisterResponder( const XVersion& inPreamble, XMakeResponder inMake )
{
    itsSettings.makers[inPreamble] = std::move( inMake );
}

void XServer::SetOnlyResponder( XMakeResponder inMake )
{
    itsSettings.makeOnly = std::move( inMake );
}

void XServer::StartAccepting( const XNetEndpoint& inListener )
{
    XAssert( !GetRun() );
    auto run = std::make_shared<XServerRun>( itsSettings, inListener );
    const XThreadLock lock( itsMutex );
    itsRun = std::move( run );
}

void XServer::Stop()
{
    if ( const auto run = GetRun() )
        run->Stop();
    const XThreadLock lock( itsMutex );
    itsRun.reset();
}

XNetEndpoint XServer::GetListener() const
{
    const auto run = GetRun();
    return run ? run->GetListener() : XNetEndpoint();
}

USize XServer::GetResponderCount() const
{
    const auto run = GetRun();
    return run ? run->GetResponderCount() : 0;
}

USize XServer::GetUnauthenticatedCount() const
{
    const auto run = GetRun();
    return run ? run->GetStrangerCount() : 0;
}

std::shared_ptr<XServerRun> XServer::GetRun() const
{
    const XThreadLock lock( itsMutex );
    return itsRun;
}
