#pragma once

#include "Pivot/ColumnTools.h"

/// Adds a column of these values; those that are not there are missing.
template<class Column>
Column& AddTestColumn(
    XPivotTable& ioTable, const XPivotColumnDescriptor& inDescriptor,
    const std::vector<std::optional<typename Column::XValue>>& inValues )
{
    return ioTable.AddColumn( MakeColumn<Column>( inValues, inDescriptor ) );
}

inline XUUID MakeTestUUID( std::uint8_t inNumber )
{
    std::uint8_t bytes[XUUID::kByteCount] = {};
    bytes[15] = inNumber;
    return XUUID( bytes );
}

/// Four objects, the second and third inside the first, and a column of every kind.
inline XPivotTable MakeTestTable()
{
    XPivotTable table;
    const auto named = []( const char* inName )
    { return XPivotColumnDescriptor( kPivotUserDefined, inName, "", "" ); };
    const auto standard = []( XPivotColumnID inID, const char* inChannel = "", const char* inUnits = "" )
    { return XPivotColumnDescriptor( inID, "", inChannel, inUnits ); };
    const auto u = MakeTestUUID;
    AddTestColumn<XPivotRowRefColumn>( table, standard( kPivotID ), { u( 1 ), u( 2 ), u( 3 ), u( 4 ) } );
    AddTestColumn<XPivotOtherRowRefColumn>( table, standard( kPivotParentID ), { {}, u( 1 ), u( 1 ), {} } )
        .SetRowRefColumnDescriptor( table.GetColumn( 0 ).GetDescriptor() );
    AddTestColumn<XPivotStringColumn>(
        table, standard( kPivotName ), { "img10", "img2", {}, "\xB5 \"x\", y" } );
    AddTestColumn<XPivotUInt32Column>( table, standard( kPivotTimepoint ), { 0, 2, 1, {} } );
    AddTestColumn<XPivotFloatColumn>(
        table, standard( kPivotArea, "", "\xB5m\xB2" ), { 12.5, {}, kNaN, 100 } );
    AddTestColumn<XPivotFloatColumn>( table, standard( kPivotMean, "C1" ), { 1, 2, 3, 4 } );
    AddTestColumn<XPivotFloatColumn>( table, standard( kPivotMean, "C2" ), { 4, 3, 2, 1 } );
    AddTestColumn<XPivotSInt32Column>( table, named( "A, B" ), { -5, 0, 5, {} } );
    AddTestColumn<XPivotSInt32Column>( table, named( "twin" ), { 1, 1, 2, 2 } );
    AddTestColumn<XPivotSInt32Column>( table, named( "twin" ), { 3, 3, 3, 3 } );
    AddTestColumn<XPivotTimeColumn>(
        table, standard( kPivotAbsoluteTime ),
        { XTime( 2026, 3, 5 ), XTime( 1970, 1, 1 ), {}, XTime( 1904, 1, 1 ) } );
    AddTestColumn<XPivotUUIDColumn>( table, named( "x<5" ), { u( 9 ), {}, u( 7 ), u( 8 ) } );
    auto nothing = std::make_unique<XPivotUnknownColumn>( kPivotUserDefined, "a/b", "", "" );
    nothing->ResizeRows( 4 );
    table.AddColumn( std::move( nothing ) );
    return table;
}
