#pragma once

#include "Core/Streams/XStream.h"
#include "Network/XNetEndpoint.h"

class XByteQueue;

/// A stream over the connection of an endpoint. Written bytes are sent when the buffer is full, by `Flush`, and before
/// anything is read; reading waits for what is asked for. Without a buffer each call of a primitive is one transfer.
///
/// With a buffer, small reads receive what has arrived beyond them too, up to the buffer's size: then the connection is
/// to be read by the stream alone.
///
/// Reading is all or nothing: bytes that arrived before a read failed, because its time was over for instance, come with
/// the next one. After a failed transfer the peer may have got a part of what was written, so that nothing can follow:
/// the stream refuses to send any more (3100).
///
/// The extent is unknown and there are no other positions: seeking anywhere but here, and setting the extent, is error
/// 1013. Bytes are in the platform's order at first.
///
/// Ownership: the endpoint belongs to the caller and outlives the stream. Several streams may send on one endpoint, but
/// the bytes that one has received are its own.
/// Threads: one at a time. Other threads may end the endpoint's connection.
/// Errors: those of XNetEndpoint and XStream.
class KORVALE_API XNetStream : public XStream
{
public:
    /// Time-outs as in XNetEndpoint.
    XNetStream(
        XNetEndpoint& inEndpoint, std::uint32_t inSendTimeoutMS, std::uint32_t inRecvTimeoutMS,
        USize64 inBufferSize );
    ~XNetStream() override;

    std::uint32_t GetSendTimeout() const { return itsSendTimeoutMS; }
    void SetSendTimeout( std::uint32_t inTimeoutMS ) { itsSendTimeoutMS = inTimeoutMS; }
    std::uint32_t GetRecvTimeout() const { return itsRecvTimeoutMS; }
    void SetRecvTimeout( std::uint32_t inTimeoutMS ) { itsRecvTimeoutMS = inTimeoutMS; }

    /// The most bytes to read from now on, so that a peer cannot have the reader keep any number of them: a read beyond
    /// them is error 1005. At first there is no limit.
    void SetReadLimit( USize64 inCount ) { itsReadsLeft = inCount; }

    std::uint64_t GetTotalBytesRead() const { return itsEndpoint.GetTotalBytesRead(); }
    std::uint64_t GetTotalBytesWritten() const { return itsEndpoint.GetTotalBytesWritten(); }
    std::uint64_t GetAvgBytesReadPerSec() const { return itsEndpoint.GetAvgBytesReadPerSec(); }
    std::uint64_t GetAvgBytesWrittenPerSec() const { return itsEndpoint.GetAvgBytesWrittenPerSec(); }

    void SeekTo( SSize64 inPosition ) override;

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override;
    void DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count ) override;
    void PeekBuffer8WithoutSeekSelf( void* buffer, USize64 count ) override;
    SSize64 GetExtentSelf() override;
    void SetExtentSelf( SSize64 inExtent ) override;

    // ---- The connection's bytes as they are, for streams that change them on the way

    void SendBytes( const void* inBytes, USize64 inCount );
    void ReceiveBytes( void* outBytes, USize64 inCount );
    void PeekBytes( void* outBytes, USize64 inCount );
    /// Sends nothing from now on (3100).
    void RefuseToSend() { itsHasFailedToSend = true; }
    /// Lets bytes that were received come again.
    void PutBack( const void* inBytes, USize64 inCount );

private:
    static constexpr USize64 kMostAhead = 65535;

    void ReceiveAhead( USize64 inMost );

    XNetEndpoint& itsEndpoint;
    std::uint32_t itsSendTimeoutMS;
    std::uint32_t itsRecvTimeoutMS;
    const USize64 itsMostAhead; // bytes that are received beyond those asked for
    std::unique_ptr<XByteQueue> itsAhead;
    USize64 itsReadsLeft = ~USize64( 0 );
    bool itsHasFailedToSend = false;
};
