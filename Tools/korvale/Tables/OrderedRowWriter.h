#pragma once

#include "Support/WorkerLimit.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// The text of the rows from the first up to, but not including, the end. Called on several threads at a time.
using MakeRowsText = std::function<std::string( std::uint64_t inFirst, std::uint64_t inEnd )>;

/// Makes the text of many rows as jobs on the shared pool, a few pieces ahead of the workers, and writes it in order.
/// What making it throws is thrown here.
void WriteRowsInOrder(
    std::uint64_t inRowCount, WorkerLimit inLimit, const MakeRowsText& inMakeText,
    const std::function<void( std::string_view )>& inWrite );
