#include "Core/Streams/XFileStream.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr USize64 XFileStream::kDefaultBufferSize;

XFileStream::XFileStream( const std::filesystem::path& inPath, WFile::Mode inMode, USize64 inBufferSize )
    : XStream( inBufferSize, true, true ), itsPath( inPath ), itsFile( inPath, inMode )
{
}

XFileStream::~XFileStream()
{
    if ( itsFile.IsOpen() )
        FlushQuietly();
}

void XFileStream::Close()
{
    if ( !itsFile.IsOpen() )
        return;
    try
    {
        Flush();
    }
    catch ( ... )
    {
        itsFile = WFile();
        throw;
    }
    itsFile.Close();
}

void XFileStream::FillBuffer( SSize64 inPosition, void* buffer, USize64 count )
{
    XAssert( count > 0 );
    XAssert( itsFile.IsOpen() );
    if ( itsFile.ReadAt( static_cast<USize64>( inPosition ), buffer, count ) < count )
        XThrow( kErrorEndOfFile );
}

void XFileStream::DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count )
{
    XAssert( count > 0 );
    XAssert( itsFile.IsOpen() );
    itsFile.WriteAt( static_cast<USize64>( inPosition ), buffer, count );
}

SSize64 XFileStream::GetExtentSelf()
{
    XAssert( itsFile.IsOpen() );
    return static_cast<SSize64>( itsFile.GetSize() );
}

void XFileStream::SetExtentSelf( SSize64 inExtent )
{
    XAssert( itsFile.IsOpen() );
    itsFile.SetSize( static_cast<USize64>( inExtent ) );
}
