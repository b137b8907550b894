#pragma once

#include "Pivot/Tables/XPivotTable.h"

#include <string>
#include <vector>

// The columns of a table by the names that its user sees. Names are UTF-8.

/// How columns are named on the command line, for people to read.
extern const char* const kColumnNamesHelp;

/// As it heads the column in tables and CSV files, on one line.
std::string GetColumnName( const XPivotColumn& inColumn );

/// The index of the column of that name, or of `#N`, the N-th column. Where no column has the very name, letters may
/// differ in case; where none has that one either, units, channel and parentheses may be left out and "um2" stand for
/// "µm²", as long as only one column answers to it. Throws WrongUsage for any other name, with the nearest one there is.
std::uint32_t FindColumnByName( const XPivotTable& inTable, const std::string& inName );

/// The names of a list in which commas separate them. A name with commas stands in double quotes. Throws WrongUsage.
std::vector<std::string> SplitColumnNames( const std::string& inList );

/// The columns of such a list. Throws WrongUsage.
XPivotTable::XColumnIndices FindColumnsByName( const XPivotTable& inTable, const std::string& inList );
