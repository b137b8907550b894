#pragma once

#include "Core/Streams/XStream.h"
#include "Core/Streams/XStreamObserver.h"

#include <string>

/// Functions by which readers report to a stream's observer. Without an observer, a call costs one
/// comparison: names and texts that are not constants are passed as functions, which are called only if there
/// is an observer.

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

/// Reports the reason to the observer and throws the error number.
template<class TGetReason>
[[noreturn]] void XRefuse( XStream& inStream, std::uint32_t inErrorNumber, const TGetReason& inGetReason )
{
    if ( auto* const observer = inStream.GetObserver() )
        observer->Refuse( inGetReason() );
    XThrow( inErrorNumber );
}

/// Reads a 32-bit number and reports it as the field `inName`.
KORVALE_API std::uint32_t XReadField32( XStream& inStream, const char* inName );

/// Reads a string of Windows-1252 text and reports it as the field `inName`.
KORVALE_API void XReadFieldString( XStream& inStream, const char* inName, XString& outString );

/// "class 2001, revision 0".
KORVALE_API std::string XDescribeVersion( XVersion inVersion );

/// Quotes Windows-1252 text on one line, shortened if it is long: a damaged length can make a text of a whole
/// file.
KORVALE_API std::string XQuoteStoredText( const XString& inText );
