#pragma once

#include "Pivot/Tables/XPivotTable.h"
#include "Support/WorkerLimit.h"
#include "Terminal/AlignedText.h"

#include <functional>
#include <string>
#include <string_view>

/// Hands the table as CSV to `inWrite`, piece by piece: UTF-8, a header of display names, lines that end in LF, fields
/// quoted where they hold commas, quotes or line breaks, missing values empty, or "" in a table of one column. Numbers
/// are in the shortest form that reads back exactly. The rows are made on the shared pool.
void WriteCSV(
    const XPivotTable& inTable, WorkerLimit inLimit, const std::function<void( std::string_view )>& inWrite );

/// The table in aligned columns, for people to read. Missing values are blank. Keeps a reference to the table.
AlignedText AlignTable( const XPivotTable& inTable );

/// The same of some rows, and of the columns from the first one given on.
AlignedText AlignRows(
    const XPivotTable& inTable, std::uint32_t inFirstRow, std::uint32_t inEndRow,
    std::uint32_t inFirstColumn );
