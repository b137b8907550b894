#include "Pivot/Rows/Internal/XPivotRunBlocks.h"

#include "Core/Streams/XStream.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <span>

// Most runs are short, so the cost per run is decisive. The flags of 64 rows form a word, and the runs within
// one word are moved without checking the rest of the column or of the stream's buffer: that is checked once
// per word. More bytes than the run are copied if that saves a branch. Runs that continue from word to word
// are moved one by one, and runs that are too long or at an end use calls of the stream, out of line. These
// take and return their data by value: an object whose address is taken is kept in memory.

namespace
{
/// The fields before the values of a run.
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

/// Bytes or room that a stream lends.
template<class T>
struct XLent
{
    T* begin;
    T* next; // behind what has been used
    T* end;

    explicit XLent( std::span<T> inSpan )
        : begin( inSpan.data() ), next( begin ), end( begin + inSpan.size() )
    {
    }
    std::size_t GetUsed() const { return static_cast<std::size_t>( next - begin ); }
    std::size_t GetLeft() const { return static_cast<std::size_t>( end - next ); }
};

/// Bytes that are copied at once, whatever they lie in.
template<std::size_t kSize>
struct XPieceOf
{
    using XType [[gnu::vector_size( kSize ), gnu::aligned( 1 ), gnu::may_alias]] = std::uint64_t;
};

constexpr std::size_t kPortableStep = 128;
constexpr std::size_t kVectorStep = 192;
constexpr std::size_t kLongRun = 4 * 1024; // bytes from which on steps gain nothing

/// Copies a run in steps, usually in a single one: a step has no branches. Bytes copied past the run are
/// overwritten next, both in the stream's buffer and in a column, as long as there is room for them.
template<std::size_t kStep>
[[gnu::always_inline]] inline void
CopyInSteps( std::uint8_t* outBytes, const std::uint8_t* inBytes, std::size_t inCount )
{
    using XPiece = typename XPieceOf<kStep == kVectorStep ? 32 : 16>::XType;
    // The caller guarantees kStep bytes of room behind the run on both sides, see GetLastInnerRow and kMost.
    for ( std::size_t i = 0; i < inCount; i += kStep )
#pragma GCC unroll 8
        for ( std::size_t j = i; j < i + kStep; j += sizeof( XPiece ) )
            *reinterpret_cast<XPiece*>( outBytes + j ) = *reinterpret_cast<const XPiece*>( inBytes + j );
}

constexpr std::size_t kRowsOfWord = 64;
constexpr std::size_t kMostRunsOfWord = kRowsOfWord / 2;

/// The last row at which a word and the excess of a step lie within the column; below 0 if there is none.
template<std::size_t kStep, std::size_t kValueSize>
std::ptrdiff_t GetLastInnerRow( std::size_t inSize )
{
    return static_cast<std::ptrdiff_t>( inSize ) -
        static_cast<std::ptrdiff_t>( kRowsOfWord + kStep / kValueSize );
}

/// Lets `ioMover` move the runs of a column in their order, until it returns false: `Move` one run, `MoveWord` those that
/// lie in the 64 rows from one on and end before the last of them. Returns false then.
///
/// Where a word ends the processor guesses wrong, so the next one is packed by then.
template<class TMover>
[[gnu::always_inline]] inline bool MoveRuns( const XVector<std::uint8_t>& inExists, TMover& ioMover )
{
    constexpr std::uint64_t kAll = ~std::uint64_t( 0 );
    constexpr std::size_t kNone = ~std::size_t( 0 );
    const std::size_t size = inExists.size();
    std::size_t open = kNone; // the first row of a run that goes on
    std::uint64_t ahead = XPackPivotFlags( inExists.data(), size );
    for ( std::size_t row = 0; row < size; row += kRowsOfWord )
    {
        std::uint64_t word = ahead;
        const std::size_t next = std::min( row + kRowsOfWord, size );
        ahead = XPackPivotFlags( inExists.data() + next, size - next );
        // A full word starts or continues a run whose end is not known yet.
        if ( open == kNone && word == kAll )
            open = row;
        if ( word == kAll )
            continue;
        if ( open != kNone )
        {
            // The run continues into this word for `rest` rows and ends there.
            const auto rest = static_cast<std::size_t>( std::countr_one( word ) );
            if ( !ioMover.Move( open, row + rest - open ) )
                return false;
            // Clears the lowest ones, which belonged to the open run.
            word &= word + 1;
        }
        // Ones at the upper end may continue in the next word.
        const auto last = static_cast<std::size_t>( std::countl_one( word ) );
        open = last > 0 ? row + kRowsOfWord - last : kNone;
        if ( !ioMover.MoveWord( row, word & kAll >> last ) )
            return false;
    }
    return open == kNone || ioMover.Move( open, size - open );
}

/// Calls `inMove( start, length )` for the runs in a word whose highest bit is 0, until that returns false.
template<class Move>
[[gnu::always_inline]] inline bool ForEachRunOfWord( std::uint64_t inWord, Move inMove )
{
    while ( inWord != 0 )
    {
        // Adding the lowest set bit turns the lowest run of ones into zeros and sets the bit behind it; `&=`
        // then removes that bit unless another run has it.
        const auto start = static_cast<std::size_t>( std::countr_zero( inWord ) );
        const std::uint64_t after =
            inWord + ( inWord & ( 0 - inWord ) ); // the bit behind the run, and further runs
        inWord &= after;
        if ( !inMove( start, static_cast<std::size_t>( std::countr_zero( after ) ) - start ) )
            return false;
    }
    return true;
}

XRunHead MakeHead( std::size_t inRow, std::size_t inLength )
{
    return { static_cast<std::uint32_t>( inLength ), static_cast<std::uint32_t>( inRow ) };
}

/// Returns the room behind the run.
[[gnu::noinline]] XLent<std::uint8_t> WriteByCalls(
    XStream& inStream, std::size_t inWritten, XRunHead inHead, const std::uint8_t* inValues,
    std::size_t inCount )
{
    inStream.PassLent( inWritten );
    inStream.WriteBuffer8( &inHead, sizeof inHead );
    inStream.WriteBuffer8( inValues, inCount );
    return XLent( inStream.LendRoom() );
}

template<std::size_t kStep, std::size_t kValueSize>
class XRunWriter
{
public:
    XRunWriter( XStream& inStream, std::size_t inSize, const void* inValues )
        : itsStream( inStream ), itsRoom( inStream.LendRoom() ),
          itsValues( static_cast<const std::uint8_t*>( inValues ) ),
          itsLastInnerRow( GetLastInnerRow<kStep, kValueSize>( inSize ) )
    {
    }

    [[gnu::always_inline]] bool Move( std::size_t inRow, std::size_t inLength )
    {
        const std::size_t count = inLength * kValueSize;
        const bool isInner = static_cast<std::ptrdiff_t>( inRow + inLength ) <= itsLastInnerRow;
        if ( isInner && count < kLongRun && itsRoom.GetLeft() >= sizeof( XRunHead ) + count + kStep )
            [[likely]]
            MoveShort( inRow, inLength );
        else
            MoveByCalls( inRow, inLength );
        return true;
    }

    [[gnu::always_inline]] bool MoveWord( std::size_t inRow, std::uint64_t inWord )
    {
        // An upper bound of the output of a word: all its rows, and a head for each possible run.
        constexpr std::size_t kMost = kRowsOfWord * kValueSize + kMostRunsOfWord * sizeof( XRunHead ) + kStep;
        if ( static_cast<std::ptrdiff_t>( inRow ) > itsLastInnerRow || itsRoom.GetLeft() < kMost )
            [[unlikely]]
            return ForEachRunOfWord(
                inWord,
                [&]( std::size_t inStart, std::size_t inLength )
                {
                    MoveByCalls( inRow + inStart, inLength );
                    return true;
                } );
        return ForEachRunOfWord(
            inWord,
            [&]( std::size_t inStart, std::size_t inLength )
            {
                MoveShort( inRow + inStart, inLength );
                return true;
            } );
    }

    void Finish()
    {
        itsStream.PassLent( itsRoom.GetUsed() );
        itsStream.Write32( 0 );
    }

private:
    [[gnu::always_inline]] void MoveShort( std::size_t inRow, std::size_t inLength )
    {
        const std::size_t count = inLength * kValueSize;
        MakeHead( inRow, inLength ).Write( itsRoom.next );
        CopyInSteps<kStep>( itsRoom.next + sizeof( XRunHead ), itsValues + inRow * kValueSize, count );
        itsRoom.next += sizeof( XRunHead ) + count;
    }

    [[gnu::always_inline]] void MoveByCalls( std::size_t inRow, std::size_t inLength )
    {
        // The stream's buffer may be another one afterwards, so the room is asked for again.
        itsRoom = WriteByCalls(
            itsStream, itsRoom.GetUsed(), MakeHead( inRow, inLength ), itsValues + inRow * kValueSize,
            inLength * kValueSize );
    }

    XStream& itsStream;
    XLent<std::uint8_t> itsRoom;
    const std::uint8_t* const itsValues;
    const std::ptrdiff_t itsLastInnerRow;
};

/// The length 0 has no start row and ends the runs.
[[gnu::noinline]] XRunHead ReadHead( XStream& inStream, std::size_t inRead )
{
    inStream.PassLent( inRead );
    const auto length = inStream.ReadValue<std::uint32_t>();
    return { length, length == 0 ? 0 : inStream.ReadValue<std::uint32_t>() };
}

/// Returns the bytes behind the values.
[[gnu::noinline]] XLent<const std::uint8_t>
ReadByCalls( XStream& inStream, std::uint8_t* outValues, std::size_t inCount )
{
    inStream.ReadBuffer8( outValues, inCount );
    return XLent( inStream.LendBytes() );
}

template<std::size_t kStep, std::size_t kValueSize>
class XRunReader
{
public:
    XRunReader( XStream& inStream, std::size_t inSize, const void* inDefault, void* outValues )
        : itsStream( inStream ), itsBytes( inStream.LendBytes() ),
          itsValues( static_cast<std::uint8_t*>( outValues ) ), itsSize( inSize ),
          itsLastInnerRow( GetLastInnerRow<kStep, kValueSize>( inSize ) )
    {
        for ( std::size_t i = 0; i < kGapStep; i += kValueSize )
            std::memcpy( itsDefaults + i, inDefault, kValueSize );
    }

    [[gnu::always_inline]] bool Move( std::size_t inRow, std::size_t inLength )
    {
        const std::size_t count = inLength * kValueSize;
        const bool isInner = static_cast<std::ptrdiff_t>( inRow + inLength ) <= itsLastInnerRow;
        if ( isInner && count < kLongRun && itsBytes.GetLeft() >= sizeof( XRunHead ) + count + kStep )
            [[likely]]
            return MoveShort( inRow, inLength );
        return MoveByCalls( inRow, inLength );
    }

    [[gnu::always_inline]] bool MoveWord( std::size_t inRow, std::uint64_t inWord )
    {
        // An upper bound of the input of a word: with so much in the buffer no run of it needs a check.
        constexpr std::size_t kMost = kRowsOfWord * kValueSize + kMostRunsOfWord * sizeof( XRunHead ) + kStep;
        if ( static_cast<std::ptrdiff_t>( inRow ) > itsLastInnerRow || itsBytes.GetLeft() < kMost )
            [[unlikely]]
            return ForEachRunOfWord(
                inWord,
                [&]( std::size_t inStart, std::size_t inLength )
                { return MoveByCalls( inRow + inStart, inLength ); } );
        return ForEachRunOfWord(
            inWord,
            [&]( std::size_t inStart, std::size_t inLength )
            { return MoveShort( inRow + inStart, inLength ); } );
    }

    /// After the last run. Returns the head that is there in the place of the end, if any.
    std::optional<XPivotRun> Finish()
    {
        FillGap( itsSize );
        const XRunHead head = ReadHead( itsStream, itsBytes.GetUsed() );
        if ( head.length == 0 )
            return std::nullopt;
        return XPivotRun{ head.start, head.length };
    }

    /// The run in the stream that was not the expected one.
    XPivotRun GetOther() const { return { itsOther.start, itsOther.length }; }

private:
    static constexpr std::size_t kGapStep = 16; // whole values of every type

    /// With as much room behind the gap.
    [[gnu::always_inline]] void FillInnerGap( std::size_t inEnd )
    {
        for ( ; itsGap < inEnd; itsGap += kGapStep / kValueSize )
            std::memcpy( itsValues + itsGap * kValueSize, itsDefaults, kGapStep );
    }

    void FillGap( std::size_t inEnd )
    {
        for ( ; itsGap < inEnd; ++itsGap )
            std::memcpy( itsValues + itsGap * kValueSize, itsDefaults, kValueSize );
    }

    [[gnu::always_inline]] bool MoveShort( std::size_t inRow, std::size_t inLength )
    {
        const XRunHead head = MakeHead( inRow, inLength );
        // Not the expected run: the slow path reads it again by calls and reports it.
        if ( XRunHead::Read( itsBytes.next ) != head ) [[unlikely]]
            return MoveByCalls( inRow, inLength );
        const std::size_t count = inLength * kValueSize;
        // May write past the gap; the values that follow overwrite that.
        FillInnerGap( inRow );
        itsGap = inRow + inLength;
        CopyInSteps<kStep>( itsValues + inRow * kValueSize, itsBytes.next + sizeof( XRunHead ), count );
        itsBytes.next += sizeof( XRunHead ) + count;
        return true;
    }

    [[gnu::always_inline]] bool MoveByCalls( std::size_t inRow, std::size_t inLength )
    {
        FillGap( inRow );
        itsGap = inRow + inLength;
        itsOther = ReadHead( itsStream, itsBytes.GetUsed() );
        if ( itsOther != MakeHead( inRow, inLength ) )
            return false;
        itsBytes = ReadByCalls( itsStream, itsValues + inRow * kValueSize, inLength * kValueSize );
        return true;
    }

    XStream& itsStream;
    XLent<const std::uint8_t> itsBytes;
    std::uint8_t* const itsValues;
    const std::size_t itsSize;
    const std::ptrdiff_t itsLastInnerRow;
    std::size_t itsGap = 0; // the row behind the last run
    XRunHead itsOther = {}; // read by calls
    std::uint8_t itsDefaults[kGapStep];
};

template<std::size_t kStep, std::size_t kValueSize>
[[gnu::always_inline]] inline void
WriteRuns( XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inValues )
{
    XRunWriter<kStep, kValueSize> writer( inStream, inExists.size(), inValues );
    MoveRuns( inExists, writer );
    writer.Finish();
}

template<std::size_t kStep, std::size_t kValueSize>
[[gnu::always_inline]] inline std::optional<XPivotRun>
ReadRuns( XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inDefault, void* outValues )
{
    XRunReader<kStep, kValueSize> reader( inStream, inExists.size(), inDefault, outValues );
    return MoveRuns( inExists, reader ) ? reader.Finish() : reader.GetOther();
}

template<std::size_t kValueSize>
constexpr XPivotRunBlockLoops kPortableBlockLoops = {
    WriteRuns<kPortableStep, kValueSize>, ReadRuns<kPortableStep, kValueSize> };

#if defined( __x86_64__ )
    #define KORVALE_AVX2_BMI __attribute__( ( target( "avx2,bmi" ) ) )

template<std::size_t kValueSize>
KORVALE_AVX2_BMI void
WriteRunsByVectors( XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inValues )
{
    WriteRuns<kVectorStep, kValueSize>( inStream, inExists, inValues );
}

template<std::size_t kValueSize>
KORVALE_AVX2_BMI std::optional<XPivotRun> ReadRunsByVectors(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inDefault, void* outValues )
{
    return ReadRuns<kVectorStep, kValueSize>( inStream, inExists, inDefault, outValues );
}

template<std::size_t kValueSize>
constexpr XPivotRunBlockLoops kVectorBlockLoops = {
    WriteRunsByVectors<kValueSize>, ReadRunsByVectors<kValueSize> };
#endif
} // namespace

template<std::size_t kValueSize>
const XPivotRunBlockLoops& XGetPivotRunBlockLoops()
{
#if defined( __x86_64__ )
    // Asked for once; the processor does not change.
    static const bool sHasVectors = __builtin_cpu_supports( "avx2" ) && __builtin_cpu_supports( "bmi" );
    if ( sHasVectors )
        return kVectorBlockLoops<kValueSize>;
#endif
    return kPortableBlockLoops<kValueSize>;
}

template<std::size_t kValueSize>
const XPivotRunBlockLoops& XGetPortablePivotRunBlockLoops()
{
    return kPortableBlockLoops<kValueSize>;
}

template KORVALE_API const XPivotRunBlockLoops& XGetPivotRunBlockLoops<4>();
template KORVALE_API const XPivotRunBlockLoops& XGetPivotRunBlockLoops<8>();
template KORVALE_API const XPivotRunBlockLoops& XGetPivotRunBlockLoops<16>();
template KORVALE_API const XPivotRunBlockLoops& XGetPortablePivotRunBlockLoops<4>();
template KORVALE_API const XPivotRunBlockLoops& XGetPortablePivotRunBlockLoops<8>();
template KORVALE_API const XPivotRunBlockLoops& XGetPortablePivotRunBlockLoops<16>();
