#pragma once

#include "Core/Errors/WSystemException.h"

/// A failed call of the operating system, by its Win32 error code.
class KORVALE_API WLastErrorException : public WSystemException
{
public:
    /// Takes the calling thread's last system error and clears it.
    WLastErrorException();

    /// Uses a code that the caller has obtained; the thread's last system error is unchanged.
    explicit WLastErrorException( std::uint32_t inWin32ErrorCode );
    ~WLastErrorException() override;

    std::uint32_t GetWin32ErrorCode() const { return GetSystemCode(); }

    /// The library's error number for a Win32 error code; an unknown code is returned unchanged.
    static std::uint32_t MapWin32ErrorCodeToKorvaleError( std::uint32_t inWin32ErrorCode );
};
