#pragma once

#include "Pivot/Rows/Internal/XPivotRuns.h"

#include <optional>

class XStream;

/// Reads and writes runs of values that have the same bytes in memory and in the stream, directly in the
/// stream's buffer instead of by one call per run. Internal; the layout is that of XPivotColumn::WriteRuns.

/// One implementation of the loops over runs of values of one size.
struct XPivotRunBlockLoops
{
    void ( *write )( XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inValues );

    /// Reads the runs of exactly these flags and sets missing rows to the default. Returns the first run in
    /// the stream that differs, if any; the values from there on are undefined.
    std::optional<XPivotRun> ( *read )(
        XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inDefault, void* outValues );
};

/// The fastest implementation that the processor supports. Values have 4, 8 or 16 bytes.
template<std::size_t kValueSize>
const XPivotRunBlockLoops& XGetPivotRunBlockLoops();

/// The implementation for every processor.
template<std::size_t kValueSize>
const XPivotRunBlockLoops& XGetPortablePivotRunBlockLoops();
