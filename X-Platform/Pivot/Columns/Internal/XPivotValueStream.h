#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Core/Streams/XStream.h"
#include "Core/Strings/XString.h"
#include "Core/Times/XTime.h"

#include <type_traits>

/// The stored form of column values. Internal.
///
/// All values except texts consist of units whose bytes the stream swaps if its byte order is not the
/// machine's, so a block of values in memory is a block of units.
template<class T>
inline constexpr bool kIsPivotBlockValue = !std::is_same_v<T, XString>;

template<class T>
inline constexpr unsigned kPivotValueUnit = std::is_same_v<T, XUUID> ? 1 : sizeof( T );

static_assert( sizeof( XTime ) == 8 && std::is_trivially_copyable_v<XTime> );
static_assert( sizeof( XUUID ) == 16 && std::is_trivially_copyable_v<XUUID> );
static_assert( sizeof( XVersion ) == 4 && std::is_trivially_copyable_v<XVersion> );

template<class T>
void XReadPivotValues( XStream& inStream, T* outValues, USize inCount )
{
    if constexpr ( kIsPivotBlockValue<T> )
        inStream.ReadElements( outValues, inCount * sizeof( T ) / kPivotValueUnit<T>, kPivotValueUnit<T> );
    else
    {
        for ( USize i = 0; i < inCount; ++i )
            inStream.ReadString( outValues[i] );
    }
}

template<class T>
void XWritePivotValues( XStream& inStream, const T* inValues, USize inCount )
{
    if constexpr ( kIsPivotBlockValue<T> )
        inStream.WriteElements( inValues, inCount * sizeof( T ) / kPivotValueUnit<T>, kPivotValueUnit<T> );
    else
    {
        for ( USize i = 0; i < inCount; ++i )
            inStream.WriteString( inValues[i] );
    }
}
