#pragma once

#include "Core/Storables/XVersioned.h"

class XStream;

/// An object that can write itself to an XStream and read itself back.
///
/// Every storable class has static `GetClassVersion()` and `GetSuperClassVersion()`. It writes its version
/// before its fields (its base's version and fields first) and, on reading, rejects another class (1005) and
/// a newer revision (1015) through `ReadCheckedVersion`.
class KORVALE_API XStorable : public XVersioned
{
public:
    /// Bits passed on to nested objects.
    using XOptions = std::uint32_t;
    static constexpr XOptions kNoOptions = 0;

    /// Option for reading bytes from an untrusted source: damage that is otherwise reported as an internal
    /// error (1006) is 1005, like other damage.
    static constexpr XOptions kUntrustedSource = 0x80000000;

    /// A deep copy with the dynamic class of this object; the caller owns it.
    virtual XStorable* Clone() const = 0;

    /// The stored size in bytes as the class defines it. A class for which this is not the number of bytes
    /// that `WriteStream2` writes says so.
    virtual USize64 GetStreamUsage() const = 0;

    /// Replaces this object's contents by those read from the stream. Throws 1005, 1015, 1260 and the errors
    /// of the stream; the object is then valid, but its contents are unspecified.
    virtual void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) = 0;

    virtual void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const = 0;

    /// Called by `XStream::ReadObject` between creation and `ReadStream2`, with the version stored before the
    /// object. Does nothing by default.
    virtual void PreReadStream( XStream& inStream, const XVersion& inVersion, XOptions inOptions );

protected:
    XStorable() = default;
    XStorable( const XStorable& ) = default;
    XStorable& operator=( const XStorable& ) = default;

    /// Reads the version that precedes an object's fields. Streams of revision 2 or more always contain it.
    /// In an older stream it may be missing: then returns `inExpected` and leaves the position unchanged.
    XVersion ReadClassVersion( XStream& inStream, const XVersion& inExpected ) const;

    /// Calls `ReadClassVersion`, then makes the two checks of every reader: 1005 unless the version `IsA` the
    /// expected class, 1015 if its revision is newer than that of `inExpected`. Returns the version read.
    XVersion ReadCheckedVersion( XStream& inStream, const XVersion& inExpected ) const;
};
