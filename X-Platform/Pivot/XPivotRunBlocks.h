#pragma once

#include "Pivot/XPivotRuns.h"

#include <optional>

class XStream;

/// Runs of values whose bytes in memory are their bytes in the stream, written and read through one buffer
/// instead of one call of the stream for each. Internal; the layout is that of XPivotColumn::WriteRuns.

void XWritePivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inValues, std::size_t inValueSize );

/// True when the stream is known to hold what runs of these flags take, so that the buffer reads nothing past
/// them.
bool XCanReadPivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, std::size_t inValueSize );

/// Reads the runs of exactly these flags into values that hold the default value so far. Returns the first run in the
/// stream that differs, if any; its values are not read.
std::optional<XPivotRun> XReadPivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inDefault, void* outValues,
    std::size_t inValueSize );
