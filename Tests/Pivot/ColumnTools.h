#pragma once

#include "Core/StreamTools.h"
#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Columns/XPivotSInt32Column.h"
#include "Pivot/Columns/XPivotStringColumn.h"
#include "Pivot/Columns/XPivotTimeColumn.h"
#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/Columns/XPivotUUIDColumn.h"
#include "Pivot/Columns/XPivotUnknownColumn.h"
#include "Pivot/Columns/XPivotVersionColumn.h"
#include "Pivot/Tables/XPivotOtherRowRefColumn.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"
#include "Pivot/Tables/XPivotTable.h"

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Identifiers of rows.
inline const XUUID kFirst( "00000000-0000-0000-0000-000000000001" );
inline const XUUID kSecond( "00000000-0000-0000-0000-000000000002" );
inline const XUUID kThird( "00000000-0000-0000-0000-000000000003" );

using XRows = XVector<std::uint32_t>;

/// A column of a class with the given rows, missing ones as std::nullopt.
template<class TColumn>
std::unique_ptr<TColumn> MakeColumn(
    const std::vector<std::optional<typename TColumn::XValue>>& inRows,
    const XPivotColumnDescriptor& inDescriptor = { kPivotUserDefined, "name", "", "" } )
{
    auto column = std::make_unique<TColumn>(
        inDescriptor.GetID(), inDescriptor.GetColumnName(), inDescriptor.GetChannelName(),
        inDescriptor.GetUnits() );
    for ( const auto& row : inRows )
        column->AppendValue( row.value_or( column->GetDefaultValue() ), row.has_value() );
    return column;
}

inline XBytes Write( const XStorable& inObject )
{
    XMemStream stream;
    stream.WriteObject( inObject );
    return BytesOf( stream );
}

template<class T = XStorable>
std::unique_ptr<T> Read( const XBytes& inBytes )
{
    XMemStream stream( inBytes.data(), inBytes.size() );
    std::unique_ptr<XStorable> object( stream.ReadObject() );
    if ( !stream.IsAtEOF() )
        XThrow( 1005 );
    return std::unique_ptr<T>( dynamic_cast<T*>( object.release() ) );
}

/// Reads every truncation and every copy with one bit turned: each is refused with a number that readers are
/// allowed, or read into an object that writes as many bytes.
inline void ExpectDamageIsSeen( const XBytes& inBytes )
{
    for ( std::size_t length = 0; length < inBytes.size(); ++length )
    {
        const XBytes part( inBytes.begin(), inBytes.begin() + static_cast<std::ptrdiff_t>( length ) );
        EXPECT_ERROR( 1260, Read( part ) ) << "cut off at " << length;
    }
    for ( std::size_t bit = 0; bit < 8 * inBytes.size(); ++bit )
    {
        XBytes damaged = inBytes;
        damaged[bit / 8] ^= static_cast<std::uint8_t>( 1u << bit % 8 );
        std::unique_ptr<XStorable> object;
        const std::uint32_t error = ErrorOrZero( [&] { object = Read( damaged ); } );
        const bool isKnown = error == 1003 || error == 1004 || error == 1005 || error == 1006 ||
            error == 1015 || error == 1260;
        EXPECT_TRUE( error == 0 || isKnown ) << "bit " << bit << ": " << error;
        EXPECT_TRUE( !object || Write( *object ).size() <= damaged.size() ) << "bit " << bit;
    }
}
