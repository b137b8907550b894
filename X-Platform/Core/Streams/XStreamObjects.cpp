#include "Core/Streams/XStream.h"

#include "Core/Errors/XException.h"
#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <memory>

// The object layer and the header of a stream: what needs the class registry.

namespace
{
/// The next value as a version, or 0 if it cannot be read: without an observer, a failure must be thrown only
/// when the missing bytes are needed.
XVersion ReadVersionIfAny( XStream& inStream )
{
    try
    {
        return inStream.ReadVersion();
    }
    catch ( const XException& error )
    {
        if ( !error.ShouldReportError() || inStream.GetObserver() )
            throw; // a stop or an abort, not a failed read
        return 0;
    }
}

/// The reason why there is no object of a class.
std::string DescribeRefusal( const XVersion& inVersion, std::uint32_t inErrorNumber )
{
    const std::string text = XDescribeVersion( inVersion );
    if ( !XClassRegistry::IsRegistered( inVersion ) )
        return text + " is not known";
    return inErrorNumber == kErrorRevisionTooNew ? text + " is too new"
                                                 : "an object of " + text + " has no place here";
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
    XBeginField( *this, "the version of the stream" );
    const SSize64 position = GetPosition();
    const XVersion version = ReadVersionIfAny( *this );
    // Streams of old writers have no version: the first object follows the byte order mark.
    if ( !XClassRegistry::IsA( version, kCurrentStreamVersion ) )
    {
        itsStreamVersion = XVersion( kClassStream, 0 );
        SeekTo( position );
        return XEndField( *this, [] { return "Stream: an old one without a version"; } );
    }
    if ( version.GetClassRevision() > kCurrentStreamVersion.GetClassRevision() )
        XRefuse(
            *this, kErrorRevisionTooNew,
            [&]
            {
                return "the stream is of revision " + std::to_string( version.GetClassRevision() ) +
                    ", which is too new";
            } );
    itsStreamVersion = version;
    XEndField( *this, [&] { return "Stream: " + XDescribeVersion( version ); } );
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
    XBeginField( *this, "the version of an object" );
    const SSize64 position = GetObservedPosition();
    const XVersion version = ReadVersion();
    if ( version == XVersion( kClassNone ) )
    {
        XEndField( *this, [] { return "No object"; } );
        return nullptr;
    }
    const XNestedObject nested( *this );
    std::unique_ptr<XStorable> object = MakeObject( version, inOptions );
    // Before the object is read, which may create others.
    itsClassesCreated.push_back( version );
    if ( itsObserver )
        itsObserver->BeginObject( position, version );
    object->PreReadStream( *this, version, inOptions );
    object->ReadStream2( *this, inOptions );
    if ( itsObserver )
        itsObserver->EndObject( GetObservedPosition() );
    return object.release();
}

std::unique_ptr<XStorable> XStream::MakeObject( const XVersion& inVersion, XStorable::XOptions inOptions )
{
    try
    {
        return std::unique_ptr<XStorable>(
            XClassRegistry::CreateObject( inVersion, *this, kClassNone, inOptions ) );
    }
    catch ( const XException& error )
    {
        if ( itsObserver )
            itsObserver->Refuse( DescribeRefusal( inVersion, error.GetErrorNumber() ) );
        throw;
    }
}

void XStream::CheckNextObject( const XVersion& inBase )
{
    if ( !CanPeek() )
        return; // the object itself is checked when it has been read
    XBeginField( *this, "the version of an object" );
    const XVersion version = PeekVersion();
    // A class that is not registered is left to the creation, which resolves aliases.
    const bool isOther = version.GetClassID() == kClassNone ||
        ( XClassRegistry::IsRegistered( version ) && !XClassRegistry::IsA( version, inBase ) );
    if ( isOther )
        XRefuse(
            *this, kErrorStreamCorrupted, [&] { return DescribeRefusal( version, kErrorStreamCorrupted ); } );
}

XVersion XStream::GetLastClassCreated() const
{
    return itsClassesCreated.empty() ? XVersion( kClassNone ) : itsClassesCreated.back();
}
