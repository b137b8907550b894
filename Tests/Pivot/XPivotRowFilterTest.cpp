#include "Pivot/Rows/Internal/XPivotRowFilter.h"
#include "Pivot/ColumnTools.h"

namespace
{
constexpr XPivotFilterRelationship kOrderRelationships[] = {
    kFilterNotEqual, kFilterEqual, kFilterLess, kFilterGreater, kFilterLessOrEqual, kFilterGreaterOrEqual };

template<class T>
bool Passes( const T& inValue, XPivotFilterRelationship inRelationship, const T& inReference )
{
    switch ( inRelationship )
    {
    case kFilterNotEqual:
        return inValue != inReference;
    case kFilterEqual:
        return inValue == inReference;
    case kFilterLess:
        return inValue < inReference;
    case kFilterGreater:
        return inValue > inReference;
    case kFilterLessOrEqual:
        return inValue <= inReference;
    default:
        return inValue >= inReference;
    }
}

template<class TColumn>
struct XFilteredTable
{
    explicit XFilteredTable( const std::vector<std::optional<typename TColumn::XValue>>& inRows )
        : itsColumn( itsTable.AddColumn( MakeColumn<TColumn>( inRows ) ) )
    {
    }

    template<class TReference>
    XRows Find( XPivotFilterRelationship inRelationship, const TReference& inReference ) const
    {
        return itsTable.FindRows( 0, inRelationship, inReference );
    }

    XRows Expect( XPivotFilterRelationship inRelationship, const typename TColumn::XValue& inReference ) const
    {
        XRows rows;
        for ( std::uint32_t row = 0; row < itsColumn.GetColumnSize(); ++row )
        {
            if ( itsColumn.DoesDataExist( row ) &&
                 Passes( itsColumn.GetDataVector()[row], inRelationship, inReference ) )
                rows.push_back( row );
        }
        return rows;
    }

    /// Without what only some processors can do.
    XRows FindPortably( XPivotFilterRelationship inRelationship, double inReference ) const
    {
        const auto rows = XFilterPivotRows<double>(
            itsColumn.GetExistsVector(), itsColumn.GetDataVector(), inRelationship, inReference );
        return XRows( rows.begin(), rows.end() );
    }

private:
    XPivotTable itsTable;
    TColumn& itsColumn;
};
} // namespace

TEST( XPivotRowFilterTest, PassesPresentFloatsByEveryRelationship )
{
    std::minstd_rand random( 3 );
    for ( const std::size_t count : { 0u, 1u, 7u, 8u, 9u, 4096u, 4103u, 9000u } )
    {
        std::vector<std::optional<double>> rows( count );
        for ( auto& row : rows )
        {
            const double values[] = { kNaN, -0.0, 0.0, 1.0, 2.0, -kInfinity };
            if ( random() % 10 )
                row = values[random() % 6];
        }
        const XFilteredTable<XPivotFloatColumn> table( rows );
        for ( const auto relationship : kOrderRelationships )
        {
            for ( const double reference : { 0.0, 1.0, kNaN, kInfinity } )
            {
                const XRows expected = table.Expect( relationship, reference );
                EXPECT_EQ( table.Find( relationship, reference ), expected ) << count;
                EXPECT_EQ( table.FindPortably( relationship, reference ), expected ) << count;
            }
        }
    }
}

TEST( XPivotRowFilterTest, HoldsIntegersAgainstTheReferenceAsAnInteger )
{
    const XFilteredTable<XPivotSInt32Column> table( { -3, 2, 3, std::nullopt, 0x7FFFFFFF } );
    for ( const auto relationship : kOrderRelationships )
    {
        EXPECT_EQ( table.Find( relationship, 2.7 ), table.Expect( relationship, 2 ) );
        EXPECT_EQ( table.Find( relationship, XString( "2.7 px" ) ), table.Expect( relationship, 2 ) );
        EXPECT_EQ( table.Find( relationship, 1e30 ), table.Expect( relationship, 0x7FFFFFFF ) );
        EXPECT_EQ( table.Find( relationship, kNaN ).size(), relationship == kFilterNotEqual ? 4u : 0u );
    }
    EXPECT_ERROR( 1000, table.Find( kFilterEqual, XString( "x" ) ) );
    EXPECT_EQ( XFilteredTable<XPivotUInt32Column>( { 0u, 5u } ).Find( kFilterEqual, -7.0 ), ( XRows{ 0 } ) );
}

TEST( XPivotRowFilterTest, HoldsTextsInTheirNaturalOrder )
{
    const XFilteredTable<XPivotStringColumn> table( { "x9", "x10", std::nullopt, "X9", "2.5" } );
    EXPECT_EQ( table.Find( kFilterLess, XString( "x10" ) ), ( XRows{ 0, 3, 4 } ) );
    EXPECT_EQ( table.Find( kFilterEqual, XString( "x9" ) ), ( XRows{ 0 } ) );
    EXPECT_EQ( table.Find( kFilterContains, XString( "9" ) ), ( XRows{ 0, 3 } ) );
    EXPECT_EQ( table.Find( kFilterEqual, 2.5 ), ( XRows{ 4 } ) );
    EXPECT_EQ( table.Find( kFilterGreaterOrEqual, XString( "x10" ) ), ( XRows{ 1 } ) );
}

TEST( XPivotRowFilterTest, FindsTextsWithinNumbers )
{
    const XFilteredTable<XPivotFloatColumn> table( { 12.5, 125.0, std::nullopt, -2.5, kNaN } );
    EXPECT_EQ( table.Find( kFilterContains, 2.5 ), ( XRows{ 0, 3 } ) );
    EXPECT_EQ( table.Find( kFilterContains, XString( "25" ) ), ( XRows{ 1 } ) );
    EXPECT_EQ( table.Find( kFilterContains, kNaN ), ( XRows{ 4 } ) );
}

TEST( XPivotRowFilterTest, HoldsIdentifiersTimesAndVersions )
{
    const XUUID low( "00000000-0000-0000-0000-000000000001" );
    const XUUID high( "f0000000-0000-0000-0000-000000000001" );
    const XFilteredTable<XPivotUUIDColumn> identifiers( { low, high, std::nullopt } );
    EXPECT_EQ( identifiers.Find( kFilterGreater, low.UUIDToString() ), ( XRows{ 1 } ) );
    EXPECT_EQ( identifiers.Find( kFilterContains, XString( "f000" ) ), ( XRows{ 1 } ) );
    EXPECT_EQ( identifiers.Find( kFilterEqual, static_cast<double>( low.GetHash() ) ), ( XRows{ 0 } ) );
    const XFilteredTable<XPivotTimeColumn> times( { XTime( 5 ), XTime( 7 ), std::nullopt } );
    EXPECT_EQ( times.Find( kFilterGreaterOrEqual, 7.0 ), ( XRows{ 1 } ) );
    EXPECT_EQ( times.Find( kFilterLess, XString( "1904-01-01 00:00:00.000006" ) ), ( XRows{ 0 } ) );
    const XFilteredTable<XPivotVersionColumn> versions( { XVersion( kClassPivotTable ), XVersion( 35u ) } );
    EXPECT_EQ( versions.Find( kFilterEqual, XString( "Table" ) ), ( XRows{ 0 } ) );
    EXPECT_EQ( versions.Find( kFilterLess, 36.0 ), ( XRows{ 1 } ) );
}

TEST( XPivotRowFilterTest, RefusesUnknownRelationships )
{
    const auto unknown = static_cast<XPivotFilterRelationship>( 7 );
    EXPECT_ERROR( 1006, XFilteredTable<XPivotFloatColumn>( { 1.0 } ).Find( unknown, 1.0 ) );
    EXPECT_ERROR( 1006, XFilteredTable<XPivotSInt32Column>( { 1 } ).Find( unknown, 1.0 ) );
    EXPECT_ERROR( 1006, XFilteredTable<XPivotStringColumn>( { "1" } ).Find( unknown, 1.0 ) );
}

TEST( XPivotRowFilterTest, NeverPassesRowsOfUnknownColumns )
{
    XPivotTable table;
    table.AddColumn( std::make_unique<XPivotUnknownColumn>() ).ResizeRows( 3 );
    EXPECT_TRUE( table.FindRows( 0, kFilterNotEqual, 1.0 ).empty() );
    EXPECT_TRUE( table.FindRows( 0, kFilterContains, XString( "N" ) ).empty() );
}
