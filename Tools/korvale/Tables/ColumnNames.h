#pragma once

#include "Pivot/Tables/XPivotTable.h"

#include <string>
#include <vector>

// Finds the columns of a table by the names shown to users. Names are UTF-8.

/// Help text on column names on the command line.
extern const char* const kColumnNamesHelp;

/// The heading of the column in tables and CSV files, on one line.
std::string GetColumnName( const XPivotColumn& inColumn );

/// The index of the column with that name, or of `#N`, the N-th column. Exact matches are preferred, then
/// matches ignoring case, then unique matches without units, channel and parentheses and with "um2" for
/// "µm²". Throws WrongUsage for any other name, with the nearest one.
std::uint32_t FindColumnByName( const XPivotTable& inTable, const std::string& inName );

/// Splits a comma-separated list of names. Names with commas are enclosed in double quotes. Throws
/// WrongUsage.
std::vector<std::string> SplitColumnNames( const std::string& inList );

/// The columns of a comma-separated list of names. Throws WrongUsage.
XPivotTable::XColumnIndices FindColumnsByName( const XPivotTable& inTable, const std::string& inList );
