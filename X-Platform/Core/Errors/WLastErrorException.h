#pragma once

#include "Core/Errors/WSystemException.h"

/// A failed call of the operating system, by its Win32 error code.
class KORVALE_API WLastErrorException : public WSystemException
{
public:
    /// Takes the calling thread's last system error and clears it.
    WLastErrorException();

    /// For a code that was obtained otherwise; the thread's last system error stays as it is.
    explicit WLastErrorException( std::uint32_t inWin32ErrorCode );
    ~WLastErrorException() override;

    std::uint32_t GetWin32ErrorCode() const { return GetSystemCode(); }

    /// The library's number for a Win32 error code; a code without one passes through unchanged.
    static std::uint32_t MapWin32ErrorCodeToKorvaleError( std::uint32_t inWin32ErrorCode );
};
