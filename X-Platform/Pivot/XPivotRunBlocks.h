#pragma once

#include "Pivot/XPivotRuns.h"

#include <optional>

class XStream;

/// Runs of values whose bytes in memory are their bytes in the stream, written and read through one buffer
/// instead of one call of the stream for each. Internal; the layout is that of XPivotColumn::WriteRuns.

void XWritePivotRunBlocks(
    XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inValues, std::size_t inValueSize );

/// The bytes that the runs of these flags take, with the 0 that ends them.
std::uint64_t XGetPivotRunsSize( const XVector<std::uint8_t>& inExists, std::size_t inValueSize );

/// True when the stream is known to hold that many bytes, so that the buffer reads nothing past the runs.
bool XCanReadPivotRunBlocks( XStream& inStream, std::uint64_t inSize );

/// Reads the runs of exactly these flags, which take `inSize` bytes, and sets the values between them to the
/// default. Returns the first run in the stream that differs, if any; values from there on are not read and
/// stay as they were.
std::optional<XPivotRun> XReadPivotRunBlocks(
    XStream& inStream, std::uint64_t inSize, const XVector<std::uint8_t>& inExists, const void* inDefault,
    void* outValues, std::size_t inValueSize );
