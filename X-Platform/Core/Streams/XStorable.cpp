#include "Core/Storables/XStorable.h"

#include "Core/Errors/XException.h"
#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XStream.h"
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
        if ( !error.ShouldReportError() )
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
    const XVersion version = ReadClassVersion( inStream, inExpected );
    if ( !IsOfClass( version, inExpected ) )
        XThrow( kErrorStreamCorrupted );
    if ( version.GetClassRevision() > inExpected.GetClassRevision() )
        XThrow( kErrorRevisionTooNew );
    return version;
}
