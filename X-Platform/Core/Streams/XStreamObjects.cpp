#include "Core/Streams/XStream.h"

#include "Core/Errors/XException.h"
#include "Core/Streams/XClassRegistry.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <memory>

// The object layer and the header of a stream: what needs the class registry.

namespace
{
/// The next value as a version, or 0 when nothing can be read there.
XVersion ReadVersionIfAny( XStream& inStream )
{
    try
    {
        return inStream.ReadVersion();
    }
    catch ( const XException& error )
    {
        if ( !error.ShouldReportError() )
            throw; // a stop or an abort, not a failed read
        return 0;
    }
}
} // namespace

void XStream::WriteStreamInfo()
{
    WriteByteOrder();
    WriteVersion( kCurrentStreamVersion );
}

void XStream::ReadStreamInfo()
{
    ReadByteOrder();
    const SSize64 position = GetPosition();
    const XVersion version = ReadVersionIfAny( *this );
    if ( !XClassRegistry::IsA( version, kCurrentStreamVersion ) )
    {
        itsStreamVersion = XVersion( kClassStream, 0 );
        SeekTo( position );
        return;
    }
    if ( version.GetClassRevision() > kCurrentStreamVersion.GetClassRevision() )
        XThrow( kErrorRevisionTooNew );
    itsStreamVersion = version;
}

void XStream::WriteObject( const XStorable& inObject, XStorable::XOptions inOptions )
{
    const XNestedObject nested( *this );
    WriteVersion( inObject.GetVersion() );
    inObject.WriteStream2( *this, inOptions );
}

void XStream::WriteObject( const XStorable* inObject, XStorable::XOptions inOptions )
{
    if ( inObject )
        WriteObject( *inObject, inOptions );
    else
        WriteVersion( kClassNone );
}

XStorable* XStream::ReadObject( XStorable::XOptions inOptions )
{
    const XVersion version = ReadVersion();
    if ( version == XVersion( kClassNone ) )
        return nullptr;
    const XNestedObject nested( *this );
    std::unique_ptr<XStorable> object(
        XClassRegistry::CreateObject( version, *this, kClassNone, inOptions ) );
    itsClassesCreated.push_back( version );
    object->PreReadStream( *this, version, inOptions );
    object->ReadStream2( *this, inOptions );
    return object.release();
}

XVersion XStream::GetLastClassCreated() const
{
    return itsClassesCreated.empty() ? XVersion( kClassNone ) : itsClassesCreated.back();
}
