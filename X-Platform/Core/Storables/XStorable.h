#pragma once

#include "Core/Storables/XVersioned.h"

class XStream;

/// An object that can write itself to an XStream and read itself back.
///
/// Every storable class has static `GetClassVersion()` and `GetSuperClassVersion()`, writes its version before its
/// fields (its base's version and fields first) and, on reading, refuses another class (1005) and a newer revision
/// (1015) through `ReadCheckedVersion`.
class KORVALE_API XStorable : public XVersioned
{
public:
    /// Bits passed through to nested objects; none is defined by the library itself.
    using XOptions = std::uint32_t;
    static constexpr XOptions kNoOptions = 0;

    /// A deep copy of the most derived class; the caller owns it.
    virtual XStorable* Clone() const = 0;

    /// The number of bytes that `WriteStream2` would write, as the class states it.
    virtual USize64 GetStreamUsage() const = 0;

    /// Replaces this object's contents by what the stream holds. After an exception the object is valid but its
    /// contents are not to be used. Throws 1005, 1015, 1260 and what the stream throws.
    virtual void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) = 0;

    virtual void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const = 0;

    /// Called by `XStream::ReadObject` between creation and `ReadStream2`, with the version that the envelope named.
    /// Does nothing by default.
    virtual void PreReadStream( XStream& inStream, const XVersion& inVersion, XOptions inOptions );

protected:
    XStorable() = default;
    XStorable( const XStorable& ) = default;
    XStorable& operator=( const XStorable& ) = default;

    /// Reads the version that precedes an object's fields. Streams of revision 2 or more always carry it; in an older
    /// stream it may be missing, and then `inExpected` is returned and the position is unchanged.
    XVersion ReadClassVersion( XStream& inStream, const XVersion& inExpected ) const;

    /// `ReadClassVersion`, then the two checks that every reader makes: 1005 unless the version `IsA` the expected
    /// class, 1015 when its revision is newer than `inExpected`'s. Returns the version read.
    XVersion ReadCheckedVersion( XStream& inStream, const XVersion& inExpected ) const;
};
