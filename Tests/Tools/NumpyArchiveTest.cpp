#include "Tables/NumpyArchive.h"

#include "Outputs/ZipWriter.h"
#include "Tables/NumpyArrays.h"
#include "TestFolder.h"
#include "TestTables.h"

namespace
{
template<class T>
T ReadAt( const std::string& inBytes, std::size_t inOffset )
{
    T number;
    std::memcpy( &number, inBytes.substr( inOffset, sizeof( T ) ).data(), sizeof( T ) );
    return number;
}

std::string MakeItems( const NumpyArray& inArray )
{
    std::string bytes;
    inArray.append( 0, inArray.count, bytes );
    EXPECT_EQ( bytes.size(), inArray.count * inArray.itemBytes ) << inArray.name;
    return bytes;
}
} // namespace

TEST( NumpyArraysTest, HoldEveryKindOfColumn )
{
    const auto table = MakeTestTable();
    const auto arrays = MakeNumpyArrays( table );
    const auto get = [&]( const std::string& inName, const std::string& inType )
    {
        const auto found = std::ranges::find( arrays, inName, &NumpyArray::name );
        EXPECT_NE( found, arrays.end() ) << inName;
        EXPECT_EQ( found->type, inType );
        return MakeItems( *found );
    };
    const auto parents = get( "Parent ID", "<u4" );
    EXPECT_EQ( parents, std::string( "\0\0\0\0\1\0\0\0\1\0\0\0\0\0\0\0", 16 ) );
    EXPECT_EQ( get( "Parent ID.mask", "|b1" ), std::string( "\1\0\0\1", 4 ) );
    EXPECT_EQ( get( "Parent ID.uuid", "<U36" ).substr( 0, 4 ), std::string( 4, '\0' ) );
    const auto names = get( "Name", "<U8" );
    EXPECT_EQ( names.substr( 32, 20 ), std::string( "i\0\0\0m\0\0\0g\0\0\0002\0\0\0\0\0\0\0", 20 ) );
    EXPECT_EQ( ReadAt<std::uint32_t>( names, 96 ), 0xB5u );
    const auto areas = get( "Area (\u00B5m\u00B2)", "<f8" );
    EXPECT_EQ( ReadAt<double>( areas, 0 ), 12.5 );
    EXPECT_TRUE( std::isnan( ReadAt<double>( areas, 8 ) ) );
    EXPECT_EQ( ReadAt<std::int32_t>( get( "A, B", "<i4" ), 0 ), -5 );
    EXPECT_EQ( ReadAt<std::int32_t>( get( "twin 2", "<i4" ), 0 ), 3 );
    const auto times = get( "Abs. Time", "<M8[us]" );
    EXPECT_EQ( ReadAt<std::int64_t>( times, 8 ), 0 );
    EXPECT_EQ( ReadAt<std::int64_t>( times, 16 ), std::numeric_limits<std::int64_t>::min() );
    EXPECT_EQ( ReadAt<std::int64_t>( times, 24 ), -2082844800000000 );
    get( "x<5", "<U36" );
    get( "a_b", "<U1" );
    EXPECT_EQ( get( "a_b.mask", "|b1" ), std::string( 4, '\1' ) );
}

TEST( NumpyArraysTest, HaveNamesOfTheirOwn )
{
    XPivotTable table;
    for ( const auto* name : { "a", "a.mask", "a", "a 2", "a", "" } )
        AddTestColumn<XPivotSInt32Column>(
            table, XPivotColumnDescriptor( kPivotUserDefined, name, "", "" ), {} );
    AddTestColumn<XPivotTimeColumn>(
        table, XPivotColumnDescriptor( kPivotUserDefined, std::string( 5000, 'x' ), "", "" ), {} );
    std::set<std::string> names;
    for ( const auto& array : MakeNumpyArrays( table ) )
    {
        EXPECT_TRUE( names.insert( array.name ).second ) << array.name;
        EXPECT_EQ( array.MakeHeader().size() % 64, 0u );
        EXPECT_LT( array.name.size(), 2000u );
    }
    EXPECT_EQ( names.size(), 14u );
}

TEST( NumpyArraysTest, AreRefusedWhereOneLongTextTakesAllTheRoom )
{
    const auto getRefusal = []( std::uint32_t inRows, std::size_t inLength )
    {
        XPivotTable table;
        auto column = std::make_unique<XPivotStringColumn>( kPivotUserDefined, "note", "", "" );
        column->SetValue( std::string( inLength, 'x' ), static_cast<std::int32_t>( inRows ) - 1, true );
        table.AddColumn( std::move( column ) );
        return TextOfError( [&] { MakeNumpyArrays( table ); } ).substr( 0, 35 );
    };
    constexpr std::size_t kMost = 4 * 1024 * 1024;
    EXPECT_EQ( getRefusal( 16, kMost ), "" );
    EXPECT_EQ( getRefusal( 1, kMost + 1 ), "column \"note\" has a text of 4194305" );
    EXPECT_EQ( getRefusal( 300, 1024 * 1024 ), "column \"note\" has a text of 1048576" );
    EXPECT_EQ( getRefusal( 256, 1024 * 1024 ), "" );
}

TEST( NumpyArchiveTest, KeepsTimesThatNumpyCannotHoldOut )
{
    XPivotTable table;
    const auto least = std::numeric_limits<std::int64_t>::min(),
               most = std::numeric_limits<std::int64_t>::max();
    AddTestColumn<XPivotTimeColumn>(
        table, XPivotColumnDescriptor( kPivotAbsoluteTime, "", "", "" ), { XTime( least ), XTime( most ) } );
    const auto times = MakeItems( MakeNumpyArrays( table ).front() );
    EXPECT_EQ( ReadAt<std::int64_t>( times, 0 ), least );
    EXPECT_EQ( ReadAt<std::int64_t>( times, 8 ), most - 2082844800000000 );
}

TEST( ZipWriterTest, WritesWhatTheFormatSays )
{
    std::string bytes;
    ZipWriter archive( [&]( std::string_view inBytes ) { bytes += inBytes; } );
    archive.BeginEntry( "a", 9, ZipWriter::AddToCRC( ZipWriter::AddToCRC( 0, "12345" ), "6789" ) );
    archive.Append( "12345" );
    archive.Append( "6789" );
    archive.BeginEntry( "b", 0, 0 );
    archive.Finish();
    ASSERT_EQ( bytes.size(), 40u + 31u + 2 * 47u + 22u );
    EXPECT_EQ( ReadAt<std::uint32_t>( bytes, 14 ), 0xCBF43926u ); // The known sum of these nine digits.
    EXPECT_EQ( ReadAt<std::uint32_t>( bytes, 18 ), 9u );
    EXPECT_EQ( bytes.substr( 30, 10 ), "a123456789" );
    EXPECT_EQ( ReadAt<std::uint32_t>( bytes, 71 ), 0x02014B50u );
    EXPECT_EQ( ReadAt<std::uint32_t>( bytes, 71 + 47 + 42 ), 40u ); // Where b begins.
    EXPECT_EQ( bytes.substr( 71 + 94 ), std::string( "PK\5\6\0\0\0\0\2\0\2\0\x5E\0\0\0\x47\0\0\0\0\0", 22 ) );
}

TEST( ZipWriterTest, CountsIn64BitsWhereItHasTo )
{
    // Of the large entry the sink keeps the size only.
    constexpr std::uint64_t kSize = 0x1'0000'0000;
    const std::string block( 1 << 24, '\0' );
    std::string bytes;
    ZipWriter archive( [&]( std::string_view inBytes )
                       { bytes += inBytes.size() == block.size() ? std::string_view() : inBytes; } );
    archive.BeginEntry( "large", kSize, 1 );
    for ( std::uint64_t i = 0; i < kSize; i += block.size() )
        archive.Append( block );
    archive.BeginEntry( "b", 0, 0 );
    archive.Finish();

    EXPECT_EQ( ReadAt<std::uint16_t>( bytes, 4 ), 45 );
    EXPECT_EQ( ReadAt<std::uint32_t>( bytes, 18 ), 0xFFFFFFFFu );
    EXPECT_EQ( ReadAt<std::uint64_t>( bytes, 30 + 5 + 4 ), kSize );
    const auto second = 30 + 5 + 20, directory = second + 31;
    EXPECT_EQ( ReadAt<std::uint64_t>( bytes, directory + 46 + 5 + 4 ), kSize );
    const auto secondEntry = directory + 46 + 5 + 20;
    EXPECT_EQ( ReadAt<std::uint32_t>( bytes, secondEntry + 20 ), 0u );
    EXPECT_EQ( ReadAt<std::uint64_t>( bytes, secondEntry + 46 + 1 + 4 ), kSize + second );
    const auto end = secondEntry + 46 + 1 + 12;
    EXPECT_EQ( ReadAt<std::uint32_t>( bytes, end ), 0x06064B50u );
    EXPECT_EQ( ReadAt<std::uint64_t>( bytes, end + 32 ), 2u );
    EXPECT_EQ( ReadAt<std::uint64_t>( bytes, end + 48 ), kSize + directory );
    EXPECT_EQ( ReadAt<std::uint64_t>( bytes, end + 56 + 8 ), kSize + end );
    EXPECT_EQ( ReadAt<std::uint32_t>( bytes, end + 76 + 16 ), 0xFFFFFFFFu );
    EXPECT_EQ( bytes.size(), end + 76 + 22u );
}
