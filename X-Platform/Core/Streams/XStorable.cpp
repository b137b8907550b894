#include "Core/Storables/XStorable.h"

#include "Core/Errors/XException.h"
#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XStream.h"
#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"

namespace
{
bool IsOfClass( const XVersion& inVersion, const XVersion& inClass )
{
    return inVersion.GetClassID() == inClass.GetClassID() || XClassRegistry::IsA( inVersion, inClass );
}

/// The version that an old stream has at its position, or `inExpected` and the position unchanged where it
/// has none.
XVersion ReadOptionalVersion( XStream& inStream, const XVersion& inExpected )
{
    const SSize64 position = inStream.GetPosition();
    try
    {
        const XVersion version = inStream.ReadVersion();
        if ( inExpected.GetClassID() == kClassNone || IsOfClass( version, inExpected ) )
            return version;
    }
    catch ( const XException& error )
    {
        if ( !error.ShouldReportError() || inStream.GetObserver() )
            throw; // a stop or an abort, not a failed read
    }
    inStream.SeekTo( position );
    return inExpected;
}
} // namespace

void XStorable::PreReadStream( XStream&, const XVersion&, XOptions ) {}

XVersion XStorable::ReadClassVersion( XStream& inStream, const XVersion& inExpected ) const
{
    if ( !inStream.IsOldStream() )
        return inStream.ReadVersion();
    XVersion expected = inExpected;
    if ( expected.GetClassID() == kClassNone )
        expected = inStream.GetLastClassCreated();
    if ( expected.GetClassID() == kClassNone )
        expected = GetVersion();
    return ReadOptionalVersion( inStream, expected );
}

XVersion XStorable::ReadCheckedVersion( XStream& inStream, const XVersion& inExpected ) const
{
    XBeginField( inStream, "a version" );
    const SSize64 position = inStream.GetPosition();
    const XVersion version = ReadClassVersion( inStream, inExpected );
    if ( !IsOfClass( version, inExpected ) )
        XRefuse(
            inStream, kErrorStreamCorrupted,
            [&]
            {
                return XDescribeVersion( version ) + " stands where " + XDescribeVersion( inExpected ) +
                    " is expected";
            } );
    if ( version.GetClassRevision() > inExpected.GetClassRevision() )
        XRefuse(
            inStream, kErrorRevisionTooNew, [&] { return XDescribeVersion( version ) + " is too new"; } );
    if ( inStream.GetPosition() > position )
        XEndField( inStream, [&] { return "Version: " + XDescribeVersion( version ); } );
    return version;
}
