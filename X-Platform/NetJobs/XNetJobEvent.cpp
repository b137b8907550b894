#include "NetJobs/XNetJobEvent.h"

#include "Core/Streams/XStreamVectors.h"
#include "NetJobs/Internal/XReadEnumeration.h"

XNetJobEvent::XNetJobEvent(
    XKind inKind, std::uint32_t inClientID, std::uint32_t inJobQueueID, std::uint32_t inJobID,
    std::uint64_t inValue, XVector<std::uint8_t> inBytes )
    : kind( inKind ), clientID( inClientID ), jobQueueID( inJobQueueID ), jobID( inJobID ), value( inValue ),
      bytes( std::move( inBytes ) )
{
}

XNetJobEvent::~XNetJobEvent() = default;

USize64 XNetJobEvent::GetFieldsUsage() const
{
    constexpr USize64 kNumbers = 4; // of 32 bits
    return kNumbers * sizeof( std::uint32_t ) + sizeof( value ) + XGetValueVectorStreamUsage( bytes );
}

void XNetJobEvent::ReadStreamSelf( XStream& inStream )
{
    kind = XReadEnumeration( inStream, kMemoryBudget );
    clientID = inStream.Read32();
    jobQueueID = inStream.Read32();
    jobID = inStream.Read32();
    value = inStream.Read64();
    XReadVector( inStream, bytes );
}

void XNetJobEvent::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( kind );
    inStream.Write32( clientID );
    inStream.Write32( jobQueueID );
    inStream.Write32( jobID );
    inStream.Write64( value );
    XWriteVector( inStream, bytes );
}
