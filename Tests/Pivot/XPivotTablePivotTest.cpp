#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/ColumnTools.h"

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
XPivotTable MakeCells()
{
    XPivotTable table;
    table.AddColumn(
        MakeColumn<XPivotSInt32Column>( { 10, -2, 10, 10, 10 }, { kPivotTimepoint, "", "", "" } ) );
    table.AddColumn( MakeColumn<XPivotStringColumn>(
        { "drug", "none", "none", "drug", "none" }, { kPivotName, "", "", "" } ) );
    table.AddColumn(
        MakeColumn<XPivotFloatColumn>( { 4.0, 1.0, 2.0, 6.0, {} }, { kPivotArea, "", "C1", "px" } ) );
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

TEST( XPivotTablePivotTest, ReducesCellsOfRowAndColumnKeys )
{
    const XPivotTable pivot = MakeCells().Pivot( { 0 }, { 1 }, { { 2, kMeanAndCount } } );
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

TEST( XPivotTablePivotTest, HeadsColumnsByAccumulatorAndValue )
{
    const auto spread = MakeAccumulator( { XAccumulator::kAccumulateVarSD, XAccumulator::kAccumulateNone } );
    const XPivotTable one = MakeCells().Pivot( { 1 }, {}, { { 2, spread } } );
    EXPECT_EQ( NamesOf( one ), ( XTexts{ "Name", "Value (px) (C1)", "Variance (C1)", "S.D. (px) (C1)" } ) );
    EXPECT_EQ( TextsOf( one, 0 ), ( XTexts{ "drug", "-", "1", "1" } ) );
    const XPivotTable two = MakeCells().Pivot(
        {}, { 1, 0 }, { { 2, XAccumulator( XAccumulator::kAccumulateSum ) }, { 1, spread } } );
    EXPECT_EQ( NamesOf( two )[0], XString( "drug, 10: Area: Sum (px) (C1)" ) );
    EXPECT_EQ( NamesOf( two )[4], XString( "none, -2: Area: Sum (px) (C1)" ) );
    EXPECT_EQ( NamesOf( two )[5], XString( "none, -2: Name: Value" ) );
    EXPECT_EQ(
        TextsOf( two, 0 ), ( XTexts{ "10", "-", "-", "-", "1", "none", "-", "-", "2", "-", "-", "-" } ) );
}

TEST( XPivotTablePivotTest, KeepsKeysApartThatLookAlike )
{
    XPivotTable table;
    table.AddColumn( MakeColumn<XPivotFloatColumn>(
        { kInfinity, 1.0, kNaN, std::nullopt, 1.0 + 1e-9, -0.0, 0.0, -kInfinity } ) );
    const XPivotTable pivot = table.Pivot( { 0 }, {}, { { 0, kMeanAndCount } } );
    ASSERT_EQ( pivot.GetNumRows(), 7u );
    EXPECT_EQ( TextsOf( pivot, 0 ), ( XTexts{ "-", "-", "0" } ) );
    EXPECT_EQ( TextsOf( pivot, 1 ), ( XTexts{ "NaN", "-", "1" } ) );
    EXPECT_EQ( TextsOf( pivot, 2 ), ( XTexts{ "-INF", "-INF", "1" } ) );
    EXPECT_EQ( TextsOf( pivot, 3 ), ( XTexts{ "0", "0", "2" } ) );
    EXPECT_EQ( TextsOf( pivot, 4 ), ( XTexts{ "1", "1", "1" } ) );
    EXPECT_EQ( TextsOf( pivot, 5 ), ( XTexts{ "1", "1", "1" } ) );
    EXPECT_EQ( TextsOf( pivot, 6 ), ( XTexts{ "INF", "INF", "1" } ) );
}

TEST( XPivotTablePivotTest, HeadsColumnsOfKeysThatLookAlikeDifferently )
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

TEST( XPivotTablePivotTest, OrdersPagesThenRows )
{
    const XPivotTable pivot = MakeCells().PagePivot( { 1 }, { 0 }, {}, { { 2, XAccumulator() } } );
    EXPECT_EQ(
        NamesOf( pivot ), ( XTexts{ "Internal Page Column", "Name", "Timepoint", "Mean (px) (C1)" } ) );
    ASSERT_EQ( pivot.GetNumRows(), 3u );
    EXPECT_EQ( TextsOf( pivot, 0 ), ( XTexts{ "1", "drug", "10", "5" } ) );
    EXPECT_EQ( TextsOf( pivot, 1 ), ( XTexts{ "2", "none", "-2", "1" } ) );
    EXPECT_EQ( TextsOf( pivot, 2 ), ( XTexts{ "2", "none", "10", "2" } ) );
}

TEST( XPivotTablePivotTest, ContractsGroupsToRows )
{
    XPivotTable table = MakeCells();
    table.Contract( { 0 }, { { 2, XAccumulator( XAccumulator::kAccumulateMinMax ) } } );
    EXPECT_EQ( NamesOf( table ), ( XTexts{ "Timepoint", "Name", "Min (px) (C1)", "Max (px) (C1)" } ) );
    ASSERT_EQ( table.GetNumRows(), 2u );
    EXPECT_EQ( TextsOf( table, 0 ), ( XTexts{ "-2", "none", "1", "1" } ) );
    EXPECT_EQ( TextsOf( table, 1 ), ( XTexts{ "10", "-", "2", "6" } ) );
    EXPECT_EQ( table.GetColumn( 2 ).GetTable(), &table );
}

TEST( XPivotTablePivotTest, ShowsReferencesByTheirNumbers )
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

TEST( XPivotTablePivotTest, OfNothing )
{
    XPivotTable table = MakeCells();
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

TEST( XPivotTablePivotTest, RefusesMoreCellsThanThereIsSenseIn )
{
    XPivotTable table;
    auto& numbers = table.AddColumn( std::make_unique<XPivotUInt32Column>() );
    for ( std::uint32_t row = 0; row < 20000; ++row )
        numbers.AppendValue( row, true );
    EXPECT_ERROR( 1012, table.Pivot( { 0 }, { 0 }, {} ) );
}
