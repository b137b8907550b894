#pragma once

#include "Pivot/Columns/XPivotColumn.h"

/// What the values of a column are to people and other programs.
enum class ColumnKind
{
    kFloat,
    kSInt32,
    kUInt32,
    kReference, ///< shown as the number of an object
    kTime,
    kIdentifier, ///< a UUID
    kText,       ///< or what is shown as one
    kNothing     ///< no values at all
};

ColumnKind GetColumnKind( const XPivotColumn& inColumn );

/// True for columns whose values are numbers for the reader too, unlike times and identifiers.
bool HoldsNumbers( const XPivotColumn& inColumn );
