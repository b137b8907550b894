#include "Network/XNetStream.h"

#include "Network/Internal/XByteQueue.h"

#include <algorithm>

// Reading ahead. A small read receives whatever has arrived, up to itsMostAhead bytes, and keeps the rest in
// itsAhead; a read of that size or more goes directly to the caller's memory. If a read fails midway, because
// of a time-out for instance, the bytes received so far are put back, so that it can be repeated as a whole.
//
// Sending cannot be repeated: it is not known how many bytes have reached the peer. After a failure the
// stream refuses to send (itsHasFailedToSend), instead of sending something that the peer would take for the
// continuation.

namespace
{

/// The most that an endpoint transfers in one call.
std::uint32_t ToCount( USize64 inCount )
{
    constexpr USize64 kMost = 0x40000000;
    return static_cast<std::uint32_t>( std::min( inCount, kMost ) );
}

} // namespace

XNetStream::XNetStream(
    XNetEndpoint& inEndpoint, std::uint32_t inSendTimeoutMS, std::uint32_t inRecvTimeoutMS,
    USize64 inBufferSize )
    : XStream( inBufferSize, false, false ), itsEndpoint( inEndpoint ), itsSendTimeoutMS( inSendTimeoutMS ),
      itsRecvTimeoutMS( inRecvTimeoutMS ), itsMostAhead( std::min( inBufferSize, kMostAhead ) ),
      itsAhead( std::make_unique<XByteQueue>() )
{
}

XNetStream::~XNetStream()
{
    FlushQuietly();
}

void XNetStream::SeekTo( SSize64 inPosition )
{
    if ( inPosition != GetPosition() )
        XThrow( kErrorBadParameters );
}

SSize64 XNetStream::GetExtentSelf()
{
    return -1;
}

void XNetStream::SetExtentSelf( SSize64 )
{
    XThrow( kErrorBadParameters );
}

// ---- Sending

void XNetStream::DrainBuffer( SSize64, const void* buffer, USize64 count )
{
    SendBytes( buffer, count );
}

void XNetStream::SendBytes( const void* inBytes, USize64 inCount )
{
    if ( itsHasFailedToSend )
        XThrow( kErrorDisconnected );
    itsHasFailedToSend = true; // until all is sent
    for ( const auto* bytes = static_cast<const std::uint8_t*>( inBytes ); inCount > 0; )
    {
        const std::uint32_t count = ToCount( inCount );
        itsEndpoint.SendData( bytes, count, itsSendTimeoutMS );
        bytes += count;
        inCount -= count;
    }
    itsHasFailedToSend = false;
}

// ---- Receiving

/// The base has already sent the written bytes.
void XNetStream::FillBuffer( SSize64, void* buffer, USize64 count )
{
    ReceiveBytes( buffer, count );
}

void XNetStream::PeekBuffer8WithoutSeekSelf( void* buffer, USize64 count )
{
    PeekBytes( buffer, count );
}

void XNetStream::ReceiveBytes( void* outBytes, USize64 inCount )
{
    if ( inCount > itsReadsLeft )
        XThrow( kErrorStreamCorrupted );
    auto* const bytes = static_cast<std::uint8_t*>( outBytes );
    const bool isSmall = inCount < itsMostAhead;
    USize64 done = itsAhead->Take( bytes, inCount );
    try
    {
        while ( done < inCount )
        {
            if ( isSmall )
            {
                ReceiveAhead( itsMostAhead );
                done += itsAhead->Take( bytes + done, inCount - done );
            }
            else
                done +=
                    itsEndpoint.ReceiveAnyData( bytes + done, ToCount( inCount - done ), itsRecvTimeoutMS );
        }
    }
    catch ( ... )
    {
        PutBack( bytes, done );
        throw;
    }
    itsReadsLeft -= inCount;
}

void XNetStream::PeekBytes( void* outBytes, USize64 inCount )
{
    if ( itsMostAhead == 0 && itsAhead->GetCount() == 0 && inCount == ToCount( inCount ) )
        return itsEndpoint.PeekData( outBytes, ToCount( inCount ), itsRecvTimeoutMS );
    while ( itsAhead->GetCount() < inCount )
        ReceiveAhead( std::max( itsMostAhead, std::min( inCount - itsAhead->GetCount(), kReadStep ) ) );
    std::copy_n( itsAhead->GetData(), inCount, static_cast<std::uint8_t*>( outBytes ) );
}

bool XNetStream::HasReceivedAhead() const
{
    return itsAhead->GetCount() > 0;
}

bool XNetStream::HasBytesToRead() const
{
    return HasReceivedAhead() || itsEndpoint.GetWaitingBytes() > 0;
}

void XNetStream::PutBack( const void* inBytes, USize64 inCount )
{
    itsAhead->PutBack( static_cast<const std::uint8_t*>( inBytes ), inCount );
}

/// Receives the available bytes, at most `inMost`, and appends them to those received ahead.
void XNetStream::ReceiveAhead( USize64 inMost )
{
    std::uint8_t* const room = itsAhead->MakeRoom( inMost );
    itsAhead->Commit( itsEndpoint.ReceiveAnyData( room, ToCount( inMost ), itsRecvTimeoutMS ) );
}
