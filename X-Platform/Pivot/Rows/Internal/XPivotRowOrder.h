#pragma once

#include "Core/Strings/XString.h"
#include "Pivot/Rows/XPivotTableTypes.h"

/// Sorting of rows. Internal.

/// Fills `outOrder` with the row numbers sorted by value; equal values stay in row order in both directions.
/// NaN is less than every number, 0 equals -0, texts use the natural order.
template<class T>
void XSortPivotRows(
    const XVector<T>& inValues, XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder );
template<>
void XSortPivotRows(
    const XVector<XString>& inValues, XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder );

/// Sorts texts by the natural order; texts that it ranks as equal keep their order.
void XSortTextsStably( XVector<XString>& ioTexts );

/// The rows below `inRowCount` that are not listed, ascending. A listed row of `inRowCount` or more is an
/// internal error.
XVector<std::uint32_t> XListOtherRows( std::uint32_t inRowCount, const XVector<std::uint32_t>& inRows );
