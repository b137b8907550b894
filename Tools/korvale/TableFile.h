#pragma once

#include "Pivot/XPivotTable.h"

#include "WFile.h"

#include <filesystem>
#include <memory>

/// A table as a file of its own: the header of a stream, then the table as an object. It is written in the byte order
/// that keeps the contents of columns of unknown classes.
void WriteTableFile( const XPivotTable& inTable, WFile& ioFile );

/// Throws what the stream throws, and 1005 for a file that holds something else or something more.
std::unique_ptr<XPivotTable> ReadTableFile( const std::filesystem::path& inPath );
