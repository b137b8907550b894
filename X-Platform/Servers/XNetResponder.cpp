#include "Servers/XNetResponder.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Ground/XErrorNumbers.h"
#include "Services/XSessionLogManager.h"

#include <utility>

XNetResponder::XNetResponder( const XString& inName ) : XThread( inName, kThreadPriorityNormal ) {}

XNetResponder::~XNetResponder()
{
    XSwallowErrors( [this] { StopResponding(); } );
}

void XNetResponder::StartResponding( const XNetEndpoint& inEndpoint )
{
    {
        const XThreadLock lock( itsMutex );
        itsEndpoint = std::make_unique<XNetEndpoint>( inEndpoint );
    }
    try
    {
        StartThread();
    }
    catch ( ... )
    {
        EndConnection();
        throw;
    }
}

void XNetResponder::AsyncStopResponding()
{
    EndConnection();
    AsyncStopThread();
}

void XNetResponder::StopResponding()
{
    EndConnection();
    StopThread();
}

XNetEndpoint XNetResponder::GetEndpoint() const
{
    const XThreadLock lock( itsMutex );
    if ( !itsEndpoint )
        XThrow( kErrorResponderDetached );
    return *itsEndpoint;
}

XNetEndpoint XNetResponder::DetachEndpoint()
{
    std::unique_ptr<XNetEndpoint> endpoint;
    {
        const XThreadLock lock( itsMutex );
        if ( !itsEndpoint )
            XThrow( kErrorResponderDetached );
        endpoint = std::move( itsEndpoint );
    }
    // From now on the endpoint is the caller's, and the watch must not end it.
    if ( itsHooks.forget )
        itsHooks.forget();
    return *endpoint;
}

void XNetResponder::SetAuthenticated()
{
    if ( !itsIsAuthenticated.exchange( true ) && itsHooks.forget )
        itsHooks.forget();
}

// ---- The thread

std::int32_t XNetResponder::RunThreadSelf()
{
    try
    {
        RespondSelf();
    }
    catch ( const XException& error )
    {
        LogError( error );
        throw;
    }
    return 0;
}

void XNetResponder::FinishThreadSelf()
{
    EndConnection();
    if ( itsHooks.ended )
        itsHooks.ended();
}

void XNetResponder::EndConnection()
{
    const XThreadLock lock( itsMutex );
    if ( itsEndpoint )
        itsEndpoint->ForceDisconnect();
}

/// Errors of strangers are not logged: they could fill the log.
void XNetResponder::LogError( const XException& inError ) const
{
    const std::uint32_t number = inError.GetErrorNumber();
    if ( !itsIsAuthenticated || !inError.ShouldLogError() || number == kErrorDisconnected ||
         number == kErrorResponderDetached )
        return;
    if ( XSessionLogManager* const log = XSessionLogManager::GetManager() )
        log->AddException( inError, kLogWarning, GetDebugName() );
}
