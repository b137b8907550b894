#pragma once

#include "WPlatform.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Integer widths are fixed on every system; a C++ `long` never reaches an interface, a file or a wire.
using USize = std::uint64_t;
using USize64 = std::uint64_t;
using SSize64 = std::int64_t;

/// The list type of the library. Element counts in streams are 32-bit on every system.
template<class T>
using XVector = std::vector<T>;

/// Time-outs are unsigned 32-bit milliseconds; this value means no limit.
inline constexpr std::uint32_t kNoTimeout = 0xFFFFFFFFu;
