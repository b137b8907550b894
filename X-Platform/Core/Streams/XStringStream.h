#pragma once

#include "Core/Streams/XStream.h"

/// A stream over an XString, which the caller keeps alive and does not change meanwhile. Every write is in
/// the string when the call returns: it replaces the bytes at the position and lengthens the string where it
/// reaches beyond the end.
///
/// Errors: internal errors for writing to a constant string and for writing beyond the string's length.
class KORVALE_API XStringStream : public XStream
{
public:
    /// Reads only.
    explicit XStringStream( const XString& inString );
    explicit XStringStream( XString& ioString );
    ~XStringStream() override;

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override;
    void DrainBuffer( SSize64 streamPos, const void* buffer, USize64 count ) override;
    SSize64 GetExtentSelf() override;
    void SetExtentSelf( SSize64 inExtent ) override;

private:
    XString* itsString; // never written through when isReadOnly
    bool isReadOnly;
};
