#include "Pivot/XPivotRunBlocks.h"

#include "Core/XStream.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace
{
// Small enough to stay in the nearest cache, beside what is copied through it.
constexpr std::size_t kBufferSize = 4 * 1024;

/// What stands before the values of a run.
struct XRunHead
{
    std::uint32_t length;
    std::uint32_t start;
};

/// Runs are copied in steps of this size, mostly in one: a step takes no decisions. What it copies past the
/// run is written over next, be it in a buffer, which has that much room behind it, or in a column, but for
/// its last rows.
constexpr std::size_t kStep = 128;

void CopyInSteps( std::uint8_t* outBytes, const std::uint8_t* inBytes, std::size_t inCount )
{
    for ( std::size_t i = 0; i < inCount; i += kStep )
        std::memcpy( outBytes + i, inBytes + i, kStep );
}

/// Puts a default value into the rows between runs.
class XGapFiller
{
public:
    XGapFiller( const void* inDefault, std::size_t inValueSize )
    {
        for ( std::size_t i = 0; i < kGapStep; i += inValueSize )
            std::memcpy( itsDefaults + i, inDefault, inValueSize );
    }

    /// May write past the gap, which is not empty, but not past the column.
    void Fill( std::uint8_t* outGap, const std::uint8_t* inGapEnd, const std::uint8_t* inColumnEnd ) const
    {
        do
        {
            const std::size_t room = static_cast<std::size_t>( inColumnEnd - outGap );
            if ( room < kGapStep )
            {
                std::memcpy( outGap, itsDefaults, room );
                return;
            }
            std::memcpy( outGap, itsDefaults, kGapStep );
            outGap += kGapStep;
        } while ( outGap < inGapEnd );
    }

private:
    static constexpr std::size_t kGapStep = 32; // whole values of every type

    std::uint8_t itsDefaults[kGapStep];
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
        {
            Flush();
            if ( sizeof inHead + inCount > kBufferSize )
                return WriteLongRun( inHead, inValues, inCount );
        }
        std::uint8_t* place = itsBuffer.get() + itsFilled;
        std::memcpy( place, &inHead, sizeof inHead );
        if ( inReadable >= inCount + kStep ) [[likely]]
            CopyInSteps( place + sizeof inHead, inValues, inCount );
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
    void WriteLongRun( const XRunHead& inHead, const std::uint8_t* inValues, std::size_t inCount )
    {
        itsStream.WriteBuffer8( &inHead, sizeof inHead );
        itsStream.WriteBuffer8( inValues, inCount );
    }

    XStream& itsStream;
    std::unique_ptr<std::uint8_t[]> itsBuffer =
        std::make_unique_for_overwrite<std::uint8_t[]>( kBufferSize + kStep );
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

    /// `inWritable` bytes may be written at `outValues`, at least `inCount`.
    void ReadRun( std::uint8_t* outValues, std::size_t inCount, std::size_t inWritable )
    {
        if ( inCount > itsFilled - itsUsed || inWritable < inCount + kStep )
            return Read( outValues, inCount );
        CopyInSteps( outValues, itsBuffer.get() + itsUsed, inCount );
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
    std::unique_ptr<std::uint8_t[]> itsBuffer = std::make_unique<std::uint8_t[]>( kBufferSize + kStep );
    std::size_t itsFilled = 0;
    std::size_t itsUsed = 0;
};

std::size_t GetDistance( const std::uint8_t* inFirst, const std::uint8_t* inEnd )
{
    return static_cast<std::size_t>( inEnd - inFirst );
}
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
            { run.length, run.start }, first, run.length * inValueSize, GetDistance( first, end ) );
    }
    writer.Flush();
    inStream.Write32( 0 );
}

std::uint64_t XGetPivotRunsSize( const XVector<std::uint8_t>& inExists, std::size_t inValueSize )
{
    const XPivotRunTotals totals = XCountPivotRuns( inExists );
    return totals.runs * sizeof( XRunHead ) + totals.rows * inValueSize + sizeof( std::uint32_t );
}

bool XCanReadPivotRunBlocks( XStream& inStream, std::uint64_t inSize )
{
    const SSize64 remaining = inStream.GetRemaining();
    return remaining >= 0 && static_cast<std::uint64_t>( remaining ) >= inSize;
}

std::optional<XPivotRun> XReadPivotRunBlocks(
    XStream& inStream, std::uint64_t inSize, const XVector<std::uint8_t>& inExists, const void* inDefault,
    void* outValues, std::size_t inValueSize )
{
    std::uint8_t* values = static_cast<std::uint8_t*>( outValues );
    const std::uint8_t* end = values + inExists.size() * inValueSize;
    std::uint8_t* gap = values; // behind the last run
    const XGapFiller filler( inDefault, inValueSize );
    XBlockReader reader( inStream, inSize );
    XPivotRunFinder finder( inExists );
    XPivotRun run;
    XRunHead head;
    while ( finder.Next( run ) )
    {
        reader.Read( &head, sizeof head );
        if ( head.length != run.length || head.start != run.start )
            return XPivotRun{ head.start, head.length };
        std::uint8_t* first = values + run.start * inValueSize;
        if ( gap < first )
            filler.Fill( gap, first, end );
        const std::size_t size = run.length * inValueSize;
        reader.ReadRun( first, size, GetDistance( first, end ) );
        gap = first + size;
    }
    if ( gap < end )
        filler.Fill( gap, end, end );
    reader.Read( &head.length, sizeof head.length );
    if ( head.length == 0 )
        return std::nullopt;
    reader.Read( &head.start, sizeof head.start );
    return XPivotRun{ head.start, head.length };
}
