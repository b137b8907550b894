#pragma once

#include "Core/Streams/XStream.h"
#include "Pivot/Tables/XPivotTable.h"

#include <memory>

/// Reads a stream that is a table: the header, the table as an object, and no more. Throws what the stream throws, and
/// 1003, 1004, 1005, 1015 and 1260 for a damaged table or another object.
std::unique_ptr<XPivotTable> ReadTable( XStream& ioStream );
