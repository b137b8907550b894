#pragma once

#include <cstddef>
#include <cstdint>

/// The checksum of no bytes.
constexpr std::uint64_t kEmptyChecksum = 0xCBF29CE484222325;

/// Updates a checksum (FNV-1a of 64 bits) with further bytes. It detects damage, not forgery.
std::uint64_t AddToChecksum( std::uint64_t inChecksum, const void* inBytes, std::size_t inCount );
