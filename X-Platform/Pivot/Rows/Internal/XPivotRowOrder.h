#pragma once

#include "Core/Strings/XString.h"
#include "Pivot/Rows/XPivotTableTypes.h"

/// Orders of rows. Internal.

/// Fills `outOrder` with the rows in the order of their values, ties in row order whatever the direction. NaN
/// comes before every number, both zeros are equal, texts go by the natural order.
template<class T>
void XSortPivotRows(
    const XVector<T>& inValues, XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder );
template<>
void XSortPivotRows(
    const XVector<XString>& inValues, XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder );

/// Sorts texts by the natural order and keeps those that it ranks equal in the order they have.
void XSortTextsStably( XVector<XString>& ioTexts );

/// The rows below `inRowCount` that are not listed, ascending. A row listed at or above it is an internal
/// error.
XVector<std::uint32_t> XListOtherRows( std::uint32_t inRowCount, const XVector<std::uint32_t>& inRows );
