#pragma once

#include "Core/Streams/XStream.h"

/// A stream over an XString, which the caller keeps alive and does not change meanwhile. Each write is
/// visible in the string when the call returns: it replaces the bytes at the position and lengthens the
/// string if it goes beyond the end.
///
/// Errors: writing to a constant string, and writing at a position beyond the end of the string, are internal
/// errors.
class KORVALE_API XStringStream : public XStream
{
public:
    /// A read-only stream.
    explicit XStringStream( const XString& inString );
    explicit XStringStream( XString& ioString );
    ~XStringStream() override;

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override;
    void DrainBuffer( SSize64 streamPos, const void* buffer, USize64 count ) override;
    SSize64 GetExtentSelf() override;
    void SetExtentSelf( SSize64 inExtent ) override;

private:
    XString* itsString; // read-only if isReadOnly
    bool isReadOnly;
};
