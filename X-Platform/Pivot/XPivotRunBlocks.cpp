#include "Pivot/XPivotRunBlocks.h"

#include "Core/XStream.h"

#include <memory>

namespace
{
constexpr std::size_t kBufferSize = 64 * 1024;
constexpr std::size_t kHeadSize = 2 * sizeof( std::uint32_t ); // length and start of a run

std::uint64_t GetRunsSize( const XPivotRunTotals& inTotals, std::size_t inValueSize )
{
    return inTotals.runs * kHeadSize + inTotals.rows * inValueSize + sizeof( std::uint32_t );
}

/// Runs of up to this many bytes are copied as that many, which takes no decisions, where what lies behind them allows
/// it: bytes behind a run in a buffer are written or read next, and rows behind a run in a column are yet to come.
constexpr std::size_t kShortRun = 128;

struct XRunHead
{
    std::uint32_t length;
    std::uint32_t start;
};

class XBlockWriter
{
public:
    explicit XBlockWriter( XStream& inStream ) : itsStream( inStream ) {}

    /// `inReadable` bytes may be read at `inValues`, at least `inCount`.
    void WriteRun(
        const XRunHead& inHead, const std::uint8_t* inValues, std::size_t inCount, std::size_t inReadable )
    {
        if ( sizeof inHead + inCount > kBufferSize - itsFilled )
            return WriteSlowly( inHead, inValues, inCount );
        std::uint8_t* place = itsBuffer.get() + itsFilled;
        std::memcpy( place, &inHead, sizeof inHead );
        if ( inCount <= kShortRun && inReadable >= kShortRun )
            std::memcpy( place + sizeof inHead, inValues, kShortRun );
        else
            std::memcpy( place + sizeof inHead, inValues, inCount );
        itsFilled += sizeof inHead + inCount;
    }

    void Flush()
    {
        itsStream.WriteBuffer8( itsBuffer.get(), itsFilled );
        itsFilled = 0;
    }

private:
    void WriteSlowly( const XRunHead& inHead, const std::uint8_t* inValues, std::size_t inCount )
    {
        Flush();
        itsStream.WriteBuffer8( &inHead, sizeof inHead );
        itsStream.WriteBuffer8( inValues, inCount );
    }

    XStream& itsStream;
    std::unique_ptr<std::uint8_t[]> itsBuffer =
        std::make_unique_for_overwrite<std::uint8_t[]>( kBufferSize + kShortRun );
    std::size_t itsFilled = 0;
};

/// Reads ahead, but never more than the bytes it was told of.
class XBlockReader
{
public:
    XBlockReader( XStream& inStream, std::uint64_t inBytes ) : itsStream( inStream ), itsUnread( inBytes ) {}

    void Read( void* outBytes, std::size_t inCount )
    {
        if ( inCount > itsFilled - itsUsed )
            return ReadSlowly( static_cast<std::uint8_t*>( outBytes ), inCount );
        std::memcpy( outBytes, itsBuffer.get() + itsUsed, inCount );
        itsUsed += inCount;
    }

    /// Reads a short run whole and puts `inBehind`, kShortRun bytes, behind it; false when it cannot.
    bool ReadShortRun( std::uint8_t* outValues, std::size_t inCount, const std::uint8_t* inBehind )
    {
        if ( inCount > kShortRun || inCount > itsFilled - itsUsed )
            return false;
        std::memcpy( outValues, itsBuffer.get() + itsUsed, kShortRun );
        std::memcpy( outValues + inCount, inBehind, kShortRun );
        itsUsed += inCount;
        return true;
    }

private:
    void ReadSlowly( std::uint8_t* outBytes, std::size_t inCount )
    {
        const std::size_t buffered = itsFilled - itsUsed;
        std::memcpy( outBytes, itsBuffer.get() + itsUsed, buffered );
        outBytes += buffered;
        inCount -= buffered;
        itsUsed = itsFilled = 0;
        if ( inCount >= kBufferSize || inCount >= itsUnread )
            return ReadPastBuffer( outBytes, inCount );
        itsFilled = static_cast<std::size_t>( std::min<std::uint64_t>( kBufferSize, itsUnread ) );
        ReadPastBuffer( itsBuffer.get(), itsFilled );
        Read( outBytes, inCount );
    }

    // More than was told of is asked for only where the runs are not those of the flags: let the stream say
    // whether it has it.
    void ReadPastBuffer( std::uint8_t* outBytes, std::size_t inCount )
    {
        itsStream.ReadBuffer8( outBytes, inCount );
        itsUnread -= std::min<std::uint64_t>( itsUnread, inCount );
    }

    XStream& itsStream;
    std::uint64_t itsUnread; // of the bytes told of, not yet in the buffer
    std::unique_ptr<std::uint8_t[]> itsBuffer = std::make_unique<std::uint8_t[]>( kBufferSize + kShortRun );
    std::size_t itsFilled = 0;
    std::size_t itsUsed = 0;
};

static_assert( sizeof( XRunHead ) == kHeadSize );
} // namespace

void XWritePivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inValues, std::size_t inValueSize )
{
    const std::uint8_t* values = static_cast<const std::uint8_t*>( inValues );
    const std::uint8_t* end = values + inExists.size() * inValueSize;
    XBlockWriter writer( inStream );
    XPivotRunFinder finder( inExists );
    XPivotRun run;
    while ( finder.Next( run ) )
    {
        const std::uint8_t* first = values + run.start * inValueSize;
        writer.WriteRun(
            { run.length, run.start }, first, run.length * inValueSize,
            static_cast<std::size_t>( end - first ) );
    }
    writer.Flush();
    inStream.Write32( 0 );
}

bool XCanReadPivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, std::size_t inValueSize )
{
    const SSize64 remaining = inStream.GetRemaining();
    return remaining >= 0 &&
        static_cast<std::uint64_t>( remaining ) >= GetRunsSize( XCountPivotRuns( inExists ), inValueSize );
}

std::optional<XPivotRun> XReadPivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inDefault, void* outValues,
    std::size_t inValueSize )
{
    std::uint8_t defaults[kShortRun];
    for ( std::size_t i = 0; i < kShortRun; i += inValueSize )
        std::memcpy( defaults + i, inDefault, inValueSize );
    std::uint8_t* values = static_cast<std::uint8_t*>( outValues );
    const std::uint8_t* end = values + inExists.size() * inValueSize;
    XBlockReader reader( inStream, GetRunsSize( XCountPivotRuns( inExists ), inValueSize ) );
    XPivotRunFinder finder( inExists );
    XPivotRun run;
    XRunHead head;
    while ( finder.Next( run ) )
    {
        reader.Read( &head, sizeof head );
        if ( head.length != run.length || head.start != run.start )
            return XPivotRun{ head.start, head.length };
        std::uint8_t* first = values + run.start * inValueSize;
        const std::size_t size = run.length * inValueSize;
        const bool hasRoom = static_cast<std::size_t>( end - first ) >= size + kShortRun;
        if ( !hasRoom || !reader.ReadShortRun( first, size, defaults ) )
            reader.Read( first, size );
    }
    reader.Read( &head.length, sizeof head.length );
    if ( head.length == 0 )
        return std::nullopt;
    reader.Read( &head.start, sizeof head.start );
    return XPivotRun{ head.start, head.length };
}
