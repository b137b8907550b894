#include "Pivot/Rows/Internal/XPivotRunBlocks.h"

#include "Core/Streams/XStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{
/// What stands before the values of a run.
struct XRunHead
{
    std::uint32_t length;
    std::uint32_t start;

    // Field by field, so that heads stay in registers: one store of two fields just written has to wait for
    // both.
    void Write( std::uint8_t* outBytes ) const
    {
        std::memcpy( outBytes, &length, sizeof length );
        std::memcpy( outBytes + sizeof length, &start, sizeof start );
    }
    static XRunHead Read( const std::uint8_t* inBytes )
    {
        XRunHead head;
        std::memcpy( &head.length, inBytes, sizeof head.length );
        std::memcpy( &head.start, inBytes + sizeof head.length, sizeof head.start );
        return head;
    }
    bool operator==( const XRunHead& ) const = default;
};

/// Runs are copied in steps of this size, mostly in one: a step takes no decisions. What it copies past the
/// run is written over next, be it in the stream's buffer or in a column, as long as there is that much room.
constexpr std::size_t kStep = 128;

constexpr std::size_t kLongRun = 4 * 1024; // bytes from which on steps gain nothing

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

/// Writes runs into the room that the stream lends, and past it by calls of the stream.
class XRunWriter
{
public:
    explicit XRunWriter( XStream& inStream ) : itsStream( inStream ), itsRoom( inStream.LendRoom() ) {}

    /// `inReadable` bytes may be read at `inValues`, at least `inCount`.
    void WriteRun(
        const XRunHead& inHead, const std::uint8_t* inValues, std::size_t inCount, std::size_t inReadable )
    {
        const std::size_t touched = sizeof inHead + inCount + kStep;
        if ( inReadable < inCount + kStep || itsRoom.size() < touched || inCount >= kLongRun ) [[unlikely]]
            return WriteByCalls( inHead, inValues, inCount );
        inHead.Write( itsRoom.data() );
        CopyInSteps( itsRoom.data() + sizeof inHead, inValues, inCount );
        itsRoom = itsRoom.subspan( sizeof inHead + inCount );
        itsWritten += sizeof inHead + inCount;
    }

    void Finish() { itsStream.PassLent( std::exchange( itsWritten, 0 ) ); }

private:
    void WriteByCalls( const XRunHead& inHead, const std::uint8_t* inValues, std::size_t inCount )
    {
        Finish();
        itsStream.WriteBuffer8( &inHead, sizeof inHead );
        itsStream.WriteBuffer8( inValues, inCount );
        itsRoom = itsStream.LendRoom();
    }

    XStream& itsStream;
    std::span<std::uint8_t> itsRoom; // what is left of it
    std::size_t itsWritten = 0;      // before that
};

/// Reads runs out of the bytes that the stream lends, and past them by calls of the stream.
class XRunReader
{
public:
    explicit XRunReader( XStream& inStream ) : itsStream( inStream ), itsBytes( inStream.LendBytes() ) {}

    /// False when another run stands in the stream: its head was read, its values are not. `inWritable` bytes
    /// may be written at `outValues`, at least `inCount`, which are those of the expected run.
    bool ReadRun(
        const XRunHead& inExpected, std::uint8_t* outValues, std::size_t inCount, std::size_t inWritable )
    {
        const std::size_t touched = sizeof inExpected + inCount + kStep;
        if ( inWritable < inCount + kStep || itsBytes.size() < touched || inCount >= kLongRun ||
             XRunHead::Read( itsBytes.data() ) != inExpected ) [[unlikely]]
            return ReadByCalls( inExpected, outValues, inCount );
        CopyInSteps( outValues, itsBytes.data() + sizeof inExpected, inCount );
        itsBytes = itsBytes.subspan( sizeof inExpected + inCount );
        itsUsed += sizeof inExpected + inCount;
        return true;
    }

    /// The length 0 stands alone and ends the runs.
    void ReadHead()
    {
        itsStream.PassLent( std::exchange( itsUsed, 0 ) );
        itsHead = { itsStream.ReadValue<std::uint32_t>(), 0 };
        if ( itsHead.length != 0 )
            itsHead.start = itsStream.ReadValue<std::uint32_t>();
    }
    const XRunHead& GetHead() const { return itsHead; }

private:
    bool ReadByCalls( const XRunHead& inExpected, std::uint8_t* outValues, std::size_t inCount )
    {
        ReadHead();
        if ( itsHead != inExpected )
            return false;
        itsStream.ReadBuffer8( outValues, inCount );
        itsBytes = itsStream.LendBytes();
        return true;
    }

    XStream& itsStream;
    std::span<const std::uint8_t> itsBytes; // what is left of them
    std::size_t itsUsed = 0;                // before that
    XRunHead itsHead = {};                  // the last one read by calls
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
    XRunWriter writer( inStream );
    XPivotRunFinder finder( inExists );
    XPivotRun run;
    while ( finder.Next( run ) )
    {
        const std::uint8_t* first = values + run.start * inValueSize;
        writer.WriteRun(
            { run.length, run.start }, first, run.length * inValueSize, GetDistance( first, end ) );
    }
    writer.Finish();
    inStream.Write32( 0 );
}

std::optional<XPivotRun> XReadPivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inDefault, void* outValues,
    std::size_t inValueSize )
{
    std::uint8_t* values = static_cast<std::uint8_t*>( outValues );
    const std::uint8_t* end = values + inExists.size() * inValueSize;
    std::uint8_t* gap = values; // behind the last run
    const XGapFiller filler( inDefault, inValueSize );
    XRunReader reader( inStream );
    XPivotRunFinder finder( inExists );
    XPivotRun run;
    while ( finder.Next( run ) )
    {
        std::uint8_t* first = values + run.start * inValueSize;
        if ( gap < first )
            filler.Fill( gap, first, end );
        const std::size_t size = run.length * inValueSize;
        if ( !reader.ReadRun( { run.length, run.start }, first, size, GetDistance( first, end ) ) )
            return XPivotRun{ reader.GetHead().start, reader.GetHead().length };
        gap = first + size;
    }
    if ( gap < end )
        filler.Fill( gap, end, end );
    reader.ReadHead();
    if ( reader.GetHead().length == 0 )
        return std::nullopt;
    return XPivotRun{ reader.GetHead().start, reader.GetHead().length };
}
