#pragma once

#include "Pivot/XPivotTable.h"

/// Keeps the rows listed, ascending, and removes all others. Objects whose rows go, but to which rows that stay refer, are
/// still known to the table, so that Parent ID shows the same numbers as before.
void KeepRows( XPivotTable& ioTable, const XVector<std::uint32_t>& inRows );
