#pragma once

#include "Core/Streams/XStream.h"
#include "Network/XNetEndpoint.h"

class XByteQueue;

/// A stream over the connection of an endpoint. Written bytes are sent when the buffer is full, by `Flush`,
/// and before each read; a read waits for all its bytes. Without a buffer each call of a primitive is one
/// transfer.
///
/// With a buffer, a small read also receives further bytes that have arrived, up to the size of the buffer;
/// only the stream may then read from the connection.
///
/// A read that fails, for instance on a time-out, consumes nothing: bytes that had arrived are returned by
/// the next read. After a failed send the peer may have received some of the bytes, so nothing can follow:
/// the stream rejects further sends with 3100.
///
/// The extent is unknown, and the position cannot be changed: seeking elsewhere and setting the extent are
/// error 1013. The initial byte order is the platform's.
///
/// Ownership: the endpoint belongs to the caller and must outlive the stream. Several streams may send on one
/// endpoint, but bytes received by one stream are not available to the others.
/// Threads: one at a time. Other threads may end the endpoint's connection.
/// Errors: those of XNetEndpoint and XStream.
class KORVALE_API XNetStream : public XStream
{
public:
    /// Time-outs are those of XNetEndpoint.
    XNetStream(
        XNetEndpoint& inEndpoint, std::uint32_t inSendTimeoutMS, std::uint32_t inRecvTimeoutMS,
        USize64 inBufferSize );
    ~XNetStream() override;

    std::uint32_t GetSendTimeout() const { return itsSendTimeoutMS; }
    void SetSendTimeout( std::uint32_t inTimeoutMS ) { itsSendTimeoutMS = inTimeoutMS; }
    std::uint32_t GetRecvTimeout() const { return itsRecvTimeoutMS; }
    void SetRecvTimeout( std::uint32_t inTimeoutMS ) { itsRecvTimeoutMS = inTimeoutMS; }

    /// Limits the bytes read from now on, so that a peer cannot fill the reader's memory: a read beyond the
    /// limit is error 1005. Initially there is no limit.
    void SetReadLimit( USize64 inCount ) { itsReadsLeft = inCount; }

    /// Whether bytes have been received beyond those that were read.
    bool HasReceivedAhead() const;
    /// Whether there are bytes that can be read without waiting: received ahead, or still in the connection.
    bool HasBytesToRead() const;

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

    // ---- Direct access to the connection's bytes, for derived streams that transform them

    void SendBytes( const void* inBytes, USize64 inCount );
    void ReceiveBytes( void* outBytes, USize64 inCount );
    void PeekBytes( void* outBytes, USize64 inCount );
    /// Makes all further sends fail (3100).
    void RefuseToSend() { itsHasFailedToSend = true; }
    /// Returns received bytes to the stream; the next read gets them first.
    void PutBack( const void* inBytes, USize64 inCount );

private:
    static constexpr USize64 kMostAhead = 65535;

    void ReceiveAhead( USize64 inMost );

    XNetEndpoint& itsEndpoint;
    std::uint32_t itsSendTimeoutMS;
    std::uint32_t itsRecvTimeoutMS;
    const USize64 itsMostAhead; // maximum number of bytes received beyond those requested
    std::unique_ptr<XByteQueue> itsAhead;
    USize64 itsReadsLeft = ~USize64( 0 );
    bool itsHasFailedToSend = false;
};
