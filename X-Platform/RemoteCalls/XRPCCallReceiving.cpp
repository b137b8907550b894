#include "RemoteCalls/XRPCBridgeBase.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Network/XEncryptedNetStream.h"
#include "Services/XSessionLogManager.h"
#include "Threads/XThread.h"

#include <utility>

// Received calls, on the receiving thread: reads the arguments, runs the method, writes the return.

void XRPCBridgeBase::RunConversation()
{
    XAssert(
        IsServer() || ( itsBridgeType == kBidirectionalClient ) || ( itsBridgeType == kReceiveOnlyClient ) );
    InitialiseRPCProtocolForReceiver();
    itsHasToEndConversation = false;
    SetReceiverState( kConnected );
    try
    {
        ServeCalls();
    }
    catch ( ... )
    {
        DropReceiver( false );
        itsReceiverStream.reset();
        SetReceiverState( kNotConnected );
        throw;
    }
    itsReceiverStream.reset();
    SetReceiverState( kNotConnected );
}

/// Returns when the peer has closed the connection.
void XRPCBridgeBase::ServeCalls()
{
    try
    {
        while ( !itsHasToEndConversation )
        {
            XAssert( itsReceiverStream );
            itsReceiverStream->SetReadLimit( itsMostCallBytes );
            HandleRPCCall( itsReceiverStream->Read32() );
            XThread::TestCancelCurrentThread();
        }
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() != kErrorDisconnected )
            throw;
        DropReceiver( false );
    }
}

void XRPCBridgeBase::HandleRPCCall( std::uint32_t inCallWord )
{
    const bool isAsynchronous = ( inCallWord & kAsynchronousCall ) != 0;
    const std::uint32_t code = inCallWord & ~kAsynchronousCall;
    CheckState( code, isAsynchronous );
    XRPCSlotBase* const slot = GetRPCCallSlot( code );
    if ( !slot )
    {
        const char* const text = isAsynchronous
            ? "An RPC sender tried to make an unknown asynchronous RPC call with code: "
            : "An RPC sender tried to make an unknown RPC call with code: ";
        XSessionLogManager::Log( kLogWarning, XString( text ) + XString( code ) );
        Refuse( kErrorCallNotSupported, isAsynchronous );
        XThrow( kErrorDisconnected );
    }
    const XRPCConnectionState state = itsReceiverState;
    sTotalRPCCallsReceived.fetch_add( 1, std::memory_order_relaxed );
    PreHandleRPCCall( state, code );
    ServeCall( *slot, isAsynchronous );
    SwitchReceiverByteOrder();
    PostHandleRPCCall( state, code );
}

/// A peer that has not authenticated may make the first two calls of the handshake only.
void XRPCBridgeBase::CheckState( std::uint32_t inCode, bool inIsAsynchronous )
{
    const XRPCConnectionState state = itsReceiverState;
    if ( state == kAuthenticated || inCode == kInitiateConversation ||
         ( state == kInitiated && inCode == kAuthenticateConversation ) )
        return;
    Refuse( kErrorAuthenticationFailed, inIsAsynchronous );
    XThrow( kErrorDisconnected );
}

/// Answers a call with an error and closes the connection, since the end of its arguments is unknown.
void XRPCBridgeBase::Refuse( std::uint32_t inStatus, bool inIsAsynchronous )
{
    if ( !inIsAsynchronous )
        XSwallowErrors(
            [&]
            {
                PrepareReceiverReturnBuffer( inStatus );
                FlushReceiverReturnBuffer();
            } );
    DropReceiver( !inIsAsynchronous );
}

void XRPCBridgeBase::ServeCall( XRPCSlotBase& ioSlot, bool inIsAsynchronous )
{
    class XCleanUp
    {
    public:
        explicit XCleanUp( XRPCSlotBase& ioCleaned ) : itsSlot( ioCleaned ) {}
        XCleanUp( const XCleanUp& ) = delete;
        XCleanUp& operator=( const XCleanUp& ) = delete;
        ~XCleanUp()
        {
            XSwallowErrors( [this] { itsSlot.CleanUp(); } );
        }

    private:
        XRPCSlotBase& itsSlot;
    };
    const XCleanUp cleanUp( ioSlot );
    const std::uint32_t status = ReadAndRun( ioSlot, inIsAsynchronous );
    if ( inIsAsynchronous )
        return;
    XStream& stream = PrepareReceiverReturnBuffer( status );
    if ( status == 0 )
        ioSlot.WriteResult( stream );
    FlushReceiverReturnBuffer();
}

/// Returns the status of the return.
std::uint32_t XRPCBridgeBase::ReadAndRun( XRPCSlotBase& ioSlot, bool inIsAsynchronous )
{
    bool areOfTheirClass = false;
    try
    {
        areOfTheirClass = ioSlot.ReadArguments( PrepareReceiverParameterBuffer() );
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() != kErrorDisconnected )
            Refuse( error.GetErrorNumber(), inIsAsynchronous );
        throw;
    }
    catch ( ... )
    {
        Refuse( kErrorUnknownRPC, inIsAsynchronous );
        throw;
    }
    if ( TakeReceiverAbort( ioSlot.GetCallCode() ) )
        return kErrorCallAborted;
    return areOfTheirClass ? RunCall( ioSlot, inIsAsynchronous ) : std::uint32_t( kErrorWrongStorable );
}

/// Failures of calls without a return are only logged.
std::uint32_t XRPCBridgeBase::RunCall( XRPCSlotBase& ioSlot, bool inIsAsynchronous )
{
    try
    {
        ioSlot.RunCall();
        return 0;
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( const XException& error )
    {
        XSessionLogManager* const log = XSessionLogManager::GetManager();
        if ( inIsAsynchronous && log && error.ShouldLogError() )
            log->AddException( error, kLogWarning, "remote call " + XString( ioSlot.GetCallCode() ) );
        return error.GetErrorNumber() != 0 ? error.GetErrorNumber() : std::uint32_t( kErrorUnknownRPC );
    }
    catch ( ... )
    {
        return kErrorUnknownRPC;
    }
}

XStream& XRPCBridgeBase::PrepareReceiverParameterBuffer()
{
    XAssert( itsReceiverStream );
    return *itsReceiverStream;
}

XStream& XRPCBridgeBase::PrepareReceiverReturnBuffer( std::uint32_t inStatus )
{
    XAssert( itsReceiverStream );
    itsReceiverStream->Write32( inStatus );
    return *itsReceiverStream;
}

void XRPCBridgeBase::FlushReceiverReturnBuffer()
{
    itsReceiverStream->Flush();
}

void XRPCBridgeBase::PreHandleRPCCall( XRPCConnectionState, std::uint32_t ) {}

void XRPCBridgeBase::PostHandleRPCCall( XRPCConnectionState, std::uint32_t ) {}
