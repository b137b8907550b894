#pragma once

#include "Pivot/Columns/XPivotColumn.h"

/// The kind of values of a column, for users and other programs.
enum class ColumnKind
{
    kFloat,
    kSInt32,
    kUInt32,
    kReference, ///< shown as the number of an object
    kTime,
    kIdentifier, ///< a UUID
    kText,       ///< or a value shown as text
    kNothing     ///< no values at all
};

/// The kind of the column's class.
ColumnKind GetColumnKind( const XPivotColumn& inColumn );

/// True for columns whose values are numbers to users, unlike times and identifiers.
bool HoldsNumbers( const XPivotColumn& inColumn );
