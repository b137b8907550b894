#include "RemoteCalls/XRPCBridgeBase.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Network/XEncryptedNetStream.h"
#include "RemoteCalls/Internal/XRPCFlusher.h"
#include "RemoteCalls/Internal/XRPCTurns.h"
#include "Threads/XThread.h"
#include "Time/WClock.h"

#include <utility>

// Sent calls: one at a time, each under the sender mutex from BeginRPCCall to EndRPCCall, repeated after a
// reconnection if allowed; and aborts of both directions.

namespace
{

/// Limits the repeats of a call that ends the connection every time.
constexpr unsigned kMostRepeats = 4;

bool IsLostConnection( const XException& inError )
{
    const std::uint32_t number = inError.GetErrorNumber();
    return number == kErrorDisconnected || number == kErrorConnectionTimedOut;
}

} // namespace

void XRPCBridgeBase::MakeCall(
    std::uint32_t inCode, bool inWaits, XRPCRepeat inRepeat, XRPCOutgoingCallBase& ioCall )
{
    const XMakeRPCCall call( *this, inCode, inWaits );
    std::uint32_t status = 0;
    for ( unsigned repeats = 0;; ++repeats )
    {
        try
        {
            status = SendCall( inCode, inWaits, ioCall );
            break;
        }
        catch ( const XException& error )
        {
            HandleRPCCallError( error, inRepeat == XRPCRepeat::kMayRepeat && repeats < kMostRepeats );
        }
        catch ( ... )
        {
            HandleRPCCallUnknownError();
            throw;
        }
    }
    if ( status != 0 )
        XThrow( status );
}

/// Returns the status of the return.
std::uint32_t XRPCBridgeBase::SendCall( std::uint32_t inCode, bool inWaits, XRPCOutgoingCallBase& ioCall )
{
    if ( inWaits )
        CheckNothingHasArrived();
    ioCall.WriteArguments( PrepareSenderParameterBuffer( inCode ) );
    FlushSenderParameterBuffer();
    const std::uint32_t status = PrepareSenderReturnBuffer( inWaits );
    if ( !inWaits )
        return 0;
    const bool isOfItsClass = status != 0 || ioCall.ReadResult( *itsSenderStream );
    CheckReturnIsComplete();
    return isOfItsClass ? status : std::uint32_t( kErrorWrongStorable );
}

/// The peer sends nothing but returns, and those of earlier calls have been read: calls without a return get
/// none. Bytes that are there before a call would be read as its return.
void XRPCBridgeBase::CheckNothingHasArrived() const
{
    if ( itsSenderStream && itsSenderStream->HasBytesToRead() )
        XThrow( kErrorStreamCorrupted );
}

/// The peer sends only what was asked for. Further bytes would be read as the return of the next call. Bytes
/// still in the connection are left to the check before that call: after the handshake of a receive-only
/// client they may be the first call of its server.
void XRPCBridgeBase::CheckReturnIsComplete() const
{
    if ( itsSenderStream->HasReceivedAhead() )
        XThrow( kErrorStreamCorrupted );
}

void XRPCBridgeBase::BeginRPCCall( std::uint32_t inCode, bool inWaitForReturn )
{
    CheckSender();
    LockSender( inWaitForReturn );
    try
    {
        NoteCall( inCode, inWaitForReturn );
    }
    catch ( ... )
    {
        UnlockSender();
        throw;
    }
    try
    {
        EnsureSender();
        CountSentCall();
    }
    catch ( ... )
    {
        EndRPCCall();
        throw;
    }
}

void XRPCBridgeBase::EndRPCCall()
{
    if ( !itsSenderMutex.IsLockedByCurrentThread() )
        return; // released early
    if ( ForgetCall() )
        NotifySenderDisconnected();
    UnlockSender();
}

/// Calls without a return are over too soon for turns. A thread that has the mutex already must not wait for
/// the turn of one that waits for the mutex.
void XRPCBridgeBase::LockSender( bool inWaitForReturn )
{
    if ( inWaitForReturn && !itsSenderMutex.IsLockedByCurrentThread() )
        itsTurns->Enter();
    try
    {
        itsSenderMutex.Lock( kNoTimeout, true );
    }
    catch ( ... )
    {
        itsTurns->Leave( false );
        throw;
    }
}

void XRPCBridgeBase::UnlockSender()
{
    itsSenderMutex.Unlock();
    itsTurns->Leave( itsSenderIsAvailable );
}

void XRPCBridgeBase::ReleaseSenderEarly( std::uint32_t inCode )
{
    if ( !itsSenderMutex.IsLockedByCurrentThread() )
        return;
    {
        const XThreadLock lock( itsMutex );
        if ( itsCallCode != inCode )
            return;
    }
    EndRPCCall(); // without the lock, since it may call a hook; only the thread that has the sender changes the code
}

/// Throws 3098 if the call has been aborted in advance.
void XRPCBridgeBase::NoteCall( std::uint32_t inCode, bool inWaitForReturn )
{
    const XThreadLock lock( itsMutex );
    XAssert( itsCallCode == kNoCall ); // writing arguments and hooks must not call
    if ( std::exchange( itsSenderAbortCode, std::uint32_t( kNoCall ) ) == inCode )
        XThrow( kErrorCallAborted );
    itsCallCode = inCode;
    itsWaitsForReturn = inWaitForReturn;
}

/// An abort that came too late for its call must not abort the next one, which reconnects. Returns whether it
/// has cost a server its sender.
bool XRPCBridgeBase::ForgetCall()
{
    const XThreadLock lock( itsMutex );
    itsCallCode = kNoCall;
    itsWaitsForReturn = true;
    if ( !itsSenderIsDropped )
        return false;
    itsSenderAbortCode = kNoCall;
    return LoseSender() && !MayReconnect();
}

/// Fails at once if no call can be sent, without waiting for calls of other threads.
void XRPCBridgeBase::CheckSender() const
{
    if ( itsSenderIsAvailable || itsSenderMutex.GetOwner() != 0 )
        return;
    if ( IsServer() )
        XThrow( kErrorSenderUnavailable );
    if ( !MayReconnect() )
        XThrow( kErrorDisconnected );
}

/// Under the sender mutex. Reconnects a client if it may.
void XRPCBridgeBase::EnsureSender()
{
    if ( itsSenderIsAvailable )
        return;
    if ( IsServer() )
        XThrow( kErrorSenderUnavailable );
    if ( !MayReconnect() )
        XThrow( kErrorDisconnected );
    ReconnectOrFail();
    if ( IsSenderCallAborted() )
        FailAborted();
}

bool XRPCBridgeBase::MayReconnect() const
{
    const XThreadLock lock( itsMutex );
    return ( CanAutoReconnect() || itsSenderIsDropped ) && HasLostConnection();
}

/// Converts failures to the number that the call ends with.
void XRPCBridgeBase::ReconnectOrFail()
{
    try
    {
        ReconnectSender();
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( const XException& )
    {
        const bool isAborted = IsSenderCallAborted();
        const XThreadLock lock( itsMutex );
        itsSenderIsDropped = false;
        itsSenderAbortCode = kNoCall;
        XThrow( isAborted ? kErrorCallAborted : kErrorDisconnected );
    }
}

XStream& XRPCBridgeBase::PrepareSenderParameterBuffer( std::uint32_t inCode )
{
    if ( !itsSenderStream )
        XThrow( kErrorDisconnected );
    itsSenderStream->Write32( itsWaitsForReturn ? inCode : inCode | kAsynchronousCall );
    return *itsSenderStream;
}

void XRPCBridgeBase::FlushSenderParameterBuffer()
{
    if ( !DeferFlush() )
        FlushSender();
}

/// Defers a call without a return that follows another within the flusher's delay. The first is sent at once,
/// so that a single call is not delayed. TEA streams have no buffer to defer in.
bool XRPCBridgeBase::DeferFlush()
{
    if ( itsWaitsForReturn || itsSenderStream->GetAlgorithm() == XEncryptedNetStream::kAlgorithmTEA ||
         WClock::GetMicroSeconds() - itsLastFlushUS >= XRPCFlusher::kDelayUS )
        return false;
    if ( itsHasDeferred.exchange( true ) ) // before the flusher is armed, which may look at once
        return true;
    try
    {
        if ( !itsFlusher )
            itsFlusher = std::make_unique<XRPCFlusher>( [this] { return FlushDeferred(); } );
        itsFlusher->Arm();
    }
    catch ( const XException& )
    {
        return false; // no thread can be started
    }
    return true;
}

/// itsLastFlushUS stays 0 after a failure, so that the next call sends at once and fails too.
void XRPCBridgeBase::FlushSender()
{
    itsHasDeferred = false;
    itsLastFlushUS = 0;
    itsSenderStream->Flush();
    if ( !itsWaitsForReturn )
        itsLastFlushUS = WClock::GetMicroSeconds();
}

/// On the flusher's thread. False if another thread owns the sender and calls may still be unsent.
bool XRPCBridgeBase::FlushDeferred()
{
    if ( !itsHasDeferred )
        return true;
    if ( !itsSenderMutex.TryLock() )
        return false;
    const XThreadLock lock( itsSenderMutex ); // released even if Flush throws
    itsSenderMutex.Unlock();
    if ( !itsHasDeferred.exchange( false ) || !itsSenderStream )
        return true;
    itsLastFlushUS = 0;
    try
    {
        itsSenderStream->Flush();
        itsLastFlushUS = WClock::GetMicroSeconds();
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... ) // the next call fails
    {
    }
    return true;
}

void XRPCBridgeBase::StopFlusher()
{
    itsFlusher.reset();
}

std::uint32_t XRPCBridgeBase::PrepareSenderReturnBuffer( bool inWaitForReturn )
{
    if ( !inWaitForReturn )
        return 0;
    itsSenderStream->SetReadLimit( itsMostCallBytes );
    return itsSenderStream->Read32();
}

void XRPCBridgeBase::HandleRPCCallError( const XException& inError, bool inMayRepeat )
{
    DropSender(); // the rest of this call must not be read as the next one's
    const bool wasAvailable = LoseSender();
    if ( dynamic_cast<const XStopThreadException*>( &inError ) )
    {
        NotifySenderDisconnected();
        throw;
    }
    if ( HandleRPCCallErrorSelf( inError ) )
        throw;
    if ( IsClient() && wasAvailable && MayReconnect() )
    {
        const bool wasAborted = IsSenderCallAborted();
        try
        {
            ReconnectOrFail();
        }
        catch ( ... )
        {
            NotifySenderDisconnected();
            throw;
        }
        if ( wasAborted || IsSenderCallAborted() )
            FailAborted();
        if ( !IsLostConnection( inError ) )
            throw;
        if ( !inMayRepeat )
            XThrow( kErrorDisconnected );
        return;
    }
    NotifySenderDisconnected();
    if ( IsSenderCallAborted() )
        FailAborted();
    throw;
}

void XRPCBridgeBase::FailAborted()
{
    const XThreadLock lock( itsMutex );
    itsSenderAbortCode = kNoCall;
    XThrow( kErrorCallAborted );
}

void XRPCBridgeBase::HandleRPCCallUnknownError()
{
    DropSender();
    LoseSender();
    const XThreadLock lock( itsMutex );
    NotifySenderDisconnected();
}

void XRPCBridgeBase::NotifySenderDisconnected()
{
    XSwallowErrors( [this] { SenderDisconnectedSelf(); } );
}

// ---- Aborts

void XRPCBridgeBase::AbortSenderRPCCall( std::uint32_t inCode )
{
    const XThreadLock lock( itsMutex );
    itsSenderAbortCode = inCode;
    if ( itsCallCode != inCode || inCode == kNoCall )
        return;
    itsSenderIsDropped = true;
    itsStateChanged.Broadcast();
    DropSender();
}

void XRPCBridgeBase::AbortReceiverRPCCall( std::uint32_t inCode )
{
    itsReceiverAbortCode = inCode;
}

/// An abort that is already ending a call is not undone.
void XRPCBridgeBase::ResetSenderAbortRPCCall()
{
    const XThreadLock lock( itsMutex );
    if ( !itsSenderIsDropped )
        itsSenderAbortCode = kNoCall;
}

void XRPCBridgeBase::ResetReceiverAbortRPCCall()
{
    itsReceiverAbortCode = kNoCall;
}

bool XRPCBridgeBase::IsSenderCallAborted() const
{
    const XThreadLock lock( itsMutex );
    return itsCallCode != kNoCall && itsSenderAbortCode == itsCallCode;
}

bool XRPCBridgeBase::TakeReceiverAbort( std::uint32_t inCode )
{
    return itsReceiverAbortCode.compare_exchange_strong( inCode, kNoCall );
}
