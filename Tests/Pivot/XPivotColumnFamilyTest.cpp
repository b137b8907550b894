#include "Pivot/ColumnTools.h"

namespace
{
using XRandom = std::minstd_rand;

/// Values of every column's type, few enough to have ties, with the odd ones of the type among them.
template<class T>
T MakeValue( XRandom& ioRandom );

template<>
double MakeValue<double>( XRandom& ioRandom )
{
    constexpr double kOdd[] = { kNaN,       -kNaN,  0.0,     -0.0,  kInfinity,
                                -kInfinity, 5e-324, -5e-324, 1e308, -1e308 };
    const std::size_t choice = ioRandom() % 40;
    return choice < std::size( kOdd ) ? kOdd[choice]
                                      : std::ldexp( static_cast<double>( ioRandom() % 2001 ) - 1000.0, -5 );
}

template<>
std::int32_t MakeValue<std::int32_t>( XRandom& ioRandom )
{
    return ioRandom() % 9 ? static_cast<std::int32_t>( ioRandom() % 601 ) - 300
                          : std::numeric_limits<std::int32_t>::min();
}

template<>
std::uint32_t MakeValue<std::uint32_t>( XRandom& ioRandom )
{
    return ioRandom() % 9 ? static_cast<std::uint32_t>( ioRandom() % 600 ) : 0xFFFFFFFFu;
}

template<>
XString MakeValue<XString>( XRandom& ioRandom )
{
    const XString prefixes[] = { "", "x", "x ", "\xE9", "-" };
    return prefixes[ioRandom() % 5] + XString( ioRandom() % 120 );
}

template<>
XTime MakeValue<XTime>( XRandom& ioRandom )
{
    return XTime( MakeValue<std::int32_t>( ioRandom ) * std::int64_t( 0x30000000 ) );
}

template<>
XUUID MakeValue<XUUID>( XRandom& ioRandom )
{
    std::uint8_t bytes[16] = {};
    bytes[0] = static_cast<std::uint8_t>( 0x7F + ioRandom() % 3 );
    bytes[7 + ioRandom() % 3] = static_cast<std::uint8_t>( ioRandom() % 256 );
    return XUUID( bytes );
}

template<>
XVersion MakeValue<XVersion>( XRandom& ioRandom )
{
    return XVersion( MakeValue<std::uint32_t>( ioRandom ) );
}

template<class T>
bool IsLess( const T& inLeft, const T& inRight )
{
    if constexpr ( std::is_same_v<T, double> )
        return std::isnan( inLeft ) ? !std::isnan( inRight ) : inLeft < inRight;
    else
        return inLeft < inRight;
}

template<class T>
bool IsSameValue( const T& inLeft, const T& inRight )
{
    if constexpr ( std::is_same_v<T, double> )
        return std::memcmp( &inLeft, &inRight, sizeof inLeft ) == 0;
    else
        return inLeft == inRight;
}

template<class TColumn>
struct XPivotColumnFamilyTest : testing::Test
{
    using XValue = typename TColumn::XValue;

    static std::unique_ptr<TColumn> MakeRandomColumn( std::uint32_t inRows, std::uint32_t inSeed )
    {
        XRandom random( inSeed );
        auto column = std::make_unique<TColumn>( kPivotUserDefined, "name", "C1", "px", 3 );
        for ( std::uint32_t row = 0; row < inRows; ++row )
        {
            const XValue value = MakeValue<XValue>( random );
            column->AppendValue( value, random() % 10 != 0 );
        }
        return column;
    }

    static void ExpectRows( const TColumn& inColumn, const TColumn& inSource, const XRows& inRows )
    {
        ASSERT_EQ( inColumn.GetColumnSize(), inRows.size() );
        for ( std::uint32_t row = 0; row < inRows.size(); ++row )
        {
            ASSERT_EQ( inColumn.DoesDataExist( row ), inSource.DoesDataExist( inRows[row] ) ) << row;
            ASSERT_TRUE( IsSameValue( inColumn.GetDataVector()[row], inSource.GetDataVector()[inRows[row]] ) )
                << row;
        }
    }
};

using XFamily = testing::Types<
    XPivotFloatColumn, XPivotSInt32Column, XPivotUInt32Column, XPivotStringColumn, XPivotTimeColumn,
    XPivotUUIDColumn, XPivotVersionColumn>;
TYPED_TEST_SUITE( XPivotColumnFamilyTest, XFamily );
} // namespace

TYPED_TEST( XPivotColumnFamilyTest, SortsStablyBothWays )
{
    for ( const std::uint32_t count : { 0u, 1u, 2u, 33u, 255u, 256u, 1500u } )
    {
        for ( const auto direction : { kSortAscending, kSortDescending } )
        {
            const auto source = this->MakeRandomColumn( count, count + direction );
            const auto& values = source->GetDataVector();
            XRows expected( count );
            std::iota( expected.begin(), expected.end(), 0u );
            std::stable_sort(
                expected.begin(), expected.end(),
                [&]( std::uint32_t inLeft, std::uint32_t inRight )
                {
                    return direction == kSortAscending ? IsLess( values[inLeft], values[inRight] )
                                                       : IsLess( values[inRight], values[inLeft] );
                } );
            auto sorted = *source;
            XRows order;
            sorted.Sort( direction, order );
            EXPECT_EQ( order, expected ) << count;
            this->ExpectRows( sorted, *source, order );
        }
    }
}

TYPED_TEST( XPivotColumnFamilyTest, KeepsTheFirstOfEachDistinctValue )
{
    const auto source = this->MakeRandomColumn( 700, 5 );
    XRows expected;
    for ( std::uint32_t row = 0; row < 700; ++row )
    {
        const auto isSame = [&]( std::uint32_t inKept )
        { return source->GetDataVector()[inKept] == source->GetDataVector()[row]; };
        if ( source->DoesDataExist( row ) && std::none_of( expected.begin(), expected.end(), isSame ) )
            expected.push_back( row );
    }
    auto column = *source;
    XRows rows;
    column.RemoveDuplicates( rows );
    EXPECT_EQ( rows, expected );
    this->ExpectRows( column, *source, rows );
}

TYPED_TEST( XPivotColumnFamilyTest, ReadsBackWhatItWritesInBothOrders )
{
    // Around the 64 rows that presence is looked at by, and past the buffer of the block form.
    for ( const std::uint32_t count : { 0u, 1u, 63u, 64u, 65u, 128u, 20000u } )
    {
        for ( const auto byteOrder : { kIntelOrder, kMotorolaOrder } )
        {
            auto source = this->MakeRandomColumn( count, count );
            if ( count == 128 )
                source->SetDataExists( 64, false );
            XMemStream stream;
            stream.SetByteOrder( byteOrder );
            stream.WriteObject( *source );
            stream.SeekTo( 0 );
            const std::unique_ptr<XStorable> object( stream.ReadObject() );
            const auto* copy = dynamic_cast<const TypeParam*>( object.get() );
            ASSERT_TRUE( copy && stream.IsAtEOF() );
            EXPECT_EQ( copy->GetDescriptor(), source->GetDescriptor() );
            EXPECT_EQ( copy->GetRevision(), 3u );
            ASSERT_EQ( copy->GetExistsVector(), source->GetExistsVector() );
            for ( std::uint32_t row = 0; row < count; ++row )
                ASSERT_TRUE( IsSameValue( copy->GetValue( row ), source->GetValue( row ) ) );
        }
    }
}

TYPED_TEST( XPivotColumnFamilyTest, SeesDamage )
{
    auto column = this->MakeRandomColumn( 5, 9 );
    column->SetDataExists( 2, false );
    column->SetDataExists( 3, true );
    ExpectDamageIsSeen( Write( *column ) );
}

TYPED_TEST( XPivotColumnFamilyTest, MovesRowsWithTheirPresence )
{
    const auto source = this->MakeRandomColumn( 40, 3 );
    auto column = *source;
    source->CopyRowsInto( 10, column, 5, 3 );
    column.DeleteItems( 5, 3 );
    source->CopyRowsOver( 0, column, 38, 4 );
    XRows rows( 42 );
    std::iota( rows.begin(), rows.end(), 0u );
    std::iota( rows.begin() + 38, rows.end(), 0u );
    this->ExpectRows( column, *source, rows );
    column.Reorder( { 41, 0, 7 } );
    this->ExpectRows( column, *source, { 3, 0, 7 } );
    EXPECT_ERROR( 1006, column.Reorder( { 0, 3 } ) );
    column.InsertEmptyRows( 1, 2 );
    EXPECT_FALSE( column.DoesDataExist( 1 ) || column.DoesDataExist( 2 ) );
    EXPECT_TRUE( IsSameValue( column.GetDataVector()[2], column.GetDefaultValue() ) );
}

TEST( XPivotColumnSortTest, SurvivesTextsWhoseOrderGoesInCircles )
{
    const XString circle[] = { ".9", "/", "0", ".e", "-e", "-", ". 9" };
    XRandom random( 1 );
    auto column = std::make_unique<XPivotStringColumn>( kPivotUserDefined, "t", "", "" );
    for ( int i = 0; i < 3000; ++i )
        column->AppendData( circle[random() % std::size( circle )], true );
    for ( const auto direction : { kSortAscending, kSortDescending } )
    {
        XRows order;
        column->Sort( direction, order );
        std::sort( order.begin(), order.end() );
        for ( std::uint32_t row = 0; row < order.size(); ++row )
            ASSERT_EQ( order[row], row );
    }
}

TEST( XPivotColumnSortTest, OrdersFewTextsInManyRowsAsItDoesManyTexts )
{
    // "a b" and "ab" are ranked equal.
    const XString texts[] = { "img10", "a b", "img2", "", "B", "ab", "b" };
    XRandom random( 2 );
    auto column = std::make_unique<XPivotStringColumn>( kPivotUserDefined, "t", "", "" );
    for ( int i = 0; i < 1000; ++i )
        column->AppendData( texts[random() % std::size( texts )], true );
    for ( const auto direction : { kSortAscending, kSortDescending } )
    {
        XRows expected( column->GetColumnSize() ), order;
        std::iota( expected.begin(), expected.end(), 0u );
        const auto& values = column->GetDataVector();
        std::stable_sort(
            expected.begin(), expected.end(),
            [&]( std::uint32_t inLeft, std::uint32_t inRight )
            {
                return direction == kSortAscending ? values[inLeft] < values[inRight]
                                                   : values[inRight] < values[inLeft];
            } );
        auto sorted = *column;
        sorted.Sort( direction, order );
        EXPECT_EQ( order, expected );
    }
}
