#pragma once

#include "Pivot/Rows/Internal/XPivotRuns.h"

#include <optional>

class XStream;

/// Runs of values whose bytes in memory are their bytes in the stream, moved in the stream's own buffer
/// instead of by calls of the stream for each run. Internal; the layout is that of XPivotColumn::WriteRuns.

/// One form of the loops over runs of values of one size.
struct XPivotRunBlockLoops
{
    void ( *write )( XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inValues );

    /// Reads the runs of exactly these flags and sets the values between them to the default. Returns the first
    /// run in the stream that differs, if any; values from there on are not read and may have been written over.
    std::optional<XPivotRun> ( *read )(
        XStream& inStream, const XVector<std::uint8_t>& inExists, const void* inDefault, void* outValues );
};

/// The fastest form that the processor has the instructions for. Values have 4, 8 or 16 bytes.
template<std::size_t kValueSize>
const XPivotRunBlockLoops& XGetPivotRunBlockLoops();

/// The form for every processor.
template<std::size_t kValueSize>
const XPivotRunBlockLoops& XGetPortablePivotRunBlockLoops();
