#pragma once

#include "Core/Streams/XStream.h"
#include "Pivot/Tables/XPivotTable.h"

#include <memory>

/// Reads a stream that contains exactly a header and a table as an object. Throws the errors of the stream,
/// and 1003, 1004, 1005, 1015 and 1260 for a damaged table or another object.
std::unique_ptr<XPivotTable> ReadTable( XStream& ioStream );
