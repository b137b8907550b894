#include "Pivot/ColumnTools.h"
#include "Pivot/Columns/Internal/XPivotTextPool.h"
#include "Pivot/Rows/Internal/XPivotRunBlocks.h"

namespace
{
// Envelope of a column's descriptor: user-defined, "a", no channel, units "px"; then revision 7 and
// visibility 0.
const std::string kHead =
    "ad050000 ac050000 ac050000 01000000 01000000 61 00000000 02000000 7078 07000000 00000000 ";

template<class TColumn>
void ExpectLayout(
    const std::vector<std::optional<typename TColumn::XValue>>& inRows, const std::string& inHex,
    XByteOrder inOrder = kIntelOrder )
{
    TColumn column( kPivotUserDefined, "a", "", "px", 7 );
    for ( const auto& row : inRows )
        column.AppendValue( row.value_or( column.GetDefaultValue() ), row.has_value() );
    XMemStream stream;
    stream.SetByteOrder( inOrder );
    column.WriteStream2( stream );
    EXPECT_EQ( BytesOf( stream ), FromHex( inHex ) ) << inHex;
}

std::uint32_t ErrorOfReading( const std::string& inHex )
{
    return ErrorOrZero( [&] { Read( FromHex( inHex ) ); } );
}
} // namespace

TEST( XPivotColumnStreamTest, LaysOutEachClass )
{
    ExpectLayout<XPivotFloatColumn>(
        { 1.0, 2.0, std::nullopt, 3.0 },
        kHead +
            "04000000 01010001 af050000 000000000000f87f 02000000 00000000 000000000000f03f 0000000000000040 "
            "01000000 03000000 0000000000000840 00000000" );
    ExpectLayout<XPivotSInt32Column>(
        { -2 }, kHead + "01000000 01 b1050000 00000000 01000000 00000000 feffffff 00000000" );
    ExpectLayout<XPivotUInt32Column>(
        { 0xFFFFFFFEu }, kHead + "01000000 01 b0050000 00000000 01000000 00000000 feffffff 00000000" );
    ExpectLayout<XPivotStringColumn>(
        { XString( "bc" ), XString() },
        kHead + "02000000 0101 ae050000 00000000 02000000 00000000 02000000 6263 00000000 00000000" );
    ExpectLayout<XPivotTimeColumn>(
        { XTime( 258 ) },
        kHead + "01000000 01 b2050000 0000000000000000 01000000 00000000 0201000000000000 00000000" );
    ExpectLayout<XPivotUUIDColumn>(
        { XUUID( "f81d4fae-7dec-11d0-a765-00a0c91e6bf6" ) },
        kHead +
            "01000000 01 b4050000 00000000000000000000000000000000 01000000 00000000 "
            "f81d4fae7dec11d0a76500a0c91e6bf6 00000000" );
    ExpectLayout<XPivotVersionColumn>(
        { XVersion( 35, 1 ) }, kHead + "01000000 01 c5050000 00000000 01000000 00000000 23000100 00000000" );
    ExpectLayout<XPivotFloatColumn>(
        { std::nullopt, std::nullopt }, kHead + "02000000 0000 af050000 000000000000f87f 00000000" );
    ExpectLayout<XPivotTimeColumn>(
        { XTime( 258 ) },
        "000005ad 000005ac 000005ac 00000001 00000001 61 00000000 00000002 7078 00000007 "
        "00000000 00000001 01 000005b2 "
        "0000000000000000 00000001 00000000 0000000000000102 00000000",
        kMotorolaOrder );
}

TEST( XPivotColumnStreamTest, WritesNoFlagsForAnUnknownColumnAndReadsEitherForm )
{
    XPivotUnknownColumn column( kPivotUserDefined, "a", "", "px", 7 );
    column.ResizeRows( 2 );
    XMemStream stream;
    column.WriteStream2( stream );
    EXPECT_EQ( BytesOf( stream ), FromHex( kHead + "00000000 c8050000 02000000" ) );
    const auto copy =
        Read<XPivotUnknownColumn>( FromHex( "c8050000" + kHead + "02000000 0000 c8050000 02000000" ) );
    EXPECT_EQ( copy->GetColumnSize(), 2u );
    EXPECT_EQ( ErrorOfReading( "c8050000" + kHead + "01000000 00 c8050000 02000000" ), 1005u );
    EXPECT_EQ( ErrorOfReading( "c8050000" + kHead + "00000000 c8050000 000000ff" ), 1005u );
    ExpectDamageIsSeen( Write( column ) );
}

TEST( XPivotColumnStreamTest, ReadsRunsAndGapsOfAllLengthsOverEarlierValues )
{
    for ( const std::uint32_t lastGap : { 0u, 1u, 9u, 100u } )
    {
        XPivotSInt32Column written;
        for ( std::uint32_t length = 1; length < 2000; length += length / 4 + 1 )
        {
            for ( std::uint32_t i = 0; i < length; ++i )
                written.AppendData( static_cast<std::int32_t>( 1000 + i ), true );
            for ( std::uint32_t i = 0; i < length % 20 + 1; ++i )
                written.AppendData( written.GetDefaultValue(), false );
        }
        written.AppendData( 1, true );
        for ( std::uint32_t i = 0; i < lastGap; ++i )
            written.AppendData( written.GetDefaultValue(), false );
        XMemStream stream;
        written.WriteStream2( stream );
        stream.SeekTo( 0 );
        XPivotSInt32Column read;
        for ( std::uint32_t row = 0; row < written.GetColumnSize() + 3; ++row )
            read.AppendData( -1, true );
        read.ReadStream2( stream );
        EXPECT_EQ( read.GetDataVector(), written.GetDataVector() );
        EXPECT_EQ( read.GetExistsVector(), written.GetExistsVector() );
    }
}

TEST( XPivotColumnStreamTest, RefusesRunsThatTheFlagsDoNotHave )
{
    const std::string head = "b1050000" + kHead + "04000000 01010001 b1050000 00000000 ";
    const std::string first = "02000000 00000000 0a000000 0b000000 ";
    const std::string second = "01000000 03000000 0c000000 ";
    EXPECT_EQ( ErrorOfReading( head + first + second + "00000000" ), 0u );
    const std::pair<std::string, std::uint32_t> cases[] = {
        { first + "00000000 0000000000000000", 1005u },  // a run is missing
        { first + first + "00000000", 1005u },           // overlaps
        { first + second + second + "00000000", 1005u }, // one too many
        { "01000000 00000000 0a000000 01000000 01000000 0b000000 " + second + "00000000",
          1005u },                                                         // not maximal
        { first + "02000000 03000000 0c000000 0d000000 00000000", 1006u }, // past the rows
        { first + "01000000 04000000 0c000000 00000000", 1006u },          // begins past them
        { first + "ffffffff 03000000 0c000000 00000000", 1006u },          // ends far past them
        { first + second + "01000000 ffffffff 0c000000 00000000", 1006u },
    };
    for ( const auto& [runs, error] : cases )
    {
        EXPECT_EQ( ErrorOfReading( head + runs ), error ) << runs;
        XBytes bytes = FromHex( head + runs );
        ReadingStream open( bytes );
        EXPECT_ERROR( error, std::unique_ptr<XStorable>( open.ReadObject() ) ) << runs;
        ReadingStream untrusted( bytes );
        EXPECT_ERROR(
            1005, std::unique_ptr<XStorable>( untrusted.ReadObject( XStorable::kUntrustedSource ) ) )
            << runs;
    }
}

/// Reads every truncation into columns that have rows, and uses the column after it was refused.
template<class TColumn>
void ExpectUseAfterTruncation( typename TColumn::XValue inValue )
{
    XMemStream whole;
    MakeColumn<TColumn>( { inValue, std::nullopt, inValue, inValue } )->WriteStream2( whole );
    for ( USize64 length = 0; length < whole.GetLength(); ++length )
    {
        const auto column = MakeColumn<TColumn>( { inValue } );
        XMemStream part( whole.GetData(), length );
        EXPECT_ERROR( 1260, column->ReadStream2( part ) ) << length;
        ASSERT_EQ( column->GetDataVector().size(), column->GetExistsVector().size() ) << length;
        column->SetValue( inValue, 2, true );
        column->InsertEmptyRows( 1, 1 );
        EXPECT_EQ( Write( *Read( Write( *column ) ) ), Write( *column ) ) << length;
    }
}

TEST( XPivotColumnStreamTest, LeavesAColumnThatCanBeUsedWhereItIsCutOff )
{
    ExpectUseAfterTruncation<XPivotFloatColumn>( 1.0 );
    ExpectUseAfterTruncation<XPivotStringColumn>( "text" );
    ExpectUseAfterTruncation<XPivotRowRefColumn>( XUUID( "01234567-89ab-cdef-0123-456789abcdef" ) );
}

TEST( XPivotColumnStreamTest, ReadsFromAStreamWithoutAKnownEnd )
{
    const XBytes bytes = Write( *MakeColumn<XPivotFloatColumn>( { 1.0, std::nullopt, 3.0 } ) );
    ReadingStream stream( bytes );
    const std::unique_ptr<XStorable> object( stream.ReadObject() );
    EXPECT_EQ(
        dynamic_cast<XPivotFloatColumn&>( *object ).GetFloatVector(), ( XVector<double>{ 1.0, 3.0 } ) );
    EXPECT_EQ( static_cast<std::size_t>( stream.GetPosition() ), bytes.size() );
}

TEST( XPivotColumnStreamTest, RefusesWhatIsNotAColumn )
{
    const std::string rest = "01000000 01000000 61 00000000 02000000 7078 07000000 00000000 ";
    const std::string rows = "00000000 b1050000 00000000 00000000";
    EXPECT_EQ( ErrorOfReading( "b1050000 ad050000 ac050000 ac050000" + rest + rows ), 0u );
    EXPECT_EQ( ErrorOfReading( "b1050000 ad050100 ac050000 ac050000" + rest + rows ), 1015u );
    EXPECT_EQ( ErrorOfReading( "b1050000 ac050000 ac050000 ac050000" + rest + rows ), 1005u );
    EXPECT_EQ(
        ErrorOfReading( "b1050000 ad050000 00000000 ac050000" + rest + rows ), 1005u ); // no descriptor
    EXPECT_EQ( ErrorOfReading( "b1050000 ad050000 23000000 23000000 00000000" + rest + rows ), 1005u );
    EXPECT_EQ( ErrorOfReading( "b1050000 ad050000 ffff0000 ac050000" + rest + rows ), 1003u );
    EXPECT_EQ(
        ErrorOfReading(
            "b1050000 ad050000 ac050000 ac050000" + rest + "00000000 b0050000 00000000 00000000" ),
        1005u );
    EXPECT_EQ(
        ErrorOfReading( "b1050000 ad050000 ac050000 ac050000" + rest + "01000000 02 b1050000" ), 1005u );
    EXPECT_EQ( ErrorOfReading( "b1050000 ad050000 ac050000 ac050000" + rest + "ffffffff 01" ), 1005u );
    EXPECT_EQ( ErrorOfReading( "b1050000 ad050000 ac050000 ac050000" + rest + "ffffff7f 01" ), 1260u );
    EXPECT_EQ( ErrorOfReading( "ad050000" ), 1004u ); // the abstract class
}

TEST( XPivotColumnStreamTest, StatesItsUsage )
{
    EXPECT_EQ( MakeColumn<XPivotFloatColumn>( { 1.0, std::nullopt } )->GetStreamUsage(), 20u );
    EXPECT_EQ( MakeColumn<XPivotUUIDColumn>( { XUUID() } )->GetStreamUsage(), 20u );
    const XPivotColumnDescriptor descriptor( kPivotArea, "", "C1", "px" );
    XMemStream stream;
    descriptor.WriteStream2( stream );
    EXPECT_EQ( descriptor.GetStreamUsage(), stream.GetLength() );
}

TEST( XPivotRunsTest, AreTheSameOnEveryProcessor )
{
    std::mt19937_64 random( 9 );
    for ( int i = 0; i < 100; ++i )
    {
        const auto bits = random() & random();
        XVector<std::uint8_t> exists( 64 );
        for ( unsigned row = 0; row < 64; ++row )
            exists[row] = static_cast<std::uint8_t>( bits >> row & 1 );
        EXPECT_EQ( XPackPivotFlagsPortably( exists.data() ), bits );
        XPivotRunFinder finder( exists );
        std::uint64_t found = 0;
        for ( XPivotRun run; finder.Next( run ); )
            for ( auto row = run.start; row < run.start + run.length; ++row )
                found |= std::uint64_t{ 1 } << row;
        EXPECT_EQ( found, bits );
    }
}

/// Moves runs of values that tell their rows into a stream and back, and compares both with what moves row by row.
template<std::size_t kValueSize>
void ExpectRunsMove( const XPivotRunBlockLoops& inLoops, const XVector<std::uint8_t>& inExists )
{
    const std::size_t size = inExists.size();
    XBytes values( size * kValueSize ), expected( size * kValueSize, 0xDD );
    XMemStream rowByRow;
    for ( std::size_t row = 0, end = 0; row < size; ++row )
    {
        auto* const value = values.data() + row * kValueSize;
        std::fill_n( value, kValueSize, static_cast<std::uint8_t>( row % 251 ) );
        if ( !inExists[row] )
            continue;
        if ( row >= end )
        {
            for ( end = row; end < size && inExists[end]; ++end )
                ;
            rowByRow.Write32( static_cast<std::uint32_t>( end - row ) );
            rowByRow.Write32( static_cast<std::uint32_t>( row ) );
        }
        rowByRow.WriteBuffer8( value, kValueSize );
        std::copy_n( value, kValueSize, expected.data() + row * kValueSize );
    }
    rowByRow.Write32( 0 );

    XMemStream stream;
    stream.Write8( 0 ); // Streams without anything written yet lend no room.
    inLoops.write( stream, inExists, values.data() );
    XBytes written = BytesOf( stream );
    written.erase( written.begin() );
    ASSERT_EQ( written, BytesOf( rowByRow ) );
    const auto end = stream.GetPosition();
    stream.WriteFiller( 1000, 0xEE ); // as where another column follows

    const XBytes defaultValue( kValueSize, 0xDD );
    XBytes read( values.size() + 512, 0x11 ); // Nothing may be written behind the column.
    expected.resize( read.size(), 0x11 );
    stream.SeekTo( 1 );
    EXPECT_FALSE( inLoops.read( stream, inExists, defaultValue.data(), read.data() ) );
    EXPECT_EQ( read, expected );
    EXPECT_EQ( stream.GetPosition(), end );
    std::fill_n( read.begin(), values.size(), std::uint8_t( 0x11 ) );
    ReadingStream inParts( written, 3000, false );
    EXPECT_FALSE( inLoops.read( inParts, inExists, defaultValue.data(), read.data() ) );
    EXPECT_EQ( read, expected );
}

template<std::size_t kValueSize>
void ExpectRunsMove( const XVector<std::uint8_t>& inExists )
{
    ExpectRunsMove<kValueSize>( XGetPivotRunBlockLoops<kValueSize>(), inExists );
    ExpectRunsMove<kValueSize>( XGetPortablePivotRunBlockLoops<kValueSize>(), inExists );
}

void ExpectRunsMove( const XVector<std::uint8_t>& inExists )
{
    ExpectRunsMove<4>( inExists );
    ExpectRunsMove<8>( inExists );
    ExpectRunsMove<16>( inExists );
}

TEST( XPivotRunsTest, AreMovedAsOneByOne )
{
    std::mt19937_64 random( 10 );
    for ( const std::size_t size : { 0u, 1u, 63u, 64u, 65u, 127u, 128u, 129u, 192u, 256u, 1000u, 4000u } )
        for ( const unsigned percent : { 0u, 3u, 50u, 90u, 99u, 100u } )
        {
            XVector<std::uint8_t> exists( size );
            for ( auto& flag : exists )
                flag = random() % 100 < percent;
            ExpectRunsMove( exists );
            std::fill( exists.begin() + static_cast<std::ptrdiff_t>( size / 2 ), exists.end(), 0 );
            ExpectRunsMove( exists );
        }
}

TEST( XPivotStringColumnTest, StoresEqualTextsOnce )
{
    const std::string large( 200, 'x' );
    XPivotStringColumn column( kPivotUserDefined, "name", "", "" );
    for ( int i = 0; i < 9000;
          ++i ) // more than are looked at before it is decided whether sharing is worth it
        column.AppendValue( i % 3 == 2 ? XString( i ) : XString( "text " + std::to_string( i % 3 ) ), true );
    column.SetValue( column.GetValue( 0 ), 9001, true ); // grows
    column.AppendValue( large, true );
    column.AppendValue( XString(), true );
    const auto getText = []( const XPivotStringColumn& inColumn, std::uint32_t inRow )
    { return inColumn.GetDataVector()[inRow].GetConstCharPtr(); };
    for ( const auto order : { kIntelOrder, kMotorolaOrder } )
    {
        XMemStream stream;
        stream.SetByteOrder( order );
        stream.WriteObject( column );
        stream.SeekTo( 0 );
        const std::unique_ptr<XStorable> object( stream.ReadObject() );
        const auto& read = dynamic_cast<const XPivotStringColumn&>( *object );
        EXPECT_EQ( read.GetDataVector(), column.GetDataVector() );
        for ( const XPivotStringColumn* each : { &std::as_const( column ), &read } )
        {
            EXPECT_EQ( getText( *each, 0 ), getText( *each, 8997 ) );
            EXPECT_EQ( getText( *each, 1 ), getText( *each, 8998 ) );
            EXPECT_EQ( getText( *each, 0 ), getText( *each, 9001 ) );
        }
    }

    // Where no two are equal, nothing is kept of them.
    XPivotTextPool pool;
    const XString first = pool.Get( "first" );
    EXPECT_EQ( pool.Get( "first" ).GetConstCharPtr(), first.GetConstCharPtr() );
    for ( int i = 0; i < 5000; ++i )
        pool.Share( XString( i ) );
    EXPECT_NE( pool.Get( "first" ).GetConstCharPtr(), first.GetConstCharPtr() );
}
