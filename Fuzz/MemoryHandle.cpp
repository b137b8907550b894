// The stream form of a memory handle, in either byte order (the first byte chooses), read into a heap block and into a
// mapped one under a small budget. What can be read keeps its bytes through writing and reading again in every
// compression; what cannot is refused with a documented number and takes no more memory than the budget.

#include "FuzzTools.h"

#include "Memory/WMemoryManager.h"
#include "Memory/XMappedFileMemoryHandle.h"

#include <vector>

namespace
{

constexpr USize64 kBudget = 16 * 1024 * 1024;

std::vector<std::uint8_t> BytesOf( const XMemoryHandle& inHandle )
{
    std::vector<std::uint8_t> bytes( inHandle.GetDataSize() );
    inHandle.CopyDataTo( bytes.data(), bytes.size() );
    return bytes;
}

void CheckRoundTrip( const XMemoryHandle& inHandle )
{
    for ( const auto type : { XMemoryHandle::kNoCompression, XMemoryHandle::kFastestCompression } )
    {
        XMemStream stream;
        inHandle.WriteStream( stream, type );
        stream.SeekTo( 0 );
        XMemoryHandle again;
        again.ReadStream2( stream );
        Require( stream.IsAtEOF() && BytesOf( again ) == BytesOf( inHandle ) );
    }
}

template<class THandle>
void Read( const std::uint8_t* inData, std::size_t inSize )
{
    XMemStream stream( inData + 1, inSize - 1 );
    stream.SetByteOrder( inData[0] & 1 ? kMotorolaOrder : kIntelOrder );
    THandle handle;
    const auto read = [&]
    {
        handle.ReadStream2( stream );
        CheckRoundTrip( handle );
    };
    RequireDocumentedErrors( { 1005, 1012, 1015, 1260 }, read );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    static WMemoryManager sManager;
    sManager.SetBudget( kBudget );
    if ( inSize == 0 )
        return -1;
    Read<XMemoryHandle>( inData, inSize );
    Read<XMappedFileMemoryHandle>( inData, inSize );
    Require( sManager.GetPeakBytesInUse() <= kBudget && sManager.GetBytesInUse() == 0 );
    return 0;
}
