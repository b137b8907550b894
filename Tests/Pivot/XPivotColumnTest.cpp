#include "Pivot/ColumnTools.h"

namespace
{
XPivotFloatColumn MakeFloats( const std::vector<std::optional<double>>& inRows )
{
    return *MakeColumn<XPivotFloatColumn>( inRows );
}
} // namespace

TEST( XPivotColumnTest, TakesItsNameFromTheIDUnlessUserDefined )
{
    EXPECT_ERROR( 1006, XPivotFloatColumn( kPivotCentroidX, "mine", "", "" ) );
    XPivotFloatColumn standard( kPivotCentroidX, "", "C1", "px", 7 );
    EXPECT_EQ( standard.GetDescriptor().GetColumnName(), "Centroid X" );
    EXPECT_EQ( standard.GetRevision(), 7u );
    EXPECT_EQ( standard.GetVisibilityOptions(), 0u );
    standard.SetColumnName( "other" );
    EXPECT_EQ( standard.GetColumnName(), "Centroid X" );
    EXPECT_EQ( XPivotFloatColumn( kPivotUserDefined, "mine", "", "" ).GetColumnName(), "mine" );
}

TEST( XPivotColumnTest, GrowsByMissingRows )
{
    XPivotFloatColumn column;
    column.SetData( 2.5, 5, true );
    ASSERT_EQ( column.GetColumnSize(), 6u );
    EXPECT_EQ( column.GetExistsVector(), ( XVector<std::uint8_t>{ 0, 0, 0, 0, 0, 1 } ) );
    EXPECT_TRUE( std::isnan( column.GetDataFloat( 0 ) ) );
    EXPECT_EQ( column.GetDataFloat( 5 ), 2.5 );
    EXPECT_ERROR( 1006, column.SetData( 1.0, -1, true ) );
}

TEST( XPivotColumnTest, ReadsMissingRowsAsTheDefault )
{
    auto column = MakeFloats( { 1.0, std::nullopt, 3.0 } );
    column.SetData( 2.0, 1, false );
    EXPECT_TRUE( std::isnan( column.GetDataFloat( 1 ) ) );
    EXPECT_EQ( column.FindDataFloat( 2.0 ), 1 ) << "stored values are found, present or not";
    column.SetDataExists( 1, true );
    EXPECT_EQ( column.GetDataFloat( 1 ), 2.0 );
    column.SetDataExists( 3, true );
    column.SetDataExists( -1, true );
    EXPECT_EQ( column.GetColumnSize(), 3u );
    EXPECT_FALSE( column.DoesDataExist( 3 ) );
}

TEST( XPivotColumnTest, ListsNumbersOfPresentRowsAndTextsOfAll )
{
    const auto column = MakeFloats( { 1.0, std::nullopt, 3.0 } );
    EXPECT_EQ( column.GetFloatVector(), ( XVector<double>{ 1.0, 3.0 } ) );
    EXPECT_EQ( column.GetStringVector(), ( XVector<XString>{ "1", "NaN", "3" } ) );
    EXPECT_EQ( column.FindDataFloat( kNaN ), -1 );
    EXPECT_EQ( column.FindDataString( "NaN" ), 1 );
}

TEST( XPivotColumnTest, ListsDistinctValues )
{
    const auto numbers = MakeFloats( { 3.0, kNaN, 1.0, std::nullopt, 3.0, kNaN, -0.0, 0.0 } ).GetFloatSet();
    ASSERT_EQ( numbers.size(), 4u );
    EXPECT_TRUE( std::isnan( numbers[0] ) );
    EXPECT_EQ( XVector<double>( numbers.begin() + 1, numbers.end() ), ( XVector<double>{ 0.0, 1.0, 3.0 } ) );
    const auto texts = MakeColumn<XPivotStringColumn>( { "ab", "x10", "x9", "a b", std::nullopt, "ab" } );
    EXPECT_EQ( texts->GetStringSet(), ( XVector<XString>{ "a b", "ab", "x9", "x10" } ) );
}

TEST( XPivotColumnTest, ConvertsBetweenClassesWhenCopying )
{
    const auto source = MakeFloats( { 1.5, std::nullopt, -3.0 } );
    XPivotStringColumn texts( kPivotUserDefined, "t", "", "" );
    texts.AppendData( "first", true );
    source.CopyRowsOver( 0, texts, 1, 3 );
    EXPECT_EQ( texts.GetExistsVector(), ( XVector<std::uint8_t>{ 1, 1, 0, 1 } ) );
    EXPECT_EQ( texts.GetDataVector(), ( XVector<XString>{ "first", "1.5", "NaN", "-3" } ) );
    XPivotSInt32Column integers( kPivotUserDefined, "i", "", "" );
    integers.AppendData( 7, true );
    texts.CopyRowsInto( 1, integers, 0, 3 );
    EXPECT_EQ( integers.GetFloatVector(), ( XVector<double>{ 1.0, -3.0, 7.0 } ) );
    EXPECT_ERROR( 1000, texts.CopyRowOver( 0, integers, 0 ) );
}

TEST( XPivotColumnTest, CopiesWithinItself )
{
    auto column = MakeFloats( { 1.0, 2.0, std::nullopt } );
    column.CopyRowsOver( 0, column, 1, 3 );
    EXPECT_EQ( column.GetExistsVector(), ( XVector<std::uint8_t>{ 1, 1, 1, 0 } ) );
    EXPECT_EQ( column.GetFloatVector(), ( XVector<double>{ 1.0, 1.0, 2.0 } ) );
    column += column;
    EXPECT_EQ( column.GetFloatVector(), ( XVector<double>{ 1.0, 1.0, 2.0, 1.0, 1.0, 2.0 } ) );
    column.CopyRowsInto( 0, column, 0, 0 );
    EXPECT_EQ( column.GetColumnSize(), 8u );
    EXPECT_ERROR( 1006, column.CopyRowsInto( 8, column, 0, 1 ) );
}

TEST( XPivotColumnTest, CopiesNoRowsWhereverTheyWouldBe )
{
    XPivotFloatColumn numbers;
    XPivotStringColumn texts;
    XPivotRowRefColumn ids;
    XPivotUnknownColumn unknown;
    const std::initializer_list<XPivotColumn*> columns = { &numbers, &texts, &ids, &unknown };
    for ( const XPivotColumn* source : columns )
    {
        for ( XPivotColumn* destination : columns )
        {
            EXPECT_NO_THROW( source->CopyRowsInto( 7, *destination, 5, 0 ) );
            EXPECT_NO_THROW( source->CopyRowsOver( 7, *destination, 5, 0 ) );
            EXPECT_EQ( destination->GetColumnSize(), 0u );
        }
    }
}

TEST( XPivotColumnTest, InsertsAndDeletesRows )
{
    auto column = MakeFloats( { 0.0, 1.0, 2.0, 3.0, 4.0 } );
    column.InsertEmptyRows( 5, 1 );
    EXPECT_ERROR( 1006, column.InsertEmptyRows( 7, 1 ) );
    column.DeleteItems( 0, 1 );
    column.DeleteItems( XRows{ 3, 0, 3 } );
    EXPECT_EQ( column.GetFloatVector(), ( XVector<double>{ 2.0, 3.0 } ) );
    EXPECT_EQ( column.GetColumnSize(), 3u );
    EXPECT_ERROR( 1006, column.DeleteItems( XRows{ 3 } ) );
    EXPECT_ERROR( 1006, column.DeleteItems( 1, 0xFFFFFFFF ) );
    column.ResizeRows( 4 );
    EXPECT_FALSE( column.DoesDataExist( 3 ) );
    column.Clear();
    EXPECT_TRUE( column.IsEmptyColumn() && column.GetColumnSize() == 0 );
}

TEST( XPivotColumnTest, EqualsWhenNumbersAndTextsDo )
{
    const auto column = MakeFloats( { 1.0, 2.0 } );
    EXPECT_TRUE( column == MakeFloats( { 1.0, 2.0 } ) );
    EXPECT_TRUE( column != MakeFloats( { 1.0, 3.0 } ) );
    EXPECT_TRUE( column != MakeFloats( { 1.0 } ) );
    const auto withMissing = MakeFloats( { 1.0, std::nullopt } );
    EXPECT_TRUE( withMissing == withMissing );
    EXPECT_TRUE( withMissing != MakeFloats( { 1.0, std::nullopt } ) );
    const auto texts = MakeColumn<XPivotStringColumn>( { "no number", "1" } );
    const std::unique_ptr<XPivotColumn> copy( texts->Clone() );
    EXPECT_TRUE( *copy == *texts );
    EXPECT_TRUE( *texts != static_cast<const XPivotColumn&>( column ) );
}

TEST( XPivotColumnTest, ClonesWithoutRows )
{
    auto column = MakeFloats( { 1.0 } );
    column.SetVisibilityOptions( 5 );
    const std::unique_ptr<XPivotColumn> clone( column.CloneWithoutCopy() );
    EXPECT_EQ( clone->GetDescriptor(), column.GetDescriptor() );
    EXPECT_EQ( clone->GetVisibilityOptions(), 5u );
    EXPECT_EQ( clone->GetColumnSize(), 0u );
    column.SetID( static_cast<XPivotColumnID>( 54321 ) );
    column.SetColumnName( "of another program" );
    const std::unique_ptr<XPivotColumn> foreign( column.CloneWithoutCopy() );
    EXPECT_EQ( foreign->GetDisplayName(), XString( "of another program" ) );
    const std::unique_ptr<XPivotColumn> unnamed( XPivotTimeColumn().CloneWithoutCopy() );
    EXPECT_TRUE( unnamed->GetDescriptor().IsNull() );
}

TEST( XPivotColumnTest, RemovesNaNsAndRepeatsRows )
{
    auto column = MakeFloats( { kNaN, 1.0, std::nullopt, 2.0 } );
    XRows rows;
    EXPECT_TRUE( column.RemoveNaNs( rows ) );
    EXPECT_EQ( rows, ( XRows{ 1, 3 } ) );
    EXPECT_FALSE( column.RemoveNaNs( rows ) );
    column.DuplicateAllValues( 2, true );
    EXPECT_EQ( column.GetFloatVector(), ( XVector<double>{ 1.0, 1.0, 2.0, 2.0 } ) );
    column.DuplicateAllValues( 2, false );
    EXPECT_EQ( column.GetFloatVector(), ( XVector<double>{ 1.0, 1.0, 2.0, 2.0, 1.0, 1.0, 2.0, 2.0 } ) );
    column.DuplicateAllValues( 0, false );
    EXPECT_EQ( column.GetColumnSize(), 0u );
}

TEST( XPivotColumnIntegersTest, HoldNumbersWithinTheirRange )
{
    XPivotSInt32Column integers;
    integers.SetData( XVector<double>{ 2.9, -2.9, 1e20, -kInfinity, kNaN } );
    EXPECT_EQ( integers.GetDataVector(), ( XVector<std::int32_t>{ 2, -2, 0x7FFFFFFF, -0x7FFFFFFF - 1, 0 } ) );
    XPivotUInt32Column naturals;
    naturals.SetData( XVector<XString>{ "-1", "4294967296", "17 apples" } );
    EXPECT_EQ( naturals.GetDataVector(), ( XVector<std::uint32_t>{ 0, 0xFFFFFFFF, 17 } ) );
    EXPECT_ERROR( 1000, naturals.SetData( "apples", 0, true ) );
    naturals.SetData( "apples", 0, false );
    EXPECT_EQ( naturals.FindDataFloat( 16.5 ), -1 );
    EXPECT_EQ( naturals.FindDataFloat( 17.0 ), 2 );
}
