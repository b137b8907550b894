#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/ColumnTools.h"

namespace
{
using XType = XPivotTableAccumulator::XPivotTableAccumulatorType;
using XResult = XPivotTableAccumulator::XAccumulationResult;

constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kSmallestNormal = std::numeric_limits<double>::min();

XPivotTableAccumulator MakeAccumulator( std::initializer_list<unsigned> inTypes )
{
    XPivotTableAccumulator accumulator( static_cast<XType>( *inTypes.begin() ) );
    for ( const unsigned type : inTypes )
        accumulator.AddType( static_cast<XType>( type ) );
    return accumulator;
}

XResult Accumulate( unsigned inType, const std::vector<std::optional<double>>& inRows )
{
    return MakeAccumulator( { inType } ).AccumulateColumn( *MakeColumn<XPivotFloatColumn>( inRows ) );
}

/// Value and validity of each entry, as text that a failure shows.
std::string Show( const XResult& inResult )
{
    std::string text;
    for ( const auto& entry : inResult )
    {
        text += text.empty() ? "" : " ";
        text += entry.isText ? "'" + std::string( entry.text ) + "'=" : "";
        text +=
            entry.isValid ? XString( entry.value, XString::kFloatScientific ).GetConstCharPtr() : "invalid";
    }
    return text;
}
} // namespace

TEST( XPivotTableAccumulatorTest, ShowsTheValueOfASingleRow )
{
    EXPECT_EQ( Show( Accumulate( 0, { std::nullopt, 2.5 } ) ), "'2.5'=2.500000E+00" );
    EXPECT_EQ( Show( Accumulate( 0, { 2.5, 2.5 } ) ), "invalid" );
    EXPECT_EQ( Show( Accumulate( 0, {} ) ), "invalid" );
    EXPECT_EQ( Show( Accumulate( 0, { kNaN } ) ), "'NaN'=invalid" );
    const auto name = MakeColumn<XPivotStringColumn>( { "a name" } );
    EXPECT_EQ( Show( MakeAccumulator( { 0 } ).AccumulateColumn( *name ) ), "'a name'=invalid" );
}

TEST( XPivotTableAccumulatorTest, AddsAndMultiplies )
{
    EXPECT_EQ( Show( Accumulate( 1, { 1.0, std::nullopt, 4.0 } ) ), "2.500000E+00" );
    EXPECT_EQ( Show( Accumulate( 2, { 1.0, std::nullopt, 4.0 } ) ), "5.000000E+00" );
    EXPECT_EQ( Show( Accumulate( 3, { 3.0, std::nullopt, -4.0 } ) ), "-1.200000E+01" );
    for ( const unsigned type : { 1u, 2u, 3u } )
        EXPECT_EQ( Show( Accumulate( type, { 1.0, kNaN, 5.0 } ) ), "invalid" ) << type;
    EXPECT_EQ( Show( Accumulate( 1, { std::nullopt } ) ), "invalid" );
    EXPECT_EQ( Show( Accumulate( 2, {} ) ), "0.000000E+00" );
    EXPECT_EQ( Show( Accumulate( 3, {} ) ), "1.000000E+00" );
    EXPECT_EQ( Show( Accumulate( 2, { kInfinity, 1.0 } ) ), "INF" );
    EXPECT_EQ( Show( Accumulate( 2, { kInfinity, -kInfinity } ) ), "NaN" ) << "no value was NaN";
}

TEST( XPivotTableAccumulatorTest, CountsRowsOfAnyColumn )
{
    const auto texts = MakeColumn<XPivotStringColumn>( { "a", "b", std::nullopt, "c" } );
    EXPECT_EQ( Show( MakeAccumulator( { 4 } ).AccumulateColumn( *texts ) ), "'3'=3.000000E+00" );
    EXPECT_EQ( Show( Accumulate( 4, { kNaN } ) ), "'1'=1.000000E+00" );
}

TEST( XPivotTableAccumulatorTest, KeepsTheStartingValuesOfTheExtremes )
{
    EXPECT_EQ( Show( Accumulate( 5, { 1.0, kNaN, 5.0 } ) ), "1.000000E+00 5.000000E+00" );
    const XResult negative = Accumulate( 5, { -3.0, -1.0 } );
    EXPECT_EQ( negative[0].value, -3.0 );
    EXPECT_EQ( negative[1].value, kSmallestNormal );
    EXPECT_TRUE( negative[0].isValid && negative[1].isValid );
    const XResult nothing = Accumulate( 5, { kNaN, std::nullopt } );
    EXPECT_EQ( nothing[0].value, kLargest );
    EXPECT_EQ( nothing[1].value, kSmallestNormal );
    EXPECT_FALSE( nothing[0].isValid || nothing[1].isValid );
    EXPECT_EQ( Accumulate( 5, { kInfinity } )[0].value, kLargest );
}

TEST( XPivotTableAccumulatorTest, TakesTheSpreadOfNumbersAlone )
{
    EXPECT_EQ( Show( Accumulate( 6, { 1.0, kNaN, 5.0 } ) ), "4.000000E+00 2.000000E+00" );
    EXPECT_EQ( Show( Accumulate( 7, { 1.0, kNaN, 5.0, 1.0, 5.0 } ) ), "1.000000E+00" );
    EXPECT_EQ( Show( Accumulate( 6, { kNaN } ) ), "invalid invalid" );
    EXPECT_EQ( Show( Accumulate( 7, {} ) ), "invalid" );
    EXPECT_EQ( Show( Accumulate( 6, { kInfinity } ) ), "NaN NaN" );
}

TEST( XPivotTableAccumulatorTest, ReadsTextsAsNumbersAndOthersAsNaN )
{
    const auto texts = MakeColumn<XPivotStringColumn>( { "1", "none", "3" } );
    EXPECT_EQ(
        Show( MakeAccumulator( { 1, 5 } ).AccumulateColumn( *texts ) ), "invalid 1.000000E+00 3.000000E+00" );
    const auto times = MakeColumn<XPivotTimeColumn>( { XTime( 4 ), std::nullopt, XTime( 8 ) } );
    EXPECT_EQ( Show( MakeAccumulator( { 1 } ).AccumulateColumn( *times ) ), "6.000000E+00" );
    const auto versions = MakeColumn<XPivotVersionColumn>( { XVersion( 35u ) } );
    EXPECT_EQ( Show( MakeAccumulator( { 1 } ).AccumulateColumn( *versions ) ), "invalid" );
}

TEST( XPivotTableAccumulatorTest, ListsWhatItsTypesGiveInTheirOrder )
{
    const auto accumulator = MakeAccumulator( { 6, 1 } );
    EXPECT_EQ( accumulator.GetNumValues(), 3u );
    EXPECT_EQ( accumulator.GetColumnStrings(), ( XVector<XString>{ "Mean", "Variance", "S.D." } ) );
    EXPECT_EQ( accumulator.GetStringDescription(), "Multiple values" );
    EXPECT_EQ( MakeAccumulator( { 5 } ).GetStringDescription(), "Min / Max" );
    EXPECT_EQ( XPivotTableAccumulator().GetStringDescription(), "Mean" );
    EXPECT_TRUE( accumulator == MakeAccumulator( { 1, 6 } ) && accumulator != XPivotTableAccumulator() );
    EXPECT_ERROR( 1006, MakeAccumulator( { 8 } ) );
    XVector<XString> descriptions;
    XPivotTableAccumulator::GetAllAccumulatorDescriptions( descriptions );
    EXPECT_EQ(
        descriptions,
        ( XVector<XString>{
            "Value", "Mean", "Sum", "Product", "Count", "Min / Max", "Variance / SD", "Standard Error" } ) );
    const XVector<std::pair<bool, double>> defaults =
        MakeAccumulator( { 0, 1, 2, 3, 4, 5, 6, 7 } ).GetDefaultFloats();
    ASSERT_EQ( defaults.size(), 10u );
    for ( std::size_t i = 0; i < defaults.size(); ++i )
        EXPECT_EQ( defaults[i], std::pair( i == 2 || i == 4, 0.0 ) ) << i;
}

TEST( XPivotTableAccumulatorTest, StreamsItsTypes )
{
    XMemStream stream;
    MakeAccumulator( { 6, 1 } ).WriteStream2( stream );
    EXPECT_EQ( Hex( stream ), "ca050000020106" );
    EXPECT_EQ( MakeAccumulator( { 6, 1 } ).GetStreamUsage(), 7u );
    const XBytes bytes = Write( MakeAccumulator( { 6, 1 } ) );
    EXPECT_EQ( *Read<XPivotTableAccumulator>( bytes ), MakeAccumulator( { 1, 6 } ) );
    ExpectDamageIsSeen( bytes );
    EXPECT_ERROR( 1005, Read( FromHex( "ca050000 ca050000 01 08" ) ) );
    EXPECT_ERROR( 1015, Read( FromHex( "ca050000 ca050100 01 01" ) ) );
}
