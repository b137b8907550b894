#include "NetJobs/XNetJobResult.h"

#include "Core/Streams/XStream.h"

XNetJobResult::XNetJobResult( std::uint32_t inJobID, std::uint32_t inResultCode )
    : itsJobID( inJobID ), itsResultCode( inResultCode )
{
}

XNetJobResult::~XNetJobResult() = default;

XVersion XNetJobResult::GetClassVersion()
{
    return XVersion( kClassNetJobResult, 0 );
}

XVersion XNetJobResult::GetSuperClassVersion()
{
    return XVersion( kClassNone );
}

XVersion XNetJobResult::GetVersion() const
{
    return GetClassVersion();
}

XNetJobResult* XNetJobResult::Clone() const
{
    return new XNetJobResult( *this );
}

USize64 XNetJobResult::GetStreamUsage() const
{
    return 3 * sizeof( std::uint32_t ); // the version included
}

void XNetJobResult::ReadStream2( XStream& inStream, XOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
    ReadStreamSelf( inStream );
}

void XNetJobResult::WriteStream2( XStream& inStream, XOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
    WriteStreamSelf( inStream );
}

void XNetJobResult::ReadStreamSelf( XStream& inStream )
{
    itsJobID = inStream.Read32();
    itsResultCode = inStream.Read32();
}

void XNetJobResult::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsJobID );
    inStream.Write32( itsResultCode );
}
