#pragma once

#include "Network/XNetEndpointImp.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <algorithm>
#include <cstring>
#include <vector>

/// A connection whose peer has sent certain bytes and then closed. What is sent to it is lost.
class MemoryEndpointImp : public XNetEndpointImp
{
public:
    MemoryEndpointImp( const std::uint8_t* inBytes, std::size_t inCount )
        : itsBytes( inBytes, inBytes + inCount )
    {
    }

    void Connect( const XNetAddress&, std::uint32_t ) override {}
    void ConnectWithProgress( const XNetAddress&, std::uint32_t ) override {}
    void Bind( std::int32_t, std::uint32_t ) override {}
    XNetEndpoint* Listen() override { return nullptr; }
    void Unbind() override {}
    void Disconnect( std::uint32_t ) override {}
    void ForceDisconnect() override {}
    void SendData( const void*, std::uint32_t, std::uint32_t ) override {}

    /// In small pieces of changing size, so that reads are cut everywhere.
    std::uint32_t ReceiveAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) override
    {
        const std::uint32_t count = PeekAnyData( buffer, std::min( length, itsNextPiece ), inTimeoutMS );
        itsNextPiece = itsNextPiece * 5 % 17 + 1;
        itsTaken += count;
        return count;
    }
    std::uint32_t PeekAnyData( void* buffer, std::uint32_t length, std::uint32_t ) override
    {
        const auto count =
            static_cast<std::uint32_t>( std::min<std::size_t>( length, itsBytes.size() - itsTaken ) );
        if ( count == 0 )
            XThrow( kErrorDisconnected );
        std::memcpy( buffer, itsBytes.data() + itsTaken, count );
        return count;
    }
    void WaitForMoreData( std::uint32_t inCount, std::uint32_t ) override
    {
        if ( inCount >= GetWaitingBytes() )
            XThrow( kErrorDisconnected );
    }
    std::uint32_t GetWaitingBytes() override
    {
        return static_cast<std::uint32_t>( itsBytes.size() - itsTaken );
    }
    std::uint32_t GetKeepAliveTimeMS() override { return 0; }
    void SetKeepAliveTimeMS( std::uint32_t ) override {}
    std::uint64_t GetTotalBytesRead() override { return itsTaken; }
    std::uint64_t GetTotalBytesWritten() override { return 0; }
    std::uint64_t GetAvgBytesReadPerSec() override { return 0; }
    std::uint64_t GetAvgBytesWrittenPerSec() override { return 0; }

private:
    const std::vector<std::uint8_t> itsBytes;
    std::size_t itsTaken = 0;
    std::uint32_t itsNextPiece = 1;
};
