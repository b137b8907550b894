#pragma once

#include "Pivot/Rows/Internal/XPivotRuns.h"

#include <optional>

class XStream;

/// Runs of values whose bytes in memory are their bytes in the stream, moved in the stream's own buffer
/// instead of by calls of the stream for each run. Internal; the layout is that of XPivotColumn::WriteRuns.

void XWritePivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inValues, std::size_t inValueSize );

/// Reads the runs of exactly these flags and sets the values between them to the default. Returns the first
/// run in the stream that differs, if any; values from there on are not read and stay as they were.
std::optional<XPivotRun> XReadPivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inDefault, void* outValues,
    std::size_t inValueSize );
