#include "NetJobs/XNetJobSharedData.h"

#include "Core/Streams/XStream.h"

XNetJobSharedData::XNetJobSharedData(
    std::uint32_t inID, std::uint32_t inJobQueueID, std::uint32_t inClientID )
    : itsID( inID ), itsJobQueueID( inJobQueueID ), itsClientID( inClientID )
{
}

XNetJobSharedData::~XNetJobSharedData() = default;

XVersion XNetJobSharedData::GetClassVersion()
{
    return XVersion( kClassNetJobSharedData, 0 );
}

XVersion XNetJobSharedData::GetSuperClassVersion()
{
    return XVersion( kClassNone );
}

XVersion XNetJobSharedData::GetVersion() const
{
    return GetClassVersion();
}

XNetJobSharedData* XNetJobSharedData::Clone() const
{
    return new XNetJobSharedData( *this );
}

USize64 XNetJobSharedData::GetStreamUsage() const
{
    return 4 * sizeof( std::uint32_t ); // the version included
}

void XNetJobSharedData::ReadStream2( XStream& inStream, XOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
    ReadStreamSelf( inStream );
}

void XNetJobSharedData::WriteStream2( XStream& inStream, XOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
    WriteStreamSelf( inStream );
}

void XNetJobSharedData::ReadStreamSelf( XStream& inStream )
{
    itsID = inStream.Read32();
    itsJobQueueID = inStream.Read32();
    itsClientID = inStream.Read32();
}

void XNetJobSharedData::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsID );
    inStream.Write32( itsJobQueueID );
    inStream.Write32( itsClientID );
}
