#pragma once

#include "Pivot/Tables/XPivotTable.h"

#include "Files/WFile.h"

#include <filesystem>
#include <memory>

/// Writes a table file: the header of a stream, then the table as an object, in the byte order that preserves
/// the contents of columns of unknown classes.
void WriteTableFile( const XPivotTable& inTable, WFile& ioFile );

/// Reads a table file. Throws the errors of the stream; for a damaged table and for a file that is not a
/// table, a std::runtime_error with the position of the damage or the expected contents.
std::unique_ptr<XPivotTable> ReadTableFile( const std::filesystem::path& inPath );

/// Throws a std::runtime_error if the path is not a file with random access, for instance a pipe.
void CheckIsTableFile( const std::filesystem::path& inPath );
