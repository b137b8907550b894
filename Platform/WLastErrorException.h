#pragma once

#include "Core/XException.h"

/// A failed call of the operating system, with the system's own code beside the library's number.
class KORVALE_API WLastErrorException : public XException
{
public:
    /// Takes the calling thread's last system error and clears it.
    WLastErrorException();

    /// For a code that was obtained otherwise; the thread's last system error stays as it is.
    explicit WLastErrorException( std::uint32_t inWin32ErrorCode );
    ~WLastErrorException() override;

    std::uint32_t GetWin32ErrorCode() const { return itsWin32ErrorCode; }

    /// The system's text for the code, followed by the library's number in parentheses.
    XString GetRawErrorMessage() const override;

    /// The library's number for a Win32 error code; a code without one passes through unchanged.
    static std::uint32_t MapWin32ErrorCodeToKorvaleError( std::uint32_t inWin32ErrorCode );

private:
    std::uint32_t itsWin32ErrorCode;
};
