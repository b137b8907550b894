#include "Servers/Internal/XServerRun.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/WLastErrorException.h"
#include "Core/Errors/XException.h"
#include "Ground/XErrorNumbers.h"
#include "Services/XSessionLogManager.h"
#include "Sockets/WSocket.h"
#include "Threads/XPreventThreadStop.h"

#include <new>
#include <utility>

// A connection has one number for its life and is in these places, each under itsMutex:
// - itsStrangers, from its acceptance until it has authenticated or ended. Ordered by number and so by age:
//   the first is the next one to expire, and the one to drop if there are too many.
// - itsToGreet, until a greeter takes it (not if there is only one kind of responder). A number whose
//   stranger has been dropped is skipped.
// - itsServed, with its responder, as long as the responder has "users": its own thread, and the thread that
//   starts it. Whichever lets go last moves the responder to itsEnded.
// - itsEnded, until the watch destroys the responder. A responder's thread cannot destroy itself, and its
//   destructor waits for the thread.
//
// Greeters wait for the preamble with a blocking receive and without a time-out: the watch ends the
// connection when its time is over, which ends the receive. Idle greeters are reused; there are never more
// than strangers are permitted.
//
// The end (Stop): first no connection is accepted any more, then none is greeted, then the responders are
// asked to stop, all of them before any is waited for.

namespace
{

constexpr std::uint32_t kPauseMS = 100;
constexpr std::uint32_t kPauseLogPeriodMS = 60'000;

std::uint32_t ReadPreamble( XNetEndpoint& inEndpoint )
{
    std::uint8_t bytes[4];
    inEndpoint.ReceiveData( bytes, sizeof( bytes ), kNoTimeout ); // the watch ends it in time
    return std::uint32_t( bytes[0] ) << 24 | std::uint32_t( bytes[1] ) << 16 |
        std::uint32_t( bytes[2] ) << 8 | bytes[3];
}

} // namespace

// ---- Life

XServerRun::XServerRun( const XServer::XSettings& inSettings, const XNetEndpoint& inListener )
    : itsSettings( inSettings ), itsListener( inListener ), itsPauseLogTimer( kPauseLogPeriodMS ),
      itsWatch( *this, "watch", &XServerRun::Watch ), itsAcceptor( *this, "accept", &XServerRun::Accept )
{
    itsWatch.StartThread();
    itsAcceptor.StartThread();
}

XServerRun::~XServerRun()
{
    XSwallowErrors( [this] { Stop(); } );
}

void XServerRun::Stop()
{
    const XPreventThreadStop preventStop; // of the calling thread: this has to be done to the end
    itsAcceptor.StopThread();
    itsListener.Unbind();
    for ( XWorker& greeter : itsGreeters )
        greeter.AsyncStopThread();
    itsGreeters.clear();
    itsWatch.StopThread();
    std::map<XNumber, XServed> served;
    {
        const XThreadLock lock( itsMutex );
        for ( auto& [number, stranger] : itsStrangers )
            stranger.endpoint.ForceDisconnect();
        served = std::move( itsServed );
    }
    for ( const auto& [number, one] : served )
        one.responder->AsyncStopResponding();
    served.clear(); // waits for each
    const XThreadLock lock( itsMutex );
    itsStrangers.clear();
    itsEnded.clear();
}

USize XServerRun::GetResponderCount() const
{
    const XThreadLock lock( itsMutex );
    return itsServed.size() + itsEnded.size();
}

USize XServerRun::GetStrangerCount() const
{
    const XThreadLock lock( itsMutex );
    return itsStrangers.size();
}

XServerRun::XWorker::XWorker( XServerRun& inRun, const char* inRole, void ( XServerRun::*inBody )() )
    : XThread( inRun.itsSettings.name + " " + inRole, kThreadPriorityNormal ), itsRun( inRun ),
      itsBody( inBody )
{
}

XServerRun::XWorker::~XWorker()
{
    XSwallowErrors( [this] { StopThread(); } );
}

std::int32_t XServerRun::XWorker::RunThreadSelf()
{
    ( itsRun.*itsBody )();
    return 0;
}

// ---- The acceptor

void XServerRun::Accept()
{
    for ( ;; )
    {
        try
        {
            AcceptOne();
        }
        catch ( const XStopThreadException& )
        {
            throw;
        }
        catch ( const XException& error )
        {
            PauseAccepting( error );
        }
        catch ( const std::bad_alloc& )
        {
            PauseAccepting( XException( kErrorOutOfMemory ) );
        }
    }
}

void XServerRun::AcceptOne()
{
    const std::unique_ptr<XNetEndpoint> endpoint( itsListener.Listen() );
    Admit( *endpoint );
}

void XServerRun::Admit( const XNetEndpoint& inEndpoint )
{
    const XNumber number = AddStranger( inEndpoint );
    if ( itsSettings.makeOnly )
        return MakeResponder( number, inEndpoint, itsSettings.makeOnly );
    {
        const XThreadLock lock( itsMutex );
        itsToGreet.push_back( number );
        itsHasGreetings.Signal();
    }
    AddGreeterIfNeeded();
}

/// Drops the oldest where there are too many.
XServerRun::XNumber XServerRun::AddStranger( const XNetEndpoint& inEndpoint )
{
    const XThreadLock lock( itsMutex );
    // Dropping the oldest rather than refusing the newest: silent connections cannot keep others out.
    while ( !itsStrangers.empty() && itsStrangers.size() >= itsSettings.limits.mostUnauthenticated )
    {
        itsStrangers.begin()->second.endpoint.ForceDisconnect();
        itsStrangers.erase( itsStrangers.begin() );
    }
    const XNumber number = ++itsLastNumber;
    itsStrangers.emplace( number, XStranger{ inEndpoint, XTimer( itsSettings.limits.authenticationMS ) } );
    // The watch sleeps until the first stranger expires; before this one it had no time limit.
    if ( itsStrangers.size() == 1 )
        itsHasChanged.Signal();
    return number;
}

void XServerRun::AddGreeterIfNeeded()
{
    {
        const XThreadLock lock( itsMutex );
        if ( itsIdleGreeters >= itsToGreet.size() ||
             itsGreeters.size() >= itsSettings.limits.mostUnauthenticated )
            return;
    }
    itsGreeters.emplace_back( *this, "greet", &XServerRun::Greet );
    try
    {
        itsGreeters.back().StartThread();
    }
    catch ( ... )
    {
        itsGreeters.pop_back();
        throw;
    }
}

/// Mostly for want of descriptors, memory or threads.
void XServerRun::PauseAccepting( const XException& inError )
{
    if ( !itsHasLoggedPause || itsPauseLogTimer.RestartIfExpired() )
    {
        if ( !itsHasLoggedPause )
            itsPauseLogTimer.Restart();
        itsHasLoggedPause = true;
        XSessionLogManager::Log(
            kLogWarning,
            itsSettings.name + ": accepting connections pauses because " + inError.GetRawErrorMessage() );
    }
    const XThreadLock lock( itsMutex );
    // Ended early when responders are destroyed, which frees descriptors, memory and threads.
    itsHasRoom.Sleep( itsMutex, kPauseMS, true );
}

// ---- The greeters

void XServerRun::Greet()
{
    for ( ;; )
    {
        XNetEndpoint endpoint;
        const XNumber number = WaitForStranger( endpoint );
        try
        {
            GreetStranger( number, endpoint );
        }
        catch ( const XStopThreadException& )
        {
            throw;
        }
        catch ( ... ) // whatever it is, it is the connection's end
        {
            End( number, endpoint );
        }
    }
}

/// One that has not been dropped by now.
XServerRun::XNumber XServerRun::WaitForStranger( XNetEndpoint& outEndpoint )
{
    struct Idle
    {
        explicit Idle( USize& ioCount ) : itsCount( ++ioCount ) {}
        ~Idle() { --itsCount; }
        USize& itsCount;
    };
    const XThreadLock lock( itsMutex );
    for ( ;; )
    {
        while ( itsToGreet.empty() )
        {
            const Idle idle( itsIdleGreeters );
            itsHasGreetings.Wait( itsMutex, kNoTimeout, true );
        }
        const XNumber number = itsToGreet.front();
        itsToGreet.pop_front();
        const auto found = itsStrangers.find( number );
        if ( found == itsStrangers.end() )
            continue;
        outEndpoint = found->second.endpoint;
        return number;
    }
}

void XServerRun::GreetStranger( XNumber inNumber, XNetEndpoint& inEndpoint )
{
    const auto found = itsSettings.makers.find( ReadPreamble( inEndpoint ) );
    if ( found == itsSettings.makers.end() )
        XThrow( kErrorDisconnected );
    MakeResponder( inNumber, inEndpoint, found->second );
}

/// An exception of the maker ends its connection only.
void XServerRun::MakeResponder(
    XNumber inNumber, const XNetEndpoint& inEndpoint, const XServer::XMakeResponder& inMake )
{
    std::unique_ptr<XNetResponder> made;
    try
    {
        made = inMake();
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... )
    {
    }
    if ( !made )
        return End( inNumber, inEndpoint );
    Serve( inNumber, inEndpoint, std::move( made ) );
}

void XServerRun::Serve(
    XNumber inNumber, const XNetEndpoint& inEndpoint, std::unique_ptr<XNetResponder> inMade )
{
    try
    {
        inMade->itsHooks = {
            [this, inNumber] { Forget( inNumber ); }, [this, inNumber] { Ended( inNumber ); } };
        if ( inMade->IsAuthenticated() )
            Forget( inNumber );
        XNetResponder& responder = *inMade;
        {
            const XThreadLock lock( itsMutex ); // before it starts: it may end at once
            itsServed.emplace( inNumber, XServed{ std::move( inMade ) } );
        }
        responder.StartResponding( inEndpoint );
    }
    catch ( ... )
    {
        End( inNumber, inEndpoint );
        // No thread was started, so this one lets go for both.
        LetGo( inNumber ); // in place of the thread
        LetGo( inNumber );
        throw;
    }
    LetGo( inNumber );
}

void XServerRun::End( XNumber inNumber, const XNetEndpoint& inEndpoint )
{
    XNetEndpoint( inEndpoint ).ForceDisconnect();
    Forget( inNumber );
}

/// Call when the connection is not a stranger any more.
void XServerRun::Forget( XNumber inNumber )
{
    const XThreadLock lock( itsMutex );
    itsStrangers.erase( inNumber );
}

void XServerRun::Ended( XNumber inNumber )
{
    Forget( inNumber );
    LetGo( inNumber );
}

void XServerRun::LetGo( XNumber inNumber )
{
    const XThreadLock lock( itsMutex );
    const auto found = itsServed.find( inNumber );
    if ( found == itsServed.end() || --found->second.users > 0 )
        return;
    itsEnded.push_back( std::move( found->second.responder ) );
    itsServed.erase( found );
    itsHasChanged.Signal();
}

// ---- The watch

void XServerRun::Watch()
{
    for ( ;; )
    {
        DestroyEnded();
        const XThreadLock lock( itsMutex );
        DropExpired();
        if ( itsEnded.empty() )
            itsHasChanged.Sleep( itsMutex, GetTimeToNextExpiry(), true );
    }
}

/// Without the mutex, which a responder takes at its end.
void XServerRun::DestroyEnded()
{
    XVector<std::unique_ptr<XNetResponder>> ended;
    {
        const XThreadLock lock( itsMutex );
        ended.swap( itsEnded );
    }
    if ( ended.empty() )
        return;
    const XPreventThreadStop preventStop;
    ended.clear();
    itsHasRoom.Signal();
}

/// Under the mutex.
void XServerRun::DropExpired()
{
    while ( !itsStrangers.empty() && itsStrangers.begin()->second.timer.HasExpired() )
    {
        itsStrangers.begin()->second.endpoint.ForceDisconnect();
        itsStrangers.erase( itsStrangers.begin() );
    }
}

/// Under the mutex.
std::uint32_t XServerRun::GetTimeToNextExpiry() const
{
    return itsStrangers.empty() ? kNoTimeout : itsStrangers.begin()->second.timer.GetRemainingMS();
}
