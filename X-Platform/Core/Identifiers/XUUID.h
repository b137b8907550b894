#pragma once

#include "Ground/XTypes.h"

#include <cstring>

class XStream;
class XString;

/// An identifier of 16 bytes, in the network byte order of RFC 4122: the first field of 32 bits and the two
/// of 16 bits are stored most significant byte first, so the text shows the bytes from first to last.
///
/// A plain value: a vector of identifiers is a block of 16 bytes each, and a stream holds the bytes as
/// stored, never swapped.
/// Threads: like an array of bytes.
/// Errors: 1026 for text that is not an identifier.
class KORVALE_API XUUID
{
public:
    static constexpr std::size_t kByteCount = 16;

    /// All zeros. Usable during static initialisation.
    static const XUUID kNilID;

    constexpr XUUID() = default;

    /// Takes 16 bytes in stored order. Throws an internal error ("inBytes") for a null pointer.
    explicit XUUID( const std::uint8_t* inBytes );

    /// Parses the text like `StringToUUID`.
    explicit XUUID( const XString& inText );

    /// Replaces this by a new random identifier (version 4). If the system cannot generate one, throws
    /// `WLastErrorException` with the system's status and leaves the identifier unchanged.
    void GenerateNewID();

    bool IsNil() const { return *this == kNilID; }
    void SetNil() { *this = XUUID(); }

    const std::uint8_t* GetBytes() const { return itsBytes; }

    /// Lower-case hexadecimal digits in the groups 8-4-4-4-12: "f81d4fae-7dec-11d0-a765-00a0c91e6bf6".
    XString UUIDToString() const;

    /// The 16 bytes as 22 characters of the URL-safe base64 alphabet (A-Z, a-z, 0-9, "-", "_") without
    /// padding: "-B1Prn3sEdCnZQCgyR5r9g". Case-sensitive.
    XString UUIDToTerseString() const;

    /// Reads either text form: the long one in either case, also within braces or after "urn:uuid:" (in
    /// either case), and the terse one. Throws 1026 for anything else; the identifier is then unchanged.
    void StringToUUID( const XString& inText );

    /// -1, 0 or 1: compares the bytes as unsigned numbers from the first.
    int Compare( const XUUID& inOther ) const
    {
        const int order = std::memcmp( itsBytes, inOther.itsBytes, kByteCount );
        return ( order > 0 ) - ( order < 0 );
    }

    friend bool operator==( const XUUID& inLeft, const XUUID& inRight )
    {
        return std::memcmp( inLeft.itsBytes, inRight.itsBytes, kByteCount ) == 0;
    }
    friend bool operator<( const XUUID& inLeft, const XUUID& inRight )
    {
        return inLeft.Compare( inRight ) < 0;
    }
    friend bool operator>( const XUUID& inLeft, const XUUID& inRight )
    {
        return inLeft.Compare( inRight ) > 0;
    }

    /// A hash below 2^32 that is the same on every system. It depends mostly on the last eight bytes.
    std::uint64_t GetHash() const;

    /// The stream form: the 16 bytes as stored.
    void ReadStream2( XStream& inStream );
    void WriteStream2( XStream& inStream ) const;
    static constexpr USize64 GetStreamUsage() { return kByteCount; }

private:
    std::uint8_t itsBytes[kByteCount] = {};
};
