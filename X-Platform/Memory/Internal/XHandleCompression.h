#pragma once

#include "Memory/XMappedFileMemoryHandle.h"

class XStream;

/// Bytes compressed with zlib, held in purgeable pieces so that their total length is known before they are
/// written. Internal to the library.
class XCompressedBytes
{
public:
    /// `inLevel` is 1 to 9. Throws 1012.
    XCompressedBytes( const void* inData, USize64 inSize, int inLevel );

    USize64 GetLength() const { return itsLength; }
    void Write( XStream& inStream );

private:
    static constexpr USize64 kPieceSize = 4 * 1024 * 1024;

    XVector<XMappedFileMemoryHandle> itsPieces; // all full except the last
    USize64 itsLength = 0;
};

/// Reads `inStoredLength` bytes of a stream and makes them the `inSize` bytes of a handle, which must not be
/// locked and whose old contents are lost. Memory is allocated as bytes arrive, not as the sizes claim.
/// Throws 1005 if the bytes do not result in exactly that size. Internal to the library.
void ReadPlainBytes( XStream& inStream, USize64 inSize, XMemoryHandle& ioHandle );
void ReadCompressedBytes(
    XStream& inStream, USize64 inStoredLength, USize64 inSize, XMemoryHandle& ioHandle );
