#pragma once

#include "Files/WFile.h"
#include "Pivot/Tables/XPivotTable.h"

/// Writes the table as an .npz file for numpy.load: the arrays of MakeNumpyArrays as files of a ZIP archive.
void WriteNumpyArchive( const XPivotTable& inTable, WFile& ioFile );
