#pragma once

#include "Files/WFile.h"
#include "Pivot/Tables/XPivotTable.h"

/// Writes the table as an .npz file, which numpy.load opens: its MakeNumpyArrays, each as a file of a ZIP archive.
void WriteNumpyArchive( const XPivotTable& inTable, WFile& ioFile );
