#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <system_error>

/// The calling thread's last system error. Codes are Windows error numbers on every system; C library errors
/// without such a number are `kErrnoFlag | errno`.
class KORVALE_API WSystemError
{
public:
    static constexpr std::uint32_t kErrnoFlag = 0x20000000u;

    /// Codes that the library sets or checks for.
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
    static constexpr std::uint32_t kFileTooLarge = 223;
    static constexpr std::uint32_t kNoPipeReader = 233;
    static constexpr std::uint32_t kIsDirectory = 336;
    static constexpr std::uint32_t kNoSystemResources = 1450;

    static std::uint32_t GetLast();
    static void SetLast( std::uint32_t inCode );
    static void Clear() { SetLast( kNoError ); }

    /// The code for a value of `errno`.
    static std::uint32_t FromErrno( int inErrno );

    /// The value of `errno` for a code; 0 if there is none.
    static int ToErrno( std::uint32_t inCode );

    /// The code of a standard library error, for instance from `std::filesystem`.
    static std::uint32_t FromErrorCode( const std::error_code& inError );

    /// The system's text for the code in ANSI, without trailing line break or full stop; empty if there is
    /// none.
    static std::string GetText( std::uint32_t inCode );
};
