#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>

/// The calling thread's last system error. Codes are Windows error numbers on every system; an error of the C
/// library that has no such number is `kErrnoFlag | errno`.
class KORVALE_API WSystemError
{
public:
    static constexpr std::uint32_t kErrnoFlag = 0x20000000u;

    /// Everyday codes that the library itself sets or asks for.
    static constexpr std::uint32_t kNoError = 0;
    static constexpr std::uint32_t kFileNotFound = 2;
    static constexpr std::uint32_t kPathNotFound = 3;
    static constexpr std::uint32_t kAccessDenied = 5;
    static constexpr std::uint32_t kInvalidHandle = 6;
    static constexpr std::uint32_t kNotEnoughMemory = 14;
    static constexpr std::uint32_t kFileExists = 80;
    static constexpr std::uint32_t kInvalidParameter = 87;
    static constexpr std::uint32_t kDiskFull = 112;
    static constexpr std::uint32_t kSeekOnDevice = 132;
    static constexpr std::uint32_t kIsDirectory = 336;

    static std::uint32_t GetLast();
    static void SetLast( std::uint32_t inCode );
    static void Clear();

    /// The code that stands for a value of `errno`, on every system.
    static std::uint32_t FromErrno( int inErrno );

    /// Sets the last error to the code of the current `errno`.
    static void SetLastFromErrno();

    /// The system's text for the code, without trailing line break or full stop; empty when it has none.
    /// ANSI.
    static std::string GetText( std::uint32_t inCode );
};
