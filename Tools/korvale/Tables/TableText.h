#pragma once

#include "Pivot/Tables/XPivotTable.h"
#include "Support/WorkerLimit.h"
#include "Terminal/AlignedText.h"

#include <functional>
#include <string>
#include <string_view>

/// Passes the table as CSV to `inWrite`, piece by piece: UTF-8, a header of display names, lines that end in
/// LF, fields with commas, quotes or line breaks in quotes, missing values empty, or "" in a table of one
/// column. Numbers are in the shortest form that reads back exactly. The rows are formatted on the shared
/// pool.
void WriteCSV(
    const XPivotTable& inTable, WorkerLimit inLimit, const std::function<void( std::string_view )>& inWrite );

/// The table as aligned columns. Missing values are blank. Keeps a reference to the table.
AlignedText AlignTable( const XPivotTable& inTable );

/// Some rows as aligned columns, from column `inFirstColumn` on.
AlignedText AlignRows(
    const XPivotTable& inTable, std::uint32_t inFirstRow, std::uint32_t inEndRow,
    std::uint32_t inFirstColumn );
