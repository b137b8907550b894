#pragma once

#include "Pivot/Tables/XPivotTable.h"

#include "Files/WFile.h"

#include <filesystem>
#include <memory>

/// A table as a file of its own: the header of a stream, then the table as an object. It is written in the byte order
/// that keeps the contents of columns of unknown classes.
void WriteTableFile( const XPivotTable& inTable, WFile& ioFile );

/// Throws what the stream throws; for a damaged table, and for a file that is no table, a std::runtime_error whose text
/// tells where the damage is, or what was expected.
std::unique_ptr<XPivotTable> ReadTableFile( const std::filesystem::path& inPath );

/// Throws a std::runtime_error for what is no file that can be read in any order, such as a pipe.
void CheckIsTableFile( const std::filesystem::path& inPath );
