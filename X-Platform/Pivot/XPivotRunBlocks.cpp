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

class XBlockWriter
{
public:
    explicit XBlockWriter( XStream& inStream ) : itsStream( inStream ) {}

    void Write( const void* inBytes, std::size_t inCount )
    {
        if ( inCount > kBufferSize - itsFilled )
        {
            Flush();
            if ( inCount > kBufferSize )
                return itsStream.WriteBuffer8( inBytes, inCount );
        }
        std::memcpy( itsBuffer.get() + itsFilled, inBytes, inCount );
        itsFilled += inCount;
    }

    void Flush()
    {
        itsStream.WriteBuffer8( itsBuffer.get(), itsFilled );
        itsFilled = 0;
    }

private:
    XStream& itsStream;
    std::unique_ptr<std::uint8_t[]> itsBuffer = std::make_unique_for_overwrite<std::uint8_t[]>( kBufferSize );
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
    std::unique_ptr<std::uint8_t[]> itsBuffer = std::make_unique_for_overwrite<std::uint8_t[]>( kBufferSize );
    std::size_t itsFilled = 0;
    std::size_t itsUsed = 0;
};

struct XRunHead
{
    std::uint32_t length;
    std::uint32_t start;
};
static_assert( sizeof( XRunHead ) == kHeadSize );
} // namespace

void XWritePivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inValues, std::size_t inValueSize )
{
    const std::uint8_t* values = static_cast<const std::uint8_t*>( inValues );
    XBlockWriter writer( inStream );
    XPivotRunFinder finder( inExists );
    XPivotRun run;
    while ( finder.Next( run ) )
    {
        const XRunHead head = { run.length, run.start };
        writer.Write( &head, sizeof head );
        writer.Write( values + run.start * inValueSize, run.length * inValueSize );
    }
    const std::uint32_t end = 0;
    writer.Write( &end, sizeof end );
    writer.Flush();
}

bool XCanReadPivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, std::size_t inValueSize )
{
    const SSize64 remaining = inStream.GetRemaining();
    return remaining >= 0 &&
        static_cast<std::uint64_t>( remaining ) >= GetRunsSize( XCountPivotRuns( inExists ), inValueSize );
}

std::optional<XPivotRun> XReadPivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, void* outValues, std::size_t inValueSize )
{
    std::uint8_t* values = static_cast<std::uint8_t*>( outValues );
    XBlockReader reader( inStream, GetRunsSize( XCountPivotRuns( inExists ), inValueSize ) );
    XPivotRunFinder finder( inExists );
    XPivotRun run;
    XRunHead head;
    while ( finder.Next( run ) )
    {
        reader.Read( &head, sizeof head );
        if ( head.length != run.length || head.start != run.start )
            return XPivotRun{ head.start, head.length };
        reader.Read( values + run.start * inValueSize, run.length * inValueSize );
    }
    reader.Read( &head.length, sizeof head.length );
    if ( head.length == 0 )
        return std::nullopt;
    reader.Read( &head.start, sizeof head.start );
    return XPivotRun{ head.start, head.length };
}
