#pragma once

#include "Support/WorkerLimit.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// Returns the text of the rows from `inFirst` to below `inEnd`. Called on several threads at a time.
using MakeRowsText = std::function<std::string( std::uint64_t inFirst, std::uint64_t inEnd )>;

/// Makes the text of many rows as jobs on the shared pool, a few chunks ahead of the workers, and writes it
/// in row order. Exceptions of `inMakeText` are rethrown here.
void WriteRowsInOrder(
    std::uint64_t inRowCount, WorkerLimit inLimit, const MakeRowsText& inMakeText,
    const std::function<void( std::string_view )>& inWrite );
