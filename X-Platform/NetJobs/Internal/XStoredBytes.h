#pragma once

#include "Core/Streams/XMemStream.h"
#include "NetJobs/XNetJobEvent.h"

/// An object as bytes, in its envelope and in Intel order: the form in which network jobs and their results are sent.
/// Throws 1013 for more than `XNetJobEvent::kMostBytes`.
inline XVector<std::uint8_t> XStoreAsBytes( const XStorable& inObject )
{
    XMemStream stream;
    stream.SetByteOrder( kIntelOrder );
    stream.WriteObject( inObject );
    stream.Flush();
    if ( stream.GetLength() > XNetJobEvent::kMostBytes )
        XThrow( kErrorBadParameters );
    return { stream.GetData(), stream.GetData() + stream.GetLength() };
}

/// Reads such an object. Throws 1003, 1004, 1005, 1015 and 1260, 1005 also for bytes after the object.
template<class TObject>
std::unique_ptr<TObject> XReadFromBytes( const XVector<std::uint8_t>& inBytes )
{
    XMemStream stream( inBytes.data(), inBytes.size() );
    stream.SetByteOrder( kIntelOrder );
    std::unique_ptr<TObject> object = stream.ReadObjectOf<TObject>();
    if ( !stream.IsAtEOF() )
        XThrow( kErrorStreamCorrupted );
    return object;
}
