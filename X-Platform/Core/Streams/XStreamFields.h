#pragma once

#include "Core/Streams/XStream.h"
#include "Core/Streams/XStreamObserver.h"

#include <string>

/// How readers report to the observer of a stream. Without one a call is a comparison: names and texts that are not
/// constants are given as functions, which are called for an observer only.

inline void XBeginField( XStream& inStream, const char* inName )
{
    if ( auto* const observer = inStream.GetObserver() ) [[unlikely]]
        observer->BeginField( inStream.GetObservedPosition(), inName );
}

template<class TGetName>
void XBeginField( XStream& inStream, const TGetName& inGetName )
{
    if ( auto* const observer = inStream.GetObserver() ) [[unlikely]]
        observer->BeginField( inStream.GetObservedPosition(), inGetName() );
}

inline void XBeginPart( XStream& inStream )
{
    if ( auto* const observer = inStream.GetObserver() ) [[unlikely]]
        observer->BeginPart( inStream.GetObservedPosition() );
}

template<class TGetText>
void XEndField( XStream& inStream, const TGetText& inGetText )
{
    if ( auto* const observer = inStream.GetObserver() ) [[unlikely]]
        observer->EndField( inStream.GetObservedPosition(), inGetText() );
}

/// Tells the observer the reason, and throws the error of that number.
template<class TGetReason>
[[noreturn]] void XRefuse( XStream& inStream, std::uint32_t inErrorNumber, const TGetReason& inGetReason )
{
    if ( auto* const observer = inStream.GetObserver() )
        observer->Refuse( inGetReason() );
    XThrow( inErrorNumber );
}

/// A number that is a field of that name.
KORVALE_API std::uint32_t XReadField32( XStream& inStream, const char* inName );

/// A string that is a field of that name. Its text is Windows-1252.
KORVALE_API void XReadFieldString( XStream& inStream, const char* inName, XString& outString );

/// "class 2001, revision 0".
KORVALE_API std::string XDescribeVersion( XVersion inVersion );

/// Windows-1252 text in quotes, on one line, cut off where it is long: a damaged length can make a text of a whole file.
KORVALE_API std::string XQuoteStoredText( const XString& inText );
