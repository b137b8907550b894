#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/ColumnTools.h"
#include "Pivot/Tables/XPivotOtherRowRefColumn.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"

#include <tuple>

namespace
{
using XAccumulator = XPivotTableAccumulator;

XAccumulator MakeAccumulator( std::initializer_list<XAccumulator::XPivotTableAccumulatorType> inTypes )
{
    XAccumulator accumulator( *inTypes.begin() );
    for ( const auto type : inTypes )
        accumulator.AddType( type );
    return accumulator;
}

const XAccumulator kMeanAndCount =
    MakeAccumulator( { XAccumulator::kAccumulateMean, XAccumulator::kAccumulateCount } );

/// Plates, treatments and areas.
XPivotTable MakeTable()
{
    XPivotTable table;
    auto plates = std::make_unique<XPivotSInt32Column>( kPivotTimepoint, "", "", "" );
    auto treatments = std::make_unique<XPivotStringColumn>( kPivotName, "", "", "" );
    auto areas = std::make_unique<XPivotFloatColumn>( kPivotArea, "", "C1", "px" );
    const auto add = [&]( std::int32_t inPlate, const char* inTreatment, std::optional<double> inArea )
    {
        plates->AppendValue( inPlate, true );
        treatments->AppendValue( inTreatment, true );
        areas->AppendValue( inArea.value_or( kNaN ), inArea.has_value() );
    };
    add( 10, "drug", 4.0 );
    add( -2, "none", 1.0 );
    add( 10, "none", 2.0 );
    add( 10, "drug", 6.0 );
    add( 10, "none", std::nullopt );
    table.AddColumn( std::move( plates ) );
    table.AddColumn( std::move( treatments ) );
    table.AddColumn( std::move( areas ) );
    return table;
}

XVector<XString> NamesOf( const XPivotTable& inTable )
{
    XVector<XString> names;
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
        names.push_back( inTable.GetColumn( i ).GetDisplayName() );
    return names;
}

/// A row's texts, "-" where missing.
XVector<XString> TextsOf( const XPivotTable& inTable, std::uint32_t inRow )
{
    XVector<XString> texts;
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
    {
        const XPivotColumn& column = inTable.GetColumn( i );
        texts.push_back( column.DoesDataExist( inRow ) ? column.GetDataString( inRow ) : XString( "-" ) );
    }
    return texts;
}
using XTexts = XVector<XString>;
} // namespace

TEST( XPivotTablePivot, ReducesCellsOfRowAndColumnKeys )
{
    const XPivotTable pivot = MakeTable().Pivot( { 0 }, { 1 }, { { 2, kMeanAndCount } } );
    EXPECT_EQ(
        NamesOf( pivot ),
        ( XTexts{
            "Timepoint", "drug: Mean (px) (C1)", "drug: Count (C1)", "none: Mean (px) (C1)",
            "none: Count (C1)" } ) );
    ASSERT_EQ( pivot.GetNumRows(), 2u );
    EXPECT_EQ( TextsOf( pivot, 0 ), ( XTexts{ "-2", "-", "0", "1", "1" } ) ); // no rows: the defaults
    EXPECT_EQ( TextsOf( pivot, 1 ), ( XTexts{ "10", "5", "2", "2", "1" } ) );
    EXPECT_EQ( pivot.GetColumn( 0 ).GetVersion(), XPivotSInt32Column::GetClassVersion() );
    EXPECT_EQ( pivot.GetColumn( 3 ).GetTable(), &pivot );
}

TEST( XPivotTablePivot, HeadsColumnsByAccumulatorAndValue )
{
    const auto spread = MakeAccumulator( { XAccumulator::kAccumulateVarSD, XAccumulator::kAccumulateNone } );
    const XPivotTable one = MakeTable().Pivot( { 1 }, {}, { { 2, spread } } );
    EXPECT_EQ( NamesOf( one ), ( XTexts{ "Name", "Value (px) (C1)", "Variance (C1)", "S.D. (px) (C1)" } ) );
    EXPECT_EQ( TextsOf( one, 0 ), ( XTexts{ "drug", "-", "1", "1" } ) );
    const XPivotTable two = MakeTable().Pivot(
        {}, { 1, 0 }, { { 2, XAccumulator( XAccumulator::kAccumulateSum ) }, { 1, spread } } );
    EXPECT_EQ( NamesOf( two )[0], XString( "drug, 10: Area: Sum (px) (C1)" ) );
    EXPECT_EQ( NamesOf( two )[4], XString( "none, -2: Area: Sum (px) (C1)" ) );
    EXPECT_EQ( NamesOf( two )[5], XString( "none, -2: Name: Value" ) );
    EXPECT_EQ(
        TextsOf( two, 0 ), ( XTexts{ "10", "-", "-", "-", "1", "none", "-", "-", "2", "-", "-", "-" } ) );
}

TEST( XPivotTablePivot, HeadsColumnsOfKeysThatLookAlikeDifferently )
{
    const auto headsOf = []( std::unique_ptr<XPivotColumn> inKey )
    {
        XPivotTable table;
        table.AddColumn( std::move( inKey ) );
        XTexts heads =
            NamesOf( table.Pivot( {}, { 0 }, { { 0, XAccumulator( XAccumulator::kAccumulateCount ) } } ) );
        for ( XString& head : heads )
            head.Truncate( head.Find( ": Count" ) );
        return heads;
    };
    EXPECT_EQ(
        headsOf( MakeColumn<XPivotFloatColumn>( { 2e-7, 1.0 / 3, 1e-7, kNaN, -0.0 } ) ),
        ( XTexts{ "NaN", "0", "1e-07", "2e-07", "0.3333333333333333" } ) );
    EXPECT_EQ(
        headsOf( MakeColumn<XPivotFloatColumn>( { 1.0 / 3, 0.5 } ) ), ( XTexts{ "0.333333", "0.5" } ) );
    EXPECT_EQ(
        headsOf( MakeColumn<XPivotSInt32Column>( { -1000001, -1000002 } ) ),
        ( XTexts{ "-1000002", "-1000001" } ) );
    EXPECT_EQ(
        headsOf( MakeColumn<XPivotStringColumn>( { std::nullopt, "N/A", "N/A (2)" } ) ),
        ( XTexts{ "N/A", "N/A (3)", "N/A (2)" } ) );
}

TEST( XPivotTablePivot, OrdersPagesThenRows )
{
    const XPivotTable pivot = MakeTable().PagePivot( { 1 }, { 0 }, {}, { { 2, XAccumulator() } } );
    EXPECT_EQ(
        NamesOf( pivot ), ( XTexts{ "Internal Page Column", "Name", "Timepoint", "Mean (px) (C1)" } ) );
    ASSERT_EQ( pivot.GetNumRows(), 3u );
    EXPECT_EQ( TextsOf( pivot, 0 ), ( XTexts{ "1", "drug", "10", "5" } ) );
    EXPECT_EQ( TextsOf( pivot, 1 ), ( XTexts{ "2", "none", "-2", "1" } ) );
    EXPECT_EQ( TextsOf( pivot, 2 ), ( XTexts{ "2", "none", "10", "2" } ) );
}

TEST( XPivotTablePivot, ContractsGroupsToRows )
{
    XPivotTable table = MakeTable();
    table.Contract( { 0 }, { { 2, XAccumulator( XAccumulator::kAccumulateMinMax ) } } );
    EXPECT_EQ( NamesOf( table ), ( XTexts{ "Timepoint", "Name", "Min (px) (C1)", "Max (px) (C1)" } ) );
    ASSERT_EQ( table.GetNumRows(), 2u );
    EXPECT_EQ( TextsOf( table, 0 ), ( XTexts{ "-2", "none", "1", "1" } ) );
    EXPECT_EQ( TextsOf( table, 1 ), ( XTexts{ "10", "-", "2", "6" } ) );
    EXPECT_EQ( table.GetColumn( 2 ).GetTable(), &table );
}

TEST( XPivotTablePivot, ShowsReferencesByTheirNumbers )
{
    XUUID first, second, stranger;
    for ( XUUID* const uuid : { &first, &second, &stranger } )
        uuid->GenerateNewID();
    XPivotTable table;
    auto ids = std::make_unique<XPivotRowRefColumn>( kPivotID, "", "", "" );
    auto parents = std::make_unique<XPivotOtherRowRefColumn>( kPivotParentID, "", "", "" );
    parents->SetRowRefColumnDescriptor( ids->GetDescriptor() );
    ids->AppendValue( first, true );
    ids->AppendValue( second, true );
    ids->InsertEmptyRows( 2, 3 );
    for ( const XUUID& parent : { second, first, stranger, second } )
        parents->AppendValue( parent, true );
    parents->InsertEmptyRows( 4, 1 );
    table.AddColumn( std::move( parents ) );
    table.AddColumn( std::move( ids ) );
    const XAccumulator count( XAccumulator::kAccumulateCount );
    const XPivotTable pivot = table.Pivot( { 0 }, {}, { { 1, count } } );
    ASSERT_EQ( pivot.GetNumRows(), 4u );
    EXPECT_EQ( TextsOf( pivot, 0 ), ( XTexts{ "-", "0" } ) );
    EXPECT_EQ( TextsOf( pivot, 1 ), ( XTexts{ "0", "0" } ) ); // the stranger
    EXPECT_EQ( TextsOf( pivot, 2 ), ( XTexts{ "1", "1" } ) );
    EXPECT_EQ( TextsOf( pivot, 3 ), ( XTexts{ "2", "1" } ) );
    EXPECT_EQ( NamesOf( pivot ), ( XTexts{ "Parent ID", "Count" } ) );
    table.Sort( { { 0, kSortDescending }, { 1 } } );
    EXPECT_EQ( table.GetColumn( 0 ).GetStringVector(), ( XTexts{ "2", "2", "1", "0", "0" } ) );
}

TEST( XPivotTablePivot, OfNothing )
{
    XPivotTable table = MakeTable();
    table.Clear();
    EXPECT_EQ( table.Pivot( { 0 }, { 1 }, { { 2, kMeanAndCount } } ).GetNumColumns(), 1u );
    const XPivotTable total = table.Pivot( {}, {}, { { 2, kMeanAndCount } } );
    ASSERT_EQ( total.GetNumRows(), 1u );
    EXPECT_EQ( TextsOf( total, 0 ), ( XTexts{ "-", "0" } ) );
    EXPECT_EQ( table.PagePivot( { 0 }, { 1 }, {}, {} ).GetNumRows(), 0u );
    table.Contract( { 0 }, {} );
    EXPECT_EQ( table.GetNumRows(), 0u );
    EXPECT_ERROR( 1006, table.Pivot( { 3 }, {}, {} ) );
}

TEST( XPivotTablePivot, RefusesMoreCellsThanThereIsSenseIn )
{
    XPivotTable table;
    auto numbers = std::make_unique<XPivotUInt32Column>();
    for ( std::uint32_t row = 0; row < 20000; ++row )
        numbers->AppendValue( row, true );
    table.AddColumn( std::move( numbers ) );
    EXPECT_ERROR( 1012, table.Pivot( { 0 }, { 0 }, {} ) );
}

// ---- Random tables, held against a map of vectors

namespace
{
using XModelKey = std::tuple<int, double, std::string>; // missing, NaN, value; then the text key

/// Missing before NaN before numbers.
XModelKey
MakeKey( const XPivotFloatColumn& inNumbers, const XPivotStringColumn& inTexts, std::uint32_t inRow )
{
    const double number = inNumbers.GetValue( inRow );
    const int kind = !inNumbers.DoesDataExist( inRow ) ? 0 : std::isnan( number ) ? 1 : 2;
    const std::string text =
        inTexts.DoesDataExist( inRow ) ? "t" + std::string( inTexts.GetValue( inRow ) ) : "";
    return { kind, kind == 2 ? number : 0.0, text };
}

XPivotTable MakeRandomTable( std::mt19937& ioRandom )
{
    constexpr double kNumbers[] = { 0.0, -0.0, 1.0, 1.0 + 1e-12, kNaN, kInfinity, -kInfinity, -7.5 };
    constexpr double kSpecial[] = { kNaN, kInfinity, -kInfinity, -0.0 };
    const char* const kTexts[] = { "", "a", "b", "c" };
    XPivotTable table;
    auto& numbers = table.AddColumn( std::make_unique<XPivotFloatColumn>( kPivotUserDefined, "n", "", "" ) );
    auto texts = std::make_unique<XPivotStringColumn>( kPivotUserDefined, "t", "", "" );
    auto values = std::make_unique<XPivotFloatColumn>( kPivotUserDefined, "v", "", "" );
    const auto rows = ioRandom() % 60;
    for ( std::uint32_t row = 0; row < rows; ++row )
    {
        numbers.AppendValue( kNumbers[ioRandom() % 8], ioRandom() % 5 != 0 );
        texts->AppendValue( kTexts[ioRandom() % 4], ioRandom() % 5 != 0 );
        const double value =
            ioRandom() % 3 ? static_cast<double>( ioRandom() % 1000 ) - 500.0 : kSpecial[ioRandom() % 4];
        values->AppendValue( value, ioRandom() % 4 != 0 );
    }
    table.AddColumn( std::move( texts ) );
    table.AddColumn( std::move( values ) );
    return table;
}

/// Sum, count, minimum and maximum, as the accumulator defines them; missing where invalid.
std::vector<std::optional<double>> ReduceByHand( const std::vector<double>& inValues )
{
    double sum = 0.0;
    std::optional<double> minimum, maximum;
    for ( const double value : inValues )
    {
        sum += value;
        if ( std::isnan( value ) )
            continue;
        minimum = std::min( minimum.value_or( std::numeric_limits<double>::max() ), value );
        maximum = std::max( maximum.value_or( std::numeric_limits<double>::min() ), value );
    }
    const bool hasNaN =
        std::ranges::any_of( inValues, []( double inValue ) { return std::isnan( inValue ); } );
    const auto count = static_cast<double>( inValues.size() );
    return { hasNaN ? std::nullopt : std::optional( sum ), count, minimum, maximum };
}

void ExpectCell(
    const XPivotTable& inPivot, std::uint32_t inFirstColumn, std::uint32_t inRow,
    const std::vector<std::optional<double>>& inExpected )
{
    for ( std::uint32_t i = 0; i < inExpected.size(); ++i )
    {
        const XPivotColumn& column = inPivot.GetColumn( inFirstColumn + i );
        ASSERT_EQ( column.DoesDataExist( inRow ), inExpected[i].has_value() ) << i;
        const double value = column.GetDataFloat( inRow );
        const bool areNaN = std::isnan( value ) && ( !inExpected[i] || std::isnan( *inExpected[i] ) );
        ASSERT_TRUE( areNaN || value == *inExpected[i] ) << i << ": " << value;
    }
}
} // namespace

TEST( XPivotTablePivot, EqualsAModel )
{
    const auto accumulator = MakeAccumulator(
        { XAccumulator::kAccumulateSum, XAccumulator::kAccumulateCount, XAccumulator::kAccumulateMinMax } );
    for ( std::uint32_t seed = 0; seed < 300; ++seed )
    {
        SCOPED_TRACE( seed );
        std::mt19937 random( seed );
        const XPivotTable table = MakeRandomTable( random );
        const auto& numbers = dynamic_cast<const XPivotFloatColumn&>( table.GetColumn( 0 ) );
        const auto& texts = dynamic_cast<const XPivotStringColumn&>( table.GetColumn( 1 ) );
        std::map<XModelKey, std::vector<double>> cells;
        std::map<XModelKey, std::map<XModelKey, std::vector<double>>> byNumber; // then by text
        const XPivotFloatColumn none;
        std::map<XModelKey, int> textKeys;
        for ( std::uint32_t row = 0; row < table.GetNumRows(); ++row )
        {
            auto& cell = cells[MakeKey( numbers, texts, row )];
            auto& crossed =
                byNumber[MakeKey( numbers, XPivotStringColumn(), row )][MakeKey( none, texts, row )];
            textKeys[MakeKey( none, texts, row )] = 0;
            if ( !table.GetColumn( 2 ).DoesDataExist( row ) )
                continue;
            cell.push_back( table.GetColumn( 2 ).GetDataFloat( row ) );
            crossed.push_back( table.GetColumn( 2 ).GetDataFloat( row ) );
        }

        const XPivotTable pivot = table.Pivot( { 0, 1 }, {}, { { 2, accumulator } } );
        ASSERT_EQ( pivot.GetNumRows(), cells.size() );
        std::uint32_t row = 0;
        for ( const auto& [key, values] : cells )
            ExpectCell( pivot, 2, row++, ReduceByHand( values ) );

        const XPivotTable crossed = table.Pivot( { 0 }, { 1 }, { { 2, accumulator } } );
        ASSERT_EQ( crossed.GetNumRows(), byNumber.size() );
        row = 0;
        for ( auto& [number, line] : byNumber )
        {
            std::uint32_t column = 1;
            for ( const auto& [text, unused] : textKeys )
            {
                ExpectCell( crossed, column, row, ReduceByHand( line[text] ) );
                column += 4;
            }
            ++row;
        }
    }
}
